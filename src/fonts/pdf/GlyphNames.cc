#include "fonts/pdf/GlyphNames.h"

#include "base/Unicode.h"

#include <cstring>

namespace PDF
{

namespace
{

struct TUnicodeName
{
  std::uint16_t m_nCharacter;
  std::uint16_t m_nName;
};

#include "fonts/pdf/GlyphNames.inc"

constexpr int g_nNames = std::size(g_nameOffsets);

// Values from here on are places in the table of sequences: no glyph stands for a surrogate.
constexpr unsigned g_nFirstSequence = 0xD800;
constexpr unsigned g_nLastSequence = 0xDFFF;

// Writes text as far as there is room, and counts all of it.
class CTextCounter
{
public:
  CTextCounter(char16_t* pUnits, int nSize) : m_pUnits(pUnits), m_nSize(nSize) {}
  void Add(char16_t nUnit)
  {
    if (m_nCount < m_nSize)
      m_pUnits[m_nCount] = nUnit;
    ++m_nCount;
  }
  void AddCharacter(char32_t nCharacter)
  {
    char16_t units[2];
    const int nUnits = BSE::EncodeCharacter(nCharacter, units);
    for (int i = 0; i < nUnits; ++i)
      Add(units[i]);
  }
  int GetCount() const { return m_nCount; }

private:
  char16_t* m_pUnits;
  int m_nSize;
  int m_nCount = 0;
};

int CompareName(int nIndex, const char* pName, std::size_t nLength)
{
  const char* szKnown = g_names + g_nameOffsets[nIndex];
  const int nOrder = std::strncmp(szKnown, pName, nLength);
  return nOrder != 0 ? nOrder : (szKnown[nLength] == 0 ? 0 : 1);
}

int FindName(const char* pName, std::size_t nLength)
{
  int nFirst = 0;
  int nEnd = g_nNames;
  while (nFirst < nEnd)
  {
    const int nMiddle = (nFirst + nEnd) / 2;
    const int nOrder = CompareName(nMiddle, pName, nLength);
    if (nOrder == 0)
      return nMiddle;
    if (nOrder < 0)
      nFirst = nMiddle + 1;
    else
      nEnd = nMiddle;
  }
  return -1;
}

// Digits of a value in upper case, as the rules want them; false for others.
bool ReadHex(const char* pDigits, std::size_t nDigits, char32_t& nValue)
{
  nValue = 0;
  for (std::size_t i = 0; i < nDigits; ++i)
  {
    const char c = pDigits[i];
    if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F')))
      return false;
    nValue = nValue * 16 + static_cast<char32_t>(c <= '9' ? c - '0' : c - 'A' + 10);
  }
  return nDigits > 0;
}

bool IsCharacter(char32_t nCharacter)
{
  return nCharacter > 0 && nCharacter <= 0x10FFFF && !(nCharacter >= 0xD800 && nCharacter < 0xE000);
}

void AddKnown(int nName, CTextCounter& text)
{
  const unsigned nValue = g_unicode[nName];
  if (nValue < g_nFirstSequence || nValue > g_nLastSequence)
  {
    if (nValue != 0)
      text.Add(static_cast<char16_t>(nValue));
    return;
  }
  const std::uint16_t* pSequence = g_sequences + (nValue - g_nFirstSequence);
  for (int i = 1; i <= pSequence[0]; ++i)
    text.Add(static_cast<char16_t>(pSequence[i]));
}

void AddComponent(const char* pName, std::size_t nLength, CTextCounter& text)
{
  if (const int nName = FindName(pName, nLength); nName >= 0)
  {
    AddKnown(nName, text);
    return;
  }
  char32_t nCharacter = 0;
  if (nLength >= 7 && std::strncmp(pName, "uni", 3) == 0 && (nLength - 3) % 4 == 0)
  {
    for (std::size_t i = 3; i < nLength; i += 4)
      if (!ReadHex(pName + i, 4, nCharacter) || !IsCharacter(nCharacter))
        return;
    for (std::size_t i = 3; i < nLength; i += 4)
      if (ReadHex(pName + i, 4, nCharacter))
        text.AddCharacter(nCharacter);
  }
  else if (nLength >= 5 && nLength <= 7 && pName[0] == 'u' && ReadHex(pName + 1, nLength - 1, nCharacter) &&
           IsCharacter(nCharacter))
    text.AddCharacter(nCharacter);
}

}  // namespace

int FindGlyphName(const char* szName)
{
  return szName ? FindName(szName, std::strlen(szName)) : -1;
}

const char* GetGlyphName(int nIndex)
{
  return g_names + g_nameOffsets[nIndex];
}

const char* FindCharacterName(char32_t nCharacter)
{
  const auto* pEnd = std::end(g_unicodeNames);
  const auto* pFound = std::lower_bound(std::begin(g_unicodeNames), pEnd, nCharacter,
                                        [](const TUnicodeName& entry, char32_t nOther)
                                        { return entry.m_nCharacter < nOther; });
  return pFound != pEnd && pFound->m_nCharacter == nCharacter ? GetGlyphName(pFound->m_nName) : nullptr;
}

int GetGlyphText(const char* szName, char16_t* pUnits, int nSize)
{
  if (!szName)
    return 0;
  CTextCounter text(pUnits, nSize);
  const std::size_t nLength = std::strcspn(szName, ".");
  for (std::size_t nStart = 0; nStart < nLength;)
  {
    const std::size_t nPart = std::min(std::strcspn(szName + nStart, "_"), nLength - nStart);
    AddComponent(szName + nStart, nPart, text);
    nStart += nPart + 1;
  }
  return text.GetCount();
}

CNamePool::~CNamePool()
{
  for (char* pBlock : m_blocks.GetSpan())
    BSE::Free(pBlock);
}

const char* CNamePool::Keep(const char* szName)
{
  return szName ? Keep(szName, std::strlen(szName)) : nullptr;
}

const char* CNamePool::Keep(const char* pName, std::size_t nLength)
{
  if (const int nKnown = FindName(pName, nLength); nKnown >= 0)
    return GetGlyphName(nKnown);
  if (m_blocks.IsEmpty() || m_nFree <= nLength)
  {
    const std::size_t nSize = std::max(g_nBlockSize, nLength + 1);
    m_blocks.Reserve(m_blocks.GetSize() + 1);
    m_blocks.Add(static_cast<char*>(BSE::Allocate(nSize)));
    m_nFree = nSize;
    m_nBlock = nSize;
  }
  char* pPlace = m_blocks[m_blocks.GetSize() - 1] + (m_nBlock - m_nFree);
  std::memcpy(pPlace, pName, nLength);
  pPlace[nLength] = 0;
  m_nFree -= nLength + 1;
  return pPlace;
}

}  // namespace PDF
