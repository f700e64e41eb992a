#pragma once

#include "pdf/Object.h"

#include <cstddef>
#include <span>

namespace PDF
{

// The encoding of a stream object: the entries of its dictionary that say how its data are encoded, and the
// encoded data. What encodings are compared by is what they take in the file.

// Bytes that a value takes in a file that is written for size.
std::size_t MeasureValue(const CObjectPtr& value);

// Bytes that the entries "Filter" and "DecodeParms" of a stream take.
std::size_t MeasureFilters(CObject& stream);

// The same for one filter with these parameters, which may be null.
std::size_t MeasureFilter(const char* szFilter, const CObjectPtr& parameters);

// Gives a stream object other data in another encoding.
void ReplaceEncoding(CObject& stream, const char* szFilter, const CObjectPtr& parameters,
                     std::span<const unsigned char> encoded);

}  // namespace PDF
