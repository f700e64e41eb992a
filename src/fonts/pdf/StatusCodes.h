#pragma once

// Status codes of fonts in documents; the message table of the interface has their texts.

namespace PDF
{

inline constexpr unsigned g_nInvalidValue = 0x80410607U;
inline constexpr unsigned g_nCMapFormat = 0x80410705U;
inline constexpr unsigned g_nProgramUnreadable = 0x80410701U;

}  // namespace PDF
