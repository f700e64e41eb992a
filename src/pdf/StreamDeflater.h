#pragma once

#include "base/BasicArray.h"
#include "pdf/IndirectObject.h"

namespace PDF
{

// How a file that is written compresses, in place of the plain Flate encoder. Declared here and implemented
// in a layer above.
class IStreamDeflater
{
public:
  virtual ~IStreamDeflater() = default;

  // Appends the bytes as zlib data (RFC 1950).
  virtual void Deflate(std::span<const unsigned char> data, BSE::CBasicArray<unsigned char>& encoded) = 0;

  // Before a stream object is written: may give it other filters, parameters and another stream part for the
  // same data.
  virtual void Recompress(CIndirectObject& object) = 0;
};

}  // namespace PDF
