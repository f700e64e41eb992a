#include "pdf/linearize/Linearizer.h"

#include "base/FileStream.h"
#include "pdf/linearize/LinearizerRun.h"

namespace PDF
{

bool CLinearizer::LinearizeFile(const char* szInput, const char* szOutput, CFile& file)
{
  const BSE::CObjectPtr<BSE::IByteStream> pInput(new BSE::CFileStream(szInput, BSE::eFileRead, &file));
  CLinearizerRun run(file);
  if (!run.Open(pInput.Get()))
    return false;
  const BSE::CObjectPtr<BSE::CFileStream> pOutput(new BSE::CFileStream(szOutput, BSE::eFileWrite, &file));
  return run.Write(pOutput.Get()) && pOutput->Close();
}

bool CLinearizer::LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                                  std::int64_t& nWritten)
{
  nWritten = 0;
  CLinearizerRun run(file);
  if (!run.Open(pInput))
    return false;
  const bool bWritten = run.Write(pOutput);
  nWritten = run.GetWritten();
  return bWritten;
}

ILinearizer* GetLinearizer()
{
  static CLinearizer linearizer;
  return &linearizer;
}

}  // namespace PDF
