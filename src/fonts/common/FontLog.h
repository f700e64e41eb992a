#pragma once

#include "base/ErrorContext.h"

#include <cstdarg>

namespace FONT
{

// Writes a trace line, for formats that come with their arguments as a list. Takes the conversions of printf.
void TraceList(const char* szSeverity, const char* szComponent, const char* szFormat, std::va_list arguments);

// Where the reading of a font says what is wrong with it: each fault goes to the trace and is counted; what
// the font loses by it goes to the error context as well. All that it is given outlives the reading.
class CFontLog
{
public:
  CFontLog(const char* szComponent, BSE::IErrorContext* pErrorContext, const char* szFont)
      : m_szComponent(szComponent), m_pErrorContext(pErrorContext), m_szFont(szFont ? szFont : "")
  {
  }

  // Severity E.
  void Fault(const char* szFormat, ...);

  // The same for what is no fault of the font.
  void Note(const char* szSeverity, const char* szFormat, ...) const;

  // A glyph of which nothing is left.
  void LoseGlyph(int nGlyph);

  // Anything else that is in the font and will not be in the result.
  void LosePart();

  // The font was repaired, or cannot be read.
  void ReportRepair();
  void ReportEnd();

  int GetFaults() const { return m_nFaults; }
  const char* GetFont() const { return m_szFont; }
  BSE::IErrorContext* GetErrorContext() const { return m_pErrorContext; }

private:
  const char* m_szComponent;
  BSE::IErrorContext* m_pErrorContext;
  const char* m_szFont;
  int m_nFaults = 0;
};

}  // namespace FONT
