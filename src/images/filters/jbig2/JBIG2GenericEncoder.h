#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2ArithmeticEncoder.h"
#include "images/filters/jbig2/JBIG2Bitmap.h"
#include "images/filters/jbig2/JBIG2GenericTemplate.h"

namespace BSE
{

// Encodes bitmaps as generic regions (ITU-T T.88, 6.2.5) with the movable pixels at their default places, one
// after the other with the same contexts.
class CJBIG2GenericEncoder
{
public:
  // All contexts at their start.
  explicit CJBIG2GenericEncoder(const TJBIG2GenericForm& form);

  void Encode(CJBIG2ArithmeticEncoder& encoder, const CJBIG2Bitmap& bitmap);

private:
  template <int nTemplate>
  void EncodeRow(CJBIG2ArithmeticEncoder& encoder, const CJBIG2Bitmap& bitmap, int y);

  TJBIG2GenericForm m_form;
  CBasicArray<TJBIG2Context> m_contexts;
  CBasicArray<std::uint64_t> m_white;  // a row above the first one
};

}  // namespace BSE
