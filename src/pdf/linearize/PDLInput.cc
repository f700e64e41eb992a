#include "pdf/linearize/PDLInput.h"

#include "base/Limits.h"
#include "pdf/linearize/PDOSObj.h"
#include "pdf/linearize/PDParser.h"

#include <algorithm>
#include <string_view>

namespace
{

constexpr int g_nSideWindow = 512;

// Where the header and the last startxref are looked for.
constexpr std::int64_t g_nEdge = 1024;

// Cross-reference data is a small part of an honest file; this much of the file's length may be read of it.
constexpr std::int64_t g_nXRefRatio = 32;
constexpr std::int64_t g_nFreeXRef = 1 << 20;

// All object streams together: see the limits of a single one.
constexpr std::int64_t g_nStoreRatio = 200;
constexpr std::int64_t g_nMaxStored = std::int64_t{1} << 32;

// Unpacked objects stay in memory up to half the file's size.
constexpr std::int64_t g_nFreeMemory = std::int64_t{16} << 20;

}  // namespace

PDLInput::PDLInput() = default;
PDLInput::~PDLInput() = default;

PDLInput::TState PDLInput::Open(BSE::IByteStream* pStream, PDCryptor* pCryptor)
{
  if (!pStream || !pStream->IsValid() || !pStream->IsSeekable())
  {
    Fail("The input cannot be read.");
    return TState::Damaged;
  }
  m_pInput.Reset(new PDInput(pStream));
  m_pSide.Reset(new PDInput(pStream, g_nSideWindow));
  m_nBudget = g_nFreeXRef + g_nXRefRatio * m_pInput->GetLength();
  if (!ReadHeader() || !ReadChain(FindStartXRef()) || !BuildEntries())
    return TState::Damaged;
  m_bSearchStreams = true;
  if (!ReadEncryption(pCryptor))
    return TState::Damaged;
  if (IsEncrypted() && !pCryptor)
    return TState::NeedsCryptor;
  return UnpackObjectStreams() && ResolveTrailer() ? TState::Opened : TState::Damaged;
}

bool PDLInput::ReadHeader()
{
  constexpr std::string_view szHeader = "%PDF-";
  const std::span<const unsigned char> head = m_pInput->Get(0, g_nEdge);
  const auto found = std::search(head.begin(), head.end(), szHeader.begin(), szHeader.end());
  if (found == head.end())
    return Fail("The input has no header.");
  m_nHeaderOffset = found - head.begin();
  const std::span<const unsigned char> version =
      head.subspan(static_cast<std::size_t>(m_nHeaderOffset) + szHeader.size());
  std::size_t n = 0;
  for (; n < version.size() && n + 1 < sizeof(m_szVersion); ++n)
  {
    const unsigned char nByte = version[n];
    if (nByte != '.' && (nByte < '0' || nByte > '9'))
      break;
    m_szVersion[n] = static_cast<char>(nByte);
  }
  m_szVersion[n] = 0;
  return n > 0 || Fail("The input's header has no version.");
}

std::int64_t PDLInput::FindStartXRef()
{
  constexpr std::string_view szKeyword = "startxref";
  const std::int64_t nStart = std::max<std::int64_t>(0, m_pInput->GetLength() - g_nEdge);
  const std::span<const unsigned char> tail = m_pInput->Get(nStart, g_nEdge);
  const auto found = std::find_end(tail.begin(), tail.end(), szKeyword.begin(), szKeyword.end());
  if (found == tail.end())
    return -1;
  PDCursor cursor(*m_pInput, nStart + (found - tail.begin()) + std::ssize(szKeyword));
  std::int64_t nPos = 0;
  return cursor.ReadNumber(nPos) ? nPos : -1;
}

bool PDLInput::BuildEntries()
{
  PDNumberMap numbers;
  const std::int64_t nLength = m_pInput->GetLength() - m_nHeaderOffset;
  for (const TXRef& xref : m_xref.GetSpan())
  {
    TPDEntry entry;
    entry.m_nNumber = xref.m_nNumber;
    entry.m_nGeneration = xref.m_nGeneration;
    if (xref.m_nType == 1 && xref.m_nPos > 0 && xref.m_nPos < nLength)
      entry.m_nPos = xref.m_nPos + m_nHeaderOffset;
    else if (xref.m_nType == 2 && xref.m_nPos > 0 && xref.m_nPos <= BSE::g_nMaxObjNumber)
    {
      // Holds the number of the object stream until that is unpacked.
      entry.m_nGeneration = static_cast<int>(xref.m_nPos);
      entry.m_bStored = true;
    }
    else
      continue;
    numbers.Set(entry.m_nNumber, m_entries.Add(entry));
  }
  m_xref.RemoveAll();
  m_sections.RemoveAll();
  std::swap(m_numbers, numbers);
  SetExtents();
  return !m_entries.IsEmpty() || Fail("The input has no objects.");
}

void PDLInput::SetExtents()
{
  struct TPlace
  {
    std::int64_t m_nPos;
    int m_nObject;
  };
  BSE::CBasicArray<TPlace> places;
  for (int i = 0; i < GetCount(); ++i)
  {
    if (m_entries[i].m_nPos >= 0)
      places.Add({m_entries[i].m_nPos, i});
  }
  const std::span<TPlace> sorted = places.GetSpan();
  std::sort(sorted.begin(), sorted.end(),
            [](const TPlace& a, const TPlace& b) { return a.m_nPos < b.m_nPos; });
  std::int64_t nEnd = m_pInput->GetLength();
  std::int64_t nNext = nEnd;
  for (std::size_t i = sorted.size(); i-- > 0;)
  {
    if (sorted[i].m_nPos < nNext)
    {
      nEnd = nNext;
      nNext = sorted[i].m_nPos;
    }
    m_entries[sorted[i].m_nObject].m_nExtent =
        static_cast<std::uint32_t>(std::min<std::int64_t>(nEnd - nNext, 0xFFFFFFFF));
  }
}

