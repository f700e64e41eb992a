#include "pdf/linearize/PDOSObj.h"

#include "base/BufferedInputStream.h"
#include "base/Limits.h"
#include "images/filters/FlateDecodeFilter.h"
#include "images/filters/PredictionDecodeFilter.h"
#include "pdf/linearize/PDParser.h"

#include <algorithm>

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

// A value or, where it is an array, its only element.
int GetSingle(const PDObj& dictionary, int nNode)
{
  if (dictionary.GetType(nNode) != ePDArray)
    return nNode;
  return dictionary.CountItems(nNode) == 1 ? nNode + 1 : -1;
}

int GetParameter(const PDObj& dictionary, int nParameters, const char* szKey, int nDefault)
{
  std::int64_t nValue = 0;
  if (!dictionary.GetInteger(dictionary.Find(nParameters, szKey), nValue))
    return nDefault;
  return static_cast<int>(std::clamp<std::int64_t>(nValue, -1, 0x7FFFFFFF));
}

CStreamPtr CreateDecoder(const PDObj& dictionary, BSE::IByteStream* pEncoded)
{
  const int nFilter = dictionary.Find(0, "Filter");
  if (nFilter < 0 || (dictionary.GetType(nFilter) == ePDArray && dictionary.CountItems(nFilter) == 0))
    return pEncoded;
  if (!dictionary.IsName(GetSingle(dictionary, nFilter), "FlateDecode"))
    return nullptr;
  CStreamPtr pDecoder = new BSE::CFlateDecodeFilter(pEncoded);
  const int nParameters = GetSingle(dictionary, dictionary.Find(0, "DecodeParms"));
  BSE::CPredictionParameters parameters;
  parameters.Predictor = GetParameter(dictionary, nParameters, "Predictor", 1);
  if (parameters.Predictor == BSE::g_nPredictorNone)
    return pDecoder;
  parameters.Colors = GetParameter(dictionary, nParameters, "Colors", 1);
  parameters.Columns = GetParameter(dictionary, nParameters, "Columns", 1);
  parameters.BitsPerComponent = GetParameter(dictionary, nParameters, "BitsPerComponent", 8);
  return new BSE::CPredictionDecodeFilter(pDecoder.Get(), parameters);
}

}  // namespace

bool DecodePDStream(const PDObj& dictionary, BSE::IByteStream* pEncoded, std::int64_t nMax,
                    BSE::CBasicArray<unsigned char>& data)
{
  data.RemoveAll();
  if (!pEncoded)
    return false;
  const CStreamPtr pDecoder = CreateDecoder(dictionary, pEncoded);
  return pDecoder && pDecoder->IsValid() &&
         pDecoder->ReadToArray(data, std::min(nMax, BSE::g_nMaxDecodedSize));
}

bool PDOSObj::ReadHead(const PDObj& dictionary, std::span<const unsigned char> data)
{
  m_members.Truncate(0);
  std::int64_t nCount = 0;
  std::int64_t nFirst = 0;
  const auto nSize = std::ssize(data);
  if (!dictionary.GetInteger(dictionary.Find(0, "N"), nCount) ||
      !dictionary.GetInteger(dictionary.Find(0, "First"), nFirst) || nFirst < 0 || nFirst > nSize ||
      nCount < 0 || nCount > nFirst / 2)
    return false;
  PDParser parser(data.first(static_cast<std::size_t>(nFirst)), true);
  for (; nCount > 0; --nCount)
  {
    std::int64_t nNumber = 0;
    std::int64_t nOffset = 0;
    if (parser.ParseNumber(nNumber) != TPDResult::Complete ||
        parser.ParseNumber(nOffset) != TPDResult::Complete)
      return false;
    if (nNumber > 0 && nNumber <= BSE::g_nMaxObjNumber && nOffset < nSize - nFirst)
      m_members.Add({static_cast<int>(nNumber), static_cast<std::uint32_t>(nFirst + nOffset), 0});
  }
  SetLengths(nSize);
  return true;
}

// An object reaches to the next one; of several at one place only the last is left with any length, so that
// no byte is parsed for two of them.
void PDOSObj::SetLengths(std::int64_t nEnd)
{
  const std::span<TMember> members = m_members.GetSpan();
  std::stable_sort(members.begin(), members.end(),
                   [](const TMember& a, const TMember& b) { return a.m_nOffset < b.m_nOffset; });
  auto nNext = static_cast<std::uint32_t>(nEnd);
  for (std::size_t i = members.size(); i-- > 0;)
  {
    members[i].m_nLength = nNext - members[i].m_nOffset;
    nNext = members[i].m_nOffset;
  }
}
