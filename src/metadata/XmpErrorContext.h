#pragma once

#include "base/ErrorContext.h"

namespace PDF
{

// The end of the road for reports on a document's metadata: they go to the trace, not to the caller, whose
// save they do not fail.
class CXMPErrorContext : public BSE::CBasicErrorContext
{
public:
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override;

  int GetReportCount() const { return m_nReports; }

private:
  // A packet can be wrong in every node.
  static constexpr int g_nMaxTraced = 50;

  int m_nReports = 0;
};

}  // namespace PDF
