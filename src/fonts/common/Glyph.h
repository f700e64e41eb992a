#pragma once

#include "base/BasicArray.h"

#include <cstdint>

namespace FONT
{

// One step of an outline; coordinates are absolute, in units of the font.
struct TSegment
{
  enum TKind : int
  {
    eMove,   // begins a contour, which ends where the next one begins
    eLine,   // the end is the third point here too
    eCurve,  // two control points and the end
    eHints   // no step: from here on the stems of a mask are in force
  };
  TKind m_nKind;
  int m_nValue;  // of eHints the number of the mask; of eCurve 1 if it and the next are a flex
  double m_d[6];

  double GetX() const { return m_d[4]; }
  double GetY() const { return m_d[5]; }
};

// A hint: one edge, and the way to the other one, which is -20 or -21 for an edge alone.
struct TStem
{
  bool m_bVertical;
  double m_dEdge;
  double m_dWidth;

  bool operator==(const TStem&) const = default;
};

// Numbers of stems.
struct TStemMask
{
  static constexpr int g_nMaxStems = 192;

  bool Has(int nStem) const { return (m_nBits[nStem / 64] >> nStem % 64 & 1) != 0; }
  void Set(int nStem) { m_nBits[nStem / 64] |= std::uint64_t{1} << nStem % 64; }

  bool operator==(const TStemMask&) const = default;

  std::uint64_t m_nBits[g_nMaxStems / 64];
};

// A glyph as its program draws it, whatever that is written in.
class CGlyph
{
public:
  void Clear();

  // From the current point, which is (0, 0) at first. What is drawn before any Move gets one.
  void MoveBy(double dX, double dY);
  void LineBy(double dX, double dY);
  void CurveBy(double dX1, double dY1, double dX2, double dY2, double dX3, double dY3, bool bFlex = false);

  // A quadratic curve with one control point, as the cubic one that it is.
  void QuadraticBy(double dX1, double dY1, double dX2, double dY2)
  {
    CurveBy(dX1 * 2 / 3, dY1 * 2 / 3, (dX1 + dX2) / 3, (dY1 + dY2) / 3, dX2 * 2 / 3, dY2 * 2 / 3);
  }

  // Moves the current point without a step.
  void SetPoint(double dX, double dY);

  // Number of the stem, an equal one's if there is one; -1 if there are too many.
  int AddStem(bool bVertical, double dEdge, double dWidth);

  // From here on these stems are in force alone. Before the first mask all are.
  void AddMask(const TStemMask& mask);

  // These form a group whose distances are kept equal.
  void AddCounters(const TStemMask& mask) { m_counters.Add(mask); }

  // Appends another glyph, moved, with its hints in force for its own steps alone. False if there are too
  // many stems.
  bool Append(const CGlyph& other, double dX, double dY);

  // The mask that is in force before the first one: all stems.
  TStemMask GetAllStems() const;

  double m_dX = 0;
  double m_dY = 0;
  double m_dWidth = 0;
  BSE::CBasicArray<TSegment> m_segments;
  BSE::CBasicArray<TStem> m_stems;
  BSE::CBasicArray<TStemMask> m_masks;
  BSE::CBasicArray<TStemMask> m_counters;

private:
  void Open();

  bool m_bOpen = false;
  bool m_bMoved = false;  // since the last step
};

}  // namespace FONT
