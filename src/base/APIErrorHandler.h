#pragma once

#include "base/StreamErrorHandler.h"

namespace BSE
{

// The error state behind a handle of the public interface: code of the last report, accumulated codes, and
// the last error that passed the threshold.
class CAPIErrorHandler : public CStreamErrorHandler
{
public:
  // The stream is a log; null for none.
  explicit CAPIErrorHandler(IByteStream* pLog = nullptr) : CStreamErrorHandler(pLog) {}

  // Logs the error, then keeps it in place of the one kept before.
  void OnHandleError(CScopedPtr<IError>& pError) override;

  // Borrowed, until the next report; null before the first error that passed. Its code is that of GetLastCode
  // only if no error was filtered since.
  IError* GetLastError() const { return m_pLastError.Get(); }

  // Off: errors are not written to the log.
  void SetLogging(bool bLogging) { m_bLogging = bLogging; }

  // Off: errors are deleted once logged.
  void SetKeepLastError(bool bKeep) { m_bKeepLastError = bKeep; }

private:
  bool m_bKeepLastError = true;
  bool m_bLogging = true;
  CScopedPtr<IError> m_pLastError;
};

}  // namespace BSE
