#include "base/ErrorHandler.h"

namespace BSE
{

namespace
{

constexpr unsigned g_nSeverityMask = g_nErrorBit | g_nWarningBit;

// From this threshold on, operating system failures are dropped too.
constexpr unsigned g_nSilentThreshold = 0xF0000000U;

}  // namespace

bool CErrorHandler::Passes(unsigned nCode) const
{
  if (IsErrnoCode(nCode))
    return m_nThreshold < g_nSilentThreshold;
  return (nCode & g_nSeverityMask) >= m_nThreshold;
}

void CErrorHandler::OnReportError(CScopedPtr<IError> pError)
{
  if (!pError)
    return;
  const unsigned nCode = pError->GetCode();
  m_nLastCode = nCode;
  m_nAccumulated |= IsErrnoCode(nCode) ? g_nErrorBit : nCode;
  if (pError->GetConsequence() == eOperationEnded && m_nEndCode == 0)
    m_nEndCode = nCode;
  const bool bPasses = Passes(nCode);
  if (!bPasses && m_nSuppressors > 0)
    return;
  OnAddContextInfo(*pError);
  if (m_nSuppressors == 0)
    OnNoteError(*pError);
  if (!bPasses)
    return;
  if (m_pObserver)
    m_pObserver->OnError(std::move(pError));
  else
    OnHandleError(pError);
}

void CErrorHandler::NoteEnd(unsigned nCode) noexcept
{
  m_nLastCode = nCode;
  m_nAccumulated |= IsErrnoCode(nCode) ? g_nErrorBit : nCode;
  if (m_nEndCode == 0)
    m_nEndCode = nCode;
}

void CErrorHandler::OnReport(unsigned, const CErrorProperties*) {}

void CErrorHandler::OnAddContextInfo(IError& error)
{
  for (int i = m_contexts.GetSize() - 1; i >= 0; --i)
    m_contexts[i]->OnAddContextInfo(error);
}

void CErrorHandler::OnNoteError(IError&) {}

void CErrorHandler::OnHandleError(CScopedPtr<IError>&) {}

CErrorSuppressor::CErrorSuppressor(CErrorHandler* pHandler) : m_pHandler(pHandler)
{
  if (!m_pHandler)
    return;
  m_pFormer = m_pHandler->GetObserver();
  m_nLastCode = m_pHandler->m_nLastCode;
  m_nAccumulated = m_pHandler->m_nAccumulated;
  m_nEndCode = m_pHandler->m_nEndCode;
  ++m_pHandler->m_nSuppressors;
  m_pHandler->SetObserver(this);
}

CErrorSuppressor::~CErrorSuppressor()
{
  if (!m_pHandler)
    return;
  m_pHandler->SetObserver(m_pFormer);
  --m_pHandler->m_nSuppressors;
  m_pHandler->m_nLastCode = m_nLastCode;
  m_pHandler->m_nAccumulated = m_nAccumulated;
  m_pHandler->m_nEndCode = m_nEndCode;
}

CDynamicContextGuard::CDynamicContextGuard(CErrorHandler* pHandler, IErrorContext* pContext)
    : m_pHandler(pHandler), m_pContext(pContext)
{
  if (m_pHandler && m_pContext)
    m_pHandler->m_contexts.Add(m_pContext);
}

CDynamicContextGuard::~CDynamicContextGuard()
{
  if (!m_pHandler || !m_pContext)
    return;
  CPtrArray<IErrorContext>& contexts = m_pHandler->m_contexts;
  int i = contexts.GetSize() - 1;
  while (i >= 0 && contexts[i] != m_pContext)
    --i;
  contexts.RemoveAt(i);
}

}  // namespace BSE
