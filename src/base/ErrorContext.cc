#include "base/ErrorContext.h"

#include "base/ErrorHandler.h"
#include "base/Tracer.h"

namespace BSE
{

namespace
{

constexpr const char* g_szComponent = "BSE Reporting";

void TraceUnreported(unsigned nCode)
{
  if (CTracer::IsOn())
    CTracer::Trace("I", g_szComponent, "Error 0x%08X not reported.", nCode);
}

CScopedPtr<IError> MakeStatus(unsigned nCode)
{
  if (IsErrnoCode(nCode))
    return CScopedPtr<IError>(new CErrnoError(static_cast<int>(nCode)));
  return MakeError(nCode);
}

}  // namespace

CErrorHandler* CBasicErrorContext::OnGetErrorHandler()
{
  if (m_pParent)
    return m_pParent->OnGetErrorHandler();
  if (CTracer::IsOn())
    CTracer::Trace("I", g_szComponent, "No error context.");
  return nullptr;
}

void CBasicErrorContext::OnReportError(CScopedPtr<IError> pError)
{
  if (!pError)
    return;
  OnAddContextInfo(*pError);
  ReportError(m_pParent, std::move(pError));
}

void CBasicErrorContext::OnReport(unsigned nCode, const CErrorProperties* pProperties)
{
  if (m_pParent)
    m_pParent->OnReport(nCode, pProperties);
  else if (CTracer::IsOn())
    CTracer::Trace("I", g_szComponent, "Message %d not reported.", static_cast<int>(nCode));
}

void ReportError(IErrorContext* pContext, CScopedPtr<IError> pError)
{
  if (!pError)
    return;
  if (pContext)
    pContext->OnReportError(std::move(pError));
  else
    TraceUnreported(pError->GetCode());
}

void ReportError(IErrorContext* pContext, unsigned nCode)
{
  ReportError(pContext, MakeStatus(nCode));
}

void ReportLoss(IErrorContext* pContext, CScopedPtr<IError> pError)
{
  if (pError)
    pError->SetConsequence(eContentLost);
  ReportError(pContext, std::move(pError));
}

void ReportLoss(IErrorContext* pContext, unsigned nCode)
{
  ReportLoss(pContext, MakeStatus(nCode));
}

void ReportEnd(IErrorContext* pContext, CScopedPtr<IError> pError)
{
  if (pError)
    pError->SetConsequence(eOperationEnded);
  ReportError(pContext, std::move(pError));
}

void ReportEnd(IErrorContext* pContext, unsigned nCode)
{
  ReportEnd(pContext, MakeStatus(nCode));
}

void ReportExhaustion(IErrorContext* pContext, unsigned nCode) noexcept
{
  try
  {
    ReportEnd(pContext, nCode);
  }
  catch (...)
  {
    if (CErrorHandler* pHandler = pContext ? pContext->OnGetErrorHandler() : nullptr)
      pHandler->NoteEnd(nCode);
  }
}

}  // namespace BSE
