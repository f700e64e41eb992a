#pragma once

#include "base/ErrorContext.h"

namespace TTF
{

// Where the reading of a font says what is wrong with it: each fault goes to the trace and is counted; what
// the font loses by it goes to the error context as well. Both outlive the reading.
class CFontLog
{
public:
  CFontLog(BSE::IErrorContext* pErrorContext, const char* szFont)
      : m_pErrorContext(pErrorContext), m_szFont(szFont ? szFont : "")
  {
  }

  // Takes the conversions of BSE::CTracer::Trace. Severity E.
  void Fault(const char* szFormat, ...);

  // The same for what is no fault of the font.
  static void Note(const char* szSeverity, const char* szFormat, ...);

  // A glyph of which nothing is left.
  void LoseGlyph(int nGlyph);

  // Anything else that is in the font and will not be in the result.
  void LosePart();

  int GetFaults() const { return m_nFaults; }
  const char* GetFont() const { return m_szFont; }
  BSE::IErrorContext* GetErrorContext() const { return m_pErrorContext; }

private:
  BSE::IErrorContext* m_pErrorContext;
  const char* m_szFont;
  int m_nFaults = 0;
};

}  // namespace TTF
