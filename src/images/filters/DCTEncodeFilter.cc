// libjpeg compresses row by row into a buffer that it hands back when it is full. Calls into it go through
// CDCTErrors::Run, where a failure of the library ends by a jump over its own frames; what a stream throws in
// a callback is kept until those frames are left. After a failure nothing of the compressor works any more,
// so the first one is remembered.

#include "images/filters/DCTEncodeFilter.h"

#include "base/Tracer.h"
#include "images/filters/DCTLibrary.h"
#include "images/filters/RowSize.h"
#include "images/filters/StatusCodes.h"

#include <jerror.h>
#include <algorithm>

namespace BSE
{

namespace
{

int GetComponentCount(int nColorSpace)
{
  switch (nColorSpace)
  {
  case eDCTGray:
    return 1;
  case eDCTRGB:
  case eDCTYCC:
    return 3;
  case eDCTCMYK:
  case eDCTYCCK:
    return 4;
  default:
    return 0;
  }
}

J_COLOR_SPACE GetEncodedSpace(const CDCTParameters& parameters)
{
  if (parameters.nColorTransform > 0 && parameters.nColorSpace == eDCTRGB)
    return JCS_YCbCr;
  if (parameters.nColorTransform > 0 && parameters.nColorSpace == eDCTCMYK)
    return JCS_YCCK;
  return static_cast<J_COLOR_SPACE>(parameters.nColorSpace);
}

UINT16 GetDensity(double dDotsPerInch)
{
  // The fields of JFIF have 16 bits.
  return static_cast<UINT16>(std::min(dDotsPerInch + 0.5, 65535.0));
}

}  // namespace

// libjpeg's compressor over an output.
class CDCTCompressor
{
public:
  // Borrows the output.
  CDCTCompressor(CBufferedOutputStream& output, IErrorContext* pErrorContext);
  ~CDCTCompressor() { jpeg_destroy_compress(&m_info); }
  CDCTCompressor(const CDCTCompressor&) = delete;
  CDCTCompressor& operator=(const CDCTCompressor&) = delete;

  // Each is false on a failure, which has been reported; then nothing else works any more.
  bool Start(const CDCTParameters& parameters);
  bool WriteRows(std::span<const unsigned char> rows, std::size_t nRowSize);
  bool Finish();

private:
  struct TTarget : jpeg_destination_mgr
  {
    CDCTCompressor* m_pOwner;
  };

  static CDCTCompressor& Get(j_compress_ptr pInfo) { return *static_cast<TTarget*>(pInfo->dest)->m_pOwner; }
  static void OnStart(j_compress_ptr pInfo) { Get(pInfo).ResetBuffer(); }
  static boolean OnFull(j_compress_ptr pInfo);
  static void OnEnd(j_compress_ptr pInfo);

  void ResetBuffer();

  // False where the output fails, which it says itself.
  bool Write(std::size_t nSize);

