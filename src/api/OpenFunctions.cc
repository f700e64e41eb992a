// Opening, closing, and what an open document answers.

#include "api/CallFrame.h"
#include "api/TextArgument.h"

using API::Call;
using PDF::CTextString;

int BrevexOpenA(TBrevexHandle* pHandle, const char* szFileName, const char* szPassword)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              { return handle.OpenFile(szFileName, CTextString(szPassword)); });
}

int BrevexOpenW(TBrevexHandle* pHandle, const TBrevexChar* szFileName, const TBrevexChar* szPassword)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              {
                const API::CLocaleArgument fileName(szFileName);
                return handle.OpenFile(fileName.Get(), CTextString(szPassword));
              });
}

int BrevexOpenMemA(TBrevexHandle* pHandle, const void* pBytes, uint64_t nLength, const char* szPassword)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              { return handle.OpenMemory(pBytes, nLength, CTextString(szPassword)); });
}

int BrevexOpenMemW(TBrevexHandle* pHandle, const void* pBytes, uint64_t nLength,
                   const TBrevexChar* szPassword)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              { return handle.OpenMemory(pBytes, nLength, CTextString(szPassword)); });
}

int BrevexOpenStreamA(TBrevexHandle* pHandle, const TBrevexStreamDescriptor* pStream, const char* szPassword)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              { return handle.OpenStream(pStream, CTextString(szPassword)); });
}

int BrevexOpenStreamW(TBrevexHandle* pHandle, const TBrevexStreamDescriptor* pStream,
                      const TBrevexChar* szPassword)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              { return handle.OpenStream(pStream, CTextString(szPassword)); });
}

int BrevexClose(TBrevexHandle* pHandle)
{
  return Call(pHandle, 0, [](API::COptimizerHandle& handle) -> int { return handle.Close(); });
}

int BrevexGetPageCount(TBrevexHandle* pHandle)
{
  return API::CallQuietly(pHandle, 0, [](API::COptimizerHandle& handle) { return handle.GetPageCount(); });
}
