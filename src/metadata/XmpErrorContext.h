#pragma once

#include "base/ErrorContext.h"

namespace PDF
{

// The end of the road for reports on a document's metadata: they go to the trace, not to the caller, whose
// save they do not fail. Only that something is lost is kept for whoever makes a save of it.
class CXMPErrorContext : public BSE::CBasicErrorContext
{
public:
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override;

  int GetReportCount() const { return m_nReports; }

  // The code of the first report of a loss; 0 for none.
  unsigned GetLossCode() const { return m_nLossCode; }

private:
  // A packet can be wrong in every node.
  static constexpr int g_nMaxTraced = 50;

  int m_nReports = 0;
  unsigned m_nLossCode = 0;
};

}  // namespace PDF
