// The decoder stops before the transform, and the encoder starts after it: between them are quantized
// coefficients, which are carried over as they are. What makes the data shorter is the Huffman coding, with
// tables for the image in place of general ones, and in scans over bands of coefficients, in which the many
// zeros of the high ones cost less. A decoder takes its colours from two markers, so these are copied byte by
// byte, and none is added where there was none.

#include "images/filters/DCTRecoder.h"

#include "base/Checked.h"
#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "images/filters/DCTLibrary.h"

#include <jerror.h>
#include <algorithm>
#include <cstring>
#include <utility>

namespace BSE
{

namespace
{

constexpr int g_nDepth = 8;
constexpr unsigned g_nMaxMarker = 0xFFFF;
constexpr std::size_t g_nSmallData = 32 << 10;

// "JFIF", its version, density and the size of a thumbnail (JFIF 1.02); "Adobe" and what follows.
constexpr unsigned g_nJFIFLength = 14;
constexpr unsigned g_nAdobeLength = 12;

bool IsJFIF(const jpeg_marker_struct& marker)
{
  return marker.marker == JPEG_APP0 && marker.data_length >= g_nJFIFLength &&
         std::memcmp(marker.data, "JFIF", 5) == 0;
}

bool IsAdobe(const jpeg_marker_struct& marker)
{
  return marker.marker == JPEG_APP0 + 14 && marker.data_length >= g_nAdobeLength &&
         std::memcmp(marker.data, "Adobe", 5) == 0;
}

// Coefficients of an image, read to the end of the data.
class CCoefficients
{
public:
  explicit CCoefficients(std::span<const unsigned char> data) : m_data(data), m_errors(nullptr)
  {
    m_errors.Attach(m_info);
    m_bCreated = m_errors.Run([this] { jpeg_create_decompress(&m_info); });
    m_progress.m_pOwner = this;
    m_progress.progress_monitor = OnProgress;
    m_info.progress = &m_progress;
  }
  ~CCoefficients() { jpeg_destroy_decompress(&m_info); }
  CCoefficients(const CCoefficients&) = delete;
  CCoefficients& operator=(const CCoefficients&) = delete;

  // False if they cannot be had whole, without a complaint and within the limits.
  bool Read()
  {
    return m_bCreated && m_errors.Run([this] { ReadHeader(); }) && IsSuitable() &&
           m_errors.Run([this] { m_pArrays = jpeg_read_coefficients(&m_info); }) && !m_errors.HasGap() &&
           IsExact();
  }

  jpeg_decompress_struct& GetInfo() { return m_info; }
  jvirt_barray_ptr* GetArrays() { return m_pArrays; }

private:
  struct TProgress : jpeg_progress_mgr
  {
    CCoefficients* m_pOwner;
  };

  // Once for each row of blocks that is read: scans that add nothing would go on without end.
  static void OnProgress(j_common_ptr pInfo)
  {
    CCoefficients& self = *static_cast<TProgress*>(pInfo->progress)->m_pOwner;
    self.m_nWork += GetDCTRowBlocks(self.m_info);
    if (IsOutOfProportion(self.m_nWork, g_nFreeDCTWork, g_nDCTWorkRatio, std::ssize(self.m_data)))
      ERREXIT(pInfo, JERR_IMAGE_TOO_BIG);
  }

  void ReadHeader()
  {
    jpeg_mem_src(&m_info, m_data.data(), static_cast<unsigned long>(m_data.size()));
    jpeg_save_markers(&m_info, JPEG_APP0, g_nMaxMarker);
    jpeg_save_markers(&m_info, JPEG_APP0 + 14, g_nMaxMarker);
    jpeg_read_header(&m_info, TRUE);
  }

  bool IsSuitable() const
  {
    if (m_errors.HasGap() || m_info.arith_code || m_info.data_precision != g_nDepth ||
        (m_info.num_components != 1 && m_info.num_components != 3 && m_info.num_components != 4))
      return false;
    const std::int64_t nMemory = GetDCTCoefficientSize(m_info);
    return nMemory <= g_nMaxRecodedDCT &&
           !IsOutOfProportion(nMemory, g_nFreeDCTMemory, g_nMaxDecodeRatio, std::ssize(m_data));
  }

