#include "metadata/XmpErrorContext.h"

#include "base/Tracer.h"
#include "base/Unicode.h"

namespace PDF
{

void CXMPErrorContext::OnReportError(BSE::CScopedPtr<BSE::IError> pError)
{
  if (pError && pError->GetConsequence() == BSE::eContentLost && m_nLossCode == 0)
    m_nLossCode = pError->GetCode();
  if (!pError || ++m_nReports > g_nMaxTraced || !BSE::CTracer::IsOn())
    return;
  char16_t szMessage[400] = {};
  pError->GetMessage(szMessage, 400);
  BSE::CStr8 message;
  BSE::ConvertText(szMessage, message, BSE::TInvalidText::Replace);
  BSE::CTracer::Trace("W", "PDF XMP", "0x%08X: %s", pError->GetCode(), message.GetText());
}

}  // namespace PDF
