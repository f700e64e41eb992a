#include "base/MemoryStream.h"

#include "base/BasicArray.h"
#include "base/Checked.h"
#include "base/Memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace BSE
{

namespace
{

// Bounds the array of block pointers, whatever position is asked for.
constexpr int g_nMaxBlocks = 1 << 27;

constexpr unsigned char g_zeros[g_nDefaultBlockSize] = {};

}  // namespace

// The first block may be larger than the others, so that a copied block stays in one piece. Capacity runs
// ahead of the size; bytes after the size are not defined. A block that is null or missing below the size
// reads as zeros: what is in a file must not depend on what was in memory before.
struct CMemoryStream::TBlocks
{
  struct TPlace
  {
    int m_nBlock;
    std::int64_t m_nOffset;
    std::int64_t m_nRoom;  // bytes to the end of the block
  };

  TBlocks(std::int64_t nFirst, int nBlock)
      : m_nFirstSize(nFirst), m_nBlockSize(nBlock > 0 ? nBlock : g_nDefaultBlockSize)
  {
    if (m_nFirstSize <= 0)
      m_nFirstSize = m_nBlockSize;
  }
  ~TBlocks() { Cut(0); }
  TBlocks(const TBlocks&) = delete;
  TBlocks& operator=(const TBlocks&) = delete;

  std::int64_t GetBlockStart(int nBlock) const
  {
    return nBlock == 0 ? 0 : m_nFirstSize + (nBlock - 1) * std::int64_t{m_nBlockSize};
  }
  std::int64_t GetBlockLength(int nBlock) const { return nBlock == 0 ? m_nFirstSize : m_nBlockSize; }

  bool IsInRange(std::int64_t nPos) const
  {
    return nPos < m_nFirstSize || (nPos - m_nFirstSize) / m_nBlockSize < g_nMaxBlocks;
  }

  // For a position in range.
  TPlace Locate(std::int64_t nPos) const
  {
    if (nPos < m_nFirstSize)
      return {0, nPos, m_nFirstSize - nPos};
    const std::int64_t nRest = nPos - m_nFirstSize;
    const std::int64_t nOffset = nRest % m_nBlockSize;
    return {static_cast<int>(1 + nRest / m_nBlockSize), nOffset, m_nBlockSize - nOffset};
  }

  // Allocates what is missing between two positions; what could be allocated stays on failure.
  bool Provide(std::int64_t nBegin, std::int64_t nEnd)
  {
    if (nBegin >= nEnd)
      return true;
    if (!IsInRange(nEnd))
      return false;
    const int nLast = Locate(nEnd - 1).m_nBlock;
    for (int nBlock = Locate(nBegin).m_nBlock; nBlock <= nLast; ++nBlock)
    {
      if (nBlock >= m_pBlocks.GetSize())
        m_pBlocks.SetSize(nBlock + 1);
      unsigned char*& pBlock = m_pBlocks[nBlock];
      if (pBlock)
        continue;
      const auto nLength = static_cast<std::size_t>(GetBlockLength(nBlock));
      // A block that begins below the size was a gap up to now, and gaps read as zeros.
      const bool bClear = GetBlockStart(nBlock) < m_nSize;
      pBlock = static_cast<unsigned char*>(bClear ? std::calloc(nLength, 1) : std::malloc(nLength));
      if (!pBlock)
        return false;
    }
    return true;
  }

  // Frees the blocks that no byte below the length needs.
  void Cut(std::int64_t nLength)
  {
    int nBlocks = m_pBlocks.GetSize();
    for (; nBlocks > 0 && GetBlockStart(nBlocks - 1) >= nLength; --nBlocks)
      std::free(m_pBlocks[nBlocks - 1]);
    m_pBlocks.SetSize(nBlocks);
  }

  // Raises the size to a length, without any allocation.
  bool Extend(std::int64_t nLength)
  {
    if (!IsInRange(nLength))
      return false;
    while (m_nSize < nLength)
    {
      const TPlace place = Locate(m_nSize);
      if (place.m_nBlock >= m_pBlocks.GetSize())
        break;
      const std::int64_t n = std::min(nLength - m_nSize, place.m_nRoom);
      // Allocated memory after the size is not defined, and what has been cut off may be in it.
      if (unsigned char* pBlock = m_pBlocks[place.m_nBlock])
        std::memset(pBlock + place.m_nOffset, 0, static_cast<std::size_t>(n));
      m_nSize += n;
    }
    m_nSize = std::max(m_nSize, nLength);
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
  m_pBlocks->Provide(0, nInitialSize);
}

CMemoryStream::CMemoryStream(const void* pData, std::int64_t nLength)
    : m_pBlocks(new TBlocks(pData ? nLength : 0, g_nDefaultBlockSize))
{
  if (pData && nLength > 0 && CMemoryStream::Write(static_cast<const unsigned char*>(pData), nLength) == 0)
  {
    delete m_pBlocks;
    ThrowOutOfMemory();
  }
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
  const TBlocks::TPlace place = m_pBlocks->Locate(nPos);
  const std::int64_t nLength = std::min(place.m_nRoom, m_pBlocks->m_nSize - nPos);
  if (const unsigned char* pBlock = m_pBlocks->m_pBlocks[place.m_nBlock])
    return {pBlock + place.m_nOffset, static_cast<std::size_t>(nLength)};
  return std::span(g_zeros).first(static_cast<std::size_t>(std::min<std::int64_t>(nLength, sizeof(g_zeros))));
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
  // The position is after the end if a duplicate has cut the stream.
  if (!m_pBlocks->Extend(m_nPos) || !m_pBlocks->Provide(m_nPos, nEnd))
    return 0;
  for (std::int64_t nLeft = n; nLeft > 0;)
  {
    const TBlocks::TPlace place = m_pBlocks->Locate(m_nPos);
    const std::int64_t nCopy = std::min(nLeft, place.m_nRoom);
    std::memcpy(m_pBlocks->m_pBlocks[place.m_nBlock] + place.m_nOffset, pBuffer,
                static_cast<std::size_t>(nCopy));
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
  pDup->m_nPos = m_nPos;
  return pDup;
}

}  // namespace BSE
