#include "images/color/PostScriptFunction.h"

namespace PDF
{

bool CType4Function::Load()
{
  BSE::CBasicArray<unsigned char> program;
  if (!ReadDomain(true) || !ReadData(m_object, BSE::g_nMaxFunctionProgram, *m_pAccount, program) ||
      !m_calculator.Compile(program.GetSpan()) || !m_pAccount->SpendMemory(m_calculator.GetMemory()))
    return false;
  m_nOutputs = m_range.GetSize();
  m_nPointWork = m_calculator.GetWork();
  return true;
}

bool CType4Function::OnEvaluate(const double* pInputs, double* pOutputs, int nCount)
{
  bool bComplete = true;
  for (int i = 0; i < nCount; ++i, pInputs += m_nInputs, pOutputs += m_nOutputs)
  {
    const bool bDone = m_calculator.Run({pInputs, static_cast<std::size_t>(m_nInputs)},
                                        {pOutputs, static_cast<std::size_t>(m_nOutputs)});
    bComplete = bComplete && bDone;
  }
  if (!bComplete)
    ReportFailure();
  return true;
}

}  // namespace PDF
