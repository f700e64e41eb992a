#pragma once

#include "fonts/pdf/Font.h"
#include "fonts/pdf/WidthTable.h"

namespace PDF
{

// The fonts of glyphs by CID (ISO 32000-1, 9.7.4), which only a composite font leads to.
class CCIDFont : public CFont
{
public:
  bool IsComposite() const override { return true; }
  double GetWidth(int nCharacter) const override;
  double GetDefaultWidth() const override;
  double GetDefaultVerticalWidth() const override;
  TVerticalMetrics GetVerticalMetrics(int nCharacter) const override;
  void SetWidth(int nCharacter, double dWidth) override;
  void ResetWidths() override;
  BSE::CObjectPtr<CEncoding> GetEncoding() const override;
  bool GetCodeToGlyphMap(BSE::CBasicArray<std::uint16_t>& map) const override;
  void MarkUsedGlyphs(CFontProgram& program) const override;

  // The glyphs for the CIDs of a composite font, of which so many are asked for. As GetCodeToGlyphMap.
  virtual bool GetGlyphs(int nCount, BSE::CBasicArray<std::uint16_t>& map) const = 0;

protected:
  CCIDFont(CFontRegistry& registry, const CObjectPtr& object) : CFont(registry, object, 0) {}

private:
  void ReadMetrics() const;

  mutable BSE::CObjectPtr<CWidthTable> m_pWidths;
  mutable BSE::CObjectPtr<CWidthTable> m_pVertical;
  mutable double m_dWidth = 0;  // of CIDs that W says nothing of
  mutable bool m_bWidthsRead = false;
  BSE::CBasicArray<double> m_changed;         // widths that were set, in the order of the map
  BSE::CValueKeyPtrMap<int, char> m_changes;  // of a CID its place there, from 1
};

// With outlines of Type 1: a bare CFF, or an OpenType around it.
class CCIDType0Font : public CCIDFont
{
public:
  CCIDType0Font(CFontRegistry& registry, const CObjectPtr& object) : CCIDFont(registry, object) {}
  TFontKind GetKind() const override { return eFontType1; }
  bool GetGlyphs(int nCount, BSE::CBasicArray<std::uint16_t>& map) const override;
};

class CCIDType0CFont : public CCIDType0Font
{
public:
  CCIDType0CFont(CFontRegistry& registry, const CObjectPtr& object) : CCIDType0Font(registry, object) {}
};

// With those of TrueType, to whose glyphs CIDToGIDMap leads.
class CCIDType2Font : public CCIDFont
{
public:
  CCIDType2Font(CFontRegistry& registry, const CObjectPtr& object) : CCIDFont(registry, object) {}
  TFontKind GetKind() const override { return eFontTrueType; }
  bool GetGlyphs(int nCount, BSE::CBasicArray<std::uint16_t>& map) const override;
};

// A composite font (ISO 32000-1, 9.7): from codes by a CMap to the CIDs of its descendant.
class CType0Font : public CFont
{
public:
  CType0Font(CFontRegistry& registry, const CObjectPtr& object, const BSE::CObjectPtr<CCIDFont>& pDescendant);

  CCIDFont& GetDescendant() const { return *m_pDescendant; }
  bool IsComposite() const override { return true; }
  TFontKind GetKind() const override { return m_pDescendant->GetKind(); }
  bool IsVertical() const override { return m_pEncoding->GetWMode() == 1; }
  double GetSpaceWidth() const override;
  double GetWidth(int nCharacter) const override { return m_pDescendant->GetWidth(nCharacter); }
  double GetDefaultWidth() const override { return m_pDescendant->GetDefaultWidth(); }
  double GetDefaultVerticalWidth() const override { return m_pDescendant->GetDefaultVerticalWidth(); }
  TVerticalMetrics GetVerticalMetrics(int nCharacter) const override
  {
    return m_pDescendant->GetVerticalMetrics(nCharacter);
  }
  void SetWidth(int nCharacter, double dWidth) override { m_pDescendant->SetWidth(nCharacter, dWidth); }
  void ResetWidths() override { m_pDescendant->ResetWidths(); }
  int CodeToCID(unsigned nCode) const override { return m_pEncoding->CodeToCID(nCode); }
  int Code2ToCID(unsigned nCode) const override { return m_pEncoding->Code2ToCID(nCode); }
  int LongCodeToCID(unsigned nCode, int nLength) const override
  {
    return m_pEncoding->LongCodeToCID(nCode, nLength);
  }
  BSE::CObjectPtr<CEncoding> GetEncoding() const override { return m_pEncoding; }
  bool GetCodeToGlyphMap(BSE::CBasicArray<std::uint16_t>& map) const override
  {
    return m_pDescendant->GetGlyphs(GetCharCount(), map);
  }
  void MarkUsedGlyphs(CFontProgram& program) const override;

protected:
  CObjectPtr GetDescriptorObject() const override { return m_pDescendant->GetObject()["FontDescriptor"]; }

private:
  BSE::CObjectPtr<CCIDFont> m_pDescendant;
  BSE::CObjectPtr<CCMapEncoding> m_pEncoding;
};

}  // namespace PDF
