#pragma once

#include "base/BasicString.h"
#include "base/Object.h"
#include "fonts/installed/FontCharacteristics.h"

#include <span>

namespace PDF
{

// A font that the machine offers.
class CInstalledFont : public BSE::CObject, public CFontCharacteristics
{
public:
  bool IsValid() const override { return true; }

  bool IsFromMemory() const { return !m_data.empty(); }

  BSE::CStr8 m_sFile;   // path; empty for a font from memory
  BSE::CStr16 m_sName;  // the name that documents call it by, without blanks
  BSE::CStr16 m_sFamily;
  int m_nIndex = 0;                       // in a file of several fonts
  std::span<const unsigned char> m_data;  // the program of a font from memory, which stays
};

}  // namespace PDF
