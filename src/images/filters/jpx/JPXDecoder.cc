#include "images/filters/jpx/JPXDecoder.h"

#include "base/BasicArray.h"
#include "base/ByteOrder.h"

#include <openjpeg.h>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace BSE
{

namespace
{

// A stream of the codec over bytes in memory.
struct TSource
{
  std::span<const unsigned char> m_bytes;
  std::size_t m_nPos = 0;

  static constexpr OPJ_SIZE_T g_nEnd = ~OPJ_SIZE_T{0};

  static OPJ_SIZE_T Read(void* pBuffer, OPJ_SIZE_T n, void* pSource)
  {
    auto& self = *static_cast<TSource*>(pSource);
    n = std::min(n, self.m_bytes.size() - self.m_nPos);
    if (n == 0)
      return g_nEnd;
    std::memcpy(pBuffer, self.m_bytes.data() + self.m_nPos, n);
    self.m_nPos += n;
    return n;
  }

  static OPJ_OFF_T Skip(OPJ_OFF_T n, void* pSource)
  {
    auto& self = *static_cast<TSource*>(pSource);
    if (n < 0 || static_cast<OPJ_SIZE_T>(n) > self.m_bytes.size() - self.m_nPos)
      return -1;
    self.m_nPos += static_cast<std::size_t>(n);
    return n;
  }

  static OPJ_BOOL Seek(OPJ_OFF_T n, void* pSource)
  {
    auto& self = *static_cast<TSource*>(pSource);
    if (n < 0 || static_cast<OPJ_SIZE_T>(n) > self.m_bytes.size())
      return OPJ_FALSE;
    self.m_nPos = static_cast<std::size_t>(n);
    return OPJ_TRUE;
  }
};

using CMessage = char[256];

// Keeps the first message, without the line's end.
void OnMessage(const char* szText, void* pMessage)
{
  auto& szMessage = *static_cast<CMessage*>(pMessage);
  if (szMessage[0] == 0)
    std::snprintf(szMessage, sizeof(szMessage), "%.*s", static_cast<int>(std::strcspn(szText, "\r\n")),
                  szText);
}

void Ignore(const char*, void*) {}

struct TStreamCloser
{
  ~TStreamCloser() { opj_stream_destroy(m_pStream); }
  opj_stream_t* m_pStream;
};

struct TCodecCloser
{
  ~TCodecCloser() { opj_destroy_codec(m_pCodec); }
  opj_codec_t* m_pCodec;
};

opj_stream_t* MakeStream(TSource& source)
{
  constexpr OPJ_SIZE_T nBuffer = 1 << 16;
  opj_stream_t* const pStream = opj_stream_create(nBuffer, OPJ_TRUE);
  if (!pStream)
    return nullptr;
  opj_stream_set_user_data(pStream, &source, nullptr);
  opj_stream_set_user_data_length(pStream, source.m_bytes.size());
  opj_stream_set_read_function(pStream, TSource::Read);
  opj_stream_set_skip_function(pStream, TSource::Skip);
  opj_stream_set_seek_function(pStream, TSource::Seek);
  return pStream;
}

// Cuts tile-parts (SOT markers: length 10, tile, length from the marker) at the end of the data. Where parts
// are missing the codec would allocate them in full length.
void CutTileParts(std::span<unsigned char> codestream)
{
  constexpr unsigned char marker[] = {0xFF, 0x90, 0, 10};
  constexpr std::ptrdiff_t nLengthOffset = 6;
  const auto end = codestream.end();
  for (auto it = codestream.begin();; ++it)
  {
    it = std::search(it, end, std::begin(marker), std::end(marker));
    if (end - it < nLengthOffset + 4)
      return;
    unsigned char* const pLength = &*it + nLengthOffset;
    const auto nRest = static_cast<std::uint32_t>(std::min<std::ptrdiff_t>(end - it, 0x7FFFFFFF));
    if (LoadBigEndian<std::uint32_t>(pLength) > nRest)
      StoreBigEndian(nRest, pLength);
  }
}

// The area is told on the grid of the codestream, as the image's own is.
bool SetBand(const TJPXBand& band, opj_codec_t* pCodec, opj_image_t* pImage)
{
  const auto nTop = static_cast<std::int64_t>(pImage->y0);
  constexpr std::int64_t nLimit = 0x7FFFFFFF;
  if (nTop + band.m_nEnd > nLimit || pImage->x1 > nLimit)
    return false;
  return opj_set_decode_area(pCodec, pImage, static_cast<OPJ_INT32>(pImage->x0),
                             static_cast<OPJ_INT32>(nTop + band.m_nFirst), static_cast<OPJ_INT32>(pImage->x1),
                             static_cast<OPJ_INT32>(nTop + band.m_nEnd));
}

}  // namespace

CJPXImage::~CJPXImage()
{
  opj_image_destroy(m_pImage);
}

bool CJPXImage::Run(std::span<const unsigned char> codestream, const TJPXBand* pBand, bool bStrict,
                    CMessage& szMessage)
{
  opj_image_destroy(m_pImage);
  m_pImage = nullptr;
  TSource source{codestream};
  const TStreamCloser stream{MakeStream(source)};
  const TCodecCloser codec{opj_create_decompress(OPJ_CODEC_J2K)};
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  if (!stream.m_pStream || !codec.m_pCodec || !opj_setup_decoder(codec.m_pCodec, &parameters))
    return false;
  opj_set_error_handler(codec.m_pCodec, OnMessage, &szMessage);
  opj_set_warning_handler(codec.m_pCodec, Ignore, nullptr);
  opj_set_info_handler(codec.m_pCodec, Ignore, nullptr);
  opj_decoder_set_strict_mode(codec.m_pCodec, bStrict ? OPJ_TRUE : OPJ_FALSE);
  return opj_read_header(stream.m_pStream, codec.m_pCodec, &m_pImage) &&
         (!pBand || SetBand(*pBand, codec.m_pCodec, m_pImage)) &&
         opj_decode(codec.m_pCodec, stream.m_pStream, m_pImage) &&
         (!bStrict || opj_end_decompress(codec.m_pCodec, stream.m_pStream));
}

CScopedPtr<CJPXImage> CJPXImage::DecodeBand(std::span<const unsigned char> codestream, const TJPXBand& band)
{
  CScopedPtr<CJPXImage> pImage(new CJPXImage);
  CMessage szMessage = "";
  if (!pImage->Run(codestream, &band, true, szMessage))
    pImage.Reset();
  return pImage;
}

CScopedPtr<CJPXImage> CJPXImage::Decode(std::span<const unsigned char> codestream,
                                        IErrorContext* pErrorContext)
{
  CScopedPtr<CJPXImage> pImage(new CJPXImage);
  CMessage szMessage = "";
  if (pImage->Run(codestream, nullptr, true, szMessage))
    return pImage;
  // The strict mode refuses data of which a part is missing, the other one passes over that in silence.
  CMessage szSecond = "";
  pImage->m_bGap = true;
  CBasicArray<unsigned char> copy;
  copy.Append(codestream);
  CutTileParts(copy.GetSpan());
  const bool bDecoded = pImage->Run(copy.GetSpan(), nullptr, false, szSecond);
  ReportError(pErrorContext,
              CScopedPtr<IError>(new CJPXError(bDecoded ? eJPXTruncated : eJPXInvalidStream, szMessage)));
  bool bAny = false;
  for (int i = 0; pImage->m_pImage && i < pImage->GetComponentCount(); ++i)
    bAny = bAny || pImage->GetComponent(i).m_pSamples;
  if (!bAny)
    pImage.Reset();
  return pImage;
}

int CJPXImage::GetWidth() const
{
  return static_cast<int>(m_pImage->x1 - m_pImage->x0);
}

int CJPXImage::GetHeight() const
{
  return static_cast<int>(m_pImage->y1 - m_pImage->y0);
}

int CJPXImage::GetComponentCount() const
{
  return static_cast<int>(m_pImage->numcomps);
}

TJPXComponent CJPXImage::GetComponent(int nIndex) const
{
  const opj_image_comp_t& component = m_pImage->comps[nIndex];
  TJPXComponent result;
  result.m_pSamples = component.data;
  result.m_nWidth = static_cast<int>(component.w);
  result.m_nHeight = static_cast<int>(component.h);
  result.m_nStepX = component.dx;
  result.m_nStepY = component.dy;
  result.m_nLeft = m_pImage->x0;
  result.m_nTop = m_pImage->y0;
  result.m_nDepth = static_cast<int>(component.prec);
  result.m_bSigned = component.sgnd != 0;
  return result;
}

}  // namespace BSE
