// The codecs of JPEG and JPEG 2000 beside the bare libraries: picture_bench [FLAGS OF THE BENCHMARK LIBRARY]
// FILE.jpg|FILE.j2k... Decodes each file, and encodes what comes out, here and with the library alone, in the
// same settings. Files of JPEG 2000 are bare codestreams.

#include "base/MemoryStream.h"
#include "images/filters/DCTDecodeFilter.h"
#include "images/filters/DCTEncodeFilter.h"
#include "images/filters/jpx/JPXDecodeFilter.h"
#include "images/filters/jpx/JPXEncodeFilter.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include <jpeglib.h>
#include <openjpeg.h>

namespace
{

using CData = std::shared_ptr<const std::string>;

template <class F>
BSE::CObjectPtr<F> Open(const std::string& sData)
{
  const BSE::CObjectPtr<BSE::IByteStream> pSource(
      new BSE::CMemoryStream(sData.data(), static_cast<std::int64_t>(sData.size())));
  return new F(pSource.Get());
}

template <class F>
std::string Decode(const std::string& sData, int nSamples)
{
  const BSE::CObjectPtr<F> pFilter = Open<F>(sData);
  const auto& parameters = pFilter->GetParameters();
  const auto nSize = std::int64_t{parameters.nWidth} * parameters.nHeight * nSamples;
  std::string rows(static_cast<std::size_t>(nSize), '\0');
  pFilter->ReadFully(reinterpret_cast<unsigned char*>(rows.data()), nSize);
  return rows;
}

template <class F, class P>
std::size_t Encode(const std::string& rows, const P& parameters)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pSink(new BSE::CMemoryStream);
  const BSE::CObjectPtr<F> pFilter(new F(pSink.Get(), parameters));
  pFilter->WriteAll(reinterpret_cast<const unsigned char*>(rows.data()),
                    static_cast<std::int64_t>(rows.size()));
  pFilter->Close();
  return static_cast<std::size_t>(pSink->GetLength());
}

