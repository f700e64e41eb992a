#pragma once

#include "base/BasicArray.h"

#include <cstddef>
#include <cstdint>

namespace PDF
{

// The names of glyphs that are known: those of the Adobe Glyph List and of the standard fonts, in the order
// of their bytes.

// Index of a name, -1 if it is not known. A null name is not.
int FindGlyphName(const char* szName);

// Of an index that was found.
const char* GetGlyphName(int nIndex);

// The name that is preferred for a character; null if it has none.
const char* FindCharacterName(char32_t nCharacter);

// What a glyph's name says of its text, by the rules of the Adobe Glyph List: a known name, "uni" with values
// of four digits, "u" with one of four to six, several of these joined by "_", and what follows a dot does
// not count. Answers the UTF-16 units that there are, of which as many are written as there is room for; 0
// for a name that says nothing.
int GetGlyphText(const char* szName, char16_t* pUnits, int nSize);

// Text that stays where it is until the pool goes.
class CNamePool
{
public:
  CNamePool() = default;
  CNamePool(const CNamePool&) = delete;
  CNamePool& operator=(const CNamePool&) = delete;
  ~CNamePool();

  // The name ended by zero; a known one is not copied.
  const char* Keep(const char* pName, std::size_t nLength);
  const char* Keep(const char* szName);

private:
  static constexpr std::size_t g_nBlockSize = 1024;

  BSE::CPtrArray<char> m_blocks;
  std::size_t m_nBlock = 0;  // size of the last block, and what of it is free
  std::size_t m_nFree = 0;
};

}  // namespace PDF
