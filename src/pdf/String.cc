#include "pdf/String.h"

#include "base/Memory.h"

#include <algorithm>
#include <utility>

namespace PDF
{

namespace
{

constexpr unsigned char g_nNoData = 0;

}  // namespace

CString::CString(CString&& other) noexcept
    : m_pData(std::exchange(other.m_pData, nullptr)), m_nLength(std::exchange(other.m_nLength, 0))
{
}

CString& CString::operator=(const CString& other)
{
  if (this != &other)
    *this = CString(other);
  return *this;
}

CString& CString::operator=(CString&& other) noexcept
{
  std::swap(m_pData, other.m_pData);
  std::swap(m_nLength, other.m_nLength);
  return *this;
}

CString::~CString()
{
  BSE::Free(m_pData);
}

void CString::Wipe()
{
  BSE::Wipe(m_pData, static_cast<std::size_t>(m_nLength));
}

const unsigned char* CString::GetData() const
{
  return m_pData ? m_pData : &g_nNoData;
}

int CString::Compare(const CString& other) const
{
  const int nCommon = std::min(m_nLength, other.m_nLength);
  const int nOrder = nCommon > 0 ? std::memcmp(m_pData, other.m_pData, static_cast<std::size_t>(nCommon)) : 0;
  return nOrder != 0 ? nOrder : (m_nLength > other.m_nLength) - (m_nLength < other.m_nLength);
}

void CString::Assign(const void* pData, int nLength)
{
  if (nLength <= 0)
    return;
  const auto nBytes = static_cast<std::size_t>(nLength);
  m_pData = static_cast<unsigned char*>(BSE::Allocate(nBytes + 1));
  std::memcpy(m_pData, pData, nBytes);
  m_pData[nBytes] = 0;
  m_nLength = nLength;
}

}  // namespace PDF
