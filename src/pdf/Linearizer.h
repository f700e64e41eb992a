#pragma once

#include "base/Stream.h"

namespace PDF
{

class CFile;

enum class TLinearized
{
  Done,
  TooLong,  // nothing was written
  Failed
};

// Rewrites a finished file in first-page-first order. Declared here, and implemented in the layer above, so
// that closing a file does not depend on it.
class ILinearizer
{
public:
  virtual ~ILinearizer() = default;

  // Whether a file of that version keeps its object streams.
  virtual bool KeepsObjectStreams(const CFile& file) const = 0;

  // From a seekable stream to another one, from its position on. A result of more than nMaxLength bytes is
  // not written, if that is not negative. nWritten: bytes that the output may have taken, on failure as well.
  virtual TLinearized LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                                      std::int64_t nMaxLength, std::int64_t& nWritten) = 0;
};

}  // namespace PDF
