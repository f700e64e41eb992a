#include "api/Initializer.h"

#include "api/Version.h"
#include "base/Tracer.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace BSE
{

void CCAPIInitializer::Initialize()
{
  const std::lock_guard<std::mutex> guard(m_lock);
  if (m_nStarts++ == 0)
    OnStart();
}

void CCAPIInitializer::UnInitialize()
{
  const std::lock_guard<std::mutex> guard(m_lock);
  if (m_nStarts > 0 && --m_nStarts == 0)
    OnEnd();
}

}  // namespace BSE

namespace API
{

CInitializer& CInitializer::GetInstance()
{
  // Other threads may still be inside the library while the process ends.
  alignas(CInitializer) static unsigned char storage[sizeof(CInitializer)];
  static CInitializer* const pInstance = new (storage) CInitializer;
  return *pInstance;
}

void CInitializer::SetCMSEngine(const char* szEngine)
{
  const std::lock_guard<std::mutex> guard(m_lock);
  const std::size_t nLength = ::strnlen(szEngine, g_nEngineSize - 1);
  std::memcpy(m_szCMSEngine, szEngine, nLength);
  m_szCMSEngine[nLength] = 0;
}

BSE::CStr8 CInitializer::GetCMSEngine()
{
  const std::lock_guard<std::mutex> guard(m_lock);
  return BSE::CStr8(m_szCMSEngine);
}

BSE::CStr8 CInitializer::GetProfileFolder()
{
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_profileFolder;
}

void CInitializer::OnStart()
{
  const char* szFolder = std::getenv("PDF_ICC_PATH");
  m_profileFolder.Assign(szFolder && *szFolder ? szFolder : ".");
  BSE::CTracer::SetProduct(g_szProduct);
  m_bStarted.store(true, std::memory_order_release);
  if (BSE::CTracer::IsOn())
  {
    BSE::CTracer::Trace("I", "libbse", "Version: %s of %s", g_szVersionA, __DATE__);
    BSE::CTracer::Trace("I", "libbse", "Module initialized.");
  }
}

void CInitializer::OnEnd()
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "libbse", "Module uninitialized.");
}

}  // namespace API