  // Whether the scans have given every bit of every coefficient. Where some lack, decoders smooth the borders
  // of the blocks, which they would not do once the coefficients are told to be whole.
  bool IsExact() const
  {
    if (!m_info.progressive_mode || !m_info.coef_bits)
      return !m_info.progressive_mode;
    for (int i = 0; i < m_info.num_components; ++i)
      if (std::any_of(m_info.coef_bits[i], m_info.coef_bits[i] + DCTSIZE2, [](int n) { return n != 0; }))
        return false;
    return true;
  }

  std::span<const unsigned char> m_data;
  CDCTErrors m_errors;
  TProgress m_progress = {};
  jpeg_decompress_struct m_info = {};
  jvirt_barray_ptr* m_pArrays = nullptr;
  std::int64_t m_nWork = 0;
  bool m_bCreated = false;
};

// Codes coefficients into a room of a fixed size.
class CCoder
{
public:
  explicit CCoder(std::span<unsigned char> room) : m_room(room), m_errors(nullptr)
  {
    m_errors.Attach(m_info);
    m_bCreated = m_errors.Run([this] { jpeg_create_compress(&m_info); });
    m_target.init_destination = OnStart;
    m_target.empty_output_buffer = OnFull;
    m_target.term_destination = OnStart;
    m_target.next_output_byte = room.data();
    m_target.free_in_buffer = room.size();
    m_info.dest = &m_target;
  }
  ~CCoder() { jpeg_destroy_compress(&m_info); }
  CCoder(const CCoder&) = delete;
  CCoder& operator=(const CCoder&) = delete;

  // The bytes written; 0 if the room is too small, or coding fails.
  std::size_t Write(CCoefficients& source, bool bProgressive)
  {
    const bool bWritten = m_bCreated && m_errors.Run([&] { WriteImage(source, bProgressive); });
    return bWritten && !m_errors.HasGap() ? m_room.size() - m_target.free_in_buffer : 0;
  }

private:
  static void OnStart(j_compress_ptr) {}
  static boolean OnFull(j_compress_ptr pInfo)
  {
    ERREXIT(pInfo, JERR_FILE_WRITE);
    return FALSE;
  }

  void WriteImage(CCoefficients& source, bool bProgressive)
  {
    jpeg_copy_critical_parameters(&source.GetInfo(), &m_info);
    m_info.optimize_coding = TRUE;
    m_info.write_JFIF_header = FALSE;
    m_info.write_Adobe_marker = FALSE;
    if (bProgressive)
      jpeg_simple_progression(&m_info);
    jpeg_write_coefficients(&m_info, source.GetArrays());
    for (const jpeg_marker_struct* p = source.GetInfo().marker_list; p; p = p->next)
      WriteMarker(*p);
    jpeg_finish_compress(&m_info);
  }

  void WriteMarker(const jpeg_marker_struct& marker)
  {
    if (IsAdobe(marker))
      jpeg_write_marker(&m_info, marker.marker, marker.data, marker.data_length);
    if (!IsJFIF(marker))
      return;
    JOCTET header[g_nJFIFLength];
    std::memcpy(header, marker.data, sizeof(header));
    header[g_nJFIFLength - 2] = header[g_nJFIFLength - 1] = 0;
    jpeg_write_marker(&m_info, marker.marker, header, sizeof(header));
  }

  std::span<unsigned char> m_room;
  CDCTErrors m_errors;
  jpeg_destination_mgr m_target = {};
  jpeg_compress_struct m_info = {};
  bool m_bCreated = false;
};

}  // namespace

bool CDCTRecoder::Recode(std::span<const unsigned char> data, std::size_t nLimit,
                         CBasicArray<unsigned char>& result)
{
  result.RemoveAll();
  if (nLimit < 2 || nLimit > static_cast<std::size_t>(g_nMaxRecodedSize))
    return false;
  CCoefficients source(data);
  if (!source.Read())
    return false;
  CBasicArray<unsigned char> room;
  for (const bool bProgressive : {true, false})
  {
    // Only for small images the headers of many scans take more than the scans save.
    if (!bProgressive && !result.IsEmpty() && data.size() > g_nSmallData)
      break;
    room.SetSize(static_cast<int>(result.IsEmpty() ? nLimit - 1 : result.GetSpan().size() - 1));
    CCoder coder(room.GetSpan());
    const std::size_t nSize = coder.Write(source, bProgressive);
    if (nSize == 0)
      continue;
    room.Truncate(static_cast<int>(nSize));
    result = std::move(room);
  }
  return !result.IsEmpty();
}

}  // namespace BSE
