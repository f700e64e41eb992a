#pragma once

#include "fonts/pdf/FontRegistry.h"

namespace PDF
{

// A font program with the fonts of the document that are drawn with it.
class CFontUse : public BSE::CObject
{
public:
  explicit CFontUse(CFontFile& file) : m_file(file) {}
  bool IsValid() const override { return true; }
  CFontFile& GetFile() const { return m_file; }

  BSE::CPtrArray<CFont> m_fonts;  // in the order of their first use
  bool m_bFixed = false;          // the program cannot become one of another kind
  bool m_bKept = false;           // the program stays as it is
  bool m_bNeeded = false;         // dictionaries have changed that go with the new program alone

private:
  CFontFile& m_file;
};

// The codes of a simple font from the first to the last one that is used; the last code alone if none is.
struct TUsedCodes
{
  int m_nFirst = 0;
  int m_nLast = CSimpleFont::g_nCodes - 1;
};

inline TUsedCodes FindUsedCodes(const CFont& font)
{
  TUsedCodes codes;
  while (codes.m_nFirst < codes.m_nLast && !font.IsUsed(codes.m_nFirst))
    ++codes.m_nFirst;
  while (codes.m_nLast > codes.m_nFirst && !font.IsUsed(codes.m_nLast))
    --codes.m_nLast;
  return codes;
}

using CFontUses = BSE::CValueKeyObjectMap<const CFontFile*, CFontUse>;

}  // namespace PDF
