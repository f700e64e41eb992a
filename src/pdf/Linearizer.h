#pragma once

#include "base/Stream.h"

namespace PDF
{

class CFile;

// Rewrites a finished file in first-page-first order. Declared here, and implemented in the layer above, so
// that closing a file does not depend on it.
class ILinearizer
{
public:
  virtual ~ILinearizer() = default;

  // From a seekable stream to another one, from its position on. nWritten: bytes that the output may have
  // taken, on failure as well.
  virtual bool LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                               std::int64_t& nWritten) = 0;
};

}  // namespace PDF
