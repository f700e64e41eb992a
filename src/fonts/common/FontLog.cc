#include "fonts/common/FontLog.h"

#include "base/Tracer.h"
#include "fonts/common/StatusCodes.h"

#include <cstdio>

namespace FONT
{

// The trace has no form that takes a list of arguments.
void TraceList(const char* szSeverity, const char* szComponent, const char* szFormat, std::va_list arguments)
{
  char szLine[256];
  std::vsnprintf(szLine, sizeof szLine, szFormat, arguments);
  BSE::CTracer::Trace(szSeverity, szComponent, "%s", szLine);
}

void CFontLog::Fault(const char* szFormat, ...)
{
  ++m_nFaults;
  if (!BSE::CTracer::IsOn())
    return;
  std::va_list arguments;
  va_start(arguments, szFormat);
  TraceList("E", m_szComponent, szFormat, arguments);
  va_end(arguments);
}

void CFontLog::Note(const char* szSeverity, const char* szFormat, ...) const
{
  if (!BSE::CTracer::IsOn())
    return;
  std::va_list arguments;
  va_start(arguments, szFormat);
  TraceList(szSeverity, m_szComponent, szFormat, arguments);
  va_end(arguments);
}

void CFontLog::LoseGlyph(int nGlyph)
{
  BSE::ReportLoss(m_pErrorContext, BSE::MakeError(g_nGlyphMissing, "cid", nGlyph, "font", m_szFont));
}

void CFontLog::LosePart()
{
  BSE::ReportLoss(m_pErrorContext, BSE::MakeError(g_nFontRepaired, "font", m_szFont));
}

void CFontLog::ReportRepair()
{
  BSE::ReportError(m_pErrorContext, BSE::MakeError(g_nFontRepaired, "font", m_szFont));
}

void CFontLog::ReportEnd()
{
  BSE::ReportEnd(m_pErrorContext, BSE::MakeError(g_nFontUnreadable, "font", m_szFont));
}

}  // namespace FONT