bool PDLInput::ReadEncryption(PDCryptor* pCryptor)
{
  m_pCryptor = pCryptor;
  if (m_nEncryptNumber > 0)
  {
    m_nEncrypt = FindObject(m_nEncryptNumber);
    PDObj dictionary;
    TPDStream stream;
    if (m_nEncrypt >= 0 && !m_entries[m_nEncrypt].m_bStored && ReadObject(m_nEncrypt, dictionary, stream))
      return TakeEncryption(dictionary);
    return Fail("The input's encryption dictionary cannot be read.");
  }
  if (m_encryptText.IsEmpty())
    return true;
  PDObj dictionary;
  PDParser parser(m_encryptText.GetSpan(), true);
  return parser.ParseValue(dictionary) == TPDResult::Complete && TakeEncryption(dictionary);
}

bool PDLInput::TakeEncryption(const PDObj& dictionary)
{
  constexpr std::int64_t nCryptFilters = 4;  // from this V on metadata may be plain
  constexpr std::int64_t nFileKeys = 5;      // from this V on one key serves all objects
  std::int64_t nV = 0;
  dictionary.GetInteger(dictionary.Find(0, "V"), nV);
  m_bObjectKeys = nV < nFileKeys;
  const int nMetadata = dictionary.Find(0, "EncryptMetadata");
  m_bPlainMetadata = nV >= nCryptFilters && dictionary.GetType(nMetadata) == ePDBoolean &&
                     dictionary.GetText(nMetadata).front() == 'f';
  const std::span<const unsigned char> streams = dictionary.GetText(dictionary.Find(0, "StmF"));
  const std::span<const unsigned char> strings = dictionary.GetText(dictionary.Find(0, "StrF"));
  m_bOneCipher =
      nV < nCryptFilters || std::equal(streams.begin(), streams.end(), strings.begin(), strings.end());
  // Whatever it referred to would have to stay plain too.
  return !dictionary.GetNode(0).m_bReferences || Fail("The encryption dictionary is not in one piece.");
}

bool PDLInput::UnpackObjectStreams()
{
  BSE::CBasicArray<int> holders;
  for (const TPDEntry& entry : m_entries.GetSpan())
  {
    if (entry.m_bStored)
      holders.Add(entry.m_nGeneration);
  }
  if (holders.IsEmpty())
    return true;
  const std::span<int> sorted = holders.GetSpan();
  std::sort(sorted.begin(), sorted.end());
  const std::int64_t nLength = m_pInput->GetLength();
  PDOSObj unpacked(std::min(BSE::g_nFreeDecodedSize + nLength * g_nStoreRatio, g_nMaxStored),
                   std::max(nLength / 2, g_nFreeMemory));
  int nLast = 0;
  for (const int nHolder : sorted)
  {
    if (nHolder != nLast && !UnpackObjectStream(unpacked, nHolder))
      return false;
    nLast = nHolder;
  }
  for (TPDEntry& entry : m_entries.GetSpan())
  {
    if (entry.m_bStored)
      entry.m_nGeneration = 0;
  }
  m_pStore.Reset(unpacked.GetStore().CreateInput());
  return true;
}

// Objects of a stream that cannot be read are missing; only a lack of room is a failure.
bool PDLInput::UnpackObjectStream(PDOSObj& unpacked, int nNumber)
{
  PDObj dictionary;
  TPDStream stream;
  const int nHolder = FindObject(nNumber);
  if (nHolder < 0 || m_entries[nHolder].m_bStored || !ReadObject(nHolder, dictionary, stream) ||
      !stream.m_bStream)
    return true;
  BSE::CObjectPtr<BSE::IByteStream> pEncoded = m_pSide->CreateSection(stream.m_nPos, stream.m_nLength);
  if (m_pCryptor && IsEncrypted())
    pEncoded = m_pCryptor->CreateDecryptFilter(pEncoded.Get(), nNumber, m_entries[nHolder].m_nGeneration);
  BSE::CBasicArray<unsigned char> data;
  if (!DecodePDStream(dictionary, pEncoded.Get(), unpacked.GetStore().GetRoom(), data) ||
      !unpacked.ReadHead(dictionary, data.GetSpan()))
    return true;
  const std::int64_t nStart = unpacked.GetStore().Store(data.GetSpan());
  if (nStart < 0)
    return Fail("There is no room for the unpacked object streams.");
  for (const PDOSObj::TMember& member : unpacked.GetMembers())
  {
    const int nObject = FindObject(member.m_nNumber);
    TPDEntry& entry = m_entries[nObject];
    if (nObject < 0 || !entry.m_bStored || entry.m_nGeneration != nNumber || entry.m_nPos >= 0)
      continue;
    entry.m_nPos = nStart + member.m_nOffset;
    entry.m_nExtent = member.m_nLength;
  }
  return true;
}

bool PDLInput::ResolveTrailer()
{
  m_nRoot = FindObject(m_nRootNumber);
  m_nInfo = FindObject(m_nInfoNumber);
  TakeId();
  return m_nRoot >= 0 || Fail("The input has no catalogue.");
}

void PDLInput::TakeId()
{
  const int nObject = FindObject(m_nIdNumber);
  PDObj id;
  TPDStream stream;
  if (nObject < 0 || !ReadObject(nObject, id, stream) || id.GetType(0) != ePDArray ||
      id.GetNode(0).m_bReferences)
    return;
  m_id.RemoveAll();
  m_id.Append(id.GetText(0));
}
