#include "base/Stream.h"

#include "base/Memory.h"
#include "base/Tracer.h"

#include <algorithm>
#include <limits>

namespace BSE
{

namespace
{

// Scratch block of one copy, freed at the end of the scope.
template <class T>
class CScratch
{
public:
  explicit CScratch(int nSize)
      : m_pData(static_cast<T*>(Allocate(static_cast<std::size_t>(nSize) * sizeof(T))))
  {
  }
  ~CScratch() { Free(m_pData); }
  CScratch(const CScratch&) = delete;
  CScratch& operator=(const CScratch&) = delete;

  T* GetData() { return m_pData; }

private:
  T* m_pData;
};

constexpr int g_nMaxTransfer = 1 << 20;

// The smaller block size, except that the default one gives way to the other.
int GetTransferSize(int nA, int nB)
{
  int nSize = std::min(nA, nB);
  if (nA == g_nDefaultBlockSize)
    nSize = nB;
  else if (nB == g_nDefaultBlockSize)
    nSize = nA;
  return std::clamp(nSize, 1, g_nMaxTransfer);
}

}  // namespace

template <class T>
bool IStreamBase<T>::CopyFrom(IStreamBase* pSource, std::int64_t n, bool bPad)
{
  if (!IsObjectAddress(pSource) || !pSource->IsValid())
    return false;
  const int nBlock = GetTransferSize(GetBlockSize(), pSource->GetBlockSize());
  CScratch<T> scratch(nBlock);
  const bool bAll = n < 0;
  std::int64_t nLeft = bAll ? std::numeric_limits<std::int64_t>::max() : n;
  while (nLeft > 0)
  {
    const std::int64_t nRead = pSource->ReadEx(scratch.GetData(), std::min<std::int64_t>(nLeft, nBlock));
    if (nRead < 0)
      return false;
    if (nRead == 0)
      break;
    if (!WriteAll(scratch.GetData(), nRead))
      return false;
    nLeft -= nRead;
  }
  if (!bPad || bAll || nLeft == 0)
    return true;
  std::fill_n(scratch.GetData(), nBlock, T{});
  for (; nLeft > 0; nLeft -= std::min<std::int64_t>(nLeft, nBlock))
    if (!WriteAll(scratch.GetData(), std::min<std::int64_t>(nLeft, nBlock)))
      return false;
  return true;
}

template <class T>
bool IStreamBase<T>::Equals(IStreamBase* pOther)
{
  if (!IsObjectAddress(pOther))
    return !IsValid();
  const int nBlock = GetTransferSize(GetBlockSize(), pOther->GetBlockSize());
  CScratch<T> first(nBlock);
  CScratch<T> second(nBlock);
  while (true)
  {
    const std::int64_t nFirst = ReadAll(first.GetData(), nBlock);
    const std::int64_t nSecond = pOther->ReadAll(second.GetData(), nBlock);
    if (nFirst < 0 || nFirst != nSecond)
      return false;
    if (!std::equal(first.GetData(), first.GetData() + nFirst, second.GetData()))
      return false;
    if (nFirst < nBlock)
      return true;
  }
}

template <class T>
bool IStreamBase<T>::WriteAll(const T* pBuffer, std::int64_t n)
{
  while (n > 0)
  {
    const std::int64_t nWritten = Write(pBuffer, n);
    if (nWritten <= 0)
      return false;
    pBuffer += nWritten;
    n -= nWritten;
  }
  return true;
}

template <class T>
std::int64_t IStreamBase<T>::ReadFully(T* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadAll(pBuffer, n), 0);
}

template <class T>
std::int64_t IStreamBase<T>::ReadAll(T* pBuffer, std::int64_t n)
{
  std::int64_t nTotal = 0;
  while (nTotal < n)
  {
    const std::int64_t nRead = ReadEx(pBuffer + nTotal, n - nTotal);
    if (nRead < 0)
      return -1;
    if (nRead == 0)
      break;
    nTotal += nRead;
  }
  return nTotal;
}

template <class T>
bool IStreamBase<T>::ReadToArray(CBasicArray<T>& array, std::int64_t nMax)
{
  const int nBlock = std::clamp(GetBlockSize(), 1, g_nMaxTransfer);
  CScratch<T> scratch(nBlock);
  std::int64_t nLeft =
      std::min<std::int64_t>(nMax, std::numeric_limits<int>::max() - std::int64_t{array.GetSize()});
  while (true)
  {
    // One unit more than the limit allows, so that a stream of exactly the limit can be told from a longer
    // one.
    const std::int64_t nRead =
        ReadEx(scratch.GetData(), nLeft < nBlock ? std::max<std::int64_t>(nLeft, 0) + 1 : nBlock);
    if (nRead == 0)
      return true;
    if (nRead < 0 || nRead > nLeft)
      return false;
    array.Append({scratch.GetData(), static_cast<std::size_t>(nRead)});
    nLeft -= nRead;
  }
}

template class IStreamBase<unsigned char>;
template class IStreamBase<char16_t>;
template class IStreamBase<wchar_t>;

std::int64_t RefuseWrite()
{
  if (CTracer::IsOn())
    CTracer::Trace("E", "Stream", "Writing to input stream.");
  return 0;
}

bool SkipByReading(IByteStream& stream, std::int64_t n)
{
  unsigned char scratch[g_nDefaultBlockSize];
  while (n != 0)
  {
    const std::int64_t nRead =
        stream.ReadEx(scratch, n < 0 ? g_nDefaultBlockSize : std::min<std::int64_t>(n, g_nDefaultBlockSize));
    if (nRead <= 0)
      return nRead == 0 && n < 0;
    if (n > 0)
      n -= nRead;
  }
  return true;
}

}  // namespace BSE
