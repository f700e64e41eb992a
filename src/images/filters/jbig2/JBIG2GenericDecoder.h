#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2ArithmeticDecoder.h"
#include "images/filters/jbig2/JBIG2Bitmap.h"
#include "images/filters/jbig2/JBIG2GenericTemplate.h"

#include <array>

namespace BSE
{

// Decodes generic regions in arithmetic coding (ITU-T T.88, 6.2.5), one after the other with the same
// contexts.
class CJBIG2GenericDecoder
{
public:
  // All contexts at their start. The run outlives the decoder.
  CJBIG2GenericDecoder(CJBIG2Run& run, const TJBIG2GenericForm& form);

  // Decodes into a white bitmap; where pSkip, as large as the bitmap, is black, a pixel is white without
  // being coded. False, with the reason in the run, if the data does not hold all of it; the rows up to there
  // are.
  bool Decode(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap, const CJBIG2Bitmap* pSkip = nullptr);

  // What a dictionary hands on to another one of the same form.
  CBasicArray<TJBIG2Context>& GetContexts() { return m_contexts; }

private:
  bool DecodeRow(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap, int y, const CJBIG2Bitmap* pSkip);

  // Rows with the movable pixels at their default places, for one template each.
  template <int nTemplate>
  bool DecodePlainRow(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap, int y);

  // Rows of any form.
  bool DecodeAnyRow(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap, int y, const CJBIG2Bitmap* pSkip);

  // A pixel of the context that is not at its default place.
  struct TMoved
  {
    // Whether it is so near to the left that it may be in the word that is being decoded.
    bool IsNear() const
    {
      return m_offset.m_y == 0 && m_offset.m_x < 0 && m_offset.m_x >= -CJBIG2Bitmap::g_nWordBits;
    }

    TJBIG2Offset m_offset;
    int m_nBit;
  };

  CJBIG2Run& m_run;
  TJBIG2GenericForm m_form;
  std::array<TMoved, g_nJBIG2MaxMovable> m_moved{};
  int m_nMoved = 0;
  unsigned m_nMovedMask = 0;
  CBasicArray<TJBIG2Context> m_contexts;
  CBasicArray<std::uint64_t> m_white;  // a row above the first one
};

}  // namespace BSE
