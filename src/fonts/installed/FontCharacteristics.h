#pragma once

#include <cstdint>

namespace PDF
{

// What fonts are compared by: those that are installed with one that a document has not embedded. All metrics
// are in thousandths of the em. The cache file of the catalogue holds this structure as it is in memory.
struct CFontCharacteristics
{
  // Bits of m_nCoverage, as OS/2 has them, and two of our own.
  static constexpr int g_nThai = 16;
  static constexpr int g_nJapanese = 17;
  static constexpr int g_nSimplifiedChinese = 18;
  static constexpr int g_nKorean = 19;
  static constexpr int g_nTraditionalChinese = 20;
  static constexpr int g_nKoreanJohab = 21;
  static constexpr int g_nNeedsSymbol = 22;
  static constexpr int g_nNeedsDingbats = 23;

  // A distance from here on is none that a font would be taken for.
  static constexpr double g_dNoDistance = 1000000;

  bool Covers(int nBit) const { return (m_nCoverage[nBit / 32] >> nBit % 32 & 1) != 0; }
  void AddCoverage(int nBit) { m_nCoverage[nBit / 32] |= std::uint32_t{1} << nBit % 32; }
  bool HasCoverage() const { return (m_nCoverage[0] | m_nCoverage[1]) != 0; }

  // Adds what words in a font's name say: weight, slope, width.
  void AddNameHints(const char* szName);

  // How far this font is from one that is wanted; the smaller the better.
  double GetDistance(const CFontCharacteristics& target) const;

  std::uint32_t m_nCoverage[2] = {};  // scripts and code pages
  double m_dAscent = 0;
  double m_dDescent = 0;
  double m_dCapHeight = 0;
  double m_dXHeight = 0;
  double m_dWidth = 600;  // on the average
  double m_dWeight = 400;
  double m_dItalicAngle = 0;
  std::uint8_t m_bBold = 0;
  std::uint8_t m_bItalic = 0;
  std::uint8_t m_bFixedPitch = 0;
  std::uint8_t m_bSerif = 0;
  std::uint8_t m_bScript = 0;  // handwriting
  std::uint8_t m_bSymbol = 0;
  std::uint8_t m_bNarrow = 0;
  std::uint8_t m_bExpanded = 0;
};

static_assert(sizeof(CFontCharacteristics) == 72);

}  // namespace PDF
