#pragma once

#include "base/BasicArray.h"
#include "base/Stream.h"

#include <cstdint>
#include <span>

namespace PDF
{

// Values of PhotometricInterpretation (TIFF 6.0).
enum TTiffColor
{
  eTiffGray = 1,  // 0 is black
  eTiffRGB = 2,
  eTiffPalette = 3,
  eTiffInks = 5,  // cyan, magenta, yellow, black; 0 is no ink
  eTiffLab = 8    // a* and b* signed
};

// What a TIFF file says of its picture.
struct TTiffForm
{
  int m_nWidth = 0;
  int m_nComponents = 1;
  int m_nBits = 8;  // 1, 2, 4 or 8 with one component, 8 or 16
  TTiffColor m_color = eTiffGray;
  double m_dResolutionX = 0;  // dots per inch; 0 for unknown
  double m_dResolutionY = 0;
  double m_dWhiteX = 0;  // chromaticity of the white of eTiffLab; 0 for unknown
  double m_dWhiteY = 0;
  BSE::CBasicArray<std::uint16_t> m_palette;  // all reds, greens, blues; 3 << m_nBits of them
  BSE::CBasicArray<unsigned char> m_profile;  // ICC; empty for none
};

// Writes one picture as a TIFF file with one directory and strips of Flate (compression 8), which all present
// readers know. Numbers are in the byte order that the samples of 16 bits have in PDF. Memory for one strip's
// encoder, and eight bytes for each quarter of a MiB.
class CTiffWriter
{
public:
  // Borrows the sink, which has to be seekable and at its start.
  explicit CTiffWriter(BSE::IByteStream& sink) : m_sink(sink) {}
  CTiffWriter(const CTiffWriter&) = delete;
  CTiffWriter& operator=(const CTiffWriter&) = delete;

  bool Begin(const TTiffForm& form);
  std::int64_t GetRowSize() const;

  // The next rows, from the top, each of GetRowSize bytes: GetStripRows of them, but for the last time. False
  // if they cannot be written.
  bool AddStrip(std::span<const unsigned char> rows);
  int GetStripRows() const { return m_nStripRows; }
  int GetRowCount() const { return m_nRows; }

  // The directory. False for a picture without rows, one that takes more than the 4 GiB of the format, and
  // one that cannot be written.
  bool Finish();

private:
  class CDirectory;

  void FillDirectory(CDirectory& directory) const;

  BSE::IByteStream& m_sink;
  TTiffForm m_form;
  BSE::CBasicArray<std::uint32_t> m_offsets;
  BSE::CBasicArray<std::uint32_t> m_lengths;
  int m_nStripRows = 1;
  int m_nRows = 0;
};

}  // namespace PDF
