#pragma once

#include "images/filters/jbig2/JBIG2DecodeFilter.h"

#include <gtest/gtest.h>

#include "tests/images/filters/BitmapFixture.h"
#include "tests/images/filters/FilterFixture.h"
#include "tests/support/TempFolder.h"

namespace BSE
{

inline std::string ReadSample(const std::string& sName)
{
  return Support::ReadFile(BREVEX_SAMPLES "/" + sName);
}

// Big-endian.
inline std::string Number(std::int64_t nValue, int nBytes)
{
  std::string bytes;
  for (int i = nBytes - 1; i >= 0; --i)
    bytes.push_back(static_cast<char>(nValue >> (8 * i)));
  return bytes;
}

// A segment of page 1 that refers to at most four others.
inline std::string Segment(int nNumber, int nType, const std::string& references, const std::string& data)
{
  return Number(nNumber, 4) + Number(nType, 1) + Number(std::ssize(references) << 5, 1) + references + '\1' +
         Number(std::ssize(data), 4) + data;
}

inline std::string PageSegment(std::int64_t nWidth, std::int64_t nHeight)
{
  return Segment(0, 48, "", Number(nWidth, 4) + Number(nHeight, 4) + std::string(11, '\0'));
}

inline std::string RegionHead(int nWidth, int nHeight, int nFlags = 0)
{
  return Number(nWidth, 4) + Number(nHeight, 4) + std::string(8, '\0') + Number(nFlags, 1);
}

// Template 0, its movable pixels in their places, and code.
inline std::string GenericSegment(int nWidth, int nHeight, int nFlags, const std::string& code)
{
  return Segment(1, 38, "",
                 RegionHead(nWidth, nHeight, nFlags) + '\0' + "\x03\xFF\xFD\xFF\x02\xFE\xFE\xFE" + code);
}

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

}  // namespace BSE
