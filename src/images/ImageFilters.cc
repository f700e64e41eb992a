#include "images/ImageFilters.h"

#include "images/FilterRows.h"

namespace PDF
{

CFilterTable GetImageFilters()
{
  static const TFilterRow rows[] = {g_faxRow, g_dctRow, g_jbig2Row, g_jpxRow};
  return rows;
}

}  // namespace PDF
