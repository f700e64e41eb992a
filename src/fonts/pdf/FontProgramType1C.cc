#include "fonts/pdf/FontProgramType1C.h"

#include "fonts/cff/Type1Conversion.h"
#include "fonts/pdf/FontProgramType1.h"

#include <cmath>
#include <cstring>

namespace PDF
{

using CFF::CTypes;

bool CFontProgramType1C::Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool)
{
  return m_bValid = m_font.Read(std::move(data), szName);
}

bool CFontProgramType1C::Write(BSE::IByteStream& stream, unsigned, int* pLengths)
{
  if (pLengths)
    pLengths[0] = pLengths[1] = pLengths[2] = 0;
  if (!m_bValid)
    return false;
  // Not before: programs are merged where their subroutines and dictionaries are the same.
  m_font.DropUnusedFontDicts();
  m_font.DropUnusedSubrs();
  return m_font.Write(stream);
}

int CFontProgramType1C::GetSupplement() const
{
  const std::span<const double> ros = m_font.GetTop().GetValues(CTypes::eROS);
  return ros.size() == 3 ? static_cast<int>(ros[2]) : -1;
}

bool CFontProgramType1C::HasOrdering(const char* szOrdering) const
{
  return IsCIDKeyed() && FONT::IsSameName(m_font.GetOrdering(), FONT::MakeName(szOrdering));
}

int CFontProgramType1C::GetGlyphIndexByName(const char* szName)
{
  return szName && !IsCIDKeyed() ? std::max(0, m_font.FindGlyph(FONT::MakeName(szName))) : 0;
}

int CFontProgramType1C::GetGlyphIndexByCID(int nCID) const
{
  return IsCIDKeyed() ? std::max(0, m_font.FindGlyphByCID(nCID)) : CFontProgram::GetGlyphIndexByCID(nCID);
}

int CFontProgramType1C::GetFontFlags()
{
  const CFF::CDictionary& top = m_font.GetTop();
  return (IsCIDKeyed() ? 4 : 32) | (top.GetInteger(CTypes::eIsFixedPitch) != 0 ? 1 : 0) |
         (GetItalicAngle() != 0 ? 64 : 0) |
         (GetDict().m_private.GetInteger(CTypes::eForceBold) != 0 ? 0x40000 : 0);
}

// A font by CIDs may have its matrix in the dictionaries of its glyphs, which agree in all that is in use.
double CFontProgramType1C::GetUnitsPerEm()
{
  double dScale = 1;
  const CFF::CDictionary& dict = GetDict().m_dict;
  const bool bTop = m_font.GetTop().Has(CTypes::eFontMatrix);
  const bool bDict = IsCIDKeyed() && dict.Has(CTypes::eFontMatrix);
  if (bTop || !bDict)
    dScale *= m_font.GetTop().GetNumber(CTypes::eFontMatrix);
  if (bDict)
    dScale *= dict.GetNumber(CTypes::eFontMatrix);
  return std::isnormal(dScale) && dScale > 0 ? 1 / dScale : 1000;
}

TFontBox CFontProgramType1C::GetFontBBox()
{
  BSE::CBasicArray<double> box;
  m_font.GetTop().GetArray(CTypes::eFontBBox, box);
  return {Scale(box[0]), Scale(box[1]), Scale(box[2]), Scale(box[3])};
}

double CFontProgramType1C::GetPrivateNumber(CTypes::TKey nKey)
{
  return Scale(GetDict().m_private.GetNumber(nKey));
}

// The extreme of the box and of the zones that the hints align with.
double CFontProgramType1C::GetEdge(bool bTop)
{
  const TFontBox box = GetFontBBox();
  double dEdge = bTop ? box.m_dTop : box.m_dBottom;
  for (const CTypes::TKey nKey : {CTypes::eBlueValues, CTypes::eOtherBlues})
  {
    BSE::CBasicArray<double> zones;
    GetDict().m_private.GetArray(nKey, zones);
    for (const double dZone : zones.GetSpan())
      dEdge = bTop ? std::max(dEdge, Scale(dZone)) : std::min(dEdge, Scale(dZone));
  }
  return dEdge;
}

double CFontProgramType1C::GetWidth(int nGlyph)
{
  double dWidth = 0;
  return m_font.GetWidth(nGlyph, dWidth) ? Scale(dWidth) : 0;
}

bool CFontProgramType1C::Subset(unsigned nUsage)
{
  if (!HasUsedGlyphs() || !m_font.Subset(m_used, nUsage))
    return false;
  NotifyChanged();
  return true;
}

TMergeResult CFontProgramType1C::DoMerge(CFontProgram& other, unsigned nUsage)
{
  auto* pOther = dynamic_cast<CFontProgramType1C*>(&other);
  if (!pOther)
    return eNotMerged;
  const bool bUsed = HasUsedGlyphs() && pOther->HasUsedGlyphs();
  return static_cast<TMergeResult>(
      m_font.Merge(pOther->m_font, nUsage, bUsed ? &m_used : nullptr, bUsed ? &pOther->m_used : nullptr));
}

void CFontProgramType1C::HashMergeKey(BSE::CHashFunction& hash)
{
  const auto nCID = static_cast<unsigned char>(IsCIDKeyed());
  hash.Update({&nCID, 1});
  m_font.HashTopData(hash);
  const CFF::CIndex& subrs = m_font.GetGlobalSubrs();
  const auto AddNumber = [&](std::size_t nValue)
  {
    unsigned char bytes[4];
    BSE::StoreBigEndian(static_cast<std::uint32_t>(nValue), bytes);
    hash.Update(bytes);
  };
  AddNumber(static_cast<std::size_t>(subrs.GetSize()));
  for (int i = 0; i < subrs.GetSize(); ++i)
  {
    AddNumber(subrs[i].size());
    hash.Update(subrs[i]);
  }
}

int CFontProgramType1C::DuplicateGlyph(int nGlyph, int nCode, const char* szName)
{
  const int nCopy = m_font.DuplicateGlyph(nGlyph, nCode, szName);
  if (nCopy <= 0)
    return 0;
  NotifyDuplicated(nCopy);
  return nCopy;
}

bool CFontProgramType1C::MakeCIDKeyed()
{
  if (IsCIDKeyed())
    return true;
  const bool bMade = m_font.MakeCIDKeyed(m_used);
  NotifyChanged();
  return bMade;
}

BSE::CScopedPtr<CFontProgram> CFontProgramType1C::ToType1(std::span<const char* const, 256>,
                                                          std::span<const std::uint16_t>)
{
  if (IsCIDKeyed())
    return nullptr;
  BSE::CScopedPtr<CFontProgramType1> pProgram(new CFontProgramType1(m_pErrorContext));
  CFF::CType2ToType1Converter converter(pProgram->GetFont(), m_font);
  if (!converter.Convert())
    return nullptr;
  pProgram->SetValid();
  return pProgram;
}

}  // namespace PDF
