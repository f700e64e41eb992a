#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2ArithmeticDecoder.h"
#include "images/filters/jbig2/JBIG2Bitmap.h"
#include "images/filters/jbig2/JBIG2RefinementTemplate.h"

namespace BSE
{

// Decodes refinements (ITU-T T.88, 6.3): bitmaps that are coded by what they have in common with a reference.
class CJBIG2RefinementDecoder
{
public:
  // All contexts at their start. The run outlives the decoder.
  CJBIG2RefinementDecoder(CJBIG2Run& run, const TJBIG2RefinementForm& form);

  // Decodes into a white bitmap. False, with the reason in the run, if the data does not hold all of it; the
  // rows up to there are kept.
  bool Decode(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap, const TJBIG2Reference& reference);

  // What a dictionary hands on to another one of the same form.
  CBasicArray<TJBIG2Context>& GetContexts() { return m_contexts; }

private:
  bool DecodeRow(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap, const TJBIG2Reference& reference,
                 int y, bool bPredicted);

  CJBIG2Run& m_run;
  TJBIG2RefinementForm m_form;
  CBasicArray<TJBIG2Context> m_contexts;
};

}  // namespace BSE
