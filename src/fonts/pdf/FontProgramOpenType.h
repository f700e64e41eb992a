#pragma once

#include "fonts/pdf/FontProgramType1C.h"
#include "fonts/ttf/OTF.h"

namespace PDF
{

// Outlines of CFF in the tables of OpenType.
class CFontProgramOpenType : public CFontProgram
{
public:
  explicit CFontProgramOpenType(BSE::IErrorContext* pErrorContext);

  bool IsCIDKeyed() const override { return m_pCFF->IsCIDKeyed(); }
  TFontKind GetKind() const override { return eFontType1C; }
  bool IsOpenType() const override { return true; }
  int GetFontFileKey() const override { return 3; }
  const char* GetFileNameTemplate() const override { return "fnt%d.cff"; }
  bool Write(BSE::IByteStream& stream, unsigned nUsage, int* pLengths) override;
  bool Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck) override;
  bool IsValid() const override { return m_bValid; }
  int GetSupplement() const override { return m_pCFF->GetSupplement(); }
  int GetGlyphCount() const override { return m_pCFF->GetGlyphCount(); }
  int GetGlyphIndexByName(const char* szName) override { return m_pCFF->GetGlyphIndexByName(szName); }
  int GetGlyphIndexByCode(unsigned nCode) override { return m_pCFF->GetGlyphIndexByCode(nCode); }
  int GetGlyphIndexByUnicode(char32_t nCharacter) override;
  int GetGlyphIndexByCID(int nCID) const override { return m_pCFF->GetGlyphIndexByCID(nCID); }
  bool HasGlyph(int nGlyph) const override { return m_pCFF->HasGlyph(nGlyph); }
  int GetWeightClass() const override;
  bool HasOrdering(const char* szOrdering) const override { return m_pCFF->HasOrdering(szOrdering); }
  unsigned GetEmbeddingRights() const override { return m_font.GetOS2().m_nFsType; }
  int GetFontFlags() override { return m_pCFF->GetFontFlags(); }
  TFontBox GetFontBBox() override { return m_pCFF->GetFontBBox(); }
  double GetItalicAngle() override { return m_pCFF->GetItalicAngle(); }
  double GetAscent() override { return m_pCFF->GetAscent(); }
  double GetDescent() override { return m_pCFF->GetDescent(); }
  double GetStemV() override { return m_pCFF->GetStemV(); }
  double GetStemH() override { return m_pCFF->GetStemH(); }
  double GetUnitsPerEm() override { return m_pCFF->GetUnitsPerEm(); }
  double GetWidth(int nGlyph) override { return m_pCFF->GetWidth(nGlyph); }
  bool GetOutline(int nGlyph, FONT::CGlyph& outline) override { return m_pCFF->GetOutline(nGlyph, outline); }

  // The tables around the outlines know glyphs by their numbers, which change in a subset: only the outlines
  // alone can be subset, see ToBareCFF.
  bool CanSubset() override { return false; }
  bool Subset(unsigned) override { return false; }
  void HashMergeKey(BSE::CHashFunction& hash) override;
  BSE::CScopedPtr<CFontProgram> ToBareCFF() override;
  bool MakeCIDKeyed() override;

  // The outlines, which stay with this program.
  CFontProgramType1C& GetCFF() { return *m_pCFF; }

protected:
  std::span<const char> FindGlyphName(int nGlyph) override { return m_pCFF->GetFont().GetGlyphName(nGlyph); }

private:
  BSE::IErrorContext* m_pErrorContext;
  OTF::COTF m_font;
  BSE::CScopedPtr<CFontProgramType1C> m_pCFF;  // reads the font's data
  bool m_bValid = false;
  bool m_bChanged = false;  // the outlines are not those of the table any more
};

}  // namespace PDF
