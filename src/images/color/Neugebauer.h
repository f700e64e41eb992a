#pragma once

#include "base/Stream.h"

namespace DOC
{

// The model that makes RGB of CMYK and back: what the eye sees of halftoned inks is the mean of the sixteen
// ways to print them over each other, weighed by the area that each takes (Neugebauer, with the areas of
// Demichel). All values are 0 to 1; RGB is that of sRGB with its gamma, in which the mean comes close to the
// gain of printed dots.
class CNeugebauer
{
public:
  // With the built-in table.
  CNeugebauer();

  // Takes the colours of a text with sixteen lines of the form "0.5, 0.25, 1", in the order paper, C, M, Y,
  // K, CM, CY, CK, MY, MK, YK, CMY, CMK, CYK, MYK, CMYK. Reading ends at the first other line; the colours
  // after it stay as they are. False if the stream cannot be read.
  bool Read(BSE::IByteStream& stream);

  void Mix(const double* pCMYK, double* pRGB) const;

  // The inks for a colour, or the nearest that they can make. Black replaces most of the gray in it; gray as
  // dark as black ink, or darker, is black ink alone.
  void Separate(const double* pRGB, double* pCMYK) const;

private:
  double FindBlack(const double* pRGB) const;

  // The other inks over that much black that come closest; returns the greatest error of a component.
  double Solve(const double* pRGB, double dBlack, double* pInks) const;

  // The colours of the eight mixes of C, M and Y over that much black.
  void MixBlack(double dBlack, double (&colors)[8][3]) const;

  double m_colors[16][3];  // bits of the index: 1 C, 2 M, 4 Y, 8 K
};

}  // namespace DOC
