#pragma once

// Status codes of the foundation, which several layers report; the message table of the interface has their
// texts.

namespace BSE
{

inline constexpr unsigned g_nSizeExceeded = 0x80300040U;
inline constexpr unsigned g_nInvalidUtf8 = 0x80300041U;
inline constexpr unsigned g_nInvalidUtf16 = 0x80300042U;
inline constexpr unsigned g_nInvalidCodePage = 0x80300043U;
inline constexpr unsigned g_nInvalidOperation = 0x80300051U;
inline constexpr unsigned g_nStreamReadFailed = 0x80300060U;
inline constexpr unsigned g_nStreamWriteFailed = 0x80300061U;
inline constexpr unsigned g_nStreamSeekFailed = 0x80300062U;
inline constexpr unsigned g_nOutOfMemory = 0x80308001U;
inline constexpr unsigned g_nUnknownFatalError = 0x8030FFFFU;

}  // namespace BSE
