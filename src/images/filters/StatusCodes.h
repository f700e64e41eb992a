#pragma once

// Status codes of the filters; the message table of the interface has their texts. The codes of libraries are
// made of their own statuses where they are reported.

namespace BSE
{

inline constexpr unsigned g_nASCII85Overflow = 0x80300002U;
inline constexpr unsigned g_nASCII85MisplacedZ = 0x80300003U;
inline constexpr unsigned g_nASCII85ShortGroup = 0x80300004U;
inline constexpr unsigned g_nASCII85Character = 0x80300005U;
inline constexpr unsigned g_nASCII85NoEnd = 0x80300006U;
inline constexpr unsigned g_nASCIIHexCharacter = 0x80300007U;
inline constexpr unsigned g_nFaxRowTooLong = 0x80300009U;
inline constexpr unsigned g_nFaxExtension1D = 0x8030000AU;
inline constexpr unsigned g_nFaxCode1D = 0x8030000BU;
inline constexpr unsigned g_nFaxExtension2D = 0x8030000CU;
inline constexpr unsigned g_nFaxCode2D = 0x8030000DU;
inline constexpr unsigned g_nLZWNoEnd = 0x80300019U;
inline constexpr unsigned g_nLZWCode = 0x8030001AU;
inline constexpr unsigned g_nFilterParameters = 0x80300052U;

}  // namespace BSE
