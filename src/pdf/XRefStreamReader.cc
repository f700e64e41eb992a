#include "pdf/XRefStreamReader.h"

#include "base/BufferedInputStream.h"
#include "base/Checked.h"
#include "base/DecodeFilter.h"
#include "base/Limits.h"
#include "base/Tracer.h"

namespace PDF
{

namespace
{

constexpr int g_nReadAhead = 8192;
constexpr int g_nMaxFieldWidth = 8;

// Widths of the three fields in bytes.
struct TFieldWidths
{
  int m_n[3];
};

bool ReadField(BSE::CBufferedInputStream& stream, int nWidth, std::int64_t& nValue)
{
  std::uint64_t n = 0;
  for (int i = 0; i < nWidth; ++i)
  {
    const int c = stream.GetByte();
    if (c < 0)
      return false;
    n = n << 8 | static_cast<std::uint64_t>(c);
  }
  nValue = BSE::ClampTo<std::int64_t>(n);
  return true;
}

bool EnterObject(CXRefSink& sink, int nNumber, std::int64_t nType, std::int64_t nSecond, std::int64_t nThird)
{
  if (nType == eXRefFree)
    return sink.SetFree(nNumber, BSE::ClampTo<int>(nThird), BSE::ClampTo<int>(nSecond));
  if (nType == eXRefInUse)
    return sink.SetOffset(nNumber, BSE::ClampTo<int>(nThird), nSecond);
  if (nType == eXRefCompressed)
    return sink.SetCompressed(nNumber, BSE::ClampTo<int>(nSecond), BSE::ClampTo<int>(nThird));
  return true;
}

// False at the end of the data, and once there were too many entries.
bool ReadSubsection(BSE::CBufferedInputStream& stream, CXRefSink& sink, const TFieldWidths& widths,
                    std::int64_t nFirst, std::int64_t nCount)
{
  for (std::int64_t i = 0; i < nCount; ++i)
  {
    std::int64_t nType = eXRefInUse;
    std::int64_t nSecond = 0;
    std::int64_t nThird = 0;
    if ((widths.m_n[0] > 0 && !ReadField(stream, widths.m_n[0], nType)) ||
        !ReadField(stream, widths.m_n[1], nSecond) || !ReadField(stream, widths.m_n[2], nThird))
      return false;
    // A number out of range is counted like any other.
    const std::int64_t nNumber = nFirst + i;
    if (!EnterObject(sink, nNumber >= 0 && nNumber <= BSE::g_nMaxObjNumber ? static_cast<int>(nNumber) : -1,
                     nType, nSecond, nThird))
      return false;
  }
  return true;
}

bool ReadWidths(const CObjectPtr& array, TFieldWidths& widths)
{
  int nTotal = 0;
  for (int i = 0; i < 3; ++i)
  {
    const std::int64_t n = GetIntegerOr(array[i], 0);
    if (n < 0 || n > g_nMaxFieldWidth)
      return false;
    widths.m_n[i] = static_cast<int>(n);
    nTotal += widths.m_n[i];
  }
  return nTotal > 0;
}

}  // namespace

TXRefOutcome ReadXRefStream(CIndirectObject& object, CXRefSink& sink)
{
  const std::int64_t nSize = GetIntegerOr(object.GetEntry("Size"), 0);
  const CObjectPtr array = object.GetEntry("W");
  TFieldWidths widths = {};
  if (nSize == 0 || !array.IsArray() || !ReadWidths(array, widths))
    return eXRefBroken;
  const BSE::CObjectPtr<BSE::IByteStream> pData = object.GetDecodedStream();
  if (!pData || !pData->IsValid())
  {
    BSE::CTracer::Trace("E", "XRef Stream", "Stream not readable");
    return eXRefBroken;
  }
  const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
      new BSE::CBufferedInputStream(pData.Get(), g_nReadAhead));
  const CObjectPtr index = object.GetEntry("Index");
  const int nPairs = index.IsArray() ? index.GetSize() / 2 : 1;
  bool bComplete = true;
  for (int i = 0; i < nPairs && bComplete; ++i)
  {
    const int nFirst = index.IsArray() ? BSE::ClampTo<int>(GetIntegerOr(index[2 * i], 0)) : 0;
    const std::int64_t nCount = index.IsArray() ? GetIntegerOr(index[2 * i + 1], 0) : nSize;
    bComplete = ReadSubsection(*pStream, sink, widths, nFirst, nCount);
  }
  // After the last entry comes what says whether the entries are the ones that were written.
  const bool bMore = pStream->GetByte() >= 0;
  if (sink.IsExhausted() || BSE::HasGap(pData.Get()))
    return eXRefBroken;
  if (!bComplete)
    BSE::CTracer::Trace("E", "XRef Stream", "Stream is too short.");
  // Entries after those that are announced belong to numbers that nobody knows.
  return bComplete && !bMore ? eXRefWhole : eXRefShort;
}

}  // namespace PDF
