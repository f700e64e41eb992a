#pragma once

#include "base/BasicString.h"
#include "content/ContentResource.h"
#include "document/ObjectHasher.h"
#include "document/Rectangle.h"
#include "fonts/pdf/CMapEncoding.h"
#include "fonts/pdf/FontDescriptor.h"
#include "fonts/pdf/ToUnicode.h"

namespace PDF
{

class CFontRegistry;

// Of a glyph of a font that is written downwards, in its glyph space.
struct TVerticalMetrics
{
  double m_dX;  // where the origin is, from that of writing to the right
  double m_dY;
  double m_dMove;  // downwards, as a rule below 0
};

// A font dictionary (ISO 32000-1, 9.5 to 9.8) with what it leads to. Characters are what codes stand for: of
// a simple font the codes themselves, of a composite one the CIDs. What is asked for is read then, and kept
// until ResetWidths or Reset. Owned by a registry, which must outlive it.
class CFont : public BSE::CObject, public IContentFont
{
public:
  bool IsValid() const override { return static_cast<bool>(m_object); }

  const CObjectPtr& GetObject() const { return m_object; }

  // Another dictionary takes the place of this one.
  void SetObject(const CObjectPtr& object) { m_object = object; }

  virtual bool IsType3() const { return false; }
  virtual TFontKind GetKind() const = 0;

  bool IsComposite() const override { return false; }
  bool IsVertical() const override { return false; }
  double GetGlyphSpaceFactor() const override { return 0.001; }
  double GetSpaceWidth() const override { return 0; }
  double GetDefaultVerticalWidth() const override { return -1000; }
  std::span<const double> GetWidths() const override { return {}; }
  double GetVerticalWidth(int nCharacter) const override { return GetVerticalMetrics(nCharacter).m_dMove; }
  int CodeToCID(unsigned nCode) const override;
  int Code2ToCID(unsigned nCode) const override;
  int LongCodeToCID(unsigned nCode, int nLength) const override;

  virtual TVerticalMetrics GetVerticalMetrics(int nCharacter) const;
  virtual double GetDefaultWidth() const { return 0; }

  // Changes the width of a character here, and not in the dictionary.
  virtual void SetWidth(int nCharacter, double dWidth) = 0;

  // Drops what was read of widths.
  virtual void ResetWidths() {}

  // Null without one. Of a composite font that of its descendant.
  virtual CFontDescriptor* GetFontDescriptor() const;

  // Null without one that is embedded.
  CFontFile* GetFontFile() const;

  // The embedded program; null without one and for one that cannot be read.
  CFontProgram* GetProgram() const;

  TRectangle GetFontBBox() const;
  CObjectPtr GetFontMatrix() const { return m_object["FontMatrix"]; }
  virtual CObjectPtr GetCharProc(unsigned) const { return {}; }

  // BaseFont, or else Name, or "Unknown"; as text and as it is.
  BSE::CStr16 GetName() const;
  const char* GetBaseName() const;

  // A name of the font after its program has changed: with a prefix that tells which of the glyphs are used,
  // in place of one that is there. The same name where that is not known.
  BSE::CStr8 MakeSubsetName(const char* szName) const;

  // Never null.
  virtual BSE::CObjectPtr<CEncoding> GetEncoding() const = 0;
  bool HasToUnicode() const { return static_cast<bool>(m_object["ToUnicode"]); }

  // What is known of the text of codes: never null, and it guesses where ToUnicode says nothing.
  BSE::CObjectPtr<IToUnicode> GetToUnicode() const;

  // What ToUnicode says, without guesses; null without one.
  CToUnicode* FindToUnicode() const;

  // The same, for this font alone to change.
  BSE::CObjectPtr<CToUnicode> GetWritableToUnicode();

  // The text of a character.
  int GetCharacterText(int nCharacter, char16_t* pUnits, int nSize) const;

  bool IsSymbolic() const;

  // Characters for which there is room in the table of those that are used.
  int GetCharCount() const { return m_used.GetSize(); }
  std::span<unsigned char> GetUsedChars() { return m_used.GetSpan(); }

  // False beyond the CIDs that there can be. The table never shrinks.
  bool GrowUsedChars(int nCount);

  // Whether a character is used, or may be.
  bool IsUsed(int nCharacter) const
  {
    return nCharacter < m_used.GetSize() && (m_bAllGlyphsUsed || m_used[nCharacter] != 0);
  }

  // Whether text may use characters in ways that the table does not show.
  bool AreAllGlyphsUsed() const { return m_bAllGlyphsUsed; }
  void SetAllGlyphsUsed() { m_bAllGlyphsUsed = true; }

  // The glyph in the program for each character; empty where that is the character's number, and without a
  // program. False if that cannot be told.
  virtual bool GetCodeToGlyphMap(BSE::CBasicArray<std::uint16_t>& map) const = 0;

  // Marks the glyphs that any reader could take for the characters that are used, in the program's table.
  virtual void MarkUsedGlyphs(CFontProgram& program) const = 0;

  // What is known of another one, whose dictionary this is: its use, and where the registry has it.
  void TakeUse(const CFont& other);

  // Of the dictionary as it was read first, by which the registry finds the font.
  const TObjectDigest& GetDigest() const { return m_digest; }
  void SetDigest(const TObjectDigest& digest) { m_digest = digest; }

  // The numbers of the objects whose dictionaries equal this one: who changes it has it take their places.
  std::span<const int> GetNumbers() const { return m_numbers.GetSpan(); }
  void AddNumber(int nNumber) { m_numbers.Add(nNumber); }

  // Whether the dictionary is direct in some place where it is used, and so cannot be changed there.
  bool HasDirectUse() const { return m_bDirectUse; }
  void SetDirectUse() { m_bDirectUse = true; }

