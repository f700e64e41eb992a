#pragma once

#include "images/filters/FaxBitReader.h"
#include "images/filters/FaxRow.h"

namespace BSE
{

// How a coded row ended. But for the first two the bits of the row are not used up, and the row keeps the
// colour that it had where the trouble came to its right end.
enum TFaxRowStatus
{
  eFaxRowDone,
  eFaxRowTooLong,   // a run went beyond the row and was cut
  eFaxRowExtended,  // a code switches to a mode that is not one of the standard ones
  eFaxRowInvalid    // there is no such code
};

// Decode one row, as wide as the row given, by ITU-T T.4 or, in two dimensions, by T.6 with the row above.
// The number of steps is bounded by the bits that the reader's source has.
TFaxRowStatus DecodeFaxRow(CFaxBitReader& reader, CFaxRow& row);
TFaxRowStatus DecodeFaxRow2D(CFaxBitReader& reader, const CFaxRow& above, CFaxRow& row);

}  // namespace BSE
