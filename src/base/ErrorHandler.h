#pragma once

#include "base/BasicArray.h"
#include "base/ErrorContext.h"

namespace BSE
{

// Receives every error of a handler that passed its threshold.
class IErrorObserver
{
public:
  virtual ~IErrorObserver() = default;
  virtual void OnError(CScopedPtr<IError> pError) = 0;
};

// End of a context chain: notes the code, filters by severity, adds the dynamic contexts' properties, and
// hands the error to the observer or to OnHandleError. Not locked: a chain belongs to one thread.
class CErrorHandler : public IErrorContext
{
public:
  CErrorHandler() = default;
  CErrorHandler(const CErrorHandler&) = delete;
  CErrorHandler& operator=(const CErrorHandler&) = delete;

  CErrorHandler* OnGetErrorHandler() override { return this; }
  void OnReportError(CScopedPtr<IError> pError) override;
  void OnReport(unsigned nCode, const CErrorProperties* pProperties) override;

  // Walks the dynamic contexts from the last pushed to the first.
  void OnAddContextInfo(IError& error) override;

  // Sees every error that no suppressor hides, whether it passes the threshold or not, with the properties of
  // all contexts. The default does nothing.
  virtual void OnNoteError(IError& error);

  // What becomes of an error without an observer: an override that keeps it moves it out of the pointer.
  // The default leaves it, and the error is deleted.
  virtual void OnHandleError(CScopedPtr<IError>& pError);

  // Code of the last report, whether it passed the threshold or not.
  unsigned GetLastCode() const { return m_nLastCode; }

  // OR of all reported codes since the last clear; an errno code counts as 0x80000000.
  unsigned GetAccumulated() const { return m_nAccumulated; }
  void Clear() { m_nLastCode = m_nAccumulated = m_nEndCode = 0; }

  // Code of the first report since the last clear that ended an operation; 0 if none did.
  unsigned GetEndCode() const { return m_nEndCode; }

  // Takes the code of an end for which no error can be made; allocates nothing.
  virtual void NoteEnd(unsigned nCode) noexcept;

  // Lowest severity mask that is acted upon: 0x80000000 errors (the start), 0x8000 warnings too, 0
  // everything, 0xF0000000 and above nothing.
  unsigned GetThreshold() const { return m_nThreshold; }
  void SetThreshold(unsigned nThreshold) { m_nThreshold = nThreshold; }

  // True if an error of that code would be acted upon.
  bool Passes(unsigned nCode) const;

  // Borrowed; null for none.
  IErrorObserver* GetObserver() const { return m_pObserver; }
  void SetObserver(IErrorObserver* pObserver) { m_pObserver = pObserver; }

protected:
  friend class CDynamicContextGuard;
  friend class CErrorSuppressor;

  unsigned m_nLastCode = 0;
  unsigned m_nThreshold = 0x80000000U;
  unsigned m_nAccumulated = 0;
  unsigned m_nEndCode = 0;
  int m_nSuppressors = 0;
  IErrorObserver* m_pObserver = nullptr;
  CPtrArray<IErrorContext> m_contexts;
};

// Deletes every error of a handler while it lives, then puts the former observer back. A null handler is
// fine. The handler's codes are put back as well: a suppressed error leaves no trace. What is lost under a
// suppressor must therefore be kept by whoever finds it, and reported when the result is made.
class CErrorSuppressor : public IErrorObserver
{
public:
  explicit CErrorSuppressor(CErrorHandler* pHandler);
  CErrorSuppressor(const CErrorSuppressor&) = delete;
  CErrorSuppressor& operator=(const CErrorSuppressor&) = delete;
  ~CErrorSuppressor() override;
  void OnError(CScopedPtr<IError>) override {}

private:
  CErrorHandler* m_pHandler;
  IErrorObserver* m_pFormer = nullptr;
  unsigned m_nLastCode = 0;
  unsigned m_nAccumulated = 0;
  unsigned m_nEndCode = 0;
};

// Adds one context to a handler for a scope. A null handler is fine.
class CDynamicContextGuard
{
public:
  CDynamicContextGuard(CErrorHandler* pHandler, IErrorContext* pContext);
  ~CDynamicContextGuard();
  CDynamicContextGuard(const CDynamicContextGuard&) = delete;
  CDynamicContextGuard& operator=(const CDynamicContextGuard&) = delete;

private:
  CErrorHandler* m_pHandler;
  IErrorContext* m_pContext;
};

}  // namespace BSE
