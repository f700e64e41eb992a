// A function from arbitrary bytes, evaluated on rows of numbers and of bytes. All outputs are finite numbers,
// and a row gives what single points give.

#include "FuzzObjects.h"
#include "images/color/FunctionFactory.h"

#include <cmath>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  BSE::CErrorHandler handler;
  PDF::CFile file(&handler);
  const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount(0, &handler));
  // What is left is a fraction of a second here.
  pAccount->SpendWork(BSE::g_nFreeColorWork - (1 << 22));
  PDF::CFunctionFactory factory(*pAccount);
  const BSE::CObjectPtr<PDF::CFunction> pFunction = factory.Create(Fuzz::ParseObject(file, pData, nSize));
  if (!pFunction)
    return 0;
  constexpr int nCount = 7;
  const auto nInputs = static_cast<std::size_t>(pFunction->GetInputCount());
  const auto nOutputs = static_cast<std::size_t>(pFunction->GetOutputCount());
  const double values[] = {0, 0.3, 1, -1e9, NAN, INFINITY, 0.999, 7, 0.5};
  std::vector<double> inputs(nCount * nInputs);
  for (std::size_t i = 0; i < inputs.size(); ++i)
    inputs[i] = values[i * 5 % 9];
  std::vector<double> outputs(nCount * nOutputs);
  const bool bRow = pFunction->EvaluateRow(inputs, outputs, nCount);
  for (const double d : outputs)
    if (!std::isfinite(d))
      std::abort();
  std::vector<double> single(nOutputs);
  const std::size_t nLast = nCount - 1;
  if (pFunction->Evaluate(std::span(inputs).subspan(nLast * nInputs), single) && bRow)
    for (std::size_t i = 0; i < nOutputs; ++i)
      if (single[i] != outputs[nLast * nOutputs + i])
        std::abort();
  const std::vector<DOC::TRange> ranges(32);
  std::vector<unsigned char> bytes(300 * nInputs);
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<unsigned char>(i * 37);
  std::vector<unsigned char> result(300 * nOutputs);
  pFunction->EvaluateBytes(bytes, ranges, result, ranges, 300);
  return 0;
}
