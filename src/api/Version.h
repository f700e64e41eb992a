#pragma once

namespace API
{

// The product version, from the build.
inline constexpr char g_szVersionA[] = BREVEX_VERSION;
inline constexpr char16_t g_szVersionW[] = u"" BREVEX_VERSION;

// What the trace calls the product, in UTF-8, and what documents call the program that wrote them.
inline constexpr char g_szProduct[] = "Tarvex\xE2\x84\xA2 Brevex API";
inline constexpr char16_t g_szProducer[] = u"Tarvex\u2122 Brevex API " BREVEX_VERSION;

}  // namespace API
