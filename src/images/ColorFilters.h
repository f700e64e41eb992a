#pragma once

#include "images/SampleFilter.h"

namespace PDF
{

// The filters of pixels: one row of the result for each row of the source.
class CPixelFilter : public CSampleFilter
{
protected:
  // nBytes: of a pixel of the result.
  CPixelFilter(BSE::IByteStream* pSource, const CSampleFormat& format, int nBytes,
               BSE::IErrorContext* pErrorContext)
      : CSampleFilter(pSource, format, pErrorContext), m_nBytes(nBytes)
  {
    SetResult(std::int64_t{nBytes} * format.nWidth, format.nHeight);
  }
  std::int64_t FetchRow() override;

  // Pixels in that many bytes of the result.
  int CountResult(std::span<const unsigned char> row) const
  {
    return static_cast<int>(row.size()) / m_nBytes;
  }

  std::span<const unsigned char> m_row;  // of the source

private:
  int m_nBytes;
};

// To 8 bits: fewer are scaled to 0 to 255 and truncated, of 16 the high byte is kept.
class CConvertTo8BPCFilter final : public CPixelFilter
{
public:
  CConvertTo8BPCFilter(BSE::IByteStream* pSource, const CSampleFormat& format,
                       BSE::IErrorContext* pErrorContext = nullptr)
      : CPixelFilter(pSource, format, format.GetComponents(), pErrorContext)
  {
  }

protected:
  bool MakeRow(std::span<unsigned char> row) override;
};

// To gray, RGB or CMYK by the colour space of the format. IColorSpace::Prepare comes before.
class CConvertColorFilter final : public CPixelFilter
{
public:
  CConvertColorFilter(BSE::IByteStream* pSource, const CSampleFormat& format, DOC::TTarget target,
                      BSE::IErrorContext* pErrorContext = nullptr)
      : CPixelFilter(pSource, format, DOC::GetTargetComponents(target), pErrorContext), m_target(target)
  {
  }

protected:
  bool MakeRow(std::span<unsigned char> row) override;

private:
  DOC::TTarget m_target;
  BSE::CBasicArray<unsigned char> m_samples;
};

// Indices of an indexed space to the bytes of its table; with bGrayOnly to the first component of each entry.
// Indices above the highest one are taken for it.
class CConvertToBaseCSFilter final : public CPixelFilter
{
public:
  CConvertToBaseCSFilter(BSE::IByteStream* pSource, const CSampleFormat& format, bool bGrayOnly,
                         BSE::IErrorContext* pErrorContext = nullptr);

protected:
  bool MakeRow(std::span<unsigned char> row) override;

private:
  BSE::CBasicArray<unsigned char> m_indices;
  bool m_bGrayOnly;
};

// Takes the colour out that samples of 8 bits have been blended with, by the samples of a soft mask of the
// same size and 8 bits (ISO 32000-1, 11.6.5.3). What the mask hides altogether becomes 255.
class CUnmatteFilter final : public CPixelFilter
{
public:
  // The matte as bytes, one for each component. A mask that ends too early counts as a source that does.
  CUnmatteFilter(BSE::IByteStream* pSource, const CSampleFormat& format, BSE::IByteStream* pMask,
                 std::span<const unsigned char> matte, BSE::IErrorContext* pErrorContext = nullptr);

protected:
  std::int64_t FetchRow() override;
  bool MakeRow(std::span<unsigned char> row) override;
  bool RewindSource() override;

private:
  BSE::CObjectPtr<BSE::IByteStream> m_pMask;
  BSE::CBasicArray<unsigned char> m_matte;
  BSE::CBasicArray<unsigned char> m_mask;
};

// A subset of the components of 8 bits.
class CChannelFilter final : public CPixelFilter
{
public:
  // One byte for each component, not 0 for those that are kept.
  CChannelFilter(BSE::IByteStream* pSource, const CSampleFormat& format, std::span<const unsigned char> kept,
                 BSE::IErrorContext* pErrorContext = nullptr);

protected:
  bool MakeRow(std::span<unsigned char> row) override;

private:
  BSE::CBasicArray<int> m_kept;
};

// Lowest and highest sample of a component, both included.
struct TKeyRange
{
  int m_nLow = 0;
  int m_nHigh = 0;
};

// From samples of any depth one byte a pixel: 255 where all components are in their ranges, else 0.
class CColorKeyFilter final : public CPixelFilter
{
public:
  CColorKeyFilter(BSE::IByteStream* pSource, const CSampleFormat& format, std::span<const TKeyRange> ranges,
                  BSE::IErrorContext* pErrorContext = nullptr);

protected:
  bool MakeRow(std::span<unsigned char> row) override;

private:
  BSE::CBasicArray<TKeyRange> m_ranges;
  BSE::CBasicArray<std::uint16_t> m_samples;
};

}  // namespace PDF
