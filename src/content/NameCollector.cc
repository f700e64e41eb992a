// Looks for solidi, since between them nothing is of interest: most content is numbers.

#include "content/NameCollector.h"

#include "pdf/Token.h"

#include <cstring>

namespace PDF
{

void CNameCollector::Add(std::span<const unsigned char> bytes)
{
  std::size_t i = 0;
  while (i < bytes.size())
  {
    if (m_nLength < 0)
    {
      const void* pSolidus = std::memchr(bytes.data() + i, '/', bytes.size() - i);
      if (!pSolidus)
        return;
      i = static_cast<std::size_t>(static_cast<const unsigned char*>(pSolidus) - bytes.data()) + 1;
      m_nLength = 0;
    }
    for (; i < bytes.size() && IsRegular(bytes[i]); ++i)
      if (m_nLength < g_nMaxLength)
        m_name[m_nLength++] = static_cast<char>(bytes[i]);
      else
        m_bComplete = false;
    // The byte that ends a name may be the solidus of the next one.
    if (i < bytes.size())
      EndName();
  }
}

void CNameCollector::End()
{
  if (m_nLength >= 0)
    EndName();
}

void CNameCollector::EndName()
{
  AddWritten();
  m_nLength = -1;
}

void CNameCollector::EndPart()
{
  if (m_nLength >= 0)
    AddWritten();
}

void CNameCollector::AddWritten()
{
  m_name[m_nLength] = 0;
  AddName(m_name);
  if (!std::memchr(m_name, '#', static_cast<std::size_t>(m_nLength)))
    return;
  char szDecoded[g_nMaxLength + 1];
  int nDecoded = 0;
  for (int i = 0; i < m_nLength; ++i)
  {
    if (m_name[i] != '#')
    {
      szDecoded[nDecoded++] = m_name[i];
      continue;
    }
    // The zero after the name is no digit.
    const int nHigh = GetHexValue(static_cast<unsigned char>(m_name[i + 1]));
    if (nHigh < 0)
      continue;
    const int nLow = GetHexValue(static_cast<unsigned char>(m_name[i + 2]));
    szDecoded[nDecoded++] = static_cast<char>(nLow < 0 ? nHigh : nHigh * 16 + nLow);
    i += nLow < 0 ? 1 : 2;
  }
  szDecoded[nDecoded] = 0;
  AddName(szDecoded);
}

void CNameCollector::AddName(const char* szName)
{
  const std::size_t nSize = std::strlen(szName) + 1;
  if (m_names.Lookup(szName, nSize) >= 0)
    return;
  if (m_names.GetCount() < g_nMaxNames)
    m_names.SetAt(szName, nSize, nullptr);
  else
    m_bComplete = false;
}

}  // namespace PDF
