#pragma once

// Status codes of the layer of images; the message table of the interface has their texts.

namespace PDF
{

inline constexpr unsigned g_nSampleLength = 0x80410218U;
inline constexpr unsigned g_nProhibitedValue = 0x80410609U;

}  // namespace PDF
