#pragma once

// Status codes of fonts in documents; the message table of the interface has their texts.

namespace PDF
{

inline constexpr unsigned g_nInvalidValue = 0x80410607U;
inline constexpr unsigned g_nCMapFormat = 0x80410705U;

}  // namespace PDF
