#pragma once

#include "fonts/common/FontLog.h"

namespace TTF
{

class CFontLog : public FONT::CFontLog
{
public:
  CFontLog(BSE::IErrorContext* pErrorContext, const char* szFont)
      : FONT::CFontLog("TTF", pErrorContext, szFont)
  {
  }

  // For what has no log at hand.
  template <class... T>
  static void Note(const char* szSeverity, const char* szFormat, T... arguments)
  {
    FONT::CFontLog("TTF", nullptr, nullptr).Note(szSeverity, szFormat, arguments...);
  }
};

}  // namespace TTF
