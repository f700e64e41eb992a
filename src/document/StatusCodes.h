#pragma once

#include "pdf/StatusCodes.h"

// Status codes of the document; the message table of the interface has their texts.

namespace PDF
{

inline constexpr unsigned g_nArchivalNotEncrypted = 0x0341860DU;
inline constexpr unsigned g_nPageMissing = 0x80410401U;
inline constexpr unsigned g_nPageTypeInvalid = 0x80410402U;
inline constexpr unsigned g_nPageKidsInvalid = 0x80410403U;
inline constexpr unsigned g_nPageCountInvalid = 0x80410404U;
inline constexpr unsigned g_nPageParentInvalid = 0x80410405U;
inline constexpr unsigned g_nPageResourcesInvalid = 0x80410406U;
inline constexpr unsigned g_nPageMediaBoxInvalid = 0x80410407U;
inline constexpr unsigned g_nNoPages = 0x80410408U;

}  // namespace PDF
