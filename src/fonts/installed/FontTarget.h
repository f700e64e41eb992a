#pragma once

#include "base/BasicString.h"
#include "fonts/installed/FontCharacteristics.h"

namespace PDF
{

class CFont;
struct TStandardFont;

// What a font in a document would look like, as far as its dictionaries and its name tell.
struct CFontTarget : CFontCharacteristics
{
  explicit CFontTarget(const CFont& font);

  // The name in the catalogue: without the prefix of a subset and blanks, 255 characters at most.
  BSE::CStr16 m_sName;
  bool m_bLatin = false;       // no other script and no symbols are asked for
  bool m_bWidthKnown = false;  // the width is more than a default
};

// The standard font that comes nearest to a font, by its flags alone. Null for a Type 3 font.
const TStandardFont* GetStandardFallback(const CFont& font);

// The number of a letter's upper case form, where that is one of the first 256 characters.
char16_t ToUpper(char16_t nCharacter);

}  // namespace PDF
