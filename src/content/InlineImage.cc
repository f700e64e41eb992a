// Nothing marks the end of an inline image for certain: "EI" may be among its data (ISO 32000-1, 8.9.7). The
// end is therefore taken from whatever is surest. The first is Length, which ISO 32000-2 adds; the next,
// without a filter, the length that follows from the dimensions, or where the decoder of the first filter
// stops, unless that is a picture filter. Each counts only if "EI" is there. Otherwise "EI" is searched for,
// and taken where content can follow it: a wrong guess would lose the rest of the page. Everything that was
// read while looking for the end is kept, and what is after it goes back to the content. Decoding is charged
// to the account of the document's work.

#include "content/InlineImage.h"

#include "base/Checked.h"
#include "base/DecodeFilter.h"
#include "content/Operator.h"
#include "pdf/ArrayObject.h"
#include "pdf/FilterFactory.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <limits>

namespace PDF
{

namespace
{

struct TAbbreviation
{
  const char* m_szShort;
  const char* m_szFull;
};

// ISO 32000-1, Table 93; those of values are in Table 94.
constexpr TAbbreviation g_keys[] = {
    {"BPC", "BitsPerComponent"},
    {"CS", "ColorSpace"},
    {"D", "Decode"},
    {"DP", "DecodeParms"},
    {"F", "Filter"},
    {"H", "Height"},
    {"IM", "ImageMask"},
    {"I", "Interpolate"},
    {"L", "Length"},
    {"W", "Width"},
};
constexpr TAbbreviation g_colorSpaces[] = {
    {"G", "DeviceGray"}, {"RGB", "DeviceRGB"}, {"CMYK", "DeviceCMYK"}, {"I", "Indexed"}};
constexpr TAbbreviation g_filters[] = {
    {"AHx", "ASCIIHexDecode"}, {"A85", "ASCII85Decode"},  {"LZW", "LZWDecode"}, {"Fl", "FlateDecode"},
    {"RL", "RunLengthDecode"}, {"CCF", "CCITTFaxDecode"}, {"DCT", "DCTDecode"}};

const char* FindFull(std::span<const TAbbreviation> table, const char* szShort)
{
  for (const TAbbreviation& entry : table)
    if (KeyEquals(szShort, entry.m_szShort))
      return entry.m_szFull;
  return nullptr;
}

// A name by one table, or the names of an array by another one.
void ExpandValue(const CObjectPtr& dictionary, const char* szKey, std::span<const TAbbreviation> names,
                 std::span<const TAbbreviation> table)
{
  const CObjectPtr value = dictionary[szKey];
  if (const char* szFull = value.IsName() ? FindFull(names, value.GetNameValue()) : nullptr)
    dictionary.AddEntry(szKey, new CNameObject(szFull));
  for (int i = 0; value.IsArray() && i < value.GetSize(); ++i)
    if (const char* szFull = value[i].IsName() ? FindFull(table, value[i].GetNameValue()) : nullptr)
      value->SetAt(i, new CNameObject(szFull));
}

// What has been read of the content since "ID": decoders read from it and go back in it.
class CInlineSource : public BSE::CObject, public BSE::IByteStream
{
public:
  explicit CInlineSource(CContentStream& content) : m_content(content) {}

  // True if there are that many bytes.
  bool Need(std::int64_t nCount);
  std::span<const unsigned char> GetBytes() const { return m_bytes.GetSpan(); }

  // -1 where there is none.
  int GetAt(std::int64_t nPos) { return Need(nPos + 1) ? m_bytes[static_cast<int>(nPos)] : -1; }

