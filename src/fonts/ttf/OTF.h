#pragma once

#include "fonts/ttf/TTF.h"

namespace OTF
{

// The outlines as a font program of their own.
class COTF_CFF : public TTF::CTable
{
public:
  COTF_CFF() : CTable(TTF::MakeTag("CFF ")) {}
};

// Where the vertical origin of a glyph is, for those that do not have the default.
class COTF_VORG : public TTF::CTable
{
public:
  COTF_VORG() : CTable(TTF::MakeTag("VORG")) {}
  bool Parse() override;

  // After Parse. A glyph that is not in the table has the default.
  int GetOrigin(int nGlyph) const;

private:
  int m_nDefault = 0;
  int m_nCount = 0;
};

// A font file that may have CFF outlines.
class COTF : public TTF::CTTF
{
public:
  explicit COTF(BSE::IErrorContext* pErrorContext = nullptr);

  bool HasCFF() const { return m_cff.IsPresent(); }
  const COTF_CFF& GetCFF() const { return m_cff; }
  const COTF_VORG& GetVORG() const { return m_vorg; }

  // Other outlines for the same glyphs.
  void SetCFF(BSE::CBasicArray<unsigned char>&& bytes) { m_cff.SetBytes(std::move(bytes)); }

  // Parses VORG, if there is one that can be read.
  bool ReadOrigins() { return m_vorg.IsPresent() && m_vorg.Parse(); }

  // Writes the outlines alone. False if there are none, or the stream fails.
  bool ToBareCFF(BSE::IByteStream& stream) const;

private:
  COTF_CFF m_cff;
  COTF_VORG m_vorg;
};

}  // namespace OTF
