#pragma once

#include "base/Error.h"

namespace BSE
{

// What can be wrong with JPEG 2000 data. The low 15 bits are those of the codes.
enum TJPXStatus
{
  eJPXOutOfMemory = -1,
  eJPXUnsupported = -35,
  eJPXWriteFailed = -3,
  eJPXInvalidSize = -10,
  eJPXInvalidStream = -19,
  eJPXTruncated = -50,
  eJPXInvalidPalette = -60,
  eJPXInvalidMapping = -62,
  eJPXInvalidChannels = -63,
  eJPXInvalidHeader = -71,
  eJPXNoImage = -72
};

// A failure of the codec. The text is that of the status; what the codec said is the property "msg".
class CJPXError : public CError
{
public:
  explicit CJPXError(TJPXStatus status, const char* szText = "") : CError(GetCodeOf(status))
  {
    if (*szText)
      Set("msg", szText);
  }
  IError* Clone() const override { return new CJPXError(*this); }

  static constexpr unsigned GetCodeOf(TJPXStatus status)
  {
    return (static_cast<unsigned>(status) & 0x7FFFU) | 0x8A050000U;
  }
};

}  // namespace BSE
