#pragma once

#include "fonts/installed/StaticInstance.h"
#include "fonts/pdf/CompositeFont.h"

namespace PDF
{

// Finds glyphs by the characters that their names stand for.
class CNamedGlyphs
{
public:
  // Borrows the program.
  explicit CNamedGlyphs(CFontProgram& program) : m_program(program) {}
  CNamedGlyphs(const CNamedGlyphs&) = delete;
  CNamedGlyphs& operator=(const CNamedGlyphs&) = delete;

  // 0 without one.
  int Find(char32_t nCharacter);

private:
  struct TNamed
  {
    char32_t m_nCharacter;
    int m_nGlyph;
  };

  CFontProgram& m_program;
  BSE::CBasicArray<TNamed> m_glyphs;  // by character, once one was asked for
};

// Finds the glyphs that a program has for the codes of a simple font which it is to be embedded in, and says
// by which names readers find them too.
class CSimpleGlyphs
{
public:
  // Both are borrowed. The font is as it was: without a program.
  CSimpleGlyphs(CFont& font, CFontProgram& program);
  CSimpleGlyphs(const CSimpleGlyphs&) = delete;
  CSimpleGlyphs& operator=(const CSimpleGlyphs&) = delete;
  ~CSimpleGlyphs() = default;

  // False if the program lacks the glyph of a code that text shows: that is nMissing then.
  bool Find(int& nMissing);

  // Whether the font's own entry names all codes as they are found.
  bool IsEncodingKept() const;

  // Whether the program finds all of them by its own encoding, so that no entry is needed.
  bool IsIntrinsic() const;

  // An encoding of the names that were found.
  CObjectPtr MakeEncoding() const;

  // The program's width for a code; 0 for one without a glyph.
  double GetWidth(unsigned nCode) const
  {
    return m_glyphs[nCode] > 0 ? m_program.GetWidth(m_glyphs[nCode]) : 0;
  }

private:
  const char* FindName(unsigned nCode);

  CFont& m_font;
  CFontProgram& m_program;
  CCharacterText m_text;
  BSE::CObjectPtr<CEncoding> m_pEncoding;  // the font's
  CNamePool m_pool;
  CNamedGlyphs m_named;
  const char* m_names[CSimpleFont::g_nCodes] = {};  // null for codes that are not used
  int m_glyphs[CSimpleFont::g_nCodes] = {};
};

// The same for composite fonts that share a descendant: glyphs for its CIDs.
class CCompositeGlyphs
{
public:
  // All are borrowed. bOwn: the program was made for the fonts, and knows their CIDs.
  CCompositeGlyphs(std::span<CFont* const> fonts, CFontProgram& program, bool bOwn)
      : m_fonts(fonts), m_program(program), m_bByCID(bOwn)
  {
  }
  CCompositeGlyphs(const CCompositeGlyphs&) = delete;
  CCompositeGlyphs& operator=(const CCompositeGlyphs&) = delete;
  ~CCompositeGlyphs() = default;

  // As above.
  bool Find(int& nMissing);

  // Whether the descendant finds its glyphs by the program as it is, with the map.
  bool IsProgramKept() const { return m_bByCID || m_program.GetKind() == eFontTrueType; }

  // Else the program that is needed instead, made of the one that was given. Null if it cannot be made.
  BSE::CScopedPtr<CFontProgram> MakeProgram() const;

  // Glyphs of CIDs, as the stream that a program of TrueType needs.
  BSE::CObjectPtr<BSE::IByteStream> MakeMap() const;

private:
  bool FindByText(int& nMissing);
  bool AssignCIDs(CFontProgram& program) const;

  std::span<CFont* const> m_fonts;
  CFontProgram& m_program;
  BSE::CBasicArray<std::uint16_t> m_glyphs;  // of CIDs, as far as any is used; 0 for those that are not
  bool m_bByCID;                             // the program knows the CIDs by itself
};

}  // namespace PDF
