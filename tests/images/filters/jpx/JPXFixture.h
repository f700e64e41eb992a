#pragma once

#include "images/filters/jpx/JPXDecodeFilter.h"

#include <gtest/gtest.h>

#include "tests/images/filters/FilterFixture.h"
#include "tests/support/TempFolder.h"

namespace BSE
{

// The value of a component's sample in all test pictures, those that are encoded here and those that are
// kept.
inline int GetTestSample(int nComponent, int x, int y, int nDepth)
{
  return (x * (5 + nComponent) + y * (9 - nComponent) + (x / 8 + y / 8) % 2 * 40) & ((1 << nDepth) - 1);
}

// A codestream without loss: its size and components, see samples/README.md.
inline std::string ReadCodestream(const std::string& sName)
{
  return Support::ReadFile(BREVEX_SAMPLES "/" + sName + ".j2k");
}

// A box with contents.
inline std::string MakeBox(const std::string& type, const std::string& contents)
{
  const std::size_t nSize = contents.size() + 8;
  std::string box;
  for (int nShift = 24; nShift >= 0; nShift -= 8)
    box.push_back(static_cast<char>(nSize >> nShift));
  return box + type + contents;
}

// A file with the given boxes in its header.
inline std::string MakeFile(const std::string& boxes, const std::string& codestream)
{
  return MakeBox("jP  ", "\r\n\x87\n") + MakeBox("jp2h", boxes) + MakeBox("jp2c", codestream);
}

// A colr box with the number of a colour space.
inline std::string MakeColor(int nEnumerated)
{
  return MakeBox("colr", std::string("\1\0\0\0\0\0", 6) + static_cast<char>(nEnumerated));
}

struct TPicture
{
  std::string m_rows;
  CJPXParameters m_parameters;
  int m_nSamples = 0;
  bool m_bOpacity = false;
  bool m_bGap = false;
  CCodes m_codes;
};

inline TPicture DecodePicture(const std::string& data, int nChannels = 0, bool bIndices = false)
{
  CReports reports;
  CJPXParameters parameters;
  parameters.nChannels = nChannels;
  parameters.bIndices = bIndices;
  const CObjectPtr<CJPXDecodeFilter> pFilter(
      new CJPXDecodeFilter(MakeSource(data).Get(), parameters, &reports));
  TPicture picture;
  picture.m_rows = ReadPieces(*pFilter, pFilter->GetBlockSize());
  picture.m_parameters = pFilter->GetParameters();
  picture.m_nSamples = pFilter->GetSampleCount();
  picture.m_bOpacity = pFilter->HasOpacity();
  picture.m_bGap = pFilter->HasGap();
  picture.m_codes = reports.GetCodes();
  return picture;
}

}  // namespace BSE
