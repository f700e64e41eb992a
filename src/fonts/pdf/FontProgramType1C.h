#pragma once

#include "fonts/cff/CFF.h"
#include "fonts/pdf/FontProgram.h"

namespace PDF
{

// A program in the Compact Font Format, with glyphs by names or by CIDs.
class CFontProgramType1C : public CFontProgram
{
public:
  explicit CFontProgramType1C(BSE::IErrorContext* pErrorContext)
      : m_pErrorContext(pErrorContext), m_font(pErrorContext)
  {
  }

  bool IsCIDKeyed() const override { return m_font.IsCIDKeyed(); }
  TFontKind GetKind() const override { return eFontType1C; }
  int GetFontFileKey() const override { return 3; }
  const char* GetFileNameTemplate() const override { return "fnt%d.cff"; }
  bool Write(BSE::IByteStream& stream, unsigned nUsage, int* pLengths) override;
  bool Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck) override;
  bool IsValid() const override { return m_bValid; }
  int GetSupplement() const override;
  bool HasOrdering(const char* szOrdering) const override;
  int GetGlyphCount() const override { return m_font.GetGlyphCount(); }
  int GetGlyphIndexByName(const char* szName) override;
  int GetGlyphIndexByCode(unsigned nCode) override
  {
    return nCode < 256 && !IsCIDKeyed() ? m_font.GetEncodedGlyph(static_cast<int>(nCode)) : 0;
  }
  int GetGlyphIndexByCID(int nCID) const override;
  bool HasGlyph(int nGlyph) const override { return !m_font.GetCharString(nGlyph).empty(); }
  int GetFontFlags() override;
  TFontBox GetFontBBox() override;
  double GetItalicAngle() override { return m_font.GetTop().GetNumber(CFF::CTypes::eItalicAngle); }
  double GetAscent() override { return GetEdge(true); }
  double GetDescent() override { return GetEdge(false); }
  double GetStemV() override { return GetPrivateNumber(CFF::CTypes::eStdVW); }
  double GetStemH() override { return GetPrivateNumber(CFF::CTypes::eStdHW); }
  double GetUnitsPerEm() override;
  double GetWidth(int nGlyph) override;
  bool GetOutline(int nGlyph, FONT::CGlyph& outline) override { return m_font.GetGlyph(nGlyph, outline); }
  bool CanSubset() override { return HasUsedGlyphs() && m_font.CloseGlyphs(m_used); }
  bool Subset(unsigned nUsage) override;
  void HashMergeKey(BSE::CHashFunction& hash) override;
  int DuplicateGlyph(int nGlyph, int nCode, const char* szName) override;
  bool MakeCIDKeyed() override;
  bool SetCIDs(std::span<const std::uint16_t> cids) override { return m_font.SetCIDs(cids); }
  BSE::CScopedPtr<CFontProgram> ToType1(std::span<const char* const, 256> names,
                                        std::span<const std::uint16_t> glyphs) override;

  // Reads data that outlive the program.
  bool Borrow(std::span<const unsigned char> data, const char* szName)
  {
    return m_bValid = m_font.Borrow(data, szName);
  }

  // For a font that was made and not read.
  void SetValid() { m_bValid = true; }

  CFF::CCFF& GetFont() { return m_font; }

protected:
  TMergeResult DoMerge(CFontProgram& other, unsigned nUsage) override;
  std::span<const char> FindGlyphName(int nGlyph) override { return m_font.GetGlyphName(nGlyph); }

private:
  // That of the first glyph, which no subset is without.
  const CFF::TFontDict& GetDict() const { return m_font.GetFontDict(m_font.GetFontDictOf(0)); }
  double GetPrivateNumber(CFF::CTypes::TKey nKey);
  double GetEdge(bool bTop);
  double Scale(double dValue) { return dValue * 1000 / GetUnitsPerEm(); }

  BSE::IErrorContext* m_pErrorContext;
  CFF::CCFF m_font;
  bool m_bValid = false;
};

}  // namespace PDF
