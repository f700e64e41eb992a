#pragma once

// Status codes of the file layer; the message table of the interface has their texts.

namespace PDF
{

inline constexpr unsigned g_nHeaderVersion = 0x00410106U;
inline constexpr unsigned g_nOtherGeneration = 0x00410116U;
inline constexpr unsigned g_nEmptyObject = 0x00410305U;
inline constexpr unsigned g_nXRefSeparator = 0x0041810DU;
inline constexpr unsigned g_nDamaged = 0x00418114U;
inline constexpr unsigned g_nWrongOffset = 0x00418309U;
inline constexpr unsigned g_nArrayTooLong = 0x00418310U;
inline constexpr unsigned g_nNameTooLong = 0x00418311U;
inline constexpr unsigned g_nDictionaryTooLong = 0x00418313U;
inline constexpr unsigned g_nStringTooLong = 0x00418317U;
inline constexpr unsigned g_nNotUtf8 = 0x0041860EU;
inline constexpr unsigned g_nOddHexString = 0x0341851AU;
inline constexpr unsigned g_nDataAfterEof = 0x0341851BU;
inline constexpr unsigned g_nOtherIds = 0x0341851CU;
inline constexpr unsigned g_nSubsectionSeparator = 0x0341851DU;
inline constexpr unsigned g_nXRefEol = 0x0341851EU;
inline constexpr unsigned g_nStreamSeparator = 0x0341851FU;
inline constexpr unsigned g_nEndStreamSeparator = 0x03418520U;
inline constexpr unsigned g_nGenerationSeparator = 0x03418521U;
inline constexpr unsigned g_nObjSeparator = 0x03418522U;
inline constexpr unsigned g_nNumberSeparator = 0x03418523U;
inline constexpr unsigned g_nEndObjSeparator = 0x03418524U;
inline constexpr unsigned g_nAfterObj = 0x03418525U;
inline constexpr unsigned g_nAfterEndObj = 0x03418526U;
inline constexpr unsigned g_nXRefStreamUsed = 0x03418533U;
inline constexpr unsigned g_nNotLinearized = 0x03418544U;
inline constexpr unsigned g_nExternalData = 0x03418616U;
inline constexpr unsigned g_nWrongStreamOffset = 0x03428309U;
inline constexpr unsigned g_nFileNotOpened = 0x80410101U;
inline constexpr unsigned g_nFileNotCreated = 0x80410102U;
inline constexpr unsigned g_nBadPosition = 0x80410103U;
inline constexpr unsigned g_nNoHeader = 0x80410104U;
inline constexpr unsigned g_nNoEof = 0x80410108U;
inline constexpr unsigned g_nNoStartXRef = 0x8041010AU;
inline constexpr unsigned g_nBadTable = 0x8041010BU;
inline constexpr unsigned g_nNoTrailer = 0x8041010EU;
inline constexpr unsigned g_nNoRoot = 0x8041010FU;
inline constexpr unsigned g_nWrongPassword = 0x80410112U;
inline constexpr unsigned g_nNotRepairable = 0x80410113U;
inline constexpr unsigned g_nProprietaryHandler = 0x80410118U;
inline constexpr unsigned g_nUnknownAlgorithm = 0x80410119U;
inline constexpr unsigned g_nInvalidEncryption = 0x8041011CU;
inline constexpr unsigned g_nNoObjectNumber = 0x80410301U;
inline constexpr unsigned g_nNoGeneration = 0x80410302U;
inline constexpr unsigned g_nOtherObject = 0x80410303U;
inline constexpr unsigned g_nNoObj = 0x80410304U;
inline constexpr unsigned g_nWrongLength = 0x80410306U;
inline constexpr unsigned g_nNoEndStream = 0x80410307U;
inline constexpr unsigned g_nNoEndObj = 0x80410308U;
inline constexpr unsigned g_nLinearizationFailed = 0x83410544U;
inline constexpr unsigned g_nBadStream = 0x8342010BU;

}  // namespace PDF
