#pragma once

#include <array>
#include <cstdint>

namespace BSE
{

// Place of a pixel as seen from the one that is coded.
struct TJBIG2Offset
{
  int m_x;
  int m_y;
  bool operator==(const TJBIG2Offset&) const = default;
};

// The neighbourhood of generic regions (ITU-T T.88, 6.2.5.3). A context is three strings of pixels, from the
// low bit on: those to the left in the same row, nearest first, then one string each of the two rows above,
// from the right end to the left. Some of the pixels can be moved elsewhere; where they are by default they
// complete the strings.
struct TJBIG2Template
{
  int m_nLeft;    // pixels to the left
  int m_nReach1;  // how far the string of the row above reaches to the right
  int m_nCount1;  // and its pixels
  int m_nReach2;  // the same for the row above that
  int m_nCount2;
  unsigned m_nTypical;  // the context in which it is coded that a row equals the one above it
  int m_nMovable;
  std::array<TJBIG2Offset, 4> m_movable;
  std::array<int, 4> m_movableBits;

  constexpr int GetShift1() const { return m_nLeft; }
  constexpr int GetShift2() const { return m_nLeft + m_nCount1; }
  constexpr int GetBits() const { return m_nLeft + m_nCount1 + m_nCount2; }

  // The bits that stay when the strings move on by one pixel: new pixels come in at their low ends.
  constexpr unsigned GetStayingBits() const
  {
    const unsigned nEntries = 1U | 1U << GetShift1() | (m_nCount2 > 0 ? 1U << GetShift2() : 0);
    return ((1U << GetBits()) - 1) & ~nEntries;
  }
};

inline constexpr std::array<TJBIG2Template, 4> g_jbig2Templates{{
    {4, 3, 7, 2, 5, 0x9B25, 4, {{{3, -1}, {-3, -1}, {2, -2}, {-2, -2}}}, {4, 10, 11, 15}},
    {3, 3, 6, 2, 4, 0x0795, 1, {{{3, -1}, {0, 0}, {0, 0}, {0, 0}}}, {3, 0, 0, 0}},
    {2, 2, 5, 1, 3, 0x00E5, 1, {{{2, -1}, {0, 0}, {0, 0}, {0, 0}}}, {2, 0, 0, 0}},
    {4, 2, 6, 0, 0, 0x0195, 1, {{{2, -1}, {0, 0}, {0, 0}, {0, 0}}}, {4, 0, 0, 0}},
}};

// Template 0 with twelve movable pixels, all but the four next to the pixel (T.88, 6.2.5.3, extended form).
inline constexpr int g_nJBIG2MaxMovable = 12;
inline constexpr std::array<TJBIG2Offset, g_nJBIG2MaxMovable> g_jbig2ExtendedMovable{{{-2, 0},
                                                                                      {0, -2},
                                                                                      {-2, -1},
                                                                                      {-1, -2},
                                                                                      {1, -2},
                                                                                      {2, -1},
                                                                                      {-3, 0},
                                                                                      {-4, 0},
                                                                                      {2, -2},
                                                                                      {3, -1},
                                                                                      {-2, -2},
                                                                                      {-3, -1}}};
inline constexpr std::array<int, g_nJBIG2MaxMovable> g_jbig2ExtendedBits{1, 13, 9,  14, 12, 5,
                                                                         2, 3,  11, 4,  15, 10};

// How a generic region is coded.
struct TJBIG2GenericForm
{
  // With the movable pixels at their default places.
  static TJBIG2GenericForm Make(int nTemplate, bool bExtended = false);

  const TJBIG2Template& GetTemplate() const { return g_jbig2Templates[static_cast<unsigned>(m_nTemplate)]; }
  int GetMovableCount() const { return m_bExtended ? g_nJBIG2MaxMovable : GetTemplate().m_nMovable; }
  TJBIG2Offset GetDefault(int i) const;
  int GetMovableBit(int i) const;

  int m_nTemplate = 0;
  bool m_bExtended = false;
  bool m_bTypical = false;
  std::array<TJBIG2Offset, g_nJBIG2MaxMovable> m_movable{};
};

}  // namespace BSE
