#include "fonts/ttf/HeaderTables.h"

namespace TTF
{

namespace
{

template <class V, class... T>
void VisitAll(V& visitor, T&... values)
{
  (visitor.Visit(values), ...);
}

}  // namespace

template <class V>
void CHead::Visit(V& visitor)
{
  VisitAll(visitor, m_nVersion, m_nFontRevision, m_nCheckSumAdjustment, m_nMagicNumber, m_nFlags,
           m_nUnitsPerEm, m_nCreated, m_nModified, m_nXMin, m_nYMin, m_nXMax, m_nYMax, m_nMacStyle,
           m_nLowestRecPPEM, m_nFontDirectionHint, m_nIndexToLocFormat, m_nGlyphDataFormat);
}

bool CHead::Parse()
{
  CFieldReader reader(GetCursor());
  Visit(reader);
  return !reader.HasFailed();
}

void CHead::Serialize()
{
  CFieldWriter writer;
  Visit(writer);
  SetBytes(writer.Detach());
}

template <class V>
void CMetricsHeader::Visit(V& visitor)
{
  VisitAll(visitor, m_nVersion, m_nAscender, m_nDescender, m_nLineGap, m_nAdvanceMax, m_nMinFirstBearing,
           m_nMinSecondBearing, m_nMaxExtent, m_nCaretSlopeRise, m_nCaretSlopeRun, m_nCaretOffset);
  for (std::int16_t& nReserved : m_reserved)
    visitor.Visit(nReserved);
  VisitAll(visitor, m_nMetricDataFormat, m_nNumberOfMetrics);
}

bool CMetricsHeader::Parse()
{
  CFieldReader reader(GetCursor());
  Visit(reader);
  return !reader.HasFailed();
}

void CMetricsHeader::Serialize()
{
  CFieldWriter writer;
  Visit(writer);
  SetBytes(writer.Detach());
}

template <class V>
void Cmaxp::Visit(V& visitor)
{
  VisitAll(visitor, m_nVersion, m_nNumGlyphs);
}

template <class V>
void Cmaxp::VisitLimits(V& visitor)
{
  VisitAll(visitor, m_nMaxPoints, m_nMaxContours, m_nMaxComponentPoints, m_nMaxComponentContours, m_nMaxZones,
           m_nMaxTwilightPoints, m_nMaxStorage, m_nMaxFunctionDefs, m_nMaxInstructionDefs,
           m_nMaxStackElements, m_nMaxSizeOfInstructions, m_nMaxComponentElements, m_nMaxComponentDepth);
}

bool Cmaxp::Parse()
{
  CFieldReader reader(GetCursor());
  Visit(reader);
  if (reader.HasFailed())
    return false;
  if (m_nVersion != g_nVersionCFF)
    VisitLimits(reader);
  m_bCut = reader.HasFailed();
  return true;
}

void Cmaxp::Serialize()
{
  CFieldWriter writer;
  Visit(writer);
  if (m_nVersion != g_nVersionCFF)
    VisitLimits(writer);
  SetBytes(writer.Detach());
}

template <class V>
void COS_2::Visit(V& visitor)
{
  VisitAll(visitor, m_nVersion, m_nAvgCharWidth, m_nWeightClass, m_nWidthClass, m_nFsType, m_nSubscriptXSize,
           m_nSubscriptYSize, m_nSubscriptXOffset, m_nSubscriptYOffset, m_nSuperscriptXSize,
           m_nSuperscriptYSize, m_nSuperscriptXOffset, m_nSuperscriptYOffset, m_nStrikeoutSize,
           m_nStrikeoutPosition, m_nFamilyClass);
  for (std::uint8_t& nPanose : m_panose)
    visitor.Visit(nPanose);
  for (std::uint32_t& nRange : m_unicodeRange)
    visitor.Visit(nRange);
  VisitAll(visitor, m_nVendorID, m_nFsSelection, m_nFirstCharIndex, m_nLastCharIndex, m_nTypoAscender,
           m_nTypoDescender, m_nTypoLineGap, m_nWinAscent, m_nWinDescent);
  if (m_nVersion >= 1)
    VisitAll(visitor, m_codePageRange[0], m_codePageRange[1]);
  if (m_nVersion >= 2)
    VisitAll(visitor, m_nXHeight, m_nCapHeight, m_nDefaultChar, m_nBreakChar, m_nMaxContext);
  if (m_nVersion >= 5)
    VisitAll(visitor, m_nLowerOpticalPointSize, m_nUpperOpticalPointSize);
}

bool COS_2::Parse()
{
  CFieldReader reader(GetCursor());
  Visit(reader);
  return !reader.HasFailed();
}

void COS_2::Serialize()
{
  CFieldWriter writer;
  Visit(writer);
  SetBytes(writer.Detach());
}

}  // namespace TTF
