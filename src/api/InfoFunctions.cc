// Errors, reports, document information, and the version of the output.

#include "api/CallFrame.h"
#include "api/TextArgument.h"
#include "pdf/StandardSecurityHandler.h"

#include <cstring>

using API::CallQuietly;

namespace
{

constexpr const char16_t* g_szNoText = nullptr;

// Of the CFM of a crypt filter; null is RC4 without crypt filters.
int GetCipher(const char* szMethod)
{
  if (szMethod == nullptr || std::strcmp(szMethod, "V2") == 0)
    return BREVEX_CIPHER_RC4_128;
  if (std::strcmp(szMethod, "AESV2") == 0)
    return BREVEX_CIPHER_AES_128;
  return std::strcmp(szMethod, "AESV3") == 0 ? BREVEX_CIPHER_AES_256 : BREVEX_CIPHER_UNSPECIFIED;
}

int DescribeEncryption(PDF::CDocument& input, TBrevexEncryption& encryption)
{
  if (!input.IsOpened())
    return 0;
  const auto* pSecurity =
      dynamic_cast<const PDF::CStandardSecurityHandler*>(input.GetFile().GetSecurityHandler());
  if (pSecurity == nullptr)
    return 0;
  const PDF::TCiphers ciphers = pSecurity->GetCiphers();
  encryption.nRevision = pSecurity->GetRevision();
  encryption.nKeyLength = pSecurity->GetKeyLength();
  encryption.nStreamCipher = GetCipher(ciphers.m_szStream);
  encryption.nStringCipher = GetCipher(ciphers.m_szString);
  encryption.nEmbeddedCipher = GetCipher(ciphers.m_szEmbedded);
  encryption.nPermissions = pSecurity->GetPermissions();
  encryption.bOwner = pSecurity->IsOpenedByOwner();
  return 1;
}

}  // namespace

uint32_t BrevexGetErrorCode(TBrevexHandle* pHandle)
{
  return pHandle != nullptr ? pHandle->GetLastCode() : BREVEX_STATUS_FATAL;
}

const TBrevexChar* BrevexGetErrorMessageW(TBrevexHandle* pHandle)
{
  return CallQuietly(pHandle, g_szNoText,
                     [](API::COptimizerHandle& handle) { return handle.GetErrorText(); });
}

const char* BrevexGetErrorMessageA(TBrevexHandle* pHandle)
{
  return BrevexGetErrorMessageW(pHandle) != nullptr ? pHandle->GetResultString().GetA() : nullptr;
}

int BrevexGetReportCount(TBrevexHandle* pHandle)
{
  return CallQuietly(pHandle, 0,
                     [](API::COptimizerHandle& handle) { return handle.GetReports().GetCount(); });
}

int BrevexGetReport(TBrevexHandle* pHandle, int nIndex, TBrevexReport* pReport)
{
  if (pReport == nullptr)
    return 0;
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle) -> int
                     { return handle.GetReports().GetReport(nIndex, *pReport); });
}

const TBrevexChar* BrevexGetReportTextW(TBrevexHandle* pHandle, int nIndex)
{
  return CallQuietly(pHandle, g_szNoText,
                     [&](API::COptimizerHandle& handle) { return handle.GetReportText(nIndex); });
}

const char* BrevexGetReportTextA(TBrevexHandle* pHandle, int nIndex)
{
  return BrevexGetReportTextW(pHandle, nIndex) != nullptr ? pHandle->GetResultString().GetA() : nullptr;
}

uint64_t BrevexGetLossCount(TBrevexHandle* pHandle)
{
  return CallQuietly(pHandle, std::uint64_t{0},
                     [](API::COptimizerHandle& handle) { return handle.GetReports().GetLossCount(); });
}

int BrevexSetInfoEntryW(TBrevexHandle* pHandle, const TBrevexChar* szKey, const TBrevexChar* szValue)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle) -> int
                     { return handle.GetOptimizer().SetInfoEntry(szKey, szValue); });
}

int BrevexSetInfoEntryA(TBrevexHandle* pHandle, const char* szKey, const char* szValue)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle&)
                     {
                       const API::CUtf16Argument key(szKey);
                       const API::CUtf16Argument value(szValue);
                       return BrevexSetInfoEntryW(pHandle, key.Get(), value.Get());
                     });
}

const TBrevexChar* BrevexGetInfoEntryW(TBrevexHandle* pHandle, const TBrevexChar* szKey)
{
  return CallQuietly(pHandle, g_szNoText,
                     [&](API::COptimizerHandle& handle) { return handle.GetInfoEntry(szKey); });
}

const char* BrevexGetInfoEntryA(TBrevexHandle* pHandle, const char* szKey)
{
  return CallQuietly(pHandle, static_cast<const char*>(nullptr),
                     [&](API::COptimizerHandle& handle)
                     {
                       const API::CUtf16Argument key(szKey);
                       handle.GetInfoEntry(key.Get());
                       return handle.GetResultString().GetA();
                     });
}

int BrevexGetInputEncryption(TBrevexHandle* pHandle, TBrevexEncryption* pEncryption)
{
  if (pEncryption == nullptr)
    return 0;
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle)
                     { return DescribeEncryption(handle.GetOptimizer().GetInput(), *pEncryption); });
}

int BrevexSetVersionA(TBrevexHandle* pHandle, const char* szVersion)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle) -> int
                     { return handle.GetOptimizer().GetOptions().SetVersion(szVersion); });
}

int BrevexSetVersionW(TBrevexHandle* pHandle, const TBrevexChar* szVersion)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle&)
                     { return BrevexSetVersionA(pHandle, API::CLocaleArgument(szVersion).Get()); });
}

int BrevexSetMinimumVersion(TBrevexHandle* pHandle, int nMajor, int nMinor)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle) -> int
                     { return handle.GetOptimizer().GetOptions().SetMinimumVersion(nMajor, nMinor); });
}
