#pragma once

#include "base/BasicArray.h"

#include <span>

// Compresses what the linearizer writes of its own, and plain metadata.
class PDDeflater
{
public:
  virtual ~PDDeflater() = default;

  // Replaces the contents of the array by the bytes as zlib data (RFC 1950), the same for the same bytes.
  // False on failure.
  virtual bool Deflate(std::span<const unsigned char> data, BSE::CBasicArray<unsigned char>& deflated) = 0;
};
