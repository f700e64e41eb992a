#pragma once

// Status codes of JBIG2; the message table of the interface has their texts.

namespace BSE
{

inline constexpr unsigned g_nJBIG2FatalCode = 0x8A030015U;
inline constexpr unsigned g_nJBIG2WarningCode = 0x0A038014U;

}  // namespace BSE
