#pragma once

#include "base/ErrorContext.h"
#include "metadata/StatusCodes.h"

struct _xmlError;

namespace XML
{

// Turns messages of libxml2 into reports with the properties "line", "column" and "message".
class CLibXML2ErrorHandler
{
public:
  explicit CLibXML2ErrorHandler(BSE::IErrorContext* pErrorContext) : m_pErrorContext(pErrorContext) {}

  void Report(const _xmlError& error);

private:
  // A damaged packet can give a message per character.
  static constexpr int g_nMaxReports = 20;

  BSE::IErrorContext* m_pErrorContext;
  int m_nReports = 0;
};

}  // namespace XML
