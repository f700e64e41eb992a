// An image from arbitrary bytes: letters for what is done to it, its dictionary, its data. At the end the
// samples are read, as far as a bound; what they are twice has to be the same.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "images/Image.h"
#include "images/ImageFilters.h"
#include "pdf/File.h"
#include "pdf/Parser.h"
#include "pdf/StreamObjects.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace
{

constexpr int g_nMaxSteps = 4;
constexpr std::size_t g_nMaxRead = std::size_t{1} << 20;

void Transform(PDF::CImage& image, int nStep)
{
  double first[4];
  double second[4];
  switch (nStep)
  {
  case 'a':
    image.AnalyzeColors(first, second);
    return;
  case 'b':
    image.ConvertToBaseColorSpace();
    return;
  case 'c':
    image.Clip(1, 3, 0, 4);
    return;
  case 'f':
    image.ReduceToGrayByFactor(3);
    return;
  case 'g':
    image.ConvertToGray();
    return;
  case 'i':
    image.Invert();
    return;
  case 'k':
    image.ConvertToCMYK();
    return;
  case 'm':
    image.MakeStencil();
    return;
  case 'o':
    image.ReduceColorComplexity();
    return;
  case 'p':
    image.ConvertPalette(DOC::eToGray);
    return;
  case 'r':
    image.ConvertToRGB();
    return;
  case 's':
    image.Resample(1, 0.4, 0.7);
    return;
  case 'y':
    image.ReadSamples();
    return;
  default:
    image.ReduceToBitonal(nStep - '0');
  }
}

std::vector<unsigned char> ReadSamples(PDF::CImage& image, std::int64_t nStep)
{
  std::vector<unsigned char> samples;
  BSE::IByteStream* const pStream = image.GetStream();
  if (!pStream || !pStream->Rewind())
    return samples;
  std::vector<unsigned char> block(static_cast<std::size_t>(nStep));
  for (std::int64_t n = 1; n > 0 && samples.size() < g_nMaxRead;)
  {
    n = pStream->Read(block.data(), nStep);
    samples.insert(samples.end(), block.begin(), block.begin() + n);
  }
  return samples;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  BSE::CErrorHandler handler;
  PDF::CFile file(&handler);
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  file.Create(pOutput.Get(), PDF::CString("0123456789abcdef"), true, false);
  file.SetImageFilters(PDF::GetImageFilters());
  const uint8_t* pSteps = pData;
  for (; nSize > 0 && *pData != '<'; ++pData)
    --nSize;
  const auto nSteps = pData - pSteps;
  const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  PDF::CParser parser(&file, pStream.Get(), &file);
  const PDF::CObjectPtr value = parser.ParseValue();
  if (!value.IsDictionary() || nSteps > g_nMaxSteps)
    return -1;
  const std::int64_t nStart = pStream->Tell();
  const std::int64_t nLength = static_cast<std::int64_t>(nSize) - nStart;
  const BSE::CObjectPtr<BSE::CMemoryStream> pBytes(new BSE::CMemoryStream(pData + nStart, nLength));
  const PDF::CObjectPtr object = file.NewObject(0, 0, 0);
  object->SetValueObject(value.Get());
  object->SetStreamObject(new PDF::CEmbeddedStreamObject(pBytes.Get(), 0, nLength));

  const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount(0, &handler));
  pAccount->SpendWork(BSE::g_nFreeColorWork - (1 << 23));
  const BSE::CObjectPtr<DOC::CCMS> pCMS = DOC::CreateCMS("none", "/", *pAccount);
  PDF::CColorSpaceFactory factory(*pCMS);
  PDF::CImage image(object, factory);
  for (const uint8_t* p = pSteps; p != pData; ++p)
    Transform(image, *p);
  // A reader that sees whole rows, and from our filters one with little room. Colours may end where their
  // account does.
  const std::vector<unsigned char> samples = ReadSamples(image, 1 << 16);
  const std::vector<unsigned char> again = ReadSamples(image, 1 << 16);
  if (samples != again && pAccount->SpendWork(1 << 16))
    std::abort();
  return 0;
}
