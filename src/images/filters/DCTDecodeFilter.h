#pragma once

#include "base/DecodeFilter.h"
#include "images/filters/DCTParameters.h"

namespace BSE
{

class CDCTDecompressor;

// Decodes JPEG images (ISO/IEC 10918-1, baseline, extended and progressive with 8 bits) to rows of one byte a
// component. The header is read when the filter is made. What libjpeg has to say is reported as CDCTError;
// of data that is damaged or cut, the rows up to where it cannot be decoded any more are delivered, and
// those that are missing at its end are gray. Delivers whole rows only, nothing where there is no room for
// one.
//
// Three components are RGB or YCbCr and come as RGB; four are CMYK or YCCK and come as CMYK, as they are in
// the data: whether 0 is full or no ink is not for the filter to say.
class CDCTDecodeFilter final : public CBufferedDecodeFilter
{
public:
  // nColorTransform is read of the parameters, and nHeight for data that does not give it.
  explicit CDCTDecodeFilter(IByteStream* pSource, const CDCTParameters& parameters = {},
                            IErrorContext* pErrorContext = nullptr);
  ~CDCTDecodeFilter() override;

  // False if there is no image, which has been reported.
  bool IsValid() const override { return m_nRowSize > 0 && CDecodeFilter::IsValid(); }

  // With the size, colour space, resolution and orientation of the image.
  const CDCTParameters& GetParameters() const { return m_parameters; }

  // Whether readers differ on the colours: the components are named RGB and no marker says what they are, or
  // an Adobe marker says RGB beside a JFIF header.
  bool IsAmbiguous() const { return m_bAmbiguous; }

  // Bytes of a pixel.
  int GetComponents() const { return m_nComponents; }

  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;

  // A multiple of the size of a row, for readers that ask in blocks.
  int GetBlockSize() const override;

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  bool RewindSource() override;

  // That of the image, as far as it is in proportion to the data.
  std::int64_t GetSizeLimit() const override;

private:
  void Open();
  bool OpenWithLines();
  bool SetColorSpace();
  void ReadMarkers();
  void End();
  std::int64_t GetEncodedSize() const;

  CDCTParameters m_parameters;
  int m_nColorTransform;
  bool m_bAmbiguous = false;
  int m_nLines;
  CScopedPtr<CDCTDecompressor> m_pDecompressor;  // null once the data has ended
  std::int64_t m_nRowSize = 0;
  int m_nComponents = 0;
  bool m_bStarted = false;
};

}  // namespace BSE
