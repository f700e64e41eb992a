// Members may be wanted in any order, so that the data is decoded as a whole, up to what honest data can
// decode to. A member is found by the index that the cross-reference data states, or where that is wrong by
// its number, in an order that is made at the first such miss. Offsets are the file's word, and all of them
// may point to one long value: what is parsed for members that are met for the first time is counted, and
// beyond twice the data reading is given up as a whole.

#include "pdf/ObjectStream.h"

#include "base/Checked.h"
#include "base/DecodeFilter.h"
#include "base/Limits.h"
#include "base/Tracer.h"
#include "pdf/File.h"
#include "pdf/Parser.h"
#include "pdf/StatusCodes.h"
#include "pdf/StreamObjects.h"

#include <algorithm>

namespace PDF
{

namespace
{

constexpr int g_nBlockSize = 8192;

// What a parser and its stream take.
constexpr int g_nReaderSize = 1024;

// Members that overlap, as no writer makes them, may do so a little.
constexpr std::int64_t g_nMaxOverlap = 2;
constexpr std::int64_t g_nFreeOverlap = 1 << 16;

// Filters limit what each of them makes of its own input; a chain of them is limited by what is in the
// file.
std::int64_t GetSizeLimit(CIndirectObject& stream)
{
  const CObjectPtr part = stream.GetStreamObject();
  const std::int64_t nEncoded = part ? static_cast<CStreamPart*>(part.Get())->GetDataLength() : 0;
  if (nEncoded > BSE::g_nMaxDecodedSize / BSE::g_nMaxDecodeRatio)
    return BSE::g_nMaxDecodedSize;
  return std::max(BSE::g_nFreeDecodedSize, nEncoded * BSE::g_nMaxDecodeRatio);
}

}  // namespace

CObjectStream::CObjectStream(CFile* pFile, int nObjNumber) : m_pFile(pFile), m_nObjNumber(nObjNumber) {}

CObjectStream::~CObjectStream() = default;

bool CObjectStream::Load()
{
  if (m_bLoaded)
    return true;
  m_bTried = true;
  m_nDecoded = 0;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "libpdf", "Loading ObjStm %d.", m_nObjNumber);
  const CObjectPtr object = m_pFile->GetObject(m_nObjNumber, -1);
  if (!object || !object->IsStream())
    return false;
  const std::int64_t nCount = GetIntegerOr(object["N"], 0);
  m_nFirst = GetIntegerOr(object["First"], 0);
  if (!DecodeData(static_cast<CIndirectObject&>(*object)))
    return false;
  BSE::CObjectPtr<BSE::CBufferedInputStream> pReader(
      new BSE::CMemoryInputStream(m_data.GetData(), m_data.GetSize()));
  m_pParser.Reset(new CParser(m_pFile, pReader.Get(), m_pFile));
  ReadIndex(nCount);
  m_nValueLimit = m_pFile->GetValueLimit();
  m_bLoaded = true;
  return true;
}

bool CObjectStream::DecodeData(CIndirectObject& stream)
{
  const BSE::CObjectPtr<BSE::IByteStream> pData = stream.GetDecodedStream();
  if (!pData || !pData->IsValid())
    return false;
  const std::int64_t nLimit = GetSizeLimit(stream);
  const int nErrors = m_pFile->GetErrorCount();
  m_data.RemoveAll();
  for (;;)
  {
    const int nOld = m_data.GetSize();
    if (nOld >= nLimit)
    {
      m_data.RemoveAll();
      return false;
    }
    // The buffer doubles, so that growing it copies no more than the data in all.
    const auto nRoom = static_cast<int>(std::min<std::int64_t>(std::max(g_nBlockSize, nOld), nLimit - nOld));
    m_data.SetSize(nOld + nRoom);
    const std::int64_t nRead = pData->ReadFully(m_data.GetData() + nOld, nRoom);
    m_data.Truncate(nOld + static_cast<int>(nRead < 0 ? 0 : nRead));
    m_nDecoded = m_data.GetSize();
    m_bDamaged = m_pFile->GetErrorCount() != nErrors || BSE::HasGap(pData.Get());
    if (nRead < nRoom)
      return true;
  }
}

void CObjectStream::ReadIndex(std::int64_t nCount)
{
  CScanner& scanner = m_pParser->GetScanner();
  m_index.RemoveAll();
  // Where the count is too low the index still ends at the first object.
  for (std::int64_t i = 0; i < nCount || m_pParser->Tell() < m_nFirst - 1; ++i)
  {
    scanner.ReadToken();
    if (scanner.GetToken() != eTokenInteger)
      break;
    TIndexEntry entry = {BSE::ClampTo<int>(scanner.GetInteger()), -1};
    scanner.ReadToken();
    if (scanner.GetToken() == eTokenInteger && scanner.GetInteger() >= 0)
      entry.m_nOffset = scanner.GetInteger();
    m_index.Add(entry);
  }
  MendFirst();
}

