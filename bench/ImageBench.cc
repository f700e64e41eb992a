// Samples of images: image_bench [FLAGS OF THE BENCHMARK LIBRARY]
// Pictures of 4,000 by 1,000 pixels from memory through each filter, in pixels of the source a second; beside
// them the mere copy of the rows.

#include "base/BufferedInputStream.h"
#include "images/BitonalFilter.h"
#include "images/ColorFilters.h"
#include "images/ResampleFilter.h"
#include "images/color/ColorSpaceFactory.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace
{

constexpr int g_nWidth = 4000;
constexpr int g_nHeight = 1000;

using CSpacePtr = BSE::CObjectPtr<DOC::IColorSpace>;

struct TPicture
{
  std::vector<unsigned char> m_bytes;
  BSE::CObjectPtr<BSE::CMemoryInputStream> m_pStream;
  PDF::CSampleFormat m_format;
};

class CSpaces
{
public:
  CSpaces()
  {
    const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount);
    m_pCMS = DOC::CreateCMS("none", "/", *pAccount);
    m_pFactory = new PDF::CColorSpaceFactory(*m_pCMS);
  }
  ~CSpaces() { delete m_pFactory; }
  CSpaces(const CSpaces&) = delete;
  CSpaces& operator=(const CSpaces&) = delete;

  TPicture Make(int nComponents, int nBits) const
  {
    TPicture picture;
    picture.m_format = {m_pFactory->GetDevice(nComponents), nBits, g_nWidth, g_nHeight};
    picture.m_bytes.resize(static_cast<std::size_t>(picture.m_format.GetRowSize() * g_nHeight));
    std::mt19937 random(1);
    for (std::size_t i = 0; i < picture.m_bytes.size(); ++i)
      picture.m_bytes[i] = static_cast<unsigned char>(i / 16 + random() % 3);
    picture.m_pStream = new BSE::CMemoryInputStream(picture.m_bytes.data(),
                                                    static_cast<std::int64_t>(picture.m_bytes.size()));
    return picture;
  }

private:
  BSE::CObjectPtr<DOC::CCMS> m_pCMS;
  PDF::CColorSpaceFactory* m_pFactory = nullptr;
};

void ReadAll(benchmark::State& state, BSE::IByteStream& stream)
{
  unsigned char block[BSE::g_nDefaultBlockSize];
  for (auto _ : state)
  {
    stream.Rewind();
    while (stream.Read(block, sizeof(block)) > 0)
      benchmark::DoNotOptimize(block);
  }
  state.counters["pixels/s"] = benchmark::Counter(
      static_cast<double>(state.iterations()) * g_nWidth * g_nHeight, benchmark::Counter::kIsRate);
}

void BM_Copy(benchmark::State& state)
{
  const CSpaces spaces;
  const TPicture picture = spaces.Make(1, 8);
  ReadAll(state, *picture.m_pStream);
}

// Components, bits, new size in per cent.
void BM_Resample(benchmark::State& state)
{
  const CSpaces spaces;
  const TPicture picture = spaces.Make(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  const double dFactor = static_cast<double>(state.range(2)) / 100;
  PDF::CResampleFilter filter(picture.m_pStream.Get(), picture.m_format, dFactor, dFactor);
  ReadAll(state, filter);
}

void BM_To8Bits(benchmark::State& state)
{
  const CSpaces spaces;
  const TPicture picture = spaces.Make(1, static_cast<int>(state.range(0)));
  PDF::CConvertTo8BPCFilter filter(picture.m_pStream.Get(), picture.m_format);
  ReadAll(state, filter);
}

void BM_Bitonal(benchmark::State& state)
{
  const CSpaces spaces;
  const TPicture picture = spaces.Make(1, 8);
  PDF::CConvertToBitonalFilter filter(picture.m_pStream.Get(), picture.m_format,
                                      static_cast<int>(state.range(0)));
  ReadAll(state, filter);
}

void BM_Blocks(benchmark::State& state)
{
  const CSpaces spaces;
  const TPicture picture = spaces.Make(1, 1);
  PDF::CAntialiasFilter filter(picture.m_pStream.Get(), picture.m_format, 4);
  ReadAll(state, filter);
}

// Components of source and target.
void BM_Convert(benchmark::State& state)
{
  const CSpaces spaces;
  const TPicture picture = spaces.Make(static_cast<int>(state.range(0)), 8);
  const DOC::TTarget target = state.range(1) == 1   ? DOC::eToGray
                              : state.range(1) == 3 ? DOC::eToRGB
                                                    : DOC::eToCMYK;
  PDF::CConvertColorFilter filter(picture.m_pStream.Get(), picture.m_format, target);
  ReadAll(state, filter);
}

BENCHMARK(BM_Copy);
BENCHMARK(BM_Resample)
    ->Args({1, 8, 25})
    ->Args({1, 8, 50})
    ->Args({1, 8, 90})
    ->Args({3, 8, 50})
    ->Args({1, 16, 50})
    ->Args({1, 4, 50});
BENCHMARK(BM_To8Bits)->Arg(1)->Arg(4)->Arg(16);
BENCHMARK(BM_Bitonal)->DenseRange(0, 6);
BENCHMARK(BM_Blocks);
BENCHMARK(BM_Convert)->Args({3, 1})->Args({1, 3})->Args({4, 3});

}  // namespace

BENCHMARK_MAIN();