  unsigned m_nOptimizeState = 0;  // what passes note of the font

protected:
  CFont(CFontRegistry& registry, const CObjectPtr& object, int nCharacters);

  // The text of the descriptor's flags and what else tells it.
  virtual bool FindSymbolic() const;

  // The entry of the font, in a composite one that of its descendant.
  virtual CObjectPtr GetDescriptorObject() const { return m_object["FontDescriptor"]; }

  // Calls fnVisit(nCharacter) for those that are used, or all where that is not known.
  template <class F>
  void ForEachUsed(F fnVisit) const
  {
    for (int i = 0; i < m_used.GetSize(); ++i)
      if (IsUsed(i))
        fnVisit(static_cast<unsigned>(i));
  }

  CFontRegistry& m_registry;
  CObjectPtr m_object;

private:
  const CObjectPtr m_origin;  // the registry knows the font by it
  TObjectDigest m_digest{};
  BSE::CBasicArray<unsigned char> m_used;
  BSE::CBasicArray<int> m_numbers;
  mutable BSE::CObjectPtr<CFontDescriptor> m_pDescriptor;
  mutable BSE::CObjectPtr<CToUnicode> m_pToUnicode;
  mutable BSE::CObjectPtr<IToUnicode> m_pReading;
  mutable int m_nSymbolic = -1;
  mutable bool m_bToUnicodeRead = false;
  bool m_bOwnToUnicode = false;
  bool m_bAllGlyphsUsed = false;
  bool m_bDirectUse = false;
};

// Simple fonts (ISO 32000-1, 9.6): codes of one byte.
class CSimpleFont : public CFont
{
public:
  static constexpr int g_nCodes = 256;

  double GetSpaceWidth() const override;
  std::span<const double> GetWidths() const override;
  double GetWidth(int nCharacter) const override;
  void SetWidth(int nCharacter, double dWidth) override;
  void ResetWidths() override { m_widths.RemoveAll(); }
  BSE::CObjectPtr<CEncoding> GetEncoding() const override { return &GetSimpleEncoding(); }
  CSimpleEncoding& GetSimpleEncoding() const;
  bool GetCodeToGlyphMap(BSE::CBasicArray<std::uint16_t>& map) const override;
  void MarkUsedGlyphs(CFontProgram& program) const override;

protected:
  // Room for the glyphs that readers find for a code in different ways.
  struct TGlyphs
  {
    int m_aGlyphs[8];
    int m_nCount = 0;
    void Add(int nGlyph)
    {
      if (nGlyph > 0 && m_nCount < static_cast<int>(std::size(m_aGlyphs)))
        m_aGlyphs[m_nCount++] = nGlyph;
    }
  };

  CSimpleFont(CFontRegistry& registry, const CObjectPtr& object) : CFont(registry, object, g_nCodes) {}

  // The first one is what the format says.
  virtual void FindGlyphs(CFontProgram& program, unsigned nCode, TGlyphs& glyphs) const;

  // Marks the glyphs that any reader could take for a code: those of FindGlyphs, and more.
  virtual void MarkCode(CFontProgram& program, unsigned nCode, std::span<unsigned char> used) const;
  static void MarkGlyph(std::span<unsigned char> used, int nGlyph)
  {
    if (nGlyph > 0 && std::cmp_less(nGlyph, used.size()))
      used[static_cast<std::size_t>(nGlyph)] = 1;
  }

  // The character that the name of a code stands for, 0 for none or several.
  char32_t FindCodeCharacter(unsigned nCode) const;

  // What the names of codes are where the dictionary does not say it.
  virtual BSE::CObjectPtr<CSimpleEncoding> CreateDefaultEncoding() const;
  virtual void ReadMissingWidths(std::span<double> widths) const;

private:
  BSE::CObjectPtr<CSimpleEncoding> CreateEncoding() const;
  void ReadWidths() const;

  mutable BSE::CObjectPtr<CSimpleEncoding> m_pEncoding;
  mutable BSE::CBasicArray<double> m_widths;
};

class CType1Font : public CSimpleFont
{
public:
  CType1Font(CFontRegistry& registry, const CObjectPtr& object) : CSimpleFont(registry, object) {}
  TFontKind GetKind() const override { return eFontType1; }
};

class CType1CFont : public CSimpleFont
{
public:
  CType1CFont(CFontRegistry& registry, const CObjectPtr& object) : CSimpleFont(registry, object) {}
  TFontKind GetKind() const override { return eFontType1; }
};

class CTrueTypeFont : public CSimpleFont
{
public:
  CTrueTypeFont(CFontRegistry& registry, const CObjectPtr& object) : CSimpleFont(registry, object) {}
  TFontKind GetKind() const override { return eFontTrueType; }

protected:
  bool FindSymbolic() const override;
  void FindGlyphs(CFontProgram& program, unsigned nCode, TGlyphs& glyphs) const override;
  void MarkCode(CFontProgram& program, unsigned nCode, std::span<unsigned char> used) const override;
  BSE::CObjectPtr<CSimpleEncoding> CreateDefaultEncoding() const override;

private:
  void FindByName(CFontProgram& program, unsigned nCode, TGlyphs& glyphs) const;
};

class CType3Font : public CSimpleFont
{
public:
  CType3Font(CFontRegistry& registry, const CObjectPtr& object) : CSimpleFont(registry, object) {}
  bool IsType3() const override { return true; }
  TFontKind GetKind() const override { return eFontType3; }
  double GetGlyphSpaceFactor() const override;
  CObjectPtr GetCharProc(unsigned nCode) const override;

protected:
  BSE::CObjectPtr<CSimpleEncoding> CreateDefaultEncoding() const override;
  void ReadMissingWidths(std::span<double>) const override {}
};

}  // namespace PDF
