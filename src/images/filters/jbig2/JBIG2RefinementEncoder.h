#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2ArithmeticEncoder.h"
#include "images/filters/jbig2/JBIG2RefinementTemplate.h"

namespace BSE
{

// Encodes bitmaps as refinements of others (ITU-T T.88, 6.3) without typical prediction, one after the other
// with the same contexts.
class CJBIG2RefinementEncoder
{
public:
  // All contexts at their start, the movable pixels at their default places.
  explicit CJBIG2RefinementEncoder(int nTemplate);

  void Encode(CJBIG2ArithmeticEncoder& encoder, const CJBIG2Bitmap& bitmap, const TJBIG2Reference& reference);

private:
  TJBIG2RefinementForm m_form;
  CBasicArray<TJBIG2Context> m_contexts;
};

}  // namespace BSE
