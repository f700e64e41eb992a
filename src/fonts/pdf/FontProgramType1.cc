#include "fonts/pdf/FontProgramType1.h"

#include "fonts/cff/Type1Conversion.h"
#include "fonts/pdf/FontProgramType1C.h"

#include <cmath>

namespace PDF
{

bool CFontProgramType1::Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool)
{
  return m_bValid = m_font.Read(std::move(data), szName);
}

bool CFontProgramType1::Write(BSE::IByteStream& stream, unsigned, int* pLengths)
{
  if (!m_bValid || !m_font.Write(stream))
    return false;
  if (pLengths)
  {
    pLengths[0] = static_cast<int>(m_font.GetLength1());
    pLengths[1] = static_cast<int>(m_font.GetLength2());
    pLengths[2] = static_cast<int>(m_font.GetLength3());
  }
  return true;
}

int CFontProgramType1::GetGlyphIndexByName(const char* szName)
{
  return szName ? std::max(0, m_font.FindGlyph(FONT::MakeName(szName))) : 0;
}

int CFontProgramType1::GetGlyphIndexByCode(unsigned nCode)
{
  const FONT::TName name = nCode < 256 ? m_font.GetEncodedName(static_cast<int>(nCode)) : FONT::TName();
  return name.empty() ? 0 : std::max(0, m_font.FindGlyph(name));
}

// Of glyphs too that the program does not have.
const char* CFontProgramType1::GetIntrinsicName(unsigned nCode)
{
  if (nCode > 255)
    return nullptr;
  const FONT::TName name = m_font.GetEncodedName(static_cast<int>(nCode));
  if (name.empty())
    return nullptr;
  if (!m_aEncoded[nCode] || !FONT::IsSameName(FONT::MakeName(m_aEncoded[nCode]), name))
    m_aEncoded[nCode] = m_encoded.Keep(name.data(), name.size());
  return m_aEncoded[nCode];
}

int CFontProgramType1::GetFontFlags()
{
  return (m_font.HasStandardEncoding() ? 32 : 4) | (m_font.GetNumber(PFB::eIsFixedPitch) != 0 ? 1 : 0) |
         (GetItalicAngle() != 0 ? 64 : 0) | (m_font.GetNumber(PFB::eForceBold) != 0 ? 0x40000 : 0);
}

double CFontProgramType1::GetUnitsPerEm()
{
  const std::span<const double> matrix = m_font.GetValues(PFB::eFontMatrix);
  return !matrix.empty() && std::isnormal(matrix[0]) && matrix[0] > 0 ? 1 / matrix[0] : 1000;
}

TFontBox CFontProgramType1::GetFontBBox()
{
  const std::span<const double> box = m_font.GetValues(PFB::eFontBBox);
  if (box.size() != 4)
    return {};
  return {Scale(box[0]), Scale(box[1]), Scale(box[2]), Scale(box[3])};
}

double CFontProgramType1::GetWidth(int nGlyph)
{
  double dWidth = 0;
  return m_font.GetWidth(nGlyph, dWidth) ? Scale(dWidth) : 0;
}

bool CFontProgramType1::CanSubset()
{
  return HasUsedGlyphs() && !m_font.IsMultipleMaster() && !m_font.IsCIDBased() && m_font.CloseGlyphs(m_used);
}

bool CFontProgramType1::Subset(unsigned)
{
  if (!CanSubset() || !m_font.Subset(m_used))
    return false;
  NotifyChanged();
  return true;
}

TMergeResult CFontProgramType1::DoMerge(CFontProgram& other, unsigned nUsage)
{
  auto* pOther = dynamic_cast<CFontProgramType1*>(&other);
  if (!pOther)
    return eNotMerged;
  const bool bUsed = HasUsedGlyphs() && pOther->HasUsedGlyphs();
  return static_cast<TMergeResult>(m_font.Merge(pOther->m_font, (nUsage & g_nUsedEncoding) != 0,
                                                bUsed ? &m_used : nullptr,
                                                bUsed ? &pOther->m_used : nullptr));
}

void CFontProgramType1::HashMergeKey(BSE::CHashFunction& hash)
{
  const auto nCID = static_cast<unsigned char>(m_font.IsCIDBased());
  hash.Update({&nCID, 1});
  m_font.HashPrivate(hash);
}

int CFontProgramType1::DuplicateGlyph(int nGlyph, int nCode, const char* szName)
{
  const int nCopy = m_font.DuplicateGlyph(nGlyph, nCode, szName);
  if (nCopy <= 0)
    return 0;
  NotifyDuplicated(nCopy);
  return nCopy;
}

BSE::CScopedPtr<CFontProgram> CFontProgramType1::ToCFF()
{
  if (m_font.IsMultipleMaster() || m_font.IsCIDBased())
    return nullptr;
  BSE::CScopedPtr<CFontProgramType1C> pProgram(new CFontProgramType1C(m_pErrorContext));
  CFF::CType1ToType2Converter converter(pProgram->GetFont(), m_font);
  if (!converter.Convert())
    return nullptr;
  pProgram->SetValid();
  // The glyphs are the same, in the same order.
  const std::span<unsigned char> used = GetUsedGlyphs();
  const std::span<unsigned char> converted = pProgram->GetUsedGlyphs();
  if (used.size() == converted.size())
    std::copy(used.begin(), used.end(), converted.begin());
  return pProgram;
}

}  // namespace PDF
