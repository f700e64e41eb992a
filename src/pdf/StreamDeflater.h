#pragma once

#include "base/BasicArray.h"

#include <span>

namespace PDF
{

// How a file that is written compresses what it makes itself (object streams, cross-reference streams), in
// place of the plain Flate encoder. Declared here and implemented in a layer above.
class IStreamDeflater
{
public:
  virtual ~IStreamDeflater() = default;

  // Appends the bytes as zlib data (RFC 1950).
  virtual void Deflate(std::span<const unsigned char> data, BSE::CBasicArray<unsigned char>& encoded) = 0;
};

}  // namespace PDF
