#pragma once

// Status codes of font programs; the message table of the interface has their texts.

namespace FONT
{

inline constexpr unsigned g_nFontRepaired = 0x0341852AU;
inline constexpr unsigned g_nFontUnreadable = 0x80410701U;
inline constexpr unsigned g_nGlyphMissing = 0x83410531U;

}  // namespace FONT
