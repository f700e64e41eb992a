#include "engine/Compression.h"

#include <bit>
#include <iterator>

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

unsigned GetCompressionNumber(unsigned nFlags)
{
  if (nFlags == 0 || nFlags == eCompressionFlagMRC)
    return eCompressionUnspecified;
  if (!std::has_single_bit(nFlags) || nFlags > eCompressionFlagJPEG2000)
    return eCompressionInvalid;
  return static_cast<unsigned>(std::countr_zero(nFlags));
}

unsigned GetTiffCompression(unsigned nCompression)
{
  static constexpr unsigned codes[] = {1, 6, 8, 5, 2, 3, 4, 34715, 34712};
  return nCompression < std::size(codes) ? codes[nCompression] : 0;
}

}  // namespace PDF
