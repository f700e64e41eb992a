#pragma once

#include "base/ErrorContext.h"
#include "images/filters/jpx/JPXParameters.h"

#include <span>

namespace BSE
{

// Encodes the rows of an image, or of its indices, as a codestream: the only place that knows OpenJPEG for
// encoding. Rows are those of the encode filter, all of them. False on a failure, which has been reported.
bool EncodeJPXCodestream(const CJPXParameters& parameters, std::span<const unsigned char> rows,
                         CBasicArray<unsigned char>& codestream, IErrorContext* pErrorContext);

}  // namespace BSE
