// The layer of files by its steps: file_bench [FLAGS OF THE BENCHMARK LIBRARY] FILE...
// Tokens of the whole file, every object loaded, and every object copied and written.

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "document/ObjectCopier.h"
#include "pdf/File.h"
#include "pdf/Scanner.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace
{

BSE::CObjectPtr<BSE::CBufferedInputStream> Read(const std::string& sPdf)
{
  return new BSE::CMemoryInputStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size()));
}

// Streams count as tokens too, which no reader does: the speed of the scanner on anything.
void Scan(benchmark::State& state, const std::string& sPdf)
{
  for ([[maybe_unused]] auto step : state)
  {
    PDF::CScanner scanner(Read(sPdf).Get(), nullptr);
    std::int64_t nTokens = 0;
    while (scanner.ReadToken() && scanner.GetToken() != PDF::eTokenEnd)
      ++nTokens;
    benchmark::DoNotOptimize(nTokens);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sPdf.size()));
}

void Load(benchmark::State& state, const std::string& sPdf)
{
  std::int64_t nObjects = 0;
  for ([[maybe_unused]] auto step : state)
  {
    BSE::CErrorHandler handler;
    PDF::CFile file(&handler);
    if (!file.Open(Read(sPdf).Get()))
      return state.SkipWithError("cannot be opened");
    const PDF::CXRefTable& table = file.GetXRef();
    for (int i = table.GetNextNumber(0); i < table.GetSize(); i = table.GetNextNumber(i))
      nObjects += file.GetObject(i, -1)->Load() ? 1 : 0;
  }
  state.SetItemsProcessed(nObjects);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sPdf.size()));
}

void CopyAndWrite(benchmark::State& state, const std::string& sPdf)
{
  for ([[maybe_unused]] auto step : state)
  {
    BSE::CErrorHandler handler;
    PDF::CFile source(&handler);
    PDF::CFile target(&handler);
    const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
    target.InitVersion(1, 5);
    if (!source.Open(Read(sPdf).Get()) || !target.Create(pOutput.Get(), PDF::CString(), true, true))
      return state.SkipWithError("cannot be opened");
    target.GetObjectMap(source);
    PDF::CObjectCopier copier;
    copier.SetFiles(&source, &target);
    const PDF::CXRefTable& table = source.GetXRef();
    for (int i = table.GetNextNumber(0); i < table.GetSize(); i = table.GetNextNumber(i))
      copier.Visit(source.GetObject(i, -1));
    target.SetRoot(copier.Visit(source.GetRoot()).Get());
    target.Close();
    benchmark::DoNotOptimize(pOutput->GetLength());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sPdf.size()));
}

void AddFile(const std::string& sName)
{
  const auto add = [&](const char* szStep, void (*pStep)(benchmark::State&, const std::string&))
  {
    benchmark::RegisterBenchmark((sName + "/" + szStep).c_str(),
                                 [sPdf = Support::ReadFile(sName), pStep](benchmark::State& state)
                                 { pStep(state, sPdf); })
        ->Unit(benchmark::kMillisecond);
  };
  add("scan", Scan);
  add("load", Load);
  add("copy", CopyAndWrite);
}

}  // namespace

int main(int nArguments, char** arguments)
{
  benchmark::Initialize(&nArguments, arguments);
  if (nArguments < 2)
    std::fprintf(stderr, "usage: file_bench FILE...\n");
  for (int i = 1; i < nArguments; ++i)
    AddFile(arguments[i]);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
