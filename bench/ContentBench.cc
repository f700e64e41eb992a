// Page content: content_bench FILE.pdf...
// Operators a second that the frame parses, with the decoding of the streams, against the programs mutool and
// qpdf where they are installed. What those need for content is what they need more when they are asked to
// rework it: mutool then interprets and writes it, qpdf cuts it into tokens and writes those.

#include "base/ErrorHandler.h"
#include "content/ContentParser.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace
{

constexpr int g_nRuns = 5;

class CCounter : public PDF::CContentParser
{
public:
  CCounter(PDF::CContentEnvironment& environment, const BSE::CObjectPtr<PDF::CContentStream>& pStream,
           const PDF::TRectangle& box, BSE::IErrorContext* pErrorContext, long long& nOperators)
      : CContentParser(environment, pStream, box, 0, pErrorContext), m_nOperators(nOperators)
  {
  }
  int ExecuteOperator(int nOperator) override
  {
    ++m_nOperators;
    return CContentParser::ExecuteOperator(nOperator);
  }
  // Forms are left out: the others see each of them once, and not where it is drawn.
  void DoForm(const char*) override {}

private:
  long long& m_nOperators;
};

long long ParsePages(const std::string& sFile)
{
  BSE::CErrorHandler handler;
  PDF::CDocument document(&handler);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(sFile.data(), static_cast<std::int64_t>(sFile.size())));
  long long nOperators = 0;
  if (!document.Open(pInput.Get(), nullptr))
    return 0;
  PDF::CContentEnvironment environment(document);
  for (int i = 0; i < document.GetPageCount(); ++i)
  {
    const PDF::CPage page = document.GetPage(i);
    PDF::CParserContext context(environment, page.GetResources(), nullptr);
    const BSE::CObjectPtr<PDF::CContentStream> pStream(
        new PDF::CContentStream(page.FindInherited("Contents"), nullptr));
    CCounter(environment, pStream, page.GetCropBox(), &handler, nOperators).Parse(&context, false);
  }
  return nOperators;
}

// The shortest of some runs, in seconds.
template <class F>
double Measure(F fnRun)
{
  double dBest = 1e9;
  for (int i = 0; i < g_nRuns; ++i)
  {
    const auto start = std::chrono::steady_clock::now();
    fnRun();
    dBest = std::min(dBest, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return dBest;
}

// What a program takes longer with one command than with another one; below 0 where it is not there.
double MeasureMore(const std::vector<std::string>& with, const std::vector<std::string>& without)
{
  if (!Support::HasProgram(with.front()))
    return -1;
  return Measure([&] { Support::RunProgram(with); }) - Measure([&] { Support::RunProgram(without); });
}

struct TTimes
{
  double m_dOurs = 0;
  double m_dMutool = 0;
  double m_dQpdf = 0;
};

void Print(const char* szName, long long nOperators, const TTimes& times)
{
  const auto rate = [&](double dSeconds)
  { return dSeconds > 0 ? static_cast<double>(nOperators) / dSeconds / 1e6 : 0.0; };
  std::printf("%-44.44s %9lld %10.2f %10.2f %10.2f\n", szName, nOperators, rate(times.m_dOurs),
              rate(times.m_dMutool), rate(times.m_dQpdf));
}

}  // namespace

int main(int nArguments, char** arguments)
{
  if (nArguments < 2)
  {
    std::fprintf(stderr, "usage: content_bench FILE.pdf...\n");
    return 2;
  }
  const Support::CTempFolder folder;
  const std::string sOut = folder / "out.pdf";
  std::printf("%-44s %9s %10s %10s %10s\n", "million operators a second", "operators", "ours", "mutool",
              "qpdf");
  TTimes all;
  long long nAll = 0;
  for (int i = 1; i < nArguments; ++i)
  {
    const std::string sName = arguments[i];
    const std::string sFile = Support::ReadFile(sName);
    long long nOperators = 0;
    TTimes times;
    times.m_dOurs = Measure([&] { nOperators = ParsePages(sFile); });
    times.m_dMutool = MeasureMore({"mutool", "clean", "-s", sName, sOut}, {"mutool", "clean", sName, sOut});
    times.m_dQpdf = MeasureMore({"qpdf", "--stream-data=uncompress", "--normalize-content=y", sName, sOut},
                                {"qpdf", "--stream-data=uncompress", "--normalize-content=n", sName, sOut});
    Print(sName.substr(sName.rfind('/') + 1).c_str(), nOperators, times);
    all.m_dOurs += times.m_dOurs;
    all.m_dMutool += times.m_dMutool;
    all.m_dQpdf += times.m_dQpdf;
    nAll += nOperators;
  }
  Print("all", nAll, all);
  return 0;
}