  bool IsValid() const override { return true; }
  bool IsSeekable() const override { return true; }
  bool Rewind() override { return Seek(0); }
  bool Skip(std::int64_t n) override { return n >= 0 && Need(m_nPos + n) && Seek(m_nPos + n); }
  std::int64_t Tell() override { return m_nPos; }
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char*, std::int64_t) override { return BSE::RefuseWrite(); }

private:
  CContentStream& m_content;
  BSE::CBasicArray<unsigned char> m_bytes;
  std::int64_t m_nPos = 0;
};

bool CInlineSource::Need(std::int64_t nCount)
{
  if (nCount > BSE::g_nMaxInlineImage)
    return false;
  while (m_bytes.GetSize() < nCount)
  {
    if (m_content.GetBuffered().empty() && !m_content.Fill())
      return false;
    const std::span<const unsigned char> ahead = m_content.GetBuffered();
    const auto nMissing = static_cast<std::size_t>(nCount - m_bytes.GetSize());
    m_bytes.Append(ahead.first(std::min(nMissing, ahead.size())));
    m_content.Consume(std::min(nMissing, ahead.size()));
  }
  return true;
}

bool CInlineSource::Seek(std::int64_t nPos)
{
  if (nPos < 0 || nPos > m_bytes.GetSize())
    return false;
  m_nPos = nPos;
  return true;
}

std::int64_t CInlineSource::Read(unsigned char* pBuffer, std::int64_t n)
{
  Need(std::min(m_nPos + n, BSE::g_nMaxInlineImage));
  const std::int64_t nCopy = std::min(n, m_bytes.GetSize() - m_nPos);
  if (nCopy <= 0)
    return 0;
  std::memcpy(pBuffer, m_bytes.GetData() + m_nPos, static_cast<std::size_t>(nCopy));
  m_nPos += nCopy;
  return nCopy;
}

// Finds the end of an inline image's data.
class CInlineEnd
{
public:
  CInlineEnd(CInlineSource& source, CParserContext& context, const CObjectPtr& dictionary)
      : m_source(source), m_context(context), m_dictionary(dictionary)
  {
  }

  // False if there is none.
  bool Find();

  std::int64_t GetDataEnd() const { return m_nDataEnd; }
  std::int64_t GetEnd() const { return m_nEnd; }

  // True if the data are not as the dictionary says.
  bool IsDamaged() const { return m_bDamaged; }

private:
  bool FindByLength();
  bool FindByDecoder(const TFilterRow& row);
  bool Search();

  // True if "EI" is there, after white space.
  bool EndsAt(std::int64_t nPos);
  bool IsKeywordAt(std::int64_t nPos);
  bool IsContentAt(std::int64_t nPos);
  bool IsPrintable(std::int64_t nPos, int nCount);
  int CountComponents();
  bool GetRawLength(std::int64_t& nLength);