// The objects begin where the index ends, whatever the dictionary says.
void CObjectStream::MendFirst()
{
  CScanner& scanner = m_pParser->GetScanner();
  const bool bEarly = scanner.GetToken() == eTokenInteger && m_pParser->Tell() > m_nFirst;
  if (m_index.IsEmpty() || !bEarly)
    return;
  BSE::CTracer::Trace("E", "libpdf", "Invalid first object position in compressed object stream %d",
                      m_nObjNumber);
  scanner.RecordPositions(true);
  scanner.ReadToken();
  m_nFirst = scanner.GetTokenPos();
  scanner.RecordPositions(false);
}

void CObjectStream::Unload()
{
  m_bLoaded = false;
  m_pParser.Reset();
  m_data.RemoveAll();
  m_index.RemoveAll();
  m_byNumber.RemoveAll();
}

std::int64_t CObjectStream::GetMemorySize() const
{
  return g_nReaderSize + m_data.GetSize() + std::int64_t{sizeof(TIndexEntry)} * m_index.GetSize();
}

int CObjectStream::FindByNumber(int nObjNumber)
{
  const auto getNumber = [this](int nIndex) { return m_index[nIndex].m_nObjNumber; };
  if (m_byNumber.IsEmpty())
  {
    for (int i = 0; i < m_index.GetSize(); ++i)
      m_byNumber.Add(i);
    std::ranges::sort(m_byNumber.GetSpan(),
                      [&](int nLeft, int nRight)
                      {
                        const int nLeftNumber = getNumber(nLeft);
                        const int nRightNumber = getNumber(nRight);
                        return nLeftNumber != nRightNumber ? nLeftNumber < nRightNumber : nLeft < nRight;
                      });
  }
  const std::span<int> sorted = m_byNumber.GetSpan();
  const auto pFound = std::ranges::lower_bound(sorted, nObjNumber, {}, getNumber);
  return pFound != sorted.end() && getNumber(*pFound) == nObjNumber ? *pFound : -1;
}

int CObjectStream::FindEntry(int nObjNumber, int nIndex)
{
  if (nIndex < 0 || nIndex >= m_index.GetSize())
    BSE::CTracer::Trace("E", "libpdf",
                        "Requested object index %d exceeds object stream index of object stream %d.", nIndex,
                        m_nObjNumber);
  else if (m_index[nIndex].m_nObjNumber == nObjNumber)
    return nIndex;
  else
    BSE::CTracer::Trace("E", "libpdf", "Object number mismatch in compressed object stream %d: %d %d",
                        m_nObjNumber, nObjNumber, m_index[nIndex].m_nObjNumber);
  return FindByNumber(nObjNumber);
}

bool CObjectStream::GetObject(CIndirectObject& object, int nIndex, bool bFirst)
{
  if (!Load())
    return false;
  if (BSE::IsOutOfProportion(m_nParsed, g_nFreeOverlap, g_nMaxOverlap, m_nDecoded))
  {
    m_pFile->GiveUpReading(g_nNotRepairable);
    return false;
  }
  const int nEntry = FindEntry(object.GetObjNumber(), nIndex);
  if (nEntry < 0)
    return false;
  std::int64_t nPos = 0;
  if (m_index[nEntry].m_nOffset < 0 || !BSE::CheckedAdd(m_nFirst, m_index[nEntry].m_nOffset, nPos) ||
      !m_pParser->SeekTo(nPos))
  {
    BSE::CTracer::Trace("E", "libpdf", "Invalid object position in compressed object stream %d",
                        m_nObjNumber);
    return false;
  }
  CScanner& scanner = m_pParser->GetScanner();
  scanner.ReadToken();
  const bool bNull = scanner.GetToken() == eTokenNull;
  m_pParser->BeginValue();
  m_pParser->SetValueLimit(m_nValueLimit);
  const CObjectPtr value = m_pParser->ParseObject();
  if (!m_pFile->AdmitValues(bFirst ? m_nValueLimit - m_pParser->GetValuesLeft() : 0))
    return false;
  const std::int64_t nCost = m_pParser->Tell() - nPos;
  m_nParsed += bFirst ? nCost : 0;
  if (!value && !bNull)
  {
    BSE::CTracer::Trace("I", "libpdf",
                        "Failed to parse compressed object %d at index %d in object stream %d.",
                        object.GetObjNumber(), nEntry, m_nObjNumber);
    return false;
  }
  object.SetParsed(value.Get(), nullptr);
  object.SetCost(nCost);
  // The format has no streams inside object streams: the data of this one are lost.
  const bool bStream = value && value->GetType() == eDictionary && scanner.GetToken() == eTokenStream;
  if (m_bDamaged || m_pParser->IsCut() || bStream)
    m_pFile->NoteDamage(object.GetObjNumber(), g_nNotRepairable);
  return true;
}

}  // namespace PDF
