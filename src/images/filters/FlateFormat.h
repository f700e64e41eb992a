#pragma once

#include "base/Error.h"

namespace BSE
{

// Framing of deflate data (RFC 1951).
enum class TFlateFormat
{
  Zlib,  // with the header and checksum of RFC 1950, as PDF streams have them
  Raw    // deflate blocks alone
};

// Compression levels of zlib that the library uses; 0 to 9 are valid as well.
inline constexpr int g_nFlateLevelDefault = -1;
inline constexpr int g_nFlateLevelFast = 1;

// Window bits for zlib's initialisers.
inline constexpr int GetFlateWindowBits(TFlateFormat eFormat)
{
  return eFormat == TFlateFormat::Raw ? -15 : 15;
}

// A failure of zlib. The code is 0x8A110000 with the low 15 bits of zlib's status.
class CFlateError : public CError
{
public:
  explicit CFlateError(int nStatus) : CError(GetCodeOf(nStatus)) {}

  // Always in the words of zlib's status, "Error in Flate stream: data error." and the like.
  int GetMessage(char16_t* pBuffer, int nLength) override;
  IError* Clone() const override { return new CFlateError(*this); }

  static constexpr unsigned GetCodeOf(int nStatus)
  {
    return (static_cast<unsigned>(nStatus) & 0x7FFFU) | 0x8A110000U;
  }
};

}  // namespace BSE
