#pragma once

#include "images/filters/jbig2/JBIG2Bitmap.h"
#include "images/filters/jbig2/JBIG2GenericTemplate.h"

#include <array>
#include <cstdint>

namespace BSE
{

// How a refinement is coded (ITU-T T.88, 6.3.5.3). A context has, from the low bit on, the pixel to the left,
// three of the row above, and of the reference three each of the row below, the same row and the row above,
// each string from right to left. Template 1 does without three of those of the reference. In template 0 the
// upper left pixels of both bitmaps can be moved elsewhere.
struct TJBIG2RefinementForm
{
  static constexpr TJBIG2Offset g_default{-1, -1};
  static constexpr int g_nContexts = 1 << 13;

  // The context in which it is coded that the next row is predicted: all white but the middle of the
  // reference.
  static constexpr unsigned g_nTypical = 1U << 8;

  bool IsPlain() const
  {
    return m_nTemplate != 0 || (m_movable[0] == g_default && m_movable[1] == g_default);
  }

  int m_nTemplate = 0;
  bool m_bTypical = false;
  std::array<TJBIG2Offset, 2> m_movable{g_default, g_default};  // of the bitmap and of the reference
};

// Where a refined bitmap finds its reference: the corner of the reference in the bitmap.
struct TJBIG2Reference
{
  const CJBIG2Bitmap& m_bitmap;
  std::int64_t m_x;
  std::int64_t m_y;
};

// The contexts of the pixels of a row, from left to right.
class CJBIG2RefinementWindow
{
public:
  // Begins before the first pixel of a row. Borrows all of it.
  CJBIG2RefinementWindow(const TJBIG2RefinementForm& form, const CJBIG2Bitmap& bitmap,
                         const TJBIG2Reference& reference, int y);

  // Makes the next 64 pixels known, before the first of them.
  void Load();

  // Of the 64 pixels those whose nine neighbours in the reference are all alike, and the black ones of them.
  void FindUniform(std::uint64_t& nUniform, std::uint64_t& nBlack) const;

  // To the next pixel, given the value of the one before it.
  void Move(unsigned nValue)
  {
    const auto getHigh = [](std::uint64_t& nWord)
    {
      const auto nBit = static_cast<unsigned>(nWord >> 63);
      nWord <<= 1;
      return nBit;
    };
    m_nStrings = (m_nStrings << 1 & g_nStaying) | nValue | getHigh(m_nAbove) << 1 |
                 getHigh(m_references[2]) << 4 | getHigh(m_references[1]) << 7 |
                 getHigh(m_references[0]) << 10;
    ++m_x;
  }

  // The context of the pixel. The bitmap holds all pixels before it if some are movable.
  unsigned GetContext() const { return m_bPlain ? m_nStrings & m_nUsed : GetMovedContext(); }

private:
  // The strings without the places where pixels come in.
  static constexpr unsigned g_nStaying = 0x1FFF & ~(1U | 1U << 1 | 1U << 4 | 1U << 7 | 1U << 10);

  unsigned GetMovedContext() const;

  const TJBIG2RefinementForm& m_form;
  const CJBIG2Bitmap& m_bitmap;
  const CJBIG2Bitmap& m_reference;
  bool m_bPlain;
  unsigned m_nUsed;              // the bits of the template
  std::int64_t m_nShift;         // column of the reference under the first pixel of the row
  std::int64_t m_nReferenceRow;  // row of the reference under the row
  int m_y;
  int m_x = -1;
  unsigned m_nStrings = 0;
  std::uint64_t m_nAbove = 0;          // pixels that come in, high bit first
  std::uint64_t m_references[3] = {};  // the same for the rows above, at and below
};

}  // namespace BSE
