#pragma once

#include "images/filters/jbig2/JBIG2DecodeFilter.h"

#include <gtest/gtest.h>

#include "tests/images/filters/FilterFixture.h"
#include "tests/images/filters/jbig2/JBIG2Writer.h"

namespace BSE
{

// The picture of JBIG2 data with 1 for black.
inline std::string DecodeJBIG2(const std::string& data, CReports& reports, const std::string& globals = {})
{
  CJBIG2Parameters parameters;
  if (!globals.empty())
    parameters.pGlobals = MakeSource(globals);
  const CObjectPtr<CJBIG2DecodeFilter> pFilter(
      new CJBIG2DecodeFilter(MakeSource(data).Get(), parameters, &reports));
  const int nColumns = pFilter->GetParameters().nWidth;
  std::string rows = ReadPieces(*pFilter, std::int64_t{(nColumns + 7) / 8} * 50);
  const auto nMask = static_cast<unsigned char>(0xFF00 >> ((nColumns + 7) % 8 + 1));
  for (size_t i = 0; i < rows.size(); ++i)
  {
    const bool bLast = nColumns > 0 && (i + 1) % static_cast<size_t>((nColumns + 7) / 8) == 0;
    rows[i] = static_cast<char>(~rows[i] & (bLast ? nMask : 0xFF));
  }
  return rows;
}

// The data shows the picture, and nothing is reported.
inline void ExpectPicture(const std::string& data, const TBitmap& expected, const std::string& globals = {})
{
  CReports reports;
  EXPECT_TRUE(DecodeJBIG2(data, reports, globals) == expected.m_rows);
  for (const std::u16string& sText : reports.GetTexts())
    ADD_FAILURE() << std::string(sText.begin(), sText.end());
}

}  // namespace BSE
