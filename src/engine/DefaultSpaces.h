#pragma once

#include "pdf/File.h"

namespace PDF
{

// Resources may put colour spaces of their own in the place of those of devices (ISO 32000-1, 8.6.5.6). What
// is painted there in gray, RGB or CMYK is of other colours than the names say, so that gray is not RGB of
// three equal components, and a table of RGB not the same to all readers.

// Whether an object holds or is such resources, or their dictionary of colour spaces; references are not
// followed.
bool NamesDefaultSpaces(const CObjectPtr& object);

// Whether there are any in a file. Loads everything that the catalogue leads to, one object after the other.
bool HasDefaultColorSpaces(CFile& file);

}  // namespace PDF
