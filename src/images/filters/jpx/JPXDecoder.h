#pragma once

#include "base/ErrorContext.h"
#include "base/ObjectPtr.h"
#include "images/filters/jpx/JPXError.h"

#include <cstdint>
#include <span>

struct opj_image;

namespace BSE
{

// One component of a decoded image. Samples are in rows without padding; null where nothing was decoded.
struct TJPXComponent
{
  const std::int32_t* m_pSamples = nullptr;
  int m_nWidth = 0;
  int m_nHeight = 0;
  // Samples are so many pixels apart on a grid, on which the image begins at this pixel.
  std::uint32_t m_nStepX = 1;
  std::uint32_t m_nStepY = 1;
  std::uint32_t m_nLeft = 0;
  std::uint32_t m_nTop = 0;
  int m_nDepth = 8;
  bool m_bSigned = false;
};

// Rows of an image, from the first to before the end, counted from its top.
struct TJPXBand
{
  int m_nFirst = 0;
  int m_nEnd = 0;
};

// An image, or a band of it, as the codec decodes it: the only place that knows OpenJPEG for decoding.
class CJPXImage
{
public:
  // Decodes a codestream whose cost has been checked. What is missing in the data is reported, once, and the
  // rest decoded; null if there is nothing to deliver.
  static CScopedPtr<CJPXImage> Decode(std::span<const unsigned char> codestream,
                                      IErrorContext* pErrorContext);

  // Decodes the tiles alone that have the rows of a band, which the image then is; null, without a report,
  // where anything is wrong with them.
  static CScopedPtr<CJPXImage> DecodeBand(std::span<const unsigned char> codestream, const TJPXBand& band);

  ~CJPXImage();
  CJPXImage(const CJPXImage&) = delete;
  CJPXImage& operator=(const CJPXImage&) = delete;

  int GetWidth() const;
  int GetHeight() const;
  int GetComponentCount() const;
  TJPXComponent GetComponent(int nIndex) const;

  // Whether something was missing.
  bool HasGap() const { return m_bGap; }

private:
  CJPXImage() = default;
  bool Run(std::span<const unsigned char> codestream, const TJPXBand* pBand, bool bStrict,
           char (&szMessage)[256]);

  opj_image* m_pImage = nullptr;
  bool m_bGap = false;
};

}  // namespace BSE
