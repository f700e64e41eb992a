#pragma once

#include "base/ErrorContext.h"
#include "images/filters/jpx/JPXError.h"
#include "images/filters/jpx/JPXParameters.h"

#include <cstdint>

namespace BSE
{

// The boxes of a JP2 or JPX file (ISO/IEC 15444-1, Annex I, and 15444-2, Annex M). A box is a length of 4
// bytes, which counts itself, a type of 4 bytes, and contents; with length 1 the length follows in 8 bytes,
// with length 0 the box reaches to the end of the file. Those that matter:
//
//   jp2h  ihdr  size, channels, depth
//         colr  colour space: a number, or an ICC profile
//         pclr  palette
//         cmap  which component, and which column of the palette, makes a channel
//         cdef  which channel is which colour, or opacity
//         res   resc, resd: resolution
//   jp2c        the codestream
inline constexpr std::uint32_t MakeJPXType(const char (&type)[5])
{
  std::uint32_t nType = 0;
  for (int i = 0; i < 4; ++i)
    nType = nType << 8 | static_cast<unsigned char>(type[i]);
  return nType;
}

// Numbers of colour spaces in a colr box.
enum TJPXEnumerated
{
  eJPXEnumYCbCr1 = 1,
  eJPXEnumYCbCr2 = 3,
  eJPXEnumYCbCr3 = 4,
  eJPXEnumCMYK = 12,
  eJPXEnumLab = 14,
  eJPXEnumBilevel = 15,
  eJPXEnumSRGB = 16,
  eJPXEnumGray = 17,
  eJPXEnumSYCC = 18,
  eJPXEnumESRGB = 20,
  eJPXEnumROMM = 21,
  eJPXEnumESYCC = 24
};

// Where a channel comes from.
struct TJPXChannel
{
  int m_nComponent;
  int m_nColumn;  // of the palette; -1 for samples of the component itself
};

// What a channel is for.
struct TJPXDefinition
{
  static constexpr int g_nColor = 0;
  static constexpr int g_nOpacity = 1;
  static constexpr int g_nPremultiplied = 2;

  int m_nChannel;
  int m_nType;
  int m_nColor;  // 1 for the first colour; 0 for the whole image
};

struct TJPXPalette
{
  CBasicArray<unsigned char> m_bytes;  // row by row, one byte for each column
  int m_nRows = 0;
  int m_nColumns = 0;
};

struct TJPXHeader
{
  std::span<const unsigned char> m_codestream;  // of the data that was read
  int m_nColorSpace = eJPXNone;
  bool m_bProfile = false;  // the colour space is one by a profile
  double m_labRange[4] = {-100, 100, -100, 100};
  TJPXPalette m_palette;
  bool m_bPaletteDamaged = false;       // there is one that cannot be read
  CBasicArray<TJPXChannel> m_channels;  // empty if each component is a channel
  CBasicArray<TJPXDefinition> m_definitions;
  double m_dResolutionX = 0;
  double m_dResolutionY = 0;
};

// Reads the boxes of a file, or a bare codestream; a damaged box does not count. False if there is no
// codestream, which is reported. The data must outlive the header.
bool ReadJPXHeader(std::span<const unsigned char> data, TJPXHeader& header, IErrorContext* pErrorContext);

// The boxes of an image, with its codestream.
void WriteJPXFile(const CJPXParameters& parameters, std::span<const unsigned char> codestream,
                  CBasicArray<unsigned char>& file);

}  // namespace BSE
