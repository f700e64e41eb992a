#include "pdf/StringPreparation.h"

#include "base/BasicArray.h"
#include "base/Unicode.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace PDF
{

namespace
{

// Full compatibility decomposition: m_nLength characters of g_decomposed.
struct TDecomposition
{
  char32_t m_nCharacter;
  std::uint16_t m_nOffset;
  std::uint16_t m_nLength;
};

struct TCombiningClass
{
  char32_t m_nCharacter;
  int m_nClass;
};

struct TComposition
{
  char32_t m_nFirst;
  char32_t m_nSecond;
  char32_t m_nComposed;
};

#include "pdf/Normalization.inc"

static_assert(std::ranges::is_sorted(g_decompositions, {}, &TDecomposition::m_nCharacter));
static_assert(std::ranges::is_sorted(g_combiningClasses, {}, &TCombiningClass::m_nCharacter));
static_assert(std::ranges::is_sorted(g_mappedAway) && std::ranges::is_sorted(g_spaces));

// Hangul syllables are composed by rule (the Unicode Standard, 3.12).
constexpr char32_t g_nSyllable = 0xAC00;
constexpr char32_t g_nLeading = 0x1100;
constexpr char32_t g_nVowel = 0x1161;
constexpr char32_t g_nTrailing = 0x11A7;
constexpr char32_t g_nLeadings = 19;
constexpr char32_t g_nVowels = 21;
constexpr char32_t g_nTrailings = 28;
constexpr char32_t g_nSyllables = g_nLeadings * g_nVowels * g_nTrailings;

using TText = BSE::CBasicArray<char32_t>;

// Position of a character in a sorted table, or null.
template <class T, std::size_t nSize>
const T* FindCharacter(const T (&table)[nSize], char32_t nCharacter)
{
  const T* p = std::ranges::lower_bound(table, nCharacter, {}, &T::m_nCharacter);
  return p != std::end(table) && p->m_nCharacter == nCharacter ? p : nullptr;
}

int GetClass(char32_t nCharacter)
{
  const TCombiningClass* p = FindCharacter(g_combiningClasses, nCharacter);
  return p ? p->m_nClass : 0;
}

void Decompose(char32_t nCharacter, TText& text)
{
  if (nCharacter >= g_nSyllable && nCharacter - g_nSyllable < g_nSyllables)
  {
    const char32_t nIndex = nCharacter - g_nSyllable;
    text.Add(g_nLeading + nIndex / (g_nVowels * g_nTrailings));
    text.Add(g_nVowel + nIndex / g_nTrailings % g_nVowels);
    if (nIndex % g_nTrailings != 0)
      text.Add(g_nTrailing + nIndex % g_nTrailings);
    return;
  }
  if (const TDecomposition* p = FindCharacter(g_decompositions, nCharacter))
    text.Append({g_decomposed + p->m_nOffset, p->m_nLength});
  else
    text.Add(nCharacter);
}

// Sorts each run of combining characters by class, equal classes kept in order.
void Reorder(std::span<char32_t> text)
{
  auto pRun = text.begin();
  while (pRun != text.end())
  {
    const auto pEnd = std::find_if(pRun, text.end(), [](char32_t n) { return GetClass(n) == 0; });
    std::stable_sort(pRun, pEnd, [](char32_t a, char32_t b) { return GetClass(a) < GetClass(b); });
    pRun = pEnd == text.end() ? pEnd : pEnd + 1;
  }
}

// The character that a pair makes, or 0.
char32_t ComposePair(char32_t nFirst, char32_t nSecond)
{
  if (nFirst - g_nLeading < g_nLeadings && nSecond - g_nVowel < g_nVowels)
    return g_nSyllable + ((nFirst - g_nLeading) * g_nVowels + (nSecond - g_nVowel)) * g_nTrailings;
  if (nFirst - g_nSyllable < g_nSyllables && (nFirst - g_nSyllable) % g_nTrailings == 0 &&
      nSecond - g_nTrailing - 1 < g_nTrailings - 1)
    return nFirst + (nSecond - g_nTrailing);
  const auto pRow = std::ranges::lower_bound(g_compositions, std::pair(nFirst, nSecond), {},
                                             [](const TComposition& row)
                                             { return std::pair(row.m_nFirst, row.m_nSecond); });
  const bool bFound =
      pRow != std::end(g_compositions) && pRow->m_nFirst == nFirst && pRow->m_nSecond == nSecond;
  return bFound ? pRow->m_nComposed : 0;
}

// Joins each starter with what follows it, unless a character of the same or a higher class comes between.
void Compose(TText& text)
{
  int nStarter = -1;
  int nLastClass = 0;
  int nOut = 0;
  for (int i = 0; i < text.GetSize(); ++i)
  {
    const char32_t nCharacter = text[i];
    const int nClass = GetClass(nCharacter);
    const bool bReachable =
        nStarter >= 0 && (nStarter == nOut - 1 || (nLastClass < nClass && nLastClass != 0));
    const char32_t nComposed = bReachable ? ComposePair(text[nStarter], nCharacter) : 0;
    if (nComposed != 0)
    {
      text[nStarter] = nComposed;
      continue;
    }
    if (nClass == 0)
      nStarter = nOut;
    nLastClass = nClass;
    text[nOut++] = nCharacter;
  }
  text.Truncate(nOut);
}

}  // namespace

bool PrepareString(const BSE::CStr16& text, BSE::CStr16& result)
{
  BSE::CBasicString<char32_t> characters;
  if (!BSE::ConvertText(text.GetSpan(), characters))
    return false;
  TText prepared;
  for (const char32_t nCharacter : characters.GetSpan())
    if (std::ranges::binary_search(g_spaces, nCharacter))
      prepared.Add(U' ');
    else if (!std::ranges::binary_search(g_mappedAway, nCharacter))
      Decompose(nCharacter, prepared);
  Reorder(prepared.GetSpan());
  Compose(prepared);
  return BSE::ConvertText(std::span<const char32_t>(prepared.GetSpan()), result);
}

}  // namespace PDF
