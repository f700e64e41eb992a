#include "engine/Compression.h"

namespace PDF
{

unsigned GetCompressionFlag(unsigned nCompression)
{
  if (nCompression <= eCompressionJPEG2000)
    return 1U << nCompression;
  switch (nCompression)
  {
  case eCompressionMRC:
    return eCompressionFlagJPEG2000;
  case eCompressionUnspecified:
    return 0;
  default:
    return eCompressionFlagKeep;
  }
}

}  // namespace PDF