  CInlineSource& m_source;
  CParserContext& m_context;
  CObjectPtr m_dictionary;
  std::int64_t m_nDataEnd = 0;
  std::int64_t m_nEnd = 0;
  bool m_bDamaged = false;
};

bool CInlineEnd::Find()
{
  if (const CObjectPtr length = m_dictionary["Length"];
      length.IsInteger() && EndsAt(length.GetIntegerValue()))
    return true;
  const CObjectPtr filter = GetFilterName(m_dictionary.Get(), 0);
  const TFilterRow* pRow = FindFilter(GetByteFilters(), filter.GetNameValue());
  if (GetFilterCount(m_dictionary.Get()) == 0 ? FindByLength() : pRow && FindByDecoder(*pRow))
    return true;
  // The data of picture filters are not looked into; others should have ended where their form says.
  m_bDamaged = m_bDamaged || pRow || GetFilterCount(m_dictionary.Get()) == 0;
  return Search();
}

bool CInlineEnd::FindByLength()
{
  std::int64_t nLength = 0;
  if (!GetRawLength(nLength) || nLength > BSE::g_nMaxInlineImage)
    return false;
  // The end of line after "ID" may have two bytes.
  return EndsAt(nLength) || (m_source.GetAt(0) == '\n' && EndsAt(nLength + 1));
}

bool CInlineEnd::FindByDecoder(const TFilterRow& row)
{
  constexpr std::int64_t g_nDecodedPerWork = 2;
  unsigned char aBuffer[4096];
  m_source.Rewind();
  const BSE::CObjectPtr<BSE::IByteStream> pDecoder = row.m_pCreateDecoder(&m_source, nullptr, CObjectPtr());
  std::int64_t nRead = 0;
  do
  {
    nRead = pDecoder && pDecoder->IsValid() ? pDecoder->ReadEx(aBuffer, sizeof(aBuffer)) : -1;
    if (!m_context.GetEnvironment().GetAccount().Charge(nRead / g_nDecodedPerWork))
      return false;
    // Where data are damaged, a decoder looks for its way on in all that follows them.
    m_bDamaged = nRead < 0 || BSE::HasGap(pDecoder.Get());
  } while (nRead > 0 && !m_bDamaged);
  return !m_bDamaged && EndsAt(m_source.Tell());
}

bool CInlineEnd::IsKeywordAt(std::int64_t nPos)
{
  return m_source.GetAt(nPos) == 'E' && m_source.GetAt(nPos + 1) == 'I' &&
         !IsRegular(m_source.GetAt(nPos + 2));
}

bool CInlineEnd::EndsAt(std::int64_t nPos)
{
  // Data in lines have more than one end of line at their end.
  constexpr int g_nMaxSpace = 64;
  if (nPos < 0 || nPos > BSE::g_nMaxInlineImage || !m_source.Need(nPos))
    return false;
  std::int64_t nKeyword = nPos;
  while (nKeyword < nPos + g_nMaxSpace && IsSpace(m_source.GetAt(nKeyword)))
    ++nKeyword;
  if (!IsKeywordAt(nKeyword))
    return false;
  m_nDataEnd = nPos;
  m_nEnd = nKeyword + 2;
  return true;
}

bool CInlineEnd::IsPrintable(std::int64_t nPos, int nCount)
{
  for (int i = 0; i < nCount; ++i)
    if (const int c = m_source.GetAt(nPos + i); c >= 0 && !IsSpace(c) && (c < 32 || c > 126))
      return false;
  return true;
}

// Whether what follows "EI" can be content: an operator of known name with operands before it, or the end.
bool CInlineEnd::IsContentAt(std::int64_t nPos)
{
  constexpr int g_nLookAhead = 128;
  const std::int64_t nLimit = nPos + g_nLookAhead;
  while (nPos < nLimit)
  {
    const int c = m_source.GetAt(nPos);
    if (c < 0)
      return true;
    if (IsSpace(c) || c == '/')
    {
      ++nPos;
      while (c == '/' && IsRegular(m_source.GetAt(nPos)))
        ++nPos;
      continue;
    }
    if (IsDelimiter(c))
      return c != '}' && c != '{' && c != ')' && c != '>' && IsPrintable(nPos, 16);
    std::uint32_t nPacked = 0;
    int nLength = 0;
    bool bNumber = true;
    for (int n = c; IsRegular(n) && nLength < g_nLookAhead; n = m_source.GetAt(nPos))
    {
      bNumber = bNumber && ((n >= '0' && n <= '9') || n == '.' || n == '-' || n == '+');
      if (nLength < 4)
        nPacked |= static_cast<std::uint32_t>(n) << (8 * nLength);
      ++nLength;
      ++nPos;
    }
    if (!bNumber)
      return nLength <= 3 && FindOperator(nPacked) != eTokenKeyword;
  }
  return true;
}

bool CInlineEnd::Search()
{
  std::int64_t nPos = 0;
  for (; m_source.GetAt(nPos) >= 0; ++nPos)
  {
    const std::span<const unsigned char> bytes = m_source.GetBytes().subspan(static_cast<std::size_t>(nPos));
    const void* pHit = std::memchr(bytes.data(), 'E', bytes.size());
    if (!pHit)
    {
      nPos += static_cast<std::int64_t>(bytes.size()) - 1;
      continue;
    }
    nPos += static_cast<const unsigned char*>(pHit) - bytes.data();
    if (!IsKeywordAt(nPos) || !IsContentAt(nPos + 2))
      continue;
    m_nEnd = nPos + 2;
    m_nDataEnd = nPos;
    // One end of line belongs to the keyword.
    if (nPos > 0 && IsSpace(m_source.GetAt(nPos - 1)))
      --m_nDataEnd;
    if (m_nDataEnd > 0 && m_source.GetAt(m_nDataEnd) == '\n' && m_source.GetAt(m_nDataEnd - 1) == '\r')
      --m_nDataEnd;
    return true;
  }
  m_nDataEnd = m_nEnd = nPos;
  m_bDamaged = true;
  return false;
}

// Of the colour space; -1 for one that is not known.
int CInlineEnd::CountComponents()
{
  CObjectPtr space = m_dictionary["ColorSpace"];
  for (int i = 0; i < 2; ++i)
  {
    const CObjectPtr family = space.IsArray() ? space[0] : space;
    if (family.IsName("DeviceGray") || family.IsName("CalGray") || family.IsName("Indexed") ||
        family.IsName("Separation"))
      return 1;
    if (family.IsName("DeviceRGB") || family.IsName("CalRGB") || family.IsName("Lab"))
      return 3;
    if (family.IsName("DeviceCMYK"))
      return 4;
    if (family.IsName("ICCBased"))
      return BSE::ClampTo<int>(GetIntegerOr(space[1]["N"], -1));
    if (family.IsName("DeviceN"))
      return space[1].GetSize();
    if (!space.IsName())
      break;
    space = m_context.FindResource("ColorSpace", space.GetNameValue());
  }
  return -1;
}

bool CInlineEnd::GetRawLength(std::int64_t& nLength)
{
  const bool bMask = m_dictionary["ImageMask"].GetBooleanValue();
  const std::int64_t nWidth = GetIntegerOr(m_dictionary["Width"], -1);
  const std::int64_t nHeight = GetIntegerOr(m_dictionary["Height"], -1);
  const std::int64_t nBits = bMask ? 1 : GetIntegerOr(m_dictionary["BitsPerComponent"], 8);
  const std::int64_t nComponents = bMask ? 1 : CountComponents();
  std::int64_t nRow = 0;
  if (nWidth < 0 || nHeight < 0 || nBits < 1 || nComponents < 1 || !BSE::CheckedMul(nWidth, nBits, nRow) ||
      !BSE::CheckedMul(nRow, nComponents, nRow))
    return false;
  return BSE::CheckedMul(nRow / 8 + (nRow % 8 != 0 ? 1 : 0), nHeight, nLength);
}

}  // namespace

