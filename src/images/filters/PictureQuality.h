#pragma once

namespace BSE
{

// The signal to noise ratio, in decibels, that a quality from 1 to 99 means for a picture that is detailed
// all over: about that of JPEG images of it.
double GetSignalToNoise(int nQuality);

}  // namespace BSE
