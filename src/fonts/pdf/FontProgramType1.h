#pragma once

#include "fonts/pdf/FontProgram.h"
#include "fonts/type1/PFB.h"

namespace PDF
{

// A Type 1 program.
class CFontProgramType1 : public CFontProgram
{
public:
  explicit CFontProgramType1(BSE::IErrorContext* pErrorContext)
      : m_pErrorContext(pErrorContext), m_font(pErrorContext)
  {
  }

  TFontKind GetKind() const override { return eFontType1; }
  int GetFontFileKey() const override { return 1; }
  const char* GetFileNameTemplate() const override { return "fnt%d.pfb"; }
  bool Write(BSE::IByteStream& stream, unsigned nUsage, int* pLengths) override;
  bool Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck) override;
  bool IsValid() const override { return m_bValid; }
  int GetGlyphCount() const override { return m_font.GetGlyphCount(); }
  int GetGlyphIndexByName(const char* szName) override;
  int GetGlyphIndexByCode(unsigned nCode) override;
  const char* GetIntrinsicName(unsigned nCode) override;
  bool HasGlyph(int nGlyph) const override { return !m_font.GetCharString(nGlyph).empty(); }
  int GetFontFlags() override;
  TFontBox GetFontBBox() override;
  double GetItalicAngle() override { return m_font.GetNumber(PFB::eItalicAngle); }
  double GetStemV() override { return Scale(m_font.GetNumber(PFB::eStdVW)); }
  double GetStemH() override { return Scale(m_font.GetNumber(PFB::eStdHW)); }
  double GetUnitsPerEm() override;
  double GetWidth(int nGlyph) override;
  bool GetOutline(int nGlyph, FONT::CGlyph& outline) override { return m_font.GetGlyph(nGlyph, outline); }
  bool CanSubset() override;
  bool Subset(unsigned nUsage) override;
  void HashMergeKey(BSE::CHashFunction& hash) override;
  int DuplicateGlyph(int nGlyph, int nCode, const char* szName) override;
  BSE::CScopedPtr<CFontProgram> ToCFF() override;

  PFB::CPFB& GetFont() { return m_font; }

  // For a font that was made and not read.
  void SetValid() { m_bValid = true; }

protected:
  TMergeResult DoMerge(CFontProgram& other, unsigned nUsage) override;
  std::span<const char> FindGlyphName(int nGlyph) override { return m_font.GetGlyphName(nGlyph); }

private:
  double Scale(double dValue) { return dValue * 1000 / GetUnitsPerEm(); }

  BSE::IErrorContext* m_pErrorContext;
  PFB::CPFB m_font;
  CNamePool m_encoded;
  const char* m_aEncoded[256] = {};
  bool m_bValid = false;
};

}  // namespace PDF
