#pragma once

#include "pdf/XRefTable.h"

namespace PDF
{

// Enters the entries of a cross-reference stream (ISO 32000-1, 7.5.8) into a table. False if its dictionary
// or its data cannot be read at all; data that ends early keeps what was read, with a trace line.
bool ReadXRefStream(CIndirectObject& object, CXRefTable& table);

}  // namespace PDF
