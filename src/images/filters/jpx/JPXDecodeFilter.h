#pragma once

#include "base/DecodeFilter.h"
#include "images/filters/jpx/JPXDecoder.h"
#include "images/filters/jpx/JPXParameters.h"

namespace BSE
{

class CJPXPicture;
struct TJPXHeader;
struct TJPXSize;

// Decodes JPEG 2000 images, bare codestreams and those in JP2 and JPX files, to rows of one byte a sample or
// index. The data is read and its header looked at when the filter is made, and decoded with the first read:
// a large image in tiles in bands of them, others, and what is damaged, as a whole. Other depths are scaled
// to 8 bits, sub-sampled components are repeated, YCC is converted to RGB, and channels of opacity are left
// out. What is damaged is reported as CJPXError, and what can be saved of it delivered. Delivers whole rows
// only, nothing where there is no room for one.
class CJPXDecodeFilter final : public CBufferedDecodeFilter
{
public:
  // nChannels and bIndices are read of the parameters.
  explicit CJPXDecodeFilter(IByteStream* pSource, const CJPXParameters& parameters = {},
                            IErrorContext* pErrorContext = nullptr);
  ~CJPXDecodeFilter() override;

  // False if there is no image, or one whose size is out of proportion, which has been reported.
  bool IsValid() const override { return m_nRowSize > 0 && CDecodeFilter::IsValid(); }

  // With the size, colours, palette and resolution of the image. For one with a palette, nChannels counts the
  // columns of that.
  const CJPXParameters& GetParameters() const { return m_parameters; }

  // Bytes of a pixel: 1 for an image with a palette.
  int GetSampleCount() const;

  // Whether readers may show other colours of the data: see CJPXPicture.
  bool IsAmbiguous() const;

  // Whether the data has a channel of opacity.
  bool HasOpacity() const;

  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;

  // A multiple of the size of a row, for readers that ask in blocks.
  int GetBlockSize() const override;

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override { m_nRow = 0; }

  // All of the source is in memory.
  bool RewindSource() override { return m_nRowSize > 0; }
  void ReturnUnread() override {}
  std::int64_t GetSizeLimit() const override { return m_nRowSize * m_parameters.nHeight; }

private:
  bool Open();
  void ChooseBands(const TJPXSize& size);

  // Makes the band current that has the next row.
  void DecodeBand();
  void DecodeWhole();
  bool HasSize(int nHeight) const;

  CJPXParameters m_parameters;
  CBasicArray<unsigned char> m_data;  // released once it is decoded as a whole
  CScopedPtr<TJPXHeader> m_pHeader;
  CScopedPtr<CJPXPicture> m_pPicture;
  CScopedPtr<CJPXImage> m_pImage;
  std::int64_t m_nRowSize = 0;
  int m_nFirstBandEnd = 0;  // rows; 0 for an image that is decoded as a whole
  int m_nBandHeight = 0;    // of all bands but the first
  TJPXBand m_band;          // that is decoded
  bool m_bDamaged = false;
  int m_nRow = 0;  // delivered
};

}  // namespace BSE
