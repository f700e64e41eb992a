#pragma once

#include <string>
#include <vector>

namespace BSE
{

// A component of a picture that is made for a test.
struct TTestComponent
{
  int m_nStepX = 1;
  int m_nStepY = 1;
  int m_nDepth = 8;
  bool m_bSigned = false;
};

// The value of a component's sample, before it is shifted for signed ones.
int GetTestSample(int nComponent, int x, int y, int nDepth);

// A codestream without loss of a picture of these samples, whose left upper corner is at (nLeft, nTop) of its
// grid; in tiles of that size, or in one for 0.
std::string MakeCodestream(int nWidth, int nHeight, const std::vector<TTestComponent>& components,
                           int nTileSize = 0, int nLeft = 0, int nTop = 0);

// A box with contents.
std::string MakeBox(const std::string& type, const std::string& contents);

// A file with the given boxes in its header.
std::string MakeFile(const std::string& boxes, const std::string& codestream);

// A colr box with the number of a colour space.
std::string MakeColor(int nEnumerated);

}  // namespace BSE
