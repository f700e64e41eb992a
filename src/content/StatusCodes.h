#pragma once

#include "pdf/StatusCodes.h"

// Status codes of page content; the message table of the interface has their texts.

namespace PDF
{

inline constexpr unsigned g_nPathNotPainted = 0x00410516U;
inline constexpr unsigned g_nEmptyPathPainted = 0x00410518U;
inline constexpr unsigned g_nNumberAbove15Bits = 0x0041831FU;
inline constexpr unsigned g_nNumberAbove31Bits = 0x00418320U;
inline constexpr unsigned g_nPathStartAssumed = 0x00418514U;
inline constexpr unsigned g_nOperatorDropped = 0x0041851AU;
inline constexpr unsigned g_nOperatorStrict = 0x0342851AU;
inline constexpr unsigned g_nStateUnderflow = 0x80410321U;
inline constexpr unsigned g_nUnexpectedToken = 0x80410501U;
inline constexpr unsigned g_nInvalidOperator = 0x80410502U;
inline constexpr unsigned g_nOperandCount = 0x80410503U;
inline constexpr unsigned g_nOperandOverflow = 0x80410504U;
inline constexpr unsigned g_nOperandNoString = 0x80410506U;
inline constexpr unsigned g_nOperandNoName = 0x80410507U;
inline constexpr unsigned g_nOperandNoArray = 0x80410508U;
inline constexpr unsigned g_nOperandNoDictionary = 0x80410509U;
inline constexpr unsigned g_nOperandRange = 0x8041050AU;
inline constexpr unsigned g_nFontUnknown = 0x8041050BU;
inline constexpr unsigned g_nColorSpaceUnknown = 0x8041050CU;
inline constexpr unsigned g_nExtGStateUnknown = 0x8041050DU;
inline constexpr unsigned g_nPatternUnknown = 0x8041050EU;
inline constexpr unsigned g_nXObjectUnknown = 0x8041050FU;
inline constexpr unsigned g_nStateOverflow = 0x80410511U;
inline constexpr unsigned g_nBeginTextMissing = 0x80410512U;
inline constexpr unsigned g_nEndTextMissing = 0x80410513U;
inline constexpr unsigned g_nPathStartMissing = 0x80410514U;
inline constexpr unsigned g_nContentUnreadable = 0x80410515U;
inline constexpr unsigned g_nOperatorNotAllowed = 0x8041051AU;
inline constexpr unsigned g_nFormInItself = 0x8041080EU;

}  // namespace PDF
