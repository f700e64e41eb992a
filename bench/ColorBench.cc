// Colours and functions: color_bench [FLAGS OF THE BENCHMARK LIBRARY]
// Rows of 2,000 pixels from space to space by each engine, in pixels a second; beside each conversion of
// Little CMS the library called by itself on the same rows. Functions in points a second. COLOR_BENCH_RGB and
// COLOR_BENCH_CMYK name the ICC profiles to convert from.

#include "base/BufferedInputStream.h"
#include "images/color/ColorSpaceFactory.h"
#include "pdf/File.h"
#include "pdf/IndirectObject.h"
#include "pdf/Parser.h"
#include "pdf/StreamObjects.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int g_nPixels = 2000;

using CSpacePtr = BSE::CObjectPtr<DOC::IColorSpace>;

// Changes slowly, as pictures do, or in each pixel.
std::vector<unsigned char> MakeRow(int nComponents, bool bNoise)
{
  std::mt19937 random(1);
  std::vector<unsigned char> row(static_cast<std::size_t>(g_nPixels * nComponents));
  for (std::size_t i = 0; i < row.size(); ++i)
    row[i] = static_cast<unsigned char>(bNoise ? random() : i / 16 + random() % 3);
  return row;
}

class CDocument
{
public:
  explicit CDocument(const char* szEngine) : m_file(nullptr)
  {
    // Room for any number of repetitions.
    const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount(std::int64_t{1} << 40));
    m_pCMS = DOC::CreateCMS(szEngine, "/", *pAccount);
    m_pFactory = std::make_unique<PDF::CColorSpaceFactory>(*m_pCMS);
  }

  PDF::CObjectPtr Parse(const std::string& sText)
  {
    const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
        new BSE::CMemoryInputStream(sText.data(), static_cast<std::int64_t>(sText.size())));
    PDF::CParser parser(&m_file, pStream.Get(), nullptr);
    return parser.ParseValue();
  }

  PDF::CObjectPtr Stream(const std::string& sDictionary, const std::string& sData)
  {
    const BSE::CObjectPtr<PDF::CIndirectObject> pObject(
        new PDF::CIndirectObject(&m_file, ++m_nNumber, 0, -1));
    const BSE::CObjectPtr<BSE::CMemoryStream> pData(
        new BSE::CMemoryStream(sData.data(), static_cast<std::int64_t>(sData.size())));
    pObject->SetParsed(Parse(sDictionary).Get(), new PDF::CStreamObject(pData.Get()));
    return pObject.Get();
  }

  CSpacePtr GetSpace(const std::string& sText, const PDF::CObjectPtr& last = {})
  {
    const PDF::CObjectPtr object = Parse(sText);
    if (!last.IsNull())
      object->Add(last.Get());
    return m_pFactory->Create(object);
  }

  PDF::CColorSpaceFactory& GetFactory() { return *m_pFactory; }

private:
  PDF::CFile m_file;
  BSE::CObjectPtr<DOC::CCMS> m_pCMS;
  std::unique_ptr<PDF::CColorSpaceFactory> m_pFactory;
  int m_nNumber = 0;
};

void MeasureRows(benchmark::State& state, const CSpacePtr& pSpace, DOC::TTarget target, bool bNoise)
{
  const std::vector<unsigned char> source = MakeRow(pSpace->GetComponentCount(), bNoise);
  std::vector<unsigned char> result(static_cast<std::size_t>(g_nPixels * DOC::GetTargetComponents(target)));
  if (!pSpace->ConvertRow(target, source, result, g_nPixels))
    state.SkipWithError("no conversion");
  for (auto step : state)
  {
    pSpace->ConvertRow(target, source, result, g_nPixels);
    benchmark::DoNotOptimize(result.data());
  }
  state.SetItemsProcessed(state.iterations() * g_nPixels);
}

void Device(benchmark::State& state, const char* szEngine, const char* szSpace, DOC::TTarget target)
{
  CDocument document(szEngine);
  MeasureRows(state, document.GetSpace(szSpace), target, state.range(0) != 0);
}

std::string ReadProfile(const char* szVariable)
{
  const char* szPath = std::getenv(szVariable);
  return szPath ? Support::ReadFile(szPath) : std::string();
}

void Profile(benchmark::State& state, const char* szVariable, int nComponents)
{
  const std::string sData = ReadProfile(szVariable);
  CDocument document("lcms");
  const CSpacePtr pSpace =
      sData.empty() ? CSpacePtr()
                    : document.GetSpace("[/ICCBased]",
                                        document.Stream("<</N " + std::to_string(nComponents) + ">>", sData));
  if (!pSpace)
    state.SkipWithError("no profile");
  else
    MeasureRows(state, pSpace, DOC::eToRGB, state.range(0) != 0);
}

