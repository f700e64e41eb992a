#pragma once

#include "base/Error.h"

#include <new>

namespace BSE
{

class CErrorHandler;

// Where failures are reported. Every file, PDF object and stream holds a pointer to a context; contexts form
// a chain that normally ends at a CErrorHandler. A context lives longer than what reports to it.
class IErrorContext
{
public:
  virtual ~IErrorContext() = default;

  // Handler at the end of the chain, or null.
  virtual CErrorHandler* OnGetErrorHandler() = 0;

  // Takes the error; each context on the way adds its properties.
  virtual void OnReportError(CScopedPtr<IError> pError) = 0;

  // Short form for a progress note with ready properties; no error object is made.
  virtual void OnReport(unsigned nCode, const CErrorProperties* pProperties) = 0;

  // Adds what this context knows (object number, page, file) to an error that passes.
  virtual void OnAddContextInfo(IError& error) = 0;
};

// Forwards to a parent; without one it traces that nothing was reported.
class CBasicErrorContext : public IErrorContext
{
public:
  explicit CBasicErrorContext(IErrorContext* pParent = nullptr) : m_pParent(pParent) {}

  CErrorHandler* OnGetErrorHandler() override;
  void OnReportError(CScopedPtr<IError> pError) override;
  void OnReport(unsigned nCode, const CErrorProperties* pProperties) override;
  void OnAddContextInfo(IError&) override {}

  IErrorContext* GetParent() const { return m_pParent; }
  void SetParent(IErrorContext* pParent) { m_pParent = pParent; }

protected:
  IErrorContext* m_pParent;
};

// Reports to a context that may be null: the error is then traced as not reported and deleted.
void ReportError(IErrorContext* pContext, CScopedPtr<IError> pError);

// The same for a plain code without properties.
void ReportError(IErrorContext* pContext, unsigned nCode);

// Reports that something of the input will be missing in the result. To be called once for each thing that
// is lost, where it is known to be lost.
void ReportLoss(IErrorContext* pContext, CScopedPtr<IError> pError);
void ReportLoss(IErrorContext* pContext, unsigned nCode);

// Reports what ends the operation. Its code is the one that the caller is left with, whatever is reported
// after it.
void ReportEnd(IErrorContext* pContext, CScopedPtr<IError> pError);
void ReportEnd(IErrorContext* pContext, unsigned nCode);

// Reports an end for which there may be no memory left: then the handler notes its code alone.
void ReportExhaustion(IErrorContext* pContext, unsigned nCode) noexcept;

// The result of a run; false where memory ran out in it, which is reported as its end.
template <class TRun>
bool CatchExhaustion(IErrorContext* pContext, TRun run)
{
  try
  {
    return run();
  }
  catch (CContextError* pError)
  {
    // The one shared error: nobody owns it, so that its code is reported anew.
    ReportExhaustion(pContext, pError->GetCode());
  }
  catch (const std::bad_alloc&)
  {
    ReportExhaustion(pContext, g_nOutOfMemory);
  }
  return false;
}

// Builds an error in place: ReportError(pContext, MakeError(nCode, "n1", 3, "n2", 5)).
inline void SetErrorProperties(CContextError&) {}
template <class V, class... R>
void SetErrorProperties(CContextError& error, const char* szName, V value, R... rest)
{
  error.Set(szName, value);
  SetErrorProperties(error, rest...);
}
template <class... P>
CScopedPtr<IError> MakeError(unsigned nCode, P... properties)
{
  CScopedPtr<CContextError> pError(new CError(nCode));
  SetErrorProperties(*pError, properties...);
  return pError;
}

}  // namespace BSE
