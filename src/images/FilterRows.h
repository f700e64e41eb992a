#pragma once

#include "pdf/FilterTable.h"

namespace PDF
{

// One file each, with what the filter's parameters are in a dictionary.
extern const TFilterRow g_faxRow;
extern const TFilterRow g_dctRow;
extern const TFilterRow g_jbig2Row;
extern const TFilterRow g_jpxRow;

}  // namespace PDF
