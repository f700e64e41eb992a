#pragma once

namespace XMP
{

// What a packet names as its toolkit; the version comes from the build.
inline constexpr char g_szToolkit[] = "Tarvex(TM) XMP Library " BREVEX_VERSION;

}  // namespace XMP
