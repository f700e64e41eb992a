#pragma once

#include "document/StatusCodes.h"

// Status codes of the engine; the message table of the interface has their texts.

namespace PDF
{

inline constexpr unsigned g_nSignatureNotCopied = 0x0A1B8002U;
inline constexpr unsigned g_nImageUnreadable = 0x0A178006U;
inline constexpr unsigned g_nColorSpaceSubstituted = 0x06430403U;
inline constexpr unsigned g_nMaskRemoved = 0x06430905U;
inline constexpr unsigned g_nFontLicence = 0x80410780U;
inline constexpr unsigned g_nFontUnknownName = 0x80410781U;
inline constexpr unsigned g_nFontStaysEmbedded = 0x80410782U;
inline constexpr unsigned g_nDirectObject = 0x80410605U;
inline constexpr unsigned g_nFontMissing = 0x83410543U;
inline constexpr unsigned g_nInvalidCompliance = 0x83410546U;

}  // namespace PDF
