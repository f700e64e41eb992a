#pragma once

#include "fonts/cff/CFF.h"
#include "fonts/installed/FontTarget.h"
#include "fonts/installed/InstalledFont.h"
#include "fonts/pdf/Font.h"

namespace PDF
{

class CVariableFont;

// Tells which characters those of a font are, where each is one: by ToUnicode, or by the name that a simple
// font has for it, or the code that a predefined encoding has for a CID.
class CCharacterText
{
public:
  // Borrows the font.
  explicit CCharacterText(const CFont& font);
  CCharacterText(const CCharacterText&) = delete;
  CCharacterText& operator=(const CCharacterText&) = delete;
  ~CCharacterText() = default;

  // 0 where it is not known, or several.
  char32_t Find(int nCharacter) const;

private:
  const CFont& m_font;
  BSE::CObjectPtr<CStandardCMapEncoding> m_pCollection;  // from UTF-16 to the CIDs of the font
};

// Makes a CFF of a variable font that stands for a font of a document: in its weight and width, with the
// glyphs of its used characters, which are found by the names and codes of the font, or by CIDs.
class CStaticInstance
{
public:
  // All are borrowed.
  CStaticInstance(const CFont& font, const CFontTarget& target) : m_font(font), m_target(target), m_text(font)
  {
  }
  CStaticInstance(const CStaticInstance&) = delete;
  CStaticInstance& operator=(const CStaticInstance&) = delete;
  ~CStaticInstance() = default;

  // Null, which is traced, for a font that does not vary or lacks a glyph. Never for a font of which nobody
  // knows which characters are used.
  BSE::CScopedPtr<CFontProgram> Make(const CInstalledFont& installed);

private:
  bool AddGlyphs(CVariableFont& variable);
  bool AddGlyph(CVariableFont& variable, int nCharacter);
  bool AddOutline(CVariableFont& variable, int nGlyph, const char* szName);

  const CFont& m_font;
  const CFontTarget& m_target;
  CCharacterText m_text;
  BSE::CScopedPtr<CFontProgram> m_pProgram;
  CFF::CCFF* m_pCFF = nullptr;
  BSE::CBasicArray<std::uint16_t> m_cids;  // of glyphs
  TFontBox m_box;
};

}  // namespace PDF