void BareLibrary(benchmark::State& state, const char* szVariable, int nComponents)
{
  const std::string sData = ReadProfile(szVariable);
  cmsHPROFILE hSource = cmsOpenProfileFromMem(sData.data(), static_cast<cmsUInt32Number>(sData.size()));
  if (!hSource)
  {
    state.SkipWithError("no profile");
    return;
  }
  cmsHPROFILE hScreen = cmsCreate_sRGBProfile();
  cmsHTRANSFORM hTransform = cmsCreateTransform(hSource, nComponents == 3 ? TYPE_RGB_8 : TYPE_CMYK_8, hScreen,
                                                TYPE_RGB_8, cmsGetHeaderRenderingIntent(hSource), 0);
  const std::vector<unsigned char> source = MakeRow(nComponents, state.range(0) != 0);
  std::vector<unsigned char> result(3 * g_nPixels);
  for (auto step : state)
  {
    cmsDoTransform(hTransform, source.data(), result.data(), g_nPixels);
    benchmark::DoNotOptimize(result.data());
  }
  state.SetItemsProcessed(state.iterations() * g_nPixels);
  cmsDeleteTransform(hTransform);
  cmsCloseProfile(hSource);
  cmsCloseProfile(hScreen);
}

constexpr const char* g_szProgram =
    "{2 copy add 0.5 mul 3 1 roll exch 0.3 mul dup 0.2 gt {0.8 mul}{1 exch sub} ifelse exch 3 copy mul mul}";
constexpr const char* g_szProgramRanges = "<</FunctionType 4/Domain[0 1 0 1]/Range[0 1 0 1 0 1 0 1]>>";

void Tint(benchmark::State& state)
{
  CDocument document("none");
  MeasureRows(
      state,
      document.GetSpace("[/DeviceN[/A/B]/DeviceCMYK]", document.Stream(g_szProgramRanges, g_szProgram)),
      DOC::eToRGB, state.range(0) != 0);
}

void MeasureFunction(benchmark::State& state, CDocument& document, const PDF::CObjectPtr& object)
{
  const BSE::CObjectPtr<PDF::CFunction> pFunction = document.GetFactory().GetFunctions().Create(object);
  const auto nInputs = static_cast<std::size_t>(pFunction->GetInputCount());
  std::vector<double> inputs(g_nPixels * nInputs);
  for (std::size_t i = 0; i < inputs.size(); ++i)
    inputs[i] = static_cast<double>(i * 37 % 1000) / 1000;
  std::vector<double> outputs(static_cast<std::size_t>(g_nPixels * pFunction->GetOutputCount()));
  for (auto step : state)
  {
    pFunction->EvaluateRow(inputs, outputs, g_nPixels);
    benchmark::DoNotOptimize(outputs.data());
  }
  state.SetItemsProcessed(state.iterations() * g_nPixels);
}

void Exponential(benchmark::State& state)
{
  CDocument document("none");
  MeasureFunction(state, document,
                  document.Parse("<</FunctionType 2/Domain[0 1]/N 1.7/C0[0 0 0 0]/C1[1 .5 0 .2]>>"));
}

void Sampled(benchmark::State& state, const char* szDomain, int nPoints)
{
  CDocument document("none");
  MeasureFunction(state, document,
                  document.Stream(std::string("<</FunctionType 0/Domain[") + szDomain +
                                      "]/Range[0 1 0 1 0 1 0 1]/BitsPerSample 8/Size[9 9 9 9]>>",
                                  std::string(static_cast<std::size_t>(nPoints * 4), 'x')));
}

void Program(benchmark::State& state)
{
  CDocument document("none");
  MeasureFunction(state, document, document.Stream(g_szProgramRanges, g_szProgram));
}

BENCHMARK_CAPTURE(Device, RGBToGray_lcms, "lcms", "/DeviceRGB", DOC::eToGray)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Device, RGBToGray_none, "none", "/DeviceRGB", DOC::eToGray)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Device, CMYKToRGB_lcms, "lcms", "/DeviceCMYK", DOC::eToRGB)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Device, CMYKToRGB_neugebauer, "neugebauer", "/DeviceCMYK", DOC::eToRGB)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Device, CMYKToRGB_none, "none", "/DeviceCMYK", DOC::eToRGB)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Device, RGBToCMYK_lcms, "lcms", "/DeviceRGB", DOC::eToCMYK)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Device, RGBToCMYK_neugebauer, "neugebauer", "/DeviceRGB", DOC::eToCMYK)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Device, CalRGB_lcms, "lcms", "[/CalRGB<</Gamma[1.8 1.8 1.8]>>]", DOC::eToRGB)
    ->Arg(0)
    ->Arg(1);
BENCHMARK_CAPTURE(Device, CalRGB_none, "none", "[/CalRGB<</Gamma[1.8 1.8 1.8]>>]", DOC::eToRGB)
    ->Arg(0)
    ->Arg(1);
BENCHMARK_CAPTURE(Device, Lab_lcms, "lcms", "[/Lab<<>>]", DOC::eToRGB)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Device, Lab_none, "none", "[/Lab<<>>]", DOC::eToRGB)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Profile, RGBToRGB, "COLOR_BENCH_RGB", 3)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(BareLibrary, RGBToRGB, "COLOR_BENCH_RGB", 3)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(Profile, CMYKToRGB, "COLOR_BENCH_CMYK", 4)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(BareLibrary, CMYKToRGB, "COLOR_BENCH_CMYK", 4)->Arg(0)->Arg(1);
BENCHMARK(Tint)->Arg(0)->Arg(1);
BENCHMARK(Exponential);
BENCHMARK_CAPTURE(Sampled, OneInput, "0 1", 9);
BENCHMARK_CAPTURE(Sampled, FourInputs, "0 1 0 1 0 1 0 1", 9 * 9 * 9 * 9);
BENCHMARK(Program);

}  // namespace

BENCHMARK_MAIN();
