#pragma once

namespace BSE
{

struct CLZWParameters
{
  // 1: codes grow one code early, the usual form; 0: as late as possible.
  int EarlyChange = 1;

  // Bits of a literal, 1 to 11; codes start one bit wider.
  int nCodeSize = 8;

  // Codes are packed from the low bit of each byte.
  bool bLSBFirst = false;
};

}  // namespace BSE
