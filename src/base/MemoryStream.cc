#include "base/MemoryStream.h"

#include "base/BasicArray.h"
#include "base/Checked.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace BSE
{

// The first block may be larger than the others, so that a copied block stays in one piece. Capacity runs
// ahead of the size; bytes behind the size are not defined.
struct CMemoryStream::TBlocks
{
  explicit TBlocks(std::int64_t nFirst, int nBlock)
      : m_nFirstSize(nFirst), m_nBlockSize(nBlock > 0 ? nBlock : g_nDefaultBlockSize)
  {
    if (m_nFirstSize <= 0)
      m_nFirstSize = m_nBlockSize;
  }
  ~TBlocks() { Cut(0); }
  TBlocks(const TBlocks&) = delete;
  TBlocks& operator=(const TBlocks&) = delete;

  std::int64_t GetCapacity(std::int64_t nBlocks) const
  {
    return nBlocks == 0 ? 0 : m_nFirstSize + (nBlocks - 1) * m_nBlockSize;
  }

  // The bytes from a position within the capacity to the end of their block.
  std::span<unsigned char> GetSpan(std::int64_t nPos) const
  {
    if (nPos < m_nFirstSize)
      return {m_pBlocks[0] + nPos, static_cast<std::size_t>(m_nFirstSize - nPos)};
    const std::int64_t nRest = nPos - m_nFirstSize;
    const std::int64_t nOffset = nRest % m_nBlockSize;
    return {m_pBlocks[static_cast<int>(1 + nRest / m_nBlockSize)] + nOffset,
            static_cast<std::size_t>(m_nBlockSize - nOffset)};
  }

  // Allocates up to a capacity; what could be allocated stays on failure.
  bool Provide(std::int64_t nCapacity)
  {
    while (GetCapacity(m_pBlocks.GetSize()) < nCapacity)
    {
      const std::int64_t nSize = m_pBlocks.IsEmpty() ? m_nFirstSize : m_nBlockSize;
      auto* pBlock = static_cast<unsigned char*>(std::malloc(static_cast<std::size_t>(nSize)));
      if (!pBlock)
        return false;
      m_pBlocks.Add(pBlock);
    }
    return true;
  }

  // Frees the blocks that no byte below the capacity needs.
  void Cut(std::int64_t nCapacity)
  {
    int nBlocks = m_pBlocks.GetSize();
    for (; nBlocks > 0 && GetCapacity(nBlocks - 1) >= nCapacity; --nBlocks)
      std::free(m_pBlocks[nBlocks - 1]);
    m_pBlocks.SetSize(nBlocks);
  }

  bool Extend(std::int64_t nSize)
  {
    if (!Provide(nSize))
      return false;
    // A gap is cleared after all: what stands in a file must not depend on what was in memory before.
    while (m_nSize < nSize)
    {
      const std::span<unsigned char> gap = GetSpan(m_nSize);
      const std::int64_t n = std::min(nSize - m_nSize, static_cast<std::int64_t>(gap.size()));
      std::memset(gap.data(), 0, static_cast<std::size_t>(n));
      m_nSize += n;
    }
    return true;
  }

  CBasicArray<unsigned char*> m_pBlocks;
  std::int64_t m_nSize = 0;
  std::int64_t m_nFirstSize;
  int m_nBlockSize;
  int m_nRefCount = 1;
};

CMemoryStream::CMemoryStream(std::int64_t nInitialSize, int nBlockSize)
    : m_pBlocks(new TBlocks(0, nBlockSize))
{
  m_pBlocks->Provide(nInitialSize);
}

CMemoryStream::CMemoryStream(const void* pData, std::int64_t nLength)
    : m_pBlocks(new TBlocks(pData ? nLength : 0, g_nDefaultBlockSize))
{
  if (pData && nLength > 0)
    CMemoryStream::Write(static_cast<const unsigned char*>(pData), nLength);
  m_nPos = 0;
}

CMemoryStream::CMemoryStream(TBlocks* pBlocks) : m_pBlocks(pBlocks)
{
  ++m_pBlocks->m_nRefCount;
}

CMemoryStream::~CMemoryStream()
{
  if (--m_pBlocks->m_nRefCount == 0)
    delete m_pBlocks;
}

std::int64_t CMemoryStream::GetLength()
{
  return m_pBlocks->m_nSize;
}

int CMemoryStream::GetBlockSize() const
{
  return m_pBlocks->m_nBlockSize;
}

bool CMemoryStream::Rewind()
{
  m_nPos = 0;
  return true;
}

bool CMemoryStream::Skip(std::int64_t n)
{
  const std::int64_t nLeft = std::max<std::int64_t>(m_pBlocks->m_nSize - m_nPos, 0);
  const bool bInside = n <= nLeft;
  m_nPos += n < 0 || !bInside ? nLeft : n;
  return bInside;
}

bool CMemoryStream::Seek(std::int64_t nPos)
{
  if (nPos < 0)
    nPos += m_pBlocks->m_nSize + 1;
  if (nPos < 0 || !m_pBlocks->Extend(nPos))
    return false;
  m_nPos = nPos;
  return true;
}

bool CMemoryStream::SetLength(std::int64_t nLength)
{
  if (nLength < 0)
    return false;
  if (nLength < m_pBlocks->m_nSize)
  {
    m_pBlocks->m_nSize = nLength;
    m_pBlocks->Cut(nLength);
  }
  return Seek(nLength);
}

std::span<const unsigned char> CMemoryStream::GetBlockAt(std::int64_t nPos) const
{
  if (nPos < 0 || nPos >= m_pBlocks->m_nSize)
    return {};
  const std::span<unsigned char> block = m_pBlocks->GetSpan(nPos);
  const auto nLeft = static_cast<std::size_t>(m_pBlocks->m_nSize - nPos);
  return block.first(std::min(block.size(), nLeft));
}

std::int64_t CMemoryStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  std::int64_t nDone = 0;
  while (nDone < n)
  {
    const std::span<const unsigned char> block = GetBlockAt(m_nPos);
    const std::int64_t nCopy = std::min(n - nDone, static_cast<std::int64_t>(block.size()));
    if (nCopy == 0)
      break;
    std::memcpy(pBuffer + nDone, block.data(), static_cast<std::size_t>(nCopy));
    nDone += nCopy;
    m_nPos += nCopy;
  }
  return nDone;
}

std::int64_t CMemoryStream::Write(const unsigned char* pBuffer, std::int64_t n)
{
  std::int64_t nEnd = 0;
  if (!pBuffer || n <= 0 || !CheckedAdd(m_nPos, n, nEnd))
    return 0;
  // The position is behind the end if a duplicate has cut the stream.
  if (!m_pBlocks->Provide(nEnd) || !m_pBlocks->Extend(m_nPos))
    return 0;
  for (std::int64_t nLeft = n; nLeft > 0;)
  {
    const std::span<unsigned char> block = m_pBlocks->GetSpan(m_nPos);
    const std::int64_t nCopy = std::min(nLeft, static_cast<std::int64_t>(block.size()));
    std::memcpy(block.data(), pBuffer, static_cast<std::size_t>(nCopy));
    pBuffer += nCopy;
    nLeft -= nCopy;
    m_nPos += nCopy;
  }
  m_pBlocks->m_nSize = std::max(m_pBlocks->m_nSize, nEnd);
  return n;
}

IStreamBase<unsigned char>* CMemoryStream::Dup()
{
  auto* pDup = new CDupMemoryStream(m_pBlocks);
  pDup->Seek(m_nPos);
  return pDup;
}

}  // namespace BSE