  CBufferedOutputStream& m_output;
  CDCTErrors m_errors;
  TTarget m_target = {};
  jpeg_compress_struct m_info = {};
  bool m_bValid;
  JOCTET m_buffer[g_nDefaultBlockSize];
};

CDCTCompressor::CDCTCompressor(CBufferedOutputStream& output, IErrorContext* pErrorContext)
    : m_output(output), m_errors(pErrorContext)
{
  m_target.m_pOwner = this;
  m_target.init_destination = OnStart;
  m_target.empty_output_buffer = OnFull;
  m_target.term_destination = OnEnd;
  m_errors.Attach(m_info);
  m_bValid = m_errors.Run([this] { jpeg_create_compress(&m_info); });
  m_info.dest = &m_target;
}

void CDCTCompressor::ResetBuffer()
{
  m_target.next_output_byte = m_buffer;
  m_target.free_in_buffer = sizeof(m_buffer);
}

bool CDCTCompressor::Write(std::size_t nSize)
{
  bool bDone = false;
  m_errors.Guard([&] { bDone = m_output.WriteAll(m_buffer, static_cast<std::int64_t>(nSize)); });
  return bDone;
}

boolean CDCTCompressor::OnFull(j_compress_ptr pInfo)
{
  CDCTCompressor& self = Get(pInfo);
  if (!self.Write(sizeof(self.m_buffer)))
    ERREXIT(pInfo, JERR_FILE_WRITE);
  self.ResetBuffer();
  return TRUE;
}

void CDCTCompressor::OnEnd(j_compress_ptr pInfo)
{
  CDCTCompressor& self = Get(pInfo);
  if (!self.Write(sizeof(self.m_buffer) - self.m_target.free_in_buffer))
    ERREXIT(pInfo, JERR_FILE_WRITE);
}

bool CDCTCompressor::Start(const CDCTParameters& parameters)
{
  m_bValid = m_bValid && m_errors.Run(
                             [&]
                             {
                               m_info.image_width = static_cast<JDIMENSION>(parameters.nWidth);
                               m_info.image_height = static_cast<JDIMENSION>(parameters.nHeight);
                               m_info.in_color_space = static_cast<J_COLOR_SPACE>(parameters.nColorSpace);
                               m_info.input_components = GetComponentCount(parameters.nColorSpace);
                               jpeg_set_defaults(&m_info);
                               jpeg_set_quality(&m_info, parameters.nQuality, TRUE);
                               jpeg_set_colorspace(&m_info, GetEncodedSpace(parameters));
                               for (int i = 0; parameters.bFullChroma && i < m_info.num_components; ++i)
                                 m_info.comp_info[i].h_samp_factor = m_info.comp_info[i].v_samp_factor = 1;
                               if (parameters.dResolutionX > 0 && parameters.dResolutionY > 0)
                               {
                                 // Beside a JFIF header, readers do not believe an Adobe marker that says
                                 // RGB.
                                 m_info.write_JFIF_header = m_info.jpeg_color_space != JCS_RGB ? TRUE : FALSE;
                                 m_info.density_unit = 1;
                                 m_info.X_density = GetDensity(parameters.dResolutionX);
                                 m_info.Y_density = GetDensity(parameters.dResolutionY);
                               }
                               jpeg_start_compress(&m_info, TRUE);
                             });
  return m_bValid;
}

bool CDCTCompressor::WriteRows(std::span<const unsigned char> rows, std::size_t nRowSize)
{
  m_bValid = m_bValid && m_errors.Run(
                             [&]
                             {
                               for (std::size_t i = 0; i + nRowSize <= rows.size(); i += nRowSize)
                               {
                                 // libjpeg reads the rows only, though its interface has no const.
                                 auto* pRow = const_cast<JSAMPROW>(rows.data() + i);
                                 jpeg_write_scanlines(&m_info, &pRow, 1);
                               }
                             });
  return m_bValid;
}

bool CDCTCompressor::Finish()
{
  m_bValid = m_bValid && m_errors.Run([this] { jpeg_finish_compress(&m_info); });
  return m_bValid;
}

CDCTEncodeFilter::CDCTEncodeFilter(IByteStream* pSink, const CDCTParameters& parameters,
                                   IErrorContext* pErrorContext)
    : CBufferedEncodeFilter(pSink, pErrorContext), m_parameters(parameters)
{
  const bool bSize = parameters.nWidth > 0 && parameters.nHeight > 0 &&
                     parameters.nWidth <= JPEG_MAX_DIMENSION && parameters.nHeight <= JPEG_MAX_DIMENSION;
  if (bSize)
    m_nRowSize = std::int64_t{parameters.nWidth} * GetComponentCount(parameters.nColorSpace);
  if (m_nRowSize == 0)
    ReportError(m_pErrorContext, MakeError(g_nFilterParameters, "argument", u"Width, Height, ColorSpace"));
}

CDCTEncodeFilter::~CDCTEncodeFilter()
{
  CloseOnRelease();
}

std::int64_t CDCTEncodeFilter::Write(const unsigned char* pBuffer, std::int64_t n)
{
  n = std::min(n, (m_parameters.nHeight - m_nRows) * m_nRowSize);
  return m_nRowSize > 0 && n >= m_nRowSize ? CBufferedEncodeFilter::Write(pBuffer, n - n % m_nRowSize) : 0;
}

int CDCTEncodeFilter::GetBlockSize() const
{
  return GetRowBlockSize(CBufferedEncodeFilter::GetBlockSize(), m_nRowSize);
}

bool CDCTEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  if (!m_pCompressor)
  {
    m_pCompressor.Reset(new CDCTCompressor(*m_pOutput, m_pErrorContext));
    if (!m_pCompressor->Start(m_parameters))
      return false;
  }
  m_nRows += static_cast<std::int64_t>(block.size()) / m_nRowSize;
  return m_pCompressor->WriteRows(block, static_cast<std::size_t>(m_nRowSize));
}

bool CDCTEncodeFilter::FinishBuffered()
{
  if (m_pCompressor)
    return m_pCompressor->Finish();
  if (CTracer::IsOn())
    CTracer::Trace("W", "DCT Encoder", "CDCTEncodeFilter has not been used.");
  return false;
}

}  // namespace BSE
