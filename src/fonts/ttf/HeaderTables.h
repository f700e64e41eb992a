#pragma once

#include "fonts/ttf/Table.h"

namespace TTF
{

// The tables of plain fields (OpenType specification), with all their fields under the names they have there.
// Values may be changed; Serialize makes bytes of them.
class CHead : public CTable
{
public:
  static constexpr std::uint32_t g_nMagic = 0x5F0F3CF5;

  CHead() : CTable(MakeTag("head")) {}
  bool Parse() override;
  void Serialize() override;

  std::uint32_t m_nVersion = 0;
  std::uint32_t m_nFontRevision = 0;
  std::uint32_t m_nCheckSumAdjustment = 0;
  std::uint32_t m_nMagicNumber = 0;
  std::uint16_t m_nFlags = 0;
  std::uint16_t m_nUnitsPerEm = 0;
  std::uint64_t m_nCreated = 0;
  std::uint64_t m_nModified = 0;
  std::int16_t m_nXMin = 0;
  std::int16_t m_nYMin = 0;
  std::int16_t m_nXMax = 0;
  std::int16_t m_nYMax = 0;
  std::uint16_t m_nMacStyle = 0;
  std::uint16_t m_nLowestRecPPEM = 0;
  std::int16_t m_nFontDirectionHint = 0;
  std::int16_t m_nIndexToLocFormat = 0;
  std::int16_t m_nGlyphDataFormat = 0;

private:
  template <class V>
  void Visit(V& visitor);
};

// hhea and vhea have one form; the names are those of hhea.
class CMetricsHeader : public CTable
{
public:
  using CTable::CTable;
  bool Parse() override;
  void Serialize() override;

  std::uint32_t m_nVersion = 0;
  std::int16_t m_nAscender = 0;
  std::int16_t m_nDescender = 0;
  std::int16_t m_nLineGap = 0;
  std::uint16_t m_nAdvanceMax = 0;
  std::int16_t m_nMinFirstBearing = 0;
  std::int16_t m_nMinSecondBearing = 0;
  std::int16_t m_nMaxExtent = 0;
  std::int16_t m_nCaretSlopeRise = 0;
  std::int16_t m_nCaretSlopeRun = 0;
  std::int16_t m_nCaretOffset = 0;
  std::int16_t m_reserved[4] = {};
  std::int16_t m_nMetricDataFormat = 0;
  std::uint16_t m_nNumberOfMetrics = 0;

private:
  template <class V>
  void Visit(V& visitor);
};

class Chhea : public CMetricsHeader
{
public:
  Chhea() : CMetricsHeader(MakeTag("hhea")) {}
};

class Cvhea : public CMetricsHeader
{
public:
  Cvhea() : CMetricsHeader(MakeTag("vhea")) {}
};

class Cmaxp : public CTable
{
public:
  static constexpr std::uint32_t g_nVersionCFF = 0x00005000;
  static constexpr std::uint32_t g_nVersionTrueType = 0x00010000;

  Cmaxp() : CTable(MakeTag("maxp")) {}

  // A table of the long version that is cut after the number of glyphs is read as well: the rest are zeros
  // then, and IsCut answers true.
  bool Parse() override;
  void Serialize() override;
  bool IsCut() const { return m_bCut; }

  std::uint32_t m_nVersion = 0;
  std::uint16_t m_nNumGlyphs = 0;
  std::uint16_t m_nMaxPoints = 0;
  std::uint16_t m_nMaxContours = 0;
  std::uint16_t m_nMaxComponentPoints = 0;
  std::uint16_t m_nMaxComponentContours = 0;
  std::uint16_t m_nMaxZones = 0;
  std::uint16_t m_nMaxTwilightPoints = 0;
  std::uint16_t m_nMaxStorage = 0;
  std::uint16_t m_nMaxFunctionDefs = 0;
  std::uint16_t m_nMaxInstructionDefs = 0;
  std::uint16_t m_nMaxStackElements = 0;
  std::uint16_t m_nMaxSizeOfInstructions = 0;
  std::uint16_t m_nMaxComponentElements = 0;
  std::uint16_t m_nMaxComponentDepth = 0;

private:
  template <class V>
  void Visit(V& visitor);
  template <class V>
  void VisitLimits(V& visitor);

  bool m_bCut = false;
};

// Fields of later versions are 0 in earlier ones.
class COS_2 : public CTable
{
public:
  COS_2() : CTable(MakeTag("OS/2")) {}
  bool Parse() override;
  void Serialize() override;

  std::uint16_t m_nVersion = 0;
  std::int16_t m_nAvgCharWidth = 0;
  std::uint16_t m_nWeightClass = 0;
  std::uint16_t m_nWidthClass = 0;
  std::uint16_t m_nFsType = 0;
  std::int16_t m_nSubscriptXSize = 0;
  std::int16_t m_nSubscriptYSize = 0;
  std::int16_t m_nSubscriptXOffset = 0;
  std::int16_t m_nSubscriptYOffset = 0;
  std::int16_t m_nSuperscriptXSize = 0;
  std::int16_t m_nSuperscriptYSize = 0;
  std::int16_t m_nSuperscriptXOffset = 0;
  std::int16_t m_nSuperscriptYOffset = 0;
  std::int16_t m_nStrikeoutSize = 0;
  std::int16_t m_nStrikeoutPosition = 0;
  std::int16_t m_nFamilyClass = 0;
  std::uint8_t m_panose[10] = {};
  std::uint32_t m_unicodeRange[4] = {};
  std::uint32_t m_nVendorID = 0;
  std::uint16_t m_nFsSelection = 0;
  std::uint16_t m_nFirstCharIndex = 0;
  std::uint16_t m_nLastCharIndex = 0;
  std::int16_t m_nTypoAscender = 0;
  std::int16_t m_nTypoDescender = 0;
  std::int16_t m_nTypoLineGap = 0;
  std::uint16_t m_nWinAscent = 0;
  std::uint16_t m_nWinDescent = 0;
  std::uint32_t m_codePageRange[2] = {};  // from version 1
  std::int16_t m_nXHeight = 0;            // from version 2
  std::int16_t m_nCapHeight = 0;
  std::uint16_t m_nDefaultChar = 0;
  std::uint16_t m_nBreakChar = 0;
  std::uint16_t m_nMaxContext = 0;
  std::uint16_t m_nLowerOpticalPointSize = 0;  // from version 5
  std::uint16_t m_nUpperOpticalPointSize = 0;

private:
  template <class V>
  void Visit(V& visitor);
};

}  // namespace TTF
