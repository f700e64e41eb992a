#include "pdf/linearize/Linearizer.h"

#include "pdf/linearize/LinearizerRun.h"

namespace PDF
{

bool CLinearizer::KeepsObjectStreams(const CFile& file) const
{
  constexpr int nFirstMinor = 5;
  return m_bObjectStreams && file.GetConformance().GetPart() != 1 &&
         (file.GetMajorVersion() > 1 || file.GetMinorVersion() >= nFirstMinor);
}

TLinearized CLinearizer::LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                                         std::int64_t nMaxLength, std::int64_t& nWritten)
{
  CLinearizerRun run(file);
  run.SetMaxLength(nMaxLength);
  if (m_bObjectStreams)
    run.KeepObjectStreams();
  const bool bWritten = BSE::CatchExhaustion(&file, [&] { return run.Open(pInput) && run.Write(pOutput); });
  nWritten = run.GetWritten();
  if (bWritten)
    return TLinearized::Done;
  return run.IsTooLong() ? TLinearized::TooLong : TLinearized::Failed;
}

ILinearizer* GetLinearizer(bool bObjectStreams)
{
  static CLinearizer plain(false);
  static CLinearizer packing(true);
  return bObjectStreams ? &packing : &plain;
}

}  // namespace PDF
