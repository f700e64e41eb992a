#pragma once

#include "pdf/Object.h"

namespace PDF
{

// A rectangle in default user space units (ISO 32000-1, 7.9.5), left <= right and bottom <= top.
struct TRectangle
{
  double m_dLeft = 0;
  double m_dBottom = 0;
  double m_dRight = 0;
  double m_dTop = 0;

  double GetWidth() const { return m_dRight - m_dLeft; }
  double GetHeight() const { return m_dTop - m_dBottom; }
  friend bool operator==(const TRectangle&, const TRectangle&) = default;
};

// Page size that stands in for a page without a media box: US Letter.
inline constexpr TRectangle g_defaultMediaBox = {0, 0, 612, 792};

// Reads an array of four numbers, corners in any order. False, and the rectangle left alone, for anything
// else.
bool ReadRectangle(const CObjectPtr& object, TRectangle& rectangle);

// A new array of four numbers; integers where they are whole.
CObjectPtr MakeRectangle(const TRectangle& rectangle);

// The common part; false, and the rectangle left alone, if there is none.
bool Intersect(TRectangle& rectangle, const TRectangle& clip);

}  // namespace PDF
