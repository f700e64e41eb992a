#pragma once

#include "pdf/XRefSink.h"

namespace PDF
{

enum TXRefOutcome
{
  eXRefWhole,
  eXRefShort,  // the data ends early: what was read is entered, with a trace line
  eXRefBroken  // the dictionary or the data cannot be read, the data are damaged, or it lists too much
};

// Enters what a cross-reference stream (ISO 32000-1, 7.5.8) lists.
TXRefOutcome ReadXRefStream(CIndirectObject& object, CXRefSink& sink);

}  // namespace PDF
