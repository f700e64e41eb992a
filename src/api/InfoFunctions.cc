// Errors, document information, and the version of the output.

#include "api/CallFrame.h"
#include "api/TextArgument.h"

using API::CallQuietly;

namespace
{

constexpr const char16_t* g_szNoText = nullptr;

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
