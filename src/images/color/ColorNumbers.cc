#include "images/color/ColorNumbers.h"

#include <algorithm>
#include <limits>

namespace PDF
{

double ReadNumber(const CObjectPtr& object)
{
  constexpr double dMax = std::numeric_limits<float>::max();
  const double d = object.IsNumber() ? object.GetRealValue() : 0;
  return d >= -dMax ? std::min(d, dMax) : d < -dMax ? -dMax : 0;
}

bool ReadNumbers(const CObjectPtr& array, int nMin, int nMax, BSE::CBasicArray<double>& numbers)
{
  numbers.SetSize(0);
  const int nSize = array.IsArray() ? std::min(array.GetSize(), nMax) : 0;
  if (nSize < nMin || !array.IsArray())
    return false;
  for (int i = 0; i < nSize; ++i)
  {
    const CObjectPtr element = array[i];
    if (!element.IsNumber())
      return false;
    numbers.Add(ReadNumber(element));
  }
  return true;
}

bool ReadRanges(const CObjectPtr& array, int nMin, int nMax, BSE::CBasicArray<TRange>& ranges)
{
  BSE::CBasicArray<double> numbers;
  if (!ReadNumbers(array, 2 * nMin, 2 * nMax, numbers))
    return false;
  ranges.SetSize(0);
  for (int i = 0; i + 1 < numbers.GetSize(); i += 2)
    ranges.Add({numbers[i], numbers[i + 1]});
  return true;
}

bool ReadData(const CObjectPtr& stream, std::int64_t nMax, CColorAccount& account,
              BSE::CBasicArray<unsigned char>& data)
{
  const BSE::CObjectPtr<BSE::IByteStream> pStream = stream.IsStream() ? stream.GetDecodedStream() : nullptr;
  if (!pStream || !pStream->IsValid())
    return false;
  // One byte more than allowed, so that data of exactly the limit can be told from longer data.
  const int nEnd = static_cast<int>(std::min<std::int64_t>(nMax, std::numeric_limits<int>::max() - 1)) + 1;
  int nSize = 0;
  while (nSize < nEnd)
  {
    const int nBlock = std::min(nEnd - nSize, 1 << 16);
    data.SetSize(nSize + nBlock);
    const std::int64_t nRead = std::max<std::int64_t>(pStream->ReadFully(data.GetData() + nSize, nBlock), 0);
    nSize += static_cast<int>(nRead);
    data.SetSize(nSize);
    if (!account.SpendMemory(nRead))
      return false;
    if (nRead < nBlock)
      return nSize > 0;
  }
  return false;
}

}  // namespace PDF
