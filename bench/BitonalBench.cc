// The codecs of bitonal images: bitonal_bench [FLAGS OF THE BENCHMARK LIBRARY] FILE.pbm...
// Group 4 and JBIG2 both ways, in pixels a second, with the sizes that they come to; where the program
// jbig2dec is installed, how long that takes for the same data, with its start.

#include "base/MemoryStream.h"
#include "images/filters/CCITTFaxDecodeFilter.h"
#include "images/filters/CCITTFaxEncodeFilter.h"
#include "images/filters/jbig2/JBIG2DecodeFilter.h"
#include "images/filters/jbig2/JBIG2EncodeFilter.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

namespace
{

struct TPicture
{
  int m_nWidth = 0;
  int m_nHeight = 0;
  std::string m_rows;  // 0 for black
};

// A raw PBM file.
TPicture ReadPicture(const std::string& sName)
{
  TPicture picture;
  const std::string sFile = Support::ReadFile(sName);
  int nHead = 0;
  if (std::sscanf(sFile.c_str(), "P4 %d %d%n", &picture.m_nWidth, &picture.m_nHeight, &nHead) != 2)
    return picture;
  picture.m_rows = sFile.substr(static_cast<std::size_t>(nHead) + 1);
  for (char& c : picture.m_rows)
    c = static_cast<char>(~c);
  return picture;
}

BSE::CCCITTFaxParameters GetFaxParameters(const TPicture& picture)
{
  BSE::CCCITTFaxParameters parameters;
  parameters.K = -1;
  parameters.Columns = picture.m_nWidth;
  parameters.Rows = picture.m_nHeight;
  return parameters;
}

BSE::CJBIG2Parameters GetJBIG2Parameters(const TPicture& picture)
{
  BSE::CJBIG2Parameters parameters;
  parameters.nWidth = picture.m_nWidth;
  parameters.nHeight = picture.m_nHeight;
  return parameters;
}

template <class F, class P>
std::string Encode(const TPicture& picture, const P& parameters)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pSink(new BSE::CMemoryStream);
  const BSE::CObjectPtr<F> pFilter(new F(pSink.Get(), parameters));
  pFilter->WriteAll(reinterpret_cast<const unsigned char*>(picture.m_rows.data()),
                    static_cast<std::int64_t>(picture.m_rows.size()));
  pFilter->Close();
  pSink->Rewind();
  std::string sData(static_cast<std::size_t>(pSink->GetLength()), '\0');
  pSink->ReadFully(reinterpret_cast<unsigned char*>(sData.data()), static_cast<std::int64_t>(sData.size()));
  return sData;
}

template <class F, class P>
bool Decode(const TPicture& picture, const std::string& sData, const P& parameters)
{
  const BSE::CObjectPtr<BSE::IByteStream> pSource(
      new BSE::CMemoryStream(sData.data(), static_cast<std::int64_t>(sData.size())));
  const BSE::CObjectPtr<F> pFilter(new F(pSource.Get(), parameters));
  std::string rows(picture.m_rows.size(), '\0');
  const auto nSize = static_cast<std::int64_t>(rows.size());
  return pFilter->ReadFully(reinterpret_cast<unsigned char*>(rows.data()), nSize) == nSize;
}

void Count(benchmark::State& state, const TPicture& picture, const std::string& sData)
{
  state.SetItemsProcessed(state.iterations() * picture.m_nWidth * picture.m_nHeight);
  state.counters["bytes"] = static_cast<double>(sData.size());
}

template <class E, class D, class P>
void Add(const std::string& sName, std::shared_ptr<const TPicture> pPicture, const P& parameters,
         const std::string& sData)
{
  benchmark::RegisterBenchmark((sName + " encode").c_str(),
                               [=](benchmark::State& state)
                               {
                                 for ([[maybe_unused]] auto step : state)
                                   benchmark::DoNotOptimize(Encode<E>(*pPicture, parameters));
                                 Count(state, *pPicture, sData);
                               })
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark((sName + " decode").c_str(),
                               [=](benchmark::State& state)
                               {
                                 for ([[maybe_unused]] auto step : state)
                                 {
                                   if (!Decode<D>(*pPicture, sData, parameters))
                                     return state.SkipWithError("cannot be decoded");
                                 }
                                 Count(state, *pPicture, sData);
                               })
      ->Unit(benchmark::kMillisecond);
}

// How long another decoder takes as a program.
void AddYardstick(const std::string& sName, std::shared_ptr<const TPicture> pPicture,
                  const std::string& sData)
{
  if (!Support::HasProgram("jbig2dec"))
    return;
  benchmark::RegisterBenchmark(
      (sName + " jbig2dec").c_str(),
      [=](benchmark::State& state)
      {
        const Support::CTempFolder folder;
        Support::WriteFile(folder / "in.jb2", sData);
        for ([[maybe_unused]] auto step : state)
          Support::RunProgram({"jbig2dec", "-q", "-e", "-o", folder / "out.pbm", folder / "in.jb2"});
        Count(state, *pPicture, sData);
      })
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
}

}  // namespace

int main(int nArguments, char** arguments)
{
  benchmark::Initialize(&nArguments, arguments);
  if (nArguments < 2)
    std::fprintf(stderr, "usage: bitonal_bench FILE.pbm...\n");
  for (int i = 1; i < nArguments; ++i)
  {
    const std::string sName = arguments[i];
    const auto pPicture = std::make_shared<const TPicture>(ReadPicture(sName));
    const BSE::CCCITTFaxParameters fax = GetFaxParameters(*pPicture);
    const BSE::CJBIG2Parameters jbig2 = GetJBIG2Parameters(*pPicture);
    const std::string sJBIG2 = Encode<BSE::CJBIG2EncodeFilter>(*pPicture, jbig2);
    Add<BSE::CCCITTFaxEncodeFilter, BSE::CCCITTFaxDecodeFilter>(
        sName + " Group 4", pPicture, fax, Encode<BSE::CCCITTFaxEncodeFilter>(*pPicture, fax));
    Add<BSE::CJBIG2EncodeFilter, BSE::CJBIG2DecodeFilter>(sName + " JBIG2", pPicture, jbig2, sJBIG2);
    AddYardstick(sName + " JBIG2", pPicture, sJBIG2);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
