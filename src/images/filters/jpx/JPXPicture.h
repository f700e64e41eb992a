#pragma once

#include "images/filters/jpx/JPXBoxes.h"
#include "images/filters/jpx/JPXDecoder.h"

namespace BSE
{

// The channels of colour of an image, from its boxes and from what its reader expects; and rows of 8 bits a
// sample made of a decoded image by them.
class CJPXPicture
{
public:
  // nWanted is the number of channels of the reader's colour space, 0 if it has none; with bIndices samples
  // are not scaled. Opacity is left out. Damaged boxes that would count are reported.
  CJPXPicture(const TJPXHeader& header, int nComponents, int nWanted, bool bIndices,
              IErrorContext* pErrorContext);

  // Of the rows; YCC is delivered as RGB.
  int GetColorSpace() const { return m_nColorSpace; }

  // Samples of a pixel.
  int GetChannelCount() const { return m_channels.GetSize(); }

  // The colours of an image of indices, GetPaletteColumns bytes each; empty for one of samples.
  std::span<const unsigned char> GetPalette() const { return m_palette.GetSpan(); }
  int GetPaletteColumns() const { return m_nPaletteColumns; }

  // Whether there is a channel of opacity, which is not delivered.
  bool HasOpacity() const { return m_bOpacity; }

  // Whether the channels of colour are others than the colour space has, so that some are left out or taken
  // for something else, or the colours are those of a profile that no colour space stands for.
  bool IsAmbiguous() const { return m_bAmbiguous; }

  // Writes a row of samples, one after the other for each pixel.
  void WriteRow(const CJPXImage& image, int y, std::span<unsigned char> row) const;

private:
  void AddChannels(int nComponents);
  void ApplyDefinitions();
  void LimitChannels(int nWanted);
  void ChooseColorSpace(int nComponents);

  // Delivers indices where one component and the palette give all channels.
  bool UsePalette();

  void Report(TJPXStatus status) { ReportError(m_pErrorContext, CScopedPtr<IError>(new CJPXError(status))); }

  const TJPXHeader& m_header;
  IErrorContext* m_pErrorContext;
  bool m_bIndices;
  bool m_bOpacity = false;
  bool m_bAmbiguous = false;
  bool m_bConvert = false;  // YCC to RGB
  int m_nColorSpace = eJPXNone;
  CBasicArray<TJPXChannel> m_channels;
  CBasicArray<unsigned char> m_palette;
  int m_nPaletteColumns = 0;
};

}  // namespace BSE
