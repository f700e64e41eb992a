#include "images/color/RowMemo.h"

#include <cstring>

namespace PDF
{

void CRowMemo::Start(int nKeyBytes, int nResultBytes)
{
  m_nKey = nKeyBytes;
  m_nResult = nResultBytes;
  m_places.RemoveAll();
  m_places.SetSize(g_nPlaces * (1 + m_nKey + g_nMaxResult));
}

int CRowMemo::GetPlace(const unsigned char* pKey) const
{
  unsigned nHash = 2166136261U;
  for (int i = 0; i < m_nKey; ++i)
    nHash = (nHash ^ pKey[i]) * 16777619U;
  return static_cast<int>((nHash ^ nHash >> 15) % g_nPlaces) * (1 + m_nKey + g_nMaxResult);
}

const unsigned char* CRowMemo::Find(const unsigned char* pKey) const
{
  const unsigned char* pPlace = m_places.GetData() + GetPlace(pKey);
  const bool bFound = *pPlace != 0 && std::memcmp(pPlace + 1, pKey, static_cast<std::size_t>(m_nKey)) == 0;
  return bFound ? pPlace + 1 + m_nKey : nullptr;
}

void CRowMemo::Store(const unsigned char* pKey, const unsigned char* pResult)
{
  unsigned char* pPlace = m_places.GetData() + GetPlace(pKey);
  *pPlace = 1;
  std::memcpy(pPlace + 1, pKey, static_cast<std::size_t>(m_nKey));
  std::memcpy(pPlace + 1 + m_nKey, pResult, static_cast<std::size_t>(m_nResult));
}

}  // namespace PDF
