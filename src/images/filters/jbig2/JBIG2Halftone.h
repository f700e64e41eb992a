#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2Bitmap.h"
#include "images/filters/jbig2/JBIG2GenericDecoder.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace BSE
{

// The patterns of a dictionary, all of one size.
class CJBIG2PatternDictionary final : public CObject
{
public:
  bool IsValid() const override { return true; }

  CObjectArray<CJBIG2Bitmap> m_patterns;
};

// How a pattern dictionary is coded (ITU-T T.88, 7.4.4).
struct TJBIG2PatternForm
{
  bool m_bMMR = false;
  int m_nTemplate = 0;
  int m_nWidth = 0;
  int m_nHeight = 0;
  std::uint32_t m_nLast = 0;  // number of the last pattern
};

// Null, with the reason in the run, for damaged data.
CObjectPtr<CJBIG2PatternDictionary> DecodeJBIG2Patterns(CJBIG2Run& run, const TJBIG2PatternForm& form,
                                                        std::span<const unsigned char> data);

// How a halftone region is coded (T.88, 7.4.5): a grid of patterns, which may be turned. Places are in 256ths
// of a pixel.
struct TJBIG2HalftoneForm
{
  bool m_bMMR = false;
  bool m_bSkip = false;  // patterns outside of the region are not coded
  int m_nTemplate = 0;
  TJBIG2Operator m_operator = eJBIG2Or;
  std::uint32_t m_nColumns = 0;
  std::uint32_t m_nRows = 0;
  std::int32_t m_x = 0;
  std::int32_t m_y = 0;
  std::uint32_t m_nStepX = 0;
  std::uint32_t m_nStepY = 0;
};

// Decodes halftone regions (T.88, 6.6): the number of the pattern at each place of the grid, in bit planes.
class CJBIG2HalftoneDecoder
{
public:
  // Borrows all of it; there is at least one pattern.
  CJBIG2HalftoneDecoder(CJBIG2Run& run, const TJBIG2HalftoneForm& form,
                        const CJBIG2PatternDictionary& patterns)
      : m_run(run), m_form(form), m_patterns(patterns.m_patterns)
  {
  }

  // Draws into a bitmap. False, with the reason in the run, for damaged data; then nothing is drawn.
  bool Decode(std::span<const unsigned char> data, CJBIG2Bitmap& bitmap);

private:
  std::int64_t GetX(int nRow, int nColumn) const;
  std::int64_t GetY(int nRow, int nColumn) const;
  bool MakeSkip(const CJBIG2Bitmap& bitmap);
  bool DecodePlanes(std::span<const unsigned char> data);
  bool Draw(CJBIG2Bitmap& bitmap);

  CJBIG2Run& m_run;
  const TJBIG2HalftoneForm& m_form;
  const CObjectArray<CJBIG2Bitmap>& m_patterns;
  CJBIG2BitmapPtr m_pSkip;
  CObjectArray<CJBIG2Bitmap> m_planes;  // the highest bit first
};

}  // namespace BSE
