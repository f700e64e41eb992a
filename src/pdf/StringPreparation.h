#pragma once

#include "base/BasicString.h"

namespace PDF
{

// Prepares a password for encryption (ISO 32000-2, 7.6.4.3.3): the mapping and the normalization (NFKC of
// Unicode 3.2) of SASLprep, RFC 4013. Characters that the profile prohibits, and those that are not assigned,
// stay as they are: no other processor would have taken the password, so that there is nothing to agree with.
// False for text that is not valid UTF-16.
bool PrepareString(const BSE::CStr16& text, BSE::CStr16& result);

}  // namespace PDF
