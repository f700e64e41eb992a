#pragma once

#include "base/BasicMap.h"
#include "fonts/pdf/FontProgram.h"
#include "fonts/ttf/TTF.h"

namespace PDF
{

// A program with outlines of TrueType.
class CFontProgramTrueType : public CFontProgram
{
public:
  explicit CFontProgramTrueType(BSE::IErrorContext* pErrorContext);

  TFontKind GetKind() const override { return eFontTrueType; }
  int GetFontFileKey() const override { return 2; }
  const char* GetFileNameTemplate() const override { return "fnt%d.ttf"; }
  bool Write(BSE::IByteStream& stream, unsigned nUsage, int* pLengths) override;
  bool Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck) override;
  bool IsValid() const override { return m_bValid; }
  int GetGlyphCount() const override { return m_pFont->GetGlyphCount(); }
  int GetGlyphIndexByName(const char* szName) override;

  // As a reader finds the glyph of a code in a symbolic font.
  int GetGlyphIndexByCode(unsigned nCode) override;
  int GetGlyphIndexByUnicode(char32_t nCharacter) override;
  bool HasUnknownCodes() const override { return m_pFont->GetCMap().HasUnread(); }
  bool HasGlyph(int nGlyph) const override { return nGlyph >= 0 && nGlyph < GetGlyphCount(); }
  int GetWeightClass() const override;
  unsigned GetEmbeddingRights() const override { return m_pFont->GetOS2().m_nFsType; }
  int GetFontFlags() override;
  TFontBox GetFontBBox() override;
  double GetItalicAngle() override;
  double GetAscent() override;
  double GetDescent() override;
  double GetLeading() override;
  double GetCapHeight() override;
  double GetXHeight() override;
  double GetStemV() override;
  double GetWidth(int nGlyph) override;
  double GetUnitsPerEm() override;
  bool GetOutline(int nGlyph, FONT::CGlyph& outline) override;
  bool CanSubset() override;
  bool Subset(unsigned nUsage) override;
  void HashMergeKey(BSE::CHashFunction& hash) override;

  // The name is nobody's: names are found by codes.
  int DuplicateGlyph(int nGlyph, int nCode, const char* szName) override;

  BSE::CScopedPtr<CFontProgram> ToType1(std::span<const char* const, 256> names,
                                        std::span<const std::uint16_t> glyphs) override;

  // Whether cmap has a subtable for this platform and encoding.
  bool HasCMap(int nPlatform, int nEncoding) const
  {
    return m_pFont->GetCMap().Find(nPlatform, nEncoding) >= 0;
  }

  // Calls fnVisit(nGlyph) with what any subtable has for a code or a character, in the pages of symbols too.
  template <class F>
  void ForEachMapped(unsigned nCode, char32_t nCharacter, F fnVisit) const
  {
    const TTF::CCMap& cmap = m_pFont->GetCMap();
    for (int i = 0; i < cmap.GetSubtableCount(); ++i)
      for (const std::uint32_t nValue :
           {std::uint32_t{nCode}, 0xF000 + nCode, 0xF100 + nCode, 0xF200 + nCode, std::uint32_t{nCharacter}})
        fnVisit(cmap.GetGlyph(i, nValue));
  }

  // By the subtable for a platform and an encoding, 0 for none.
  int GetMappedGlyph(int nPlatform, int nEncoding, std::uint32_t nCode) const;

  TTF::CTTF& GetFont() { return *m_pFont; }

protected:
  TMergeResult DoMerge(CFontProgram& other, unsigned nUsage) override;
  std::span<const char> FindGlyphName(int nGlyph) override;
  char32_t FindCharacter(int nGlyph) override;

  // A number of the font in thousandths.
  double Scale(double dValue) const;

  BSE::IErrorContext* m_pErrorContext = nullptr;
  BSE::CScopedPtr<TTF::CTTF> m_pFont;
  bool m_bValid = false;

private:
  bool m_bSubset = false;                   // glyphs that are not marked have been left out
  BSE::CBasicArray<char32_t> m_characters;  // of each glyph, once one was asked for
  BSE::CBasicMap m_glyphs;                  // by name, once one was asked for
  bool m_bNamesRead = false;                // which the font may have none of
};

}  // namespace PDF
