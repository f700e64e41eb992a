#include "pdf/Name.h"

#include "base/Memory.h"

#include <limits>
#include <utility>

namespace PDF
{

CName::CName(CName&& other) noexcept : m_u(other.m_u), m_nLength(std::exchange(other.m_nLength, 0U))
{
  other.m_u.m_szInline[0] = '\0';
}

CName& CName::operator=(const CName& other)
{
  if (this == &other)
    return *this;
  Clear();
  Assign(other.GetText(), other.m_nLength);
  return *this;
}

CName& CName::operator=(CName&& other) noexcept
{
  std::swap(m_u, other.m_u);
  std::swap(m_nLength, other.m_nLength);
  return *this;
}

void CName::Assign(const char* pText, std::size_t nLength)
{
  if (nLength > std::numeric_limits<unsigned>::max() - 1)
    BSE::ThrowOutOfMemory();
  char* pTarget = m_u.m_szInline;
  if (nLength >= g_nInlineSize)
    pTarget = m_u.m_szHeap = static_cast<char*>(BSE::Allocate(nLength + 1));
  if (nLength > 0)
    std::memcpy(pTarget, pText, nLength);
  pTarget[nLength] = '\0';
  m_nLength = static_cast<unsigned>(nLength);
}

void CName::Clear()
{
  if (!IsInline())
    BSE::Free(m_u.m_szHeap);
  m_nLength = 0;
  m_u.m_szInline[0] = '\0';
}

}  // namespace PDF
