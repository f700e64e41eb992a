#include "pdf/linearize/Linearizer.h"

#include "base/FileStream.h"
#include "pdf/linearize/LinearizerRun.h"

namespace PDF
{

namespace
{

bool Linearize(const char* szInput, const char* szOutput, CFile& file)
{
  const BSE::CObjectPtr<BSE::IByteStream> pInput(new BSE::CFileStream(szInput, BSE::eFileRead, &file));
  CLinearizerRun run(file);
  if (!run.Open(pInput.Get()))
    return false;
  const BSE::CObjectPtr<BSE::CFileStream> pOutput(new BSE::CFileStream(szOutput, BSE::eFileWrite, &file));
  return run.Write(pOutput.Get()) && pOutput->Close();
}

}  // namespace

bool CLinearizer::LinearizeFile(const char* szInput, const char* szOutput, CFile& file)
{
  return BSE::CatchExhaustion(&file, [&] { return Linearize(szInput, szOutput, file); });
}

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
