#include "metadata/XmlErrorHandler.h"

#include "base/BasicString.h"

#include <libxml/xmlerror.h>

namespace XML
{

void CLibXML2ErrorHandler::Report(const _xmlError& error)
{
  if (m_nReports >= g_nMaxReports)
    return;
  ++m_nReports;
  BSE::CStr8 message(error.message ? error.message : "");
  int nLength = message.GetLength();
  while (nLength > 0 && (message[nLength - 1] == '\n' || message[nLength - 1] == '.'))
    --nLength;
  const BSE::CStr8 text(message.GetText(), nLength);
  const unsigned nCode = error.level >= XML_ERR_ERROR ? g_nXmlError : g_nXmlWarning;
  BSE::ReportError(m_pErrorContext, BSE::MakeError(nCode, "line", error.line, "column", error.int2, "message",
                                                   text.GetText()));
}

}  // namespace XML
