#pragma once

namespace API
{

// The product version, from the build.
inline constexpr char g_szVersionA[] = BREVEX_VERSION;
inline constexpr char16_t g_szVersionW[] = u"" BREVEX_VERSION;

// What the trace and the documents written call the product, in UTF-8.
inline constexpr char g_szProduct[] = "Tarvex\xE2\x84\xA2 Brevex API";

}  // namespace API
