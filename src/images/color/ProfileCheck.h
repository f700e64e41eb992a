#pragma once

#include "base/BasicArray.h"
#include "images/color/CMS.h"

#include <span>

namespace DOC
{

// What the header of an ICC profile says.
struct TProfileHeader
{
  TProfileKind m_kind = eProfileGray;
  TIntent m_intent = eIntentPerceptual;
  bool m_bTables = false;  // conversions by tables of colours, not by curves and a matrix alone
};

// Reads the header of an ICC profile (ICC.1:2010, 7) and looks at all that a conversion would use of it. The
// copy is the profile with its true length, in which tags that are not needed, are not inside the profile, or
// have tables larger than their data get names that no reader knows. So what a reader allocates for a profile
// is in proportion to its length. False for what is not a profile of a device or colour space with one, three
// or four components.
bool CheckProfile(std::span<const unsigned char> data, TProfileHeader& header,
                  BSE::CBasicArray<unsigned char>& copy);

}  // namespace DOC
