#pragma once

#include "base/MemoryStream.h"
#include "engine/Compression.h"
#include "engine/Deflater.h"
#include "engine/FlateImageEncoder.h"
#include "engine/OptimizerOptions.h"
#include "images/filters/DCTRecoder.h"
#include "pdf/Object.h"

namespace PDF
{

// The samples of a whole image in memory: rows from the top, each padded to a byte.
struct TImageSamples
{
  BSE::CObjectPtr<BSE::CMemoryStream> m_pData;
  int m_nWidth = 0;
  int m_nHeight = 0;
  int m_nComponents = 0;
  int m_nBits = 0;
  double m_dResolutionX = 0;  // dots per inch; 0 for unknown
  double m_dResolutionY = 0;
  bool m_bFullChroma = false;  // whether JPEG is to keep as many samples of chrominance as of luminance
};

// An image encoded in one way.
struct TEncodedImage
{
  bool IsFilled() const { return m_nFlag != 0; }

  // Gives an image object this encoding. Its other entries are those of the samples already.
  void Apply(CObject& image) const;

  unsigned m_nFlag = 0;             // TCompressionFlag; 0 for nothing
  const char* m_szOuter = nullptr;  // a filter around the other one
  const char* m_szFilter = nullptr;
  CObjectPtr m_parameters;  // of m_szFilter; may be null
  BSE::CBasicArray<unsigned char> m_data;

  // Another form of the same colours that the data has; null for the form of the samples.
  CObjectPtr m_space;
  int m_nBits = 0;
};

// Encodes images in every way that options can name but mixed raster content.
class CImageEncoder
{
public:
  // Borrowed.
  explicit CImageEncoder(const TOptimizerOptions& options)
      : m_options(options), m_deflater(options.m_nEffort), m_flate(options.m_nEffort)
  {
  }

  // One TCompressionFlag. The image object says what the encoders have to know, and has the context of their
  // reports. With bReduce the form of the samples may become another one. False where there is no such way
  // for the image, which is traced, or it is not shorter than the limit, as far as that shows on the way.
  bool Encode(unsigned nFlag, CObject& image, const TImageSamples& samples, bool bReduce, std::int64_t nLimit,
              TEncodedImage& result);

private:
  enum class TResult
  {
    Failed,
    TooLong,
    Done
  };
  TResult EncodeFlate(CObject& image, const TImageSamples& samples, bool bReduce, std::int64_t nLimit,
                      TEncodedImage& result);
  void SetFlate(const TSampleForm& form, TEncodedImage& result) const;
  bool EncodeDCT(CObject& image, const TImageSamples& samples, TEncodedImage& result);
  bool EncodeFax(CObject& image, int nK, const TImageSamples& samples, TEncodedImage& result);
  bool RunFilter(const char* szFilter, CObject& image, const CObjectPtr& parameters,
                 const TImageSamples& samples, TEncodedImage& result) const;

  const TOptimizerOptions& m_options;
  CDeflater m_deflater;
  CFlateImageEncoder m_flate;
  CSamples m_samples;
  CByteBuffer m_plain;
  CByteBuffer m_deflated;
  BSE::CDCTRecoder m_recoder;
};

}  // namespace PDF
