#include "pdf/linearize/Linearizer.h"

#include "pdf/linearize/LinearizerRun.h"

namespace PDF
{

bool CLinearizer::LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                                  std::int64_t& nWritten)
{
  CLinearizerRun run(file);
  const bool bWritten = BSE::CatchExhaustion(&file, [&] { return run.Open(pInput) && run.Write(pOutput); });
  nWritten = run.GetWritten();
  return bWritten;
}

ILinearizer* GetLinearizer()
{
  static CLinearizer linearizer;
  return &linearizer;
}

}  // namespace PDF
