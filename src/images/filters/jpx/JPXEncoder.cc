#include "images/filters/jpx/JPXEncoder.h"

#include "images/filters/jpx/JPXError.h"
#include "images/filters/jpx/JPXNoise.h"
#include "images/filters/jpx/JPXRowReader.h"

#include <openjpeg.h>
#include <algorithm>
#include <cstring>
#include <exception>
#include <iterator>
#include <utility>

namespace BSE
{

namespace
{

// Pixels of an image that is coded as a whole, and the longest side of a tile of others.
constexpr std::int64_t g_nMaxUntiled = 1 << 22;
constexpr int g_nTileSide = 1024;

// A stream of the codec into memory. What an allocation throws is kept until the codec is left.
struct TTarget
{
  CBasicArray<unsigned char>& m_bytes;
  std::exception_ptr m_pException;

  static OPJ_SIZE_T Write(void* pBuffer, OPJ_SIZE_T n, void* pTarget)
  {
    auto& self = *static_cast<TTarget*>(pTarget);
    try
    {
      self.m_bytes.Append({static_cast<const unsigned char*>(pBuffer), n});
      return n;
    }
    catch (...)
    {
      self.m_pException = std::current_exception();
      return ~OPJ_SIZE_T{0};
    }
  }
};

struct TCloser
{
  ~TCloser()
  {
    opj_stream_destroy(m_pStream);
    opj_destroy_codec(m_pCodec);
    opj_image_destroy(m_pImage);
  }
  opj_stream_t* m_pStream = nullptr;
  opj_codec_t* m_pCodec = nullptr;
  opj_image_t* m_pImage = nullptr;
};

// Of a tile that is not at the edge: all are about as large.
int GetTileSide(int nSide)
{
  const int nTiles = (nSide + g_nTileSide - 1) / g_nTileSide;
  return (nSide + nTiles - 1) / nTiles;
}

// Large images are cut into tiles, since coding takes many times the memory of the samples.
bool IsTiled(const CJPXParameters& parameters)
{
  return std::int64_t{parameters.nWidth} * parameters.nHeight > g_nMaxUntiled;
}

void SetParameters(const CJPXParameters& parameters, std::span<const unsigned char> rows,
                   opj_cparameters_t& coding)
{
  constexpr int nDefaultResolutions = 6;
  constexpr int nLossless = 100;
  opj_set_default_encoder_parameters(&coding);
  coding.tcp_numlayers = 1;
  // No resolution may be smaller than a pixel.
  const int nSmaller = IsTiled(parameters)
                           ? std::min(GetTileSide(parameters.nWidth), GetTileSide(parameters.nHeight))
                           : std::min(parameters.nWidth, parameters.nHeight);
  coding.numresolution = 1;
  while (coding.numresolution < nDefaultResolutions && nSmaller >> coding.numresolution > 0)
    ++coding.numresolution;
  coding.tcp_mct = HasColorTransform(parameters) ? 1 : 0;
  if (parameters.nQuality < nLossless && parameters.Palette.IsEmpty())
  {
    coding.irreversible = 1;
    coding.cp_fixed_quality = 1;
    coding.tcp_distoratio[0] = static_cast<float>(ChooseSignalToNoise(parameters, rows));
  }
  else
    coding.cp_disto_alloc = 1;
}

opj_image_t* MakeImage(const CJPXParameters& parameters)
{
  constexpr int nMaxComponents = 255;
  opj_image_cmptparm_t components[nMaxComponents] = {};
  const int nCount = std::min(GetJPXComponentCount(parameters), nMaxComponents);
  for (opj_image_cmptparm_t& component : std::span(components, static_cast<std::size_t>(nCount)))
  {
    component.dx = component.dy = 1;
    component.w = static_cast<OPJ_UINT32>(parameters.nWidth);
    component.h = static_cast<OPJ_UINT32>(parameters.nHeight);
    component.prec = static_cast<OPJ_UINT32>(parameters.nBitsPerComponent);
  }
  // With tiles the image itself has no samples.
  const auto fnCreate = IsTiled(parameters) ? opj_image_tile_create : opj_image_create;
  opj_image_t* const pImage = fnCreate(static_cast<OPJ_UINT32>(nCount), components, OPJ_CLRSPC_UNSPECIFIED);
  if (pImage)
  {
    pImage->x1 = static_cast<OPJ_UINT32>(parameters.nWidth);
    pImage->y1 = static_cast<OPJ_UINT32>(parameters.nHeight);
  }
  return pImage;
}

void FillImage(const CJPXParameters& parameters, std::span<const unsigned char> rows, opj_image_t& image)
{
  const std::size_t nRowSize = rows.size() / static_cast<std::size_t>(parameters.nHeight);
  std::size_t nSample = 0;
  for (std::size_t i = 0; i + nRowSize <= rows.size(); i += nRowSize)
  {
    CJPXRowReader reader(rows.subspan(i, nRowSize), parameters.nBitsPerComponent);
    for (int x = 0; x < parameters.nWidth; ++x, ++nSample)
    {
      for (OPJ_UINT32 k = 0; k < image.numcomps; ++k)
        image.comps[k].data[nSample] = reader.Next();
    }
  }
}

// The samples of a tile, one component after the other, in bytes or native words.
void CopyTile(const CJPXParameters& parameters, std::span<const unsigned char> rows, int nLeft, int nTop,
              CBasicArray<unsigned char>& tile)
{
  const std::size_t nRowSize = rows.size() / static_cast<std::size_t>(parameters.nHeight);
  const int nWidth = std::min(GetTileSide(parameters.nWidth), parameters.nWidth - nLeft);
  const int nHeight = std::min(GetTileSide(parameters.nHeight), parameters.nHeight - nTop);
  const int nComponents = GetJPXComponentCount(parameters);
  const int nBytes = parameters.nBitsPerComponent > 8 ? 2 : 1;
  tile.SetSize(nWidth * nHeight * nComponents * nBytes);
  unsigned char* const pTile = tile.GetSpan().data();
  for (int y = 0; y < nHeight; ++y)
  {
    CJPXRowReader reader(rows.subspan(static_cast<std::size_t>(nTop + y) * nRowSize, nRowSize),
                         parameters.nBitsPerComponent);
    reader.Skip(std::int64_t{nLeft} * nComponents);
    for (int x = 0; x < nWidth; ++x)
      for (int k = 0; k < nComponents; ++k)
      {
        const auto nValue = static_cast<std::uint16_t>(reader.Next());
        unsigned char* const pSample = pTile + ((k * nHeight + y) * nWidth + x) * nBytes;
        if (nBytes == 1)
          *pSample = static_cast<unsigned char>(nValue);
        else
          std::memcpy(pSample, &nValue, sizeof(nValue));
      }
  }
}

bool WriteTiles(const CJPXParameters& parameters, std::span<const unsigned char> rows, opj_codec_t* pCodec,
                opj_stream_t* pStream)
{
  CBasicArray<unsigned char> tile;
  OPJ_UINT32 nTile = 0;
  for (int nTop = 0; nTop < parameters.nHeight; nTop += GetTileSide(parameters.nHeight))
    for (int nLeft = 0; nLeft < parameters.nWidth; nLeft += GetTileSide(parameters.nWidth))
    {
      CopyTile(parameters, rows, nLeft, nTop, tile);
      if (!opj_write_tile(pCodec, nTile++, tile.GetSpan().data(), static_cast<OPJ_UINT32>(tile.GetSize()),
                          pStream))
        return false;
    }
  return true;
}

}  // namespace

bool EncodeJPXCodestream(const CJPXParameters& parameters, std::span<const unsigned char> rows,
                         CBasicArray<unsigned char>& codestream, IErrorContext* pErrorContext)
{
  TTarget target{codestream, nullptr};
  TCloser closer;
  opj_cparameters_t coding;
  SetParameters(parameters, rows, coding);
  const bool bTiled = IsTiled(parameters);
  if (bTiled)
  {
    coding.tile_size_on = OPJ_TRUE;
    coding.cp_tdx = GetTileSide(parameters.nWidth);
    coding.cp_tdy = GetTileSide(parameters.nHeight);
  }
  closer.m_pImage = MakeImage(parameters);
  closer.m_pCodec = opj_create_compress(OPJ_CODEC_J2K);
  closer.m_pStream = opj_stream_default_create(OPJ_FALSE);
  bool bDone = closer.m_pImage && closer.m_pCodec && closer.m_pStream;
  if (bDone)
  {
    if (!bTiled)
      FillImage(parameters, rows, *closer.m_pImage);
    opj_stream_set_user_data(closer.m_pStream, &target, nullptr);
    opj_stream_set_write_function(closer.m_pStream, TTarget::Write);
    bDone = opj_setup_encoder(closer.m_pCodec, &coding, closer.m_pImage) &&
            opj_start_compress(closer.m_pCodec, closer.m_pImage, closer.m_pStream) &&
            (bTiled ? WriteTiles(parameters, rows, closer.m_pCodec, closer.m_pStream)
                    : opj_encode(closer.m_pCodec, closer.m_pStream)) &&
            opj_end_compress(closer.m_pCodec, closer.m_pStream);
  }
  if (target.m_pException)
    std::rethrow_exception(std::exchange(target.m_pException, nullptr));
  if (!bDone)
    ReportError(pErrorContext,
                CScopedPtr<IError>(new CJPXError(closer.m_pImage ? eJPXWriteFailed : eJPXOutOfMemory)));
  return bDone;
}

}  // namespace BSE
