#pragma once

#include "base/BasicString.h"

#include <atomic>
#include <mutex>

namespace BSE
{

// Counts the starts of a library. The first start and the end that takes the last one back run their
// operation under the lock, so that both may come from any thread. Ends without a start are ignored.
class CCAPIInitializer
{
public:
  CCAPIInitializer() = default;
  CCAPIInitializer(const CCAPIInitializer&) = delete;
  CCAPIInitializer& operator=(const CCAPIInitializer&) = delete;

  void Initialize();
  void UnInitialize();

protected:
  ~CCAPIInitializer() = default;

  virtual void OnStart() = 0;
  virtual void OnEnd() = 0;

  std::mutex m_lock;

private:
  int m_nStarts = 0;
};

}  // namespace BSE

namespace API
{

// What belongs to the process and not to a handle: the start count, the version text, the name of the colour
// engine and where its profiles are. All operations may be called from any thread.
class CInitializer final : public BSE::CCAPIInitializer
{
public:
  // The library's one instance; never destroyed.
  static CInitializer& GetInstance();

  // True from the first start on, to the end of the process.
  bool WasStarted() const { return m_bStarted.load(std::memory_order_acquire); }

  // The engine for documents opened from then on; cut at 1023 bytes.
  void SetCMSEngine(const char* szEngine);
  BSE::CStr8 GetCMSEngine();

  // The folder of the default profiles, from PDF_ICC_PATH when the library was started; "." without it.
  BSE::CStr8 GetProfileFolder();

private:
  static constexpr int g_nEngineSize = 1024;

  void OnStart() override;
  void OnEnd() override;

  std::atomic<bool> m_bStarted = false;
  char m_szCMSEngine[g_nEngineSize] = {};
  BSE::CStr8 m_profileFolder{"."};
};

}  // namespace API
