// Opening and saving through the public interface: save_bench [FLAGS OF THE BENCHMARK LIBRARY] [FILE...]
// Built documents of growing size show how cost grows; files given are measured as they are.

#include <benchmark/benchmark.h>
#include <brevex/brevex.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>

#include "tests/support/PdfBuilder.h"
#include "tests/support/TempFolder.h"

namespace
{

// Pages of text that share nothing, in the layout that most writers choose today.
std::string MakeDocument(int nPages)
{
  std::mt19937 random(1);
  Support::CPdfBuilder builder;
  builder.SetXRefForm(Support::TXRefForm::Stream).SetObjectStreams(100);
  for (int i = 0; i < nPages; ++i)
  {
    std::string sContent = "BT /F1 10 Tf 12 TL 72 770 Td\n";
    for (int nLine = 0; nLine < 50; ++nLine)
    {
      sContent +=
          "(" + std::to_string(random()) + " words of a line of text " + std::to_string(random()) + ") '\n";
    }
    builder.AddPage(sContent + "ET");
  }
  return builder.Build();
}

const std::string& GetDocument(int nPages)
{
  static std::map<int, std::string> g_documents;
  std::string& sPdf = g_documents[nPages];
  if (sPdf.empty())
  {
    sPdf = MakeDocument(nPages);
  }
  return sPdf;
}

class CHandle
{
public:
  CHandle() : m_pHandle(BrevexCreateObject()) {}
  ~CHandle() { BrevexDestroyObject(m_pHandle); }
  CHandle(const CHandle&) = delete;
  CHandle& operator=(const CHandle&) = delete;

  TBrevexHandle* Get() const { return m_pHandle; }

private:
  TBrevexHandle* m_pHandle;
};

[[noreturn]] void Fail(const CHandle& handle, const char* szStep)
{
  std::fprintf(stderr, "%s failed: 0x%08X\n", szStep, BrevexGetErrorCode(handle.Get()));
  std::exit(1);
}

void Open(const CHandle& handle, const std::string& sPdf)
{
  if (BrevexOpenMemA(handle.Get(), sPdf.data(), sPdf.size(), nullptr) == 0)
  {
    Fail(handle, "open");
  }
}

size_t Save(const CHandle& handle)
{
  const TByteBuffer* pBuffer = BrevexSaveInMemory(handle.Get()) != 0 ? BrevexGetPdf(handle.Get()) : nullptr;
  if (pBuffer == nullptr)
  {
    Fail(handle, "save");
  }
  return pBuffer->nSize;
}

void CountBytes(benchmark::State& state, const std::string& sPdf)
{
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sPdf.size()));
}

// Header, cross-reference data, trailer and page tree.
void BM_Open(benchmark::State& state)
{
  const std::string& sPdf = GetDocument(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto step : state)
  {
    const CHandle handle;
    Open(handle, sPdf);
    benchmark::DoNotOptimize(BrevexGetPageCount(handle.Get()));
  }
  CountBytes(state, sPdf);
  state.SetComplexityN(state.range(0));
}

void MeasureSave(benchmark::State& state, const std::string& sPdf, unsigned nProfile)
{
  size_t nSize = 0;
  for ([[maybe_unused]] auto step : state)
  {
    const CHandle handle;
    BrevexSetProfile(handle.Get(), nProfile);
    Open(handle, sPdf);
    nSize = Save(handle);
  }
  CountBytes(state, sPdf);
  state.counters["ratio"] = static_cast<double>(nSize) / static_cast<double>(sPdf.size());
}

// The second argument is the profile: 0 parses, copies and writes.
void BM_OpenAndSave(benchmark::State& state)
{
  MeasureSave(state, GetDocument(static_cast<int>(state.range(0))), static_cast<unsigned>(state.range(1)));
  state.SetComplexityN(state.range(0));
}

// Copying and writing alone: the document is open and analysed.
void BM_SaveAgain(benchmark::State& state)
{
  const std::string& sPdf = GetDocument(static_cast<int>(state.range(0)));
  const CHandle handle;
  Open(handle, sPdf);
  Save(handle);
  for ([[maybe_unused]] auto step : state)
  {
    benchmark::DoNotOptimize(Save(handle));
  }
  CountBytes(state, sPdf);
  state.SetComplexityN(state.range(0));
}

BENCHMARK(BM_Open)->RangeMultiplier(8)->Range(8, 4096)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_OpenAndSave)
    ->ArgsProduct({{8, 64, 512, 4096}, {BREVEX_PROFILE_NONE}})
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(BM_OpenAndSave)
    ->ArgsProduct({{8, 64, 512, 4096}, {BREVEX_PROFILE_WEB}})
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(BM_SaveAgain)->RangeMultiplier(8)->Range(8, 4096)->Unit(benchmark::kMillisecond)->Complexity();

void AddFile(const std::string& sName)
{
  for (const auto& [szProfile, nProfile] :
       {std::pair("none", BREVEX_PROFILE_NONE), {"web", BREVEX_PROFILE_WEB}})
  {
    benchmark::RegisterBenchmark(
        (sName + "/" + szProfile).c_str(),
        [sPdf = Support::ReadFile(sName), nProfile = nProfile](benchmark::State& state)
        { MeasureSave(state, sPdf, static_cast<unsigned>(nProfile)); })
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace

int main(int nArguments, char** arguments)
{
  benchmark::Initialize(&nArguments, arguments);
  BrevexInitialize();
  for (int i = 1; i < nArguments; ++i)
  {
    AddFile(arguments[i]);
  }
  benchmark::RunSpecifiedBenchmarks();
  BrevexUnInitialize();
  return 0;
}
