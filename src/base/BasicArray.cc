#include "base/BasicArray.h"

#include <limits>

namespace BSE
{

std::size_t GetArraySizeClass(std::size_t nBytes)
{
  if (nBytes < 9)
    return 8;
  if (nBytes < 33)
    return 32;
  std::size_t nClass = 64;
  while (nClass < nBytes)
  {
    nClass *= 2;
    if (nClass == 0)
      return std::numeric_limits<std::size_t>::max();
  }
  return nClass;
}

void CArrayStorage::Resize(std::size_t nOldClass, std::size_t nNewClass)
{
  if (nOldClass == nNewClass)
    return;
  if (nOldClass == g_nInlineSize)
  {
    void* pBlock = Allocate(nNewClass);
    std::memcpy(pBlock, m_u.m_inline, g_nInlineSize);
    m_pData = pBlock;
    m_u.m_nCapacity = nNewClass;
    return;
  }
  if (nNewClass == g_nInlineSize)
  {
    void* pBlock = m_pData;
    std::memcpy(m_u.m_inline, pBlock, g_nInlineSize);
    m_pData = m_u.m_inline;
    Free(pBlock);
    return;
  }
  m_pData = Reallocate(m_pData, nNewClass);
  m_u.m_nCapacity = nNewClass;
}

void CArrayStorage::Swap(CArrayStorage& other) noexcept
{
  const bool bInline = IsInline();
  const bool bOtherInline = other.IsInline();
  std::swap(m_u, other.m_u);
  std::swap(m_pData, other.m_pData);
  std::swap(m_nSize, other.m_nSize);
  if (bInline)
    other.m_pData = other.m_u.m_inline;
  if (bOtherInline)
    m_pData = m_u.m_inline;
}

void* CArrayStorage::GetDummyCell()
{
  // One cell a thread, so that two threads that read out of range never meet.
  static thread_local std::max_align_t aCell[64 / sizeof(std::max_align_t)];
  return aCell;
}

}  // namespace BSE
