#pragma once

#include "engine/FlateImageEncoder.h"
#include "engine/StreamDecoder.h"

namespace PDF
{

// Encodes images of byte filters anew, with a predictor for each row and in the shortest form that holds the
// same colours: fewer bits, gray in place of RGB, a table in place of colours. No pixel is another one when
// decoded. Those with other filters, incomplete ones, and those of one bit a sample stay as they are.
class CSampleRecoder
{
public:
  // 1 (fast) to 9 (small). With bDefaultSpaces colours of devices stay in their spaces, since those may stand
  // for others.
  CSampleRecoder(int nEffort, bool bDefaultSpaces) : m_encoder(nEffort), m_bDefaultSpaces(bDefaultSpaces) {}

  // A stream object of an output, and that of the input, which may be null. True if it has become smaller.
  bool Recode(const CObjectPtr& source, CObject& stream);

private:
  CStreamDecoder m_decoder;
  CFlateImageEncoder m_encoder;
  CSamples m_samples;
  bool m_bDefaultSpaces;
};

}  // namespace PDF
