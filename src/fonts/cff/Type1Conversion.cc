// Each glyph is run and recorded as an outline with its hints, and written again in the other format.
// Translating operator by operator does not work: Type 1 replaces hints by calling subroutines, moves inside
// a flex are not moves, and Type 2 has all stems at the beginning. Subroutines dissolve on the way. A font
// goes through only as a whole; one glyph that fails, or whose stems do not all fit, leaves the document with
// the old program.

#include "fonts/cff/Type1Conversion.h"

#include "fonts/cff/Type2Converters.h"
#include "fonts/type1/CharStringGenerator.h"

#include <cmath>
#include <cstdio>

namespace CFF
{

namespace
{

struct TKeyPair
{
  PFB::TKey m_nType1;
  CTypes::TKey m_nType2;
};

constexpr TKeyPair g_topKeys[] = {{PFB::ePaintType, CTypes::ePaintType},
                                  {PFB::eFontMatrix, CTypes::eFontMatrix},
                                  {PFB::eFontBBox, CTypes::eFontBBox},
                                  {PFB::eUniqueID, CTypes::eUniqueID},
                                  {PFB::eStrokeWidth, CTypes::eStrokeWidth},
                                  {PFB::eItalicAngle, CTypes::eItalicAngle},
                                  {PFB::eIsFixedPitch, CTypes::eIsFixedPitch},
                                  {PFB::eUnderlinePosition, CTypes::eUnderlinePosition},
                                  {PFB::eUnderlineThickness, CTypes::eUnderlineThickness}};

// Without ForceBoldThreshold, which CFF no longer has and readers ignore.
constexpr TKeyPair g_privateKeys[] = {{PFB::eBlueValues, CTypes::eBlueValues},
                                      {PFB::eOtherBlues, CTypes::eOtherBlues},
                                      {PFB::eFamilyBlues, CTypes::eFamilyBlues},
                                      {PFB::eFamilyOtherBlues, CTypes::eFamilyOtherBlues},
                                      {PFB::eBlueScale, CTypes::eBlueScale},
                                      {PFB::eBlueShift, CTypes::eBlueShift},
                                      {PFB::eBlueFuzz, CTypes::eBlueFuzz},
                                      {PFB::eStdHW, CTypes::eStdHW},
                                      {PFB::eStdVW, CTypes::eStdVW},
                                      {PFB::eStemSnapH, CTypes::eStemSnapH},
                                      {PFB::eStemSnapV, CTypes::eStemSnapV},
                                      {PFB::eForceBold, CTypes::eForceBold},
                                      {PFB::eLanguageGroup, CTypes::eLanguageGroup},
                                      {PFB::eExpansionFactor, CTypes::eExpansionFactor}};

struct TTextPair
{
  PFB::TTextKey m_nType1;
  CTypes::TKey m_nType2;
};

constexpr TTextPair g_texts[] = {{PFB::eVersion, CTypes::eVersion},       {PFB::eNotice, CTypes::eNotice},
                                 {PFB::eCopyright, CTypes::eCopyright},   {PFB::eFullName, CTypes::eFullName},
                                 {PFB::eFamilyName, CTypes::eFamilyName}, {PFB::eWeight, CTypes::eWeight}};

void ToCFF(const PFB::CPFB& from, std::span<const TKeyPair> keys, CDictionary& to)
{
  for (const TKeyPair& key : keys)
  {
    // What equals the default need not be written.
    BSE::CBasicArray<double> standard;
    to.GetArray(key.m_nType2, standard);
    const std::span<const double> values = from.GetValues(key.m_nType1);
    if (!std::equal(values.begin(), values.end(), standard.GetData(),
                    standard.GetData() + standard.GetSize()))
      to.SetArray(key.m_nType2, values);
  }
}

void ToType1(const CDictionary& from, std::span<const TKeyPair> keys, PFB::CPFB& to)
{
  BSE::CBasicArray<double> values;
  for (const TKeyPair& key : keys)
  {
    from.GetArray(key.m_nType2, values);
    if (from.Has(key.m_nType2))
      to.SetValues(key.m_nType1, values.GetSpan());
  }
}

int GetNumberSize(double dValue)
{
  return dValue != std::floor(dValue) ? 5
                                      : (std::abs(dValue) <= 107 ? 1 : (std::abs(dValue) <= 1131 ? 2 : 3));
}

}  // namespace

bool CType1ToType2Converter::Convert()
{
  if (m_type1.IsMultipleMaster() || m_type1.IsCIDBased() || !ReadWidths())
    return false;
  m_cff.Create(m_type1.GetText(PFB::eFontName));
  ChooseWidths();
  ConvertDicts();
  for (int i = 0; i < m_type1.GetGlyphCount(); ++i)
    if (!ConvertGlyph(i))
      return false;
  for (int i = 0; i < 256; ++i)
    if (const FONT::TName name = m_type1.GetEncodedName(i); !name.empty())
      m_cff.SetEncodedGlyph(i, std::max(0, m_type1.FindGlyph(name)));
  return true;
}

bool CType1ToType2Converter::ReadWidths()
{
  m_widths.SetSize(m_type1.GetGlyphCount());
  for (int i = 0; i < m_widths.GetSize(); ++i)
    if (!m_type1.GetWidth(i, m_widths[i]))
      return false;
  return true;
}

// The default is the width of most glyphs; the others hold the difference from the nominal width, which is
// the one that makes those shortest. At most 256 are tried, since each try looks at all glyphs.
void CType1ToType2Converter::ChooseWidths()
{
  constexpr int nMaxTries = 256;
  BSE::CBasicArray<double> sorted(m_widths);
  sorted.Sort();
  int nMost = 0;
  for (int i = 0, nStart = 0; i < sorted.GetSize(); ++i)
  {
    nStart = sorted[i] == sorted[nStart] ? nStart : i;
    if (i - nStart + 1 > nMost)
    {
      nMost = i - nStart + 1;
      m_dDefaultWidth = sorted[i];
    }
  }
  int nBest = -1;
  const int nStep = 1 + sorted.GetSize() / nMaxTries;
  for (int i = 0; i < sorted.GetSize(); i += nStep)
  {
    int nSize = 0;
    for (const double dWidth : sorted.GetSpan())
      nSize += dWidth == m_dDefaultWidth ? 0 : GetNumberSize(dWidth - sorted[i]);
    if (nBest >= 0 && nSize >= nBest)
      continue;
    nBest = nSize;
    m_dNominalWidth = sorted[i];
  }
  CDictionary& dict = m_cff.GetFontDict(0).m_private;
  if (m_dDefaultWidth != 0)
    dict.SetNumber(CTypes::eDefaultWidthX, m_dDefaultWidth);
  if (m_dNominalWidth != 0)
    dict.SetNumber(CTypes::eNominalWidthX, m_dNominalWidth);
}

void CType1ToType2Converter::ConvertDicts()
{
  for (const TTextPair& text : g_texts)
    if (const FONT::TName value = m_type1.GetText(text.m_nType1); !value.empty())
      m_cff.SetText(text.m_nType2, value);
  ToCFF(m_type1, g_topKeys, m_cff.GetTop());
  ToCFF(m_type1, g_privateKeys, m_cff.GetFontDict(0).m_private);
}

bool CType1ToType2Converter::ConvertGlyph(int nGlyph)
{
  FONT::CGlyph glyph;
  PFB::CType1Recorder recorder(m_type1.GetSubrs(), glyph);
  if (!m_type1.Run(nGlyph, recorder) || recorder.AreStemsLost())
    return false;
  FONT::TName name = m_type1.GetGlyphName(nGlyph);
  char szName[160];
  if (m_type1.FindGlyph(name) != nGlyph)
  {
    std::snprintf(szName, sizeof szName, "%.*s_%d", static_cast<int>(std::min<std::size_t>(name.size(), 127)),
                  name.data(), nGlyph);
    name = FONT::MakeName(szName);
  }
  if (!recorder.HasAccent())
  {
    CType2Writer writer(m_dDefaultWidth, m_dNominalWidth);
    return writer.Write(glyph) && m_cff.AddGlyph(name, writer.GetCharString()) >= 0;
  }
  CCharStringGenerator generator;
  bool bOk = glyph.m_dWidth == m_dDefaultWidth || generator.PutNumber(glyph.m_dWidth - m_dNominalWidth);
  for (const double dValue :
       {recorder.GetAccentX(), recorder.GetAccentY(), static_cast<double>(recorder.GetBase()),
        static_cast<double>(recorder.GetAccent())})
    bOk = bOk && generator.PutNumber(dValue);
  generator.PutOperator(CTypes::eEndChar);
  return bOk && m_cff.AddGlyph(name, generator.GetBytes()) >= 0;
}

bool CType2ToType1Converter::Convert()
{
  if (m_cff.IsCIDKeyed() || m_cff.GetTop().GetInteger(CTypes::eCharstringType) != 2)
    return false;
  ConvertDicts();
  return ConvertGlyphs();
}

void CType2ToType1Converter::ConvertDicts()
{
  m_type1.SetText(PFB::eFontName, m_cff.GetFontName());
  for (const TTextPair& text : g_texts)
    if (const FONT::TName value = m_cff.GetText(text.m_nType2); !value.empty())
      m_type1.SetText(text.m_nType1, value);
  ToType1(m_cff.GetTop(), g_topKeys, m_type1);
  ToType1(m_cff.GetFontDict(0).m_private, g_privateKeys, m_type1);
  // These have no default in Type 1.
  BSE::CBasicArray<double> values;
  m_cff.GetTop().GetArray(CTypes::eFontMatrix, values);
  m_type1.SetValues(PFB::eFontMatrix, values.GetSpan());
  m_cff.GetTop().GetArray(CTypes::eFontBBox, values);
  m_type1.SetValues(PFB::eFontBBox, values.GetSpan());
  bool bStandard = true;
  for (int i = 0; i < 256 && bStandard; ++i)
  {
    const int nString = FONT::GetStandardEncoding(i);
    const int nStandard = nString > 0 ? m_cff.FindGlyph(FONT::GetStandardString(nString)) : 0;
    bStandard = std::max(0, nStandard) == m_cff.GetEncodedGlyph(i);
  }
  m_type1.SetStandardEncoding(bStandard);
  for (int i = 0; i < 256 && !bStandard; ++i)
    if (m_cff.GetEncodedGlyph(i) != 0)
      m_type1.SetEncodedName(i, m_cff.GetGlyphName(m_cff.GetEncodedGlyph(i)));
}

bool CType2ToType1Converter::ConvertGlyphs()
{
  PFB::CType1Writer writer(m_type1);
  FONT::CGlyph glyph;
  for (int i = 0; i < m_cff.GetGlyphCount(); ++i)
  {
    glyph.Clear();
    CType2Recorder recorder(m_cff.GetContext(i), glyph);
    if (!m_cff.Run(i, recorder) || recorder.AreStemsLost())
      return false;
    const FONT::TName name = m_cff.GetGlyphName(i);
    const int nNew = recorder.HasAccent()
                         ? writer.AddAccented(name, glyph.m_dWidth, recorder.GetAccentX(),
                                              recorder.GetAccentY(), recorder.GetBase(), recorder.GetAccent())
                         : writer.Add(name, glyph);
    if (nNew < 0)
      return false;
  }
  return true;
}

}  // namespace CFF
