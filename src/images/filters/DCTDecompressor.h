#pragma once

#include "base/BufferedInputStream.h"
#include "images/filters/DCTLibrary.h"

namespace BSE
{

// The number of lines of an image whose header leaves it open: a segment after the first scan gives it
// (ISO/IEC 10918-1, B.2.5).
struct TDCTLines
{
  int m_nCount = 0;                // 0: not given
  std::int64_t m_nHeaderPos = -1;  // of the number in the header; -1 for an image that has it there
  bool m_bSought = false;
};

// Reads on from before an image.
TDCTLines FindDCTLines(CBufferedInputStream& input);

// libjpeg's decompressor over an input. What comes before the first marker is skipped with a report, and
// what is missing at the end is replaced by an end of the image. An image of several scans is decoded from
// all of them; where one cannot be read, or they ask for too much work, from those before it.
class CDCTDecompressor
{
public:
  // Borrows the input. The header has the number of lines that is given.
  CDCTDecompressor(CBufferedInputStream& input, IErrorContext* pErrorContext, const TDCTLines& lines = {});
  ~CDCTDecompressor();
  CDCTDecompressor(const CDCTDecompressor&) = delete;
  CDCTDecompressor& operator=(const CDCTDecompressor&) = delete;

  // Reads up to the first scan; false if there is no image, which has been reported.
  bool ReadHeader();

  // True if it is the number of lines that the header lacks, which has not been reported: with another one
  // the image can be read.
  bool LacksLines() const;

  // What the header says; colour spaces may be changed until Start.
  jpeg_decompress_struct& GetInfo() { return m_info; }

  // Goes to the first row. False if the data cannot be decoded, which has been reported.
  bool Start(std::int64_t nEncodedSize);

  // Decodes as many whole rows as have room; fewer at the end of the data.
  int ReadRows(std::span<unsigned char> block, std::size_t nRowSize);

  // True once no more rows come: after the last, and after a failure.
  bool HasEnded() const { return m_bFailed || m_info.output_scanline >= m_info.output_height; }

  bool HasGap() const { return m_errors.HasGap(); }

  // Reads to the end of the image, where the input then is.
  void Finish();

private:
  struct TSource : jpeg_source_mgr
  {
    CDCTDecompressor* m_pOwner;
  };

  static CDCTDecompressor& Get(j_decompress_ptr pInfo)
  {
    return *static_cast<TSource*>(pInfo->src)->m_pOwner;
  }
  static void OnStart(j_decompress_ptr) {}
  static boolean OnFill(j_decompress_ptr pInfo);
  static void OnSkip(j_decompress_ptr pInfo, long nBytes);
  static void OnEnd(j_decompress_ptr) {}

  // Goes after the first marker of an image; false if there is none.
  bool FindStart();

  // The next bytes of the input; at its end, those of an end of the image.
  void Fill();
  std::span<const JOCTET> FillInLines(std::span<const JOCTET> bytes);
  void ReturnUnread();

  void ReadScans();

  CBufferedInputStream& m_input;
  IErrorContext* m_pErrorContext;
  CDCTErrors m_errors;
  TSource m_source = {};
  jpeg_decompress_struct m_info = {};
  TDCTLines m_lines;
  CBasicArray<JOCTET> m_filledIn;  // the buffer that has the number of lines
  std::int64_t m_nStart = 0;       // of the data in the input
  std::int64_t m_nWork = 0;
  bool m_bInput = false;  // the source's bytes are those of the input's buffer
  bool m_bStarted = false;
  bool m_bFailed = false;
  bool m_bComplete = false;  // all scans have been read
};

}  // namespace BSE
