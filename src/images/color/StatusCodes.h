#pragma once

// Status codes of functions and colour spaces; the message table of the interface has their texts.

namespace DOC
{

inline constexpr unsigned g_nInvalidFunction = 0x8041031BU;
inline constexpr unsigned g_nTooManyColorants = 0x8041031CU;
inline constexpr unsigned g_nUnreadableProfile = 0x83410517U;

// Also reported where colours come out different from what they should be.
inline constexpr unsigned g_nInvalidColorSpace = 0x83410617U;

}  // namespace DOC

namespace PDF
{

using DOC::g_nInvalidColorSpace;
using DOC::g_nInvalidFunction;
using DOC::g_nTooManyColorants;
using DOC::g_nUnreadableProfile;

}  // namespace PDF
