// Start and end of the library, its version, the colour engine of the process, and handles.

#include "api/CallFrame.h"
#include "api/Initializer.h"
#include "api/TextArgument.h"
#include "api/Version.h"

using API::CInitializer;

void BrevexInitialize(void)
{
  CInitializer::GetInstance().Initialize();
}

void BrevexUnInitialize(void)
{
  CInitializer::GetInstance().UnInitialize();
}

const char* BrevexGetProductVersionA(void)
{
  return CInitializer::GetInstance().WasStarted() ? API::g_szVersionA : "";
}

const TBrevexChar* BrevexGetProductVersionW(void)
{
  return CInitializer::GetInstance().WasStarted() ? API::g_szVersionW : u"";
}

int BrevexSetCMSEngineA(const char* szEngine)
{
  if (szEngine == nullptr)
    return 0;
  CInitializer::GetInstance().SetCMSEngine(szEngine);
  return 1;
}

int BrevexSetCMSEngineW(const TBrevexChar* szEngine)
{
  try
  {
    return BrevexSetCMSEngineA(API::CLocaleArgument(szEngine).Get());
  }
  catch (...)
  {
    return 0;
  }
}

TBrevexHandle* BrevexCreateObject(void)
{
  try
  {
    return new TBrevexHandle;
  }
  catch (...)
  {
    return nullptr;
  }
}

void BrevexDestroyObject(TBrevexHandle* pHandle)
{
  delete pHandle;
}
