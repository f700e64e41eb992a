#pragma once

namespace PDF
{

// The ciphers of a file that is encrypted, whatever a save's key length and crypt filters are.
enum TOutputCipher : unsigned
{
  eCipherUnspecified = 0,  // those of the save
  eCipherRC4 = 1,          // with 128 bits
  eCipherAES128 = 2,
  eCipherAES256 = 3,  // revision 6
  eCipherInput = 4    // those of the input; without passwords and with its permissions also its passwords
};

}  // namespace PDF
