#pragma once

#include <cstdarg>

namespace BSE
{

// Formats a trace message: the conversions %d %i %u %x %X %o %c %s %f %e %g %p %% of printf with flags,
// width, precision (digits or *) and the sizes hh h l ll L z, %S for a wchar_t text written as UTF-8, and the
// C escapes \n \t \r \f \b \\ and octal \ooo where the format holds them as backslash sequences. A null text
// prints "(null)"; an unknown conversion is copied as it is. Cuts at nSize - 1 bytes and terminates; nSize is
// at least 1. Returns the length. Where the C library cannot format a value the whole message becomes
// "Exception while formatting trace message.".
int FormatTraceMessage(char* pBuffer, int nSize, const char* szFormat, va_list arguments);

}  // namespace BSE
