#pragma once

#include "base/ErrorHandler.h"

#include <cstdio>

namespace BSE
{

// Writes the errors that pass as UTF-8 lines to a C file, in the form of AppendErrorText.
class CConsoleErrorHandler : public CErrorHandler
{
public:
  // The file is borrowed; null drops the errors. Property lines are written only if bVerbose.
  explicit CConsoleErrorHandler(std::FILE* pFile, bool bVerbose = false)
      : m_pFile(pFile), m_bVerbose(bVerbose)
  {
  }

  void OnHandleError(CScopedPtr<IError>& pError) override;

  // In units of two spaces.
  void SetIndent(int nIndent) { m_nIndent = nIndent; }

private:
  std::FILE* m_pFile;
  bool m_bVerbose;
  int m_nIndent = 0;
};

}  // namespace BSE
