// libjpeg reads straight from the input's buffer. An image of one scan is decoded row by row. One of several
// scans needs all its coefficients in memory, so the size of those is checked first; then all scans are read,
// their work is counted by blocks, and the picture is made of the last scan that was read whole. The header
// may leave the number of lines open, for a segment after the first scan to give. libjpeg takes such an image
// for an empty one: then the number is searched for, and put into the bytes of the header as they pass on the
// way to the library.

#include "images/filters/DCTDecompressor.h"

#include "base/DecodeFilter.h"
#include "base/Limits.h"

#include <jerror.h>
#include <algorithm>
#include <tuple>

namespace BSE
{

namespace
{

constexpr JOCTET g_startOfImage[] = {0xFF, 0xD8};
constexpr JOCTET g_endOfImage[] = {0xFF, JPEG_EOI};

// Markers APP1 are kept up to this length, which has room for what is read of Exif.
constexpr unsigned g_nMaxExif = 1000;

// The markers SOS and DNL, and the length of the latter (ISO/IEC 10918-1, Table B.1 and B.2.5).
constexpr int g_nScanMarker = 0xDA;
constexpr int g_nLinesMarker = 0xDC;
constexpr int g_nLinesLength = 4;

// Two bytes; negative at the end.
int Read16(CBufferedInputStream& input)
{
  const int nHigh = input.GetByte();
  const int nLow = input.GetByte();
  return nLow < 0 ? -1 : nHigh << 8 | nLow;
}

}  // namespace

TDCTLines FindDCTLines(CBufferedInputStream& input)
{
  TDCTLines lines;
  lines.m_bSought = true;
  bool bScan = false;
  int nLast = 0;
  for (int nByte = input.GetByte(); nByte >= 0; nLast = nByte, nByte = input.GetByte())
  {
    // A frame header, SOF0 to SOF15: DHT, JPG and DAC are in between.
    const bool bFrame = nByte >= 0xC0 && nByte <= 0xCF && nByte != 0xC4 && nByte != 0xC8 && nByte != 0xCC;
    if (nLast != 0xFF || nByte < 0xC0 || nByte == 0xFF || (nByte >= 0xD0 && nByte <= 0xD8))
      continue;
    const bool bLines = bScan && nByte == g_nLinesMarker;
    if ((bScan && !bLines) || nByte == JPEG_EOI)
      break;
    const int nLength = Read16(input);
    if (nLength < 2)
      break;
    if (bLines)
    {
      lines.m_nCount = nLength == g_nLinesLength ? std::max(Read16(input), 0) : 0;
      break;
    }
    if (bFrame && lines.m_nHeaderPos < 0)
    {
      lines.m_nHeaderPos = input.Tell() + 1;
      input.Skip(std::max(nLength - 2, 3));
    }
    else
      input.Skip(nLength - 2);
    bScan = nByte == g_nScanMarker;
    nByte = 0;
  }
  return lines;
}

CDCTDecompressor::CDCTDecompressor(CBufferedInputStream& input, IErrorContext* pErrorContext,
                                   const TDCTLines& lines)
    : m_input(input), m_pErrorContext(pErrorContext), m_errors(pErrorContext), m_lines(lines)
{
  if (!lines.m_bSought)
    m_errors.Expect(JERR_EMPTY_IMAGE);
  m_source.m_pOwner = this;
  m_source.init_source = OnStart;
  m_source.fill_input_buffer = OnFill;
  m_source.skip_input_data = OnSkip;
  m_source.resync_to_restart = jpeg_resync_to_restart;
  m_source.term_source = OnEnd;
  m_errors.Attach(m_info);
  m_bFailed = !m_errors.Run([this] { jpeg_create_decompress(&m_info); });
  m_info.src = &m_source;
}

CDCTDecompressor::~CDCTDecompressor()
{
  jpeg_destroy_decompress(&m_info);
}

boolean CDCTDecompressor::OnFill(j_decompress_ptr pInfo)
{
  CDCTDecompressor& self = Get(pInfo);
  self.m_errors.Guard([&] { self.Fill(); });
  // Of a single scan, the decoder says where data is missing; it reads ahead beyond what it needs.
  if (!self.m_bInput && pInfo->buffered_image)
    WARNMS(pInfo, JWRN_JPEG_EOF);
  return TRUE;
}

void CDCTDecompressor::OnSkip(j_decompress_ptr pInfo, long nBytes)
{
  jpeg_source_mgr& source = *pInfo->src;
  while (nBytes > 0)
  {
    const long n = std::min(nBytes, static_cast<long>(source.bytes_in_buffer));
    source.next_input_byte += n;
    source.bytes_in_buffer -= static_cast<std::size_t>(n);
    nBytes -= n;
    if (nBytes == 0)
      return;
    OnFill(pInfo);
    if (!Get(pInfo).m_bInput)
      return;
  }
}

void CDCTDecompressor::Fill()
{
  if (m_bInput)
    m_input.Consume(m_input.GetBuffered().size());
  m_bInput = !m_input.GetBuffered().empty() || m_input.Fill();
  const std::span<const JOCTET> bytes = m_bInput ? FillInLines(m_input.GetBuffered()) : g_endOfImage;
  m_source.next_input_byte = bytes.data();
  m_source.bytes_in_buffer = bytes.size();
}

std::span<const JOCTET> CDCTDecompressor::FillInLines(std::span<const JOCTET> bytes)
{
  const std::int64_t nPos = m_lines.m_nHeaderPos - m_input.Tell();
  if (m_lines.m_nHeaderPos < 0 || nPos < -1 || nPos >= std::ssize(bytes))
    return bytes;
  m_filledIn.RemoveAll();
  m_filledIn.Append(bytes);
  if (nPos >= 0)
    m_filledIn[static_cast<int>(nPos)] = static_cast<JOCTET>(m_lines.m_nCount >> 8);
  if (nPos + 1 < std::ssize(bytes))
    m_filledIn[static_cast<int>(nPos + 1)] = static_cast<JOCTET>(m_lines.m_nCount);
  return m_filledIn.GetSpan();
}

bool CDCTDecompressor::LacksLines() const
{
  return m_errors.HasMet() && m_info.image_height == 0 && m_info.image_width > 0 && m_info.num_components > 0;
}

void CDCTDecompressor::ReturnUnread()
{
  if (m_bInput)
    m_input.Consume(m_input.GetBuffered().size() - m_source.bytes_in_buffer);
  m_bInput = false;
  m_source.bytes_in_buffer = 0;
}

bool CDCTDecompressor::FindStart()
{
  m_nStart = m_input.Tell();
  int nLast = 0;
  int nByte = m_input.GetByte();
  if (nByte < 0)
  {
    m_errors.Report(CDCTError::g_nEmptyInput, "Empty input file");
    return false;
  }
  unsigned first[2] = {static_cast<unsigned>(nByte), 0};
  while (nByte >= 0 && (nLast != g_startOfImage[0] || nByte != g_startOfImage[1]))
  {
    nLast = nByte;
    nByte = m_input.GetByte();
    if (m_input.Tell() - m_nStart == 2 && nByte >= 0)
      first[1] = static_cast<unsigned>(nByte);
  }
  char szText[JMSG_LENGTH_MAX];
  if (nByte < 0)
  {
    std::snprintf(szText, sizeof(szText), "Not a JPEG file: starts with 0x%02x 0x%02x", first[0], first[1]);
    m_errors.Report(CDCTError::g_nNoStart, szText);
    return false;
  }
  const auto nSkipped = static_cast<long long>(m_input.Tell() - m_nStart - 2);
  if (nSkipped > 0)
  {
    std::snprintf(szText, sizeof(szText), "Corrupt JPEG data: %lld extraneous bytes before marker 0xd8",
                  nSkipped);
    m_errors.Report(CDCTError::g_nExtraneousData, szText);
  }
  m_source.next_input_byte = g_startOfImage;
  m_source.bytes_in_buffer = sizeof(g_startOfImage);
  return true;
}

bool CDCTDecompressor::ReadHeader()
{
  m_bFailed = m_bFailed || !FindStart() ||
              !m_errors.Run(
                  [this]
                  {
                    jpeg_save_markers(&m_info, JPEG_APP0 + 1, g_nMaxExif);
                    jpeg_read_header(&m_info, TRUE);
                  });
  return !m_bFailed;
}

bool CDCTDecompressor::Start(std::int64_t nEncodedSize)
{
  const bool bScans = jpeg_has_multiple_scans(&m_info) != 0;
  const std::int64_t nMemory = bScans ? GetDCTCoefficientSize(m_info) : 0;
  if (nMemory > g_nMaxDCTMemory ||
      IsOutOfProportion(nMemory, g_nFreeDCTMemory, g_nMaxDecodeRatio, nEncodedSize))
  {
    ReportError(m_pErrorContext, g_nSizeExceeded);
    m_bFailed = true;
    return false;
  }
  m_info.buffered_image = bScans ? TRUE : FALSE;
  m_bStarted = m_errors.Run([this] { jpeg_start_decompress(&m_info); });
  m_bFailed = !m_bStarted;
  if (m_bFailed || !bScans)
    return m_bStarted;
  ReadScans();
  // A scan that has been begun belongs to the picture, but none of it is read any more.
  const int nScan = std::max(m_info.input_scan_number - (m_bComplete ? 0 : 1), 1);
  m_bFailed = !m_errors.Run([this, nScan] { jpeg_start_output(&m_info, nScan); });
  return !m_bFailed;
}

void CDCTDecompressor::ReadScans()
{
  // A second frame header is refused only after it has overwritten the first.
  const auto header = std::tuple(m_info.image_width, m_info.image_height, m_info.num_components,
                                 m_info.data_precision, m_info.progressive_mode, m_info.arith_code);
  bool bExhausted = false;
  const bool bRead = m_errors.Run(
      [&]
      {
        while (!m_bComplete && !bExhausted)
        {
          const int nStep = jpeg_consume_input(&m_info);
          m_bComplete = nStep == JPEG_REACHED_EOI;
          if (nStep == JPEG_ROW_COMPLETED || nStep == JPEG_SCAN_COMPLETED)
            m_nWork += GetDCTRowBlocks(m_info);
          bExhausted = IsOutOfProportion(m_nWork, g_nFreeDCTWork, g_nDCTWorkRatio, m_input.Tell() - m_nStart);
        }
      });
  if (!bRead)
    std::tie(m_info.image_width, m_info.image_height, m_info.num_components, m_info.data_precision,
             m_info.progressive_mode, m_info.arith_code) = header;
  if (bExhausted)
    ReportError(m_pErrorContext, g_nSizeExceeded);
}

int CDCTDecompressor::ReadRows(std::span<unsigned char> block, std::size_t nRowSize)
{
  const JDIMENSION nFirst = m_info.output_scanline;
  m_bFailed = m_bFailed || !m_errors.Run(
                               [&]
                               {
                                 const std::size_t nRoom = block.size() / nRowSize;
                                 for (std::size_t i = 0; i < nRoom && !HasEnded();)
                                 {
                                   JSAMPROW rows[2 * MAX_SAMP_FACTOR];
                                   const std::size_t nRows = std::min(nRoom - i, std::size(rows));
                                   for (std::size_t k = 0; k < nRows; ++k)
                                     rows[k] = block.data() + (i + k) * nRowSize;
                                   i += jpeg_read_scanlines(&m_info, rows, static_cast<JDIMENSION>(nRows));
                                 }
                               });
  return static_cast<int>(m_info.output_scanline - nFirst);
}

void CDCTDecompressor::Finish()
{
  const bool bAllRows = m_bStarted && !m_bFailed && m_info.output_scanline >= m_info.output_height;
  if (bAllRows && !m_info.buffered_image)
    m_errors.Run([this] { jpeg_finish_decompress(&m_info); });
  ReturnUnread();
}

}  // namespace BSE