std::size_t DecodeBareJpeg(const std::string& sData)
{
  jpeg_decompress_struct info = {};
  jpeg_error_mgr errors = {};
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(sData.data()), sData.size());
  jpeg_read_header(&info, TRUE);
  jpeg_start_decompress(&info);
  const std::size_t nRowSize =
      std::size_t{info.output_width} * static_cast<std::size_t>(info.output_components);
  std::string rows(nRowSize * info.output_height, '\0');
  while (info.output_scanline < info.output_height)
  {
    auto* pRow = reinterpret_cast<JSAMPROW>(rows.data()) + nRowSize * info.output_scanline;
    jpeg_read_scanlines(&info, &pRow, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return rows.size();
}

std::size_t EncodeBareJpeg(const std::string& rows, const BSE::CDCTParameters& parameters)
{
  jpeg_compress_struct info = {};
  jpeg_error_mgr errors = {};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* pData = nullptr;
  unsigned long nSize = 0;
  jpeg_mem_dest(&info, &pData, &nSize);
  info.image_width = static_cast<JDIMENSION>(parameters.nWidth);
  info.image_height = static_cast<JDIMENSION>(parameters.nHeight);
  info.in_color_space = static_cast<J_COLOR_SPACE>(parameters.nColorSpace);
  const std::size_t nRowSize = rows.size() / info.image_height;
  info.input_components = static_cast<int>(nRowSize / info.image_width);
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, parameters.nQuality, TRUE);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height)
  {
    auto* pRow = reinterpret_cast<JSAMPROW>(const_cast<char*>(rows.data())) + nRowSize * info.next_scanline;
    jpeg_write_scanlines(&info, &pRow, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::free(pData);
  return nSize;
}

struct TSource
{
  const std::string& m_sData;
  std::size_t m_nPos = 0;

  static OPJ_SIZE_T Read(void* pBuffer, OPJ_SIZE_T n, void* pSource)
  {
    auto& self = *static_cast<TSource*>(pSource);
    n = std::min(n, self.m_sData.size() - self.m_nPos);
    std::memcpy(pBuffer, self.m_sData.data() + self.m_nPos, n);
    self.m_nPos += n;
    return n > 0 ? n : ~OPJ_SIZE_T{0};
  }
};

// Samples of 8 bits, as the filter delivers them.
std::size_t DecodeBareJpx(const std::string& sData)
{
  TSource source{sData};
  opj_stream_t* const pStream = opj_stream_default_create(OPJ_TRUE);
  opj_stream_set_user_data(pStream, &source, nullptr);
  opj_stream_set_user_data_length(pStream, sData.size());
  opj_stream_set_read_function(pStream, TSource::Read);
  opj_codec_t* const pCodec = opj_create_decompress(OPJ_CODEC_J2K);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  opj_setup_decoder(pCodec, &parameters);
  opj_image_t* pImage = nullptr;
  std::string rows;
  if (opj_read_header(pStream, pCodec, &pImage) && opj_decode(pCodec, pStream, pImage))
  {
    const std::size_t nPixels = std::size_t{pImage->comps[0].w} * pImage->comps[0].h;
    rows.resize(nPixels * pImage->numcomps);
    for (std::size_t k = 0; k < pImage->numcomps; ++k)
      for (std::size_t i = 0; i < nPixels; ++i)
        rows[i * pImage->numcomps + k] = static_cast<char>(pImage->comps[k].data[i]);
  }
  opj_image_destroy(pImage);
  opj_destroy_codec(pCodec);
  opj_stream_destroy(pStream);
  return rows.size();
}

OPJ_SIZE_T Append(void* pBuffer, OPJ_SIZE_T n, void* pData)
{
  static_cast<std::string*>(pData)->append(static_cast<const char*>(pBuffer), n);
  return n;
}

std::size_t EncodeBareJpx(const std::string& rows, const BSE::CJPXParameters& parameters)
{
  const auto nChannels = static_cast<OPJ_UINT32>(parameters.nChannels);
  opj_image_cmptparm_t forms[4] = {};
  for (opj_image_cmptparm_t& form : forms)
  {
    form.dx = form.dy = 1;
    form.w = static_cast<OPJ_UINT32>(parameters.nWidth);
    form.h = static_cast<OPJ_UINT32>(parameters.nHeight);
    form.prec = 8;
  }
  opj_image_t* const pImage = opj_image_create(nChannels, forms, OPJ_CLRSPC_UNSPECIFIED);
  pImage->x1 = forms[0].w;
  pImage->y1 = forms[0].h;
  for (std::size_t i = 0; i < rows.size(); ++i)
    pImage->comps[i % nChannels].data[i / nChannels] = static_cast<unsigned char>(rows[i]);
  opj_cparameters_t coding;
  opj_set_default_encoder_parameters(&coding);
  coding.tcp_numlayers = 1;
  coding.cp_disto_alloc = 1;
  coding.tcp_mct = nChannels == 3 ? 1 : 0;
  std::string data;
  opj_codec_t* const pCodec = opj_create_compress(OPJ_CODEC_J2K);
  opj_stream_t* const pStream = opj_stream_default_create(OPJ_FALSE);
  opj_stream_set_user_data(pStream, &data, nullptr);
  opj_stream_set_write_function(pStream, Append);
  if (!opj_setup_encoder(pCodec, &coding, pImage) || !opj_start_compress(pCodec, pImage, pStream) ||
      !opj_encode(pCodec, pStream) || !opj_end_compress(pCodec, pStream))
    data.clear();
  opj_stream_destroy(pStream);
  opj_destroy_codec(pCodec);
  opj_image_destroy(pImage);
  return data.size();
}

void Add(const std::string& sName, const std::function<std::size_t()>& run)
{
  benchmark::RegisterBenchmark(sName.c_str(),
                               [run](benchmark::State& state)
                               {
                                 std::size_t nBytes = 0;
                                 for ([[maybe_unused]] auto step : state)
                                   nBytes = run();
                                 state.counters["bytes"] = static_cast<double>(nBytes);
                               })
      ->Unit(benchmark::kMillisecond);
}

void AddJpeg(const std::string& sName, const CData& pData)
{
  const auto pFilter = Open<BSE::CDCTDecodeFilter>(*pData);
  const int nSamples = pFilter->GetComponents();
  BSE::CDCTParameters parameters = pFilter->GetParameters();
  parameters.nColorSpace = nSamples == 1 ? BSE::eDCTGray : nSamples == 3 ? BSE::eDCTRGB : BSE::eDCTCMYK;
  parameters.nColorTransform = nSamples == 3 ? 1 : 0;
  const auto pRows = std::make_shared<const std::string>(Decode<BSE::CDCTDecodeFilter>(*pData, nSamples));
  Add(sName + " decode", [=] { return Decode<BSE::CDCTDecodeFilter>(*pData, nSamples).size(); });
  Add(sName + " decode bare", [=] { return DecodeBareJpeg(*pData); });
  Add(sName + " encode", [=] { return Encode<BSE::CDCTEncodeFilter>(*pRows, parameters); });
  Add(sName + " encode bare", [=] { return EncodeBareJpeg(*pRows, parameters); });
}

void AddJpx(const std::string& sName, const CData& pData)
{
  const auto pFilter = Open<BSE::CJPXDecodeFilter>(*pData);
  const int nSamples = pFilter->GetSampleCount();
  const BSE::CJPXParameters parameters = pFilter->GetParameters();
  const auto pRows = std::make_shared<const std::string>(Decode<BSE::CJPXDecodeFilter>(*pData, nSamples));
  Add(sName + " decode", [=] { return Decode<BSE::CJPXDecodeFilter>(*pData, nSamples).size(); });
  Add(sName + " decode bare", [=] { return DecodeBareJpx(*pData); });
  Add(sName + " encode", [=] { return Encode<BSE::CJPXEncodeFilter>(*pRows, parameters); });
  Add(sName + " encode bare", [=] { return EncodeBareJpx(*pRows, parameters); });
}

}  // namespace

int main(int nArguments, char** arguments)
{
  benchmark::Initialize(&nArguments, arguments);
  if (nArguments < 2)
    std::fprintf(stderr, "usage: picture_bench FILE.jpg|FILE.j2k...\n");
  for (int i = 1; i < nArguments; ++i)
  {
    const std::string sName = arguments[i];
    const auto pData = std::make_shared<const std::string>(Support::ReadFile(sName));
    if (pData->starts_with("\xFF\x4F"))
      AddJpx(sName, pData);
    else
      AddJpeg(sName, pData);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