void ExpandInlineImage(const CObjectPtr& dictionary)
{
  for (const TAbbreviation& entry : g_keys)
  {
    const CObjectPtr value = dictionary[entry.m_szShort];
    if (!value)
      continue;
    dictionary.DeleteEntry(entry.m_szShort);
    if (dictionary.GetIndex(entry.m_szFull) < 0)
      dictionary.AddEntry(entry.m_szFull, value);
  }
  // "I" stands for Indexed only inside an array; alone it names a resource.
  ExpandValue(dictionary, "ColorSpace", std::span(g_colorSpaces).first(3), g_colorSpaces);
  ExpandValue(dictionary, "Filter", g_filters, g_filters);
}

BSE::CObjectPtr<BSE::IByteStream> TInlineImage::GetDecodedStream(const CFile& file) const
{
  BSE::CObjectPtr<BSE::IByteStream> pChain(static_cast<BSE::IByteStream*>(m_pData->Dup()));
  pChain->Rewind();
  const int nCount = GetFilterCount(m_dictionary.Get());
  if (nCount > BSE::g_nMaxFilters)
    return nullptr;
  for (int i = 0; i < nCount && pChain; ++i)
  {
    const char* szName = GetFilterName(m_dictionary.Get(), i).GetNameValue();
    const TFilterRow* pRow = FindFilter(GetByteFilters(), szName);
    if (!pRow)
      pRow = FindFilter(file.GetImageFilters(), szName);
    pChain = pRow ? pRow->m_pCreateDecoder(pChain.Get(), m_dictionary.Get(),
                                           GetFilterParameters(m_dictionary.Get(), i))
                  : BSE::CObjectPtr<BSE::IByteStream>();
  }
  return pChain;
}

bool ReadInlineImage(CContentStream& content, CParserContext& context, TInlineImage& image)
{
  // The data may go on across the ends of streams, where otherwise white space would be put in.
  content.SetOpenToken(std::numeric_limits<std::int64_t>::max());
  const int nSeparator = content.PeekByte();
  if (IsSpace(nSeparator))
    content.GetByte();
  if (nSeparator == '\r' && content.PeekByte() == '\n' && GetFilterCount(image.m_dictionary.Get()) > 0)
    content.GetByte();
  const BSE::CObjectPtr<CInlineSource> pSource(new CInlineSource(content));
  CInlineEnd end(*pSource, context, image.m_dictionary);
  const bool bFound = end.Find();
  image.m_bDamaged = end.IsDamaged();
  const std::span<const unsigned char> bytes = pSource->GetBytes();
  const auto nEnd = std::min(static_cast<std::size_t>(end.GetEnd()), bytes.size());
  image.m_pData = new BSE::CMemoryStream(bytes.data(),
                                         std::min(end.GetDataEnd(), static_cast<std::int64_t>(bytes.size())));
  content.SetOpenToken(-1);
  content.PushBack(bytes.subspan(nEnd));
  return bFound;
}

}  // namespace PDF
