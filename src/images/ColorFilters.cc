#include "images/ColorFilters.h"

#include "images/SampleRows.h"
#include "images/StatusCodes.h"
#include "images/color/StatusCodes.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

std::int64_t CPixelFilter::FetchRow()
{
  m_row = ReadSourceRow();
  return CountPixels(m_row) * m_nBytes;
}

bool CConvertTo8BPCFilter::MakeRow(std::span<unsigned char> row)
{
  UnpackSamples(m_row, m_format.nBitsPerComponent, true, row);
  return true;
}

bool CConvertColorFilter::MakeRow(std::span<unsigned char> row)
{
  const int nPixels = CountResult(row);
  std::span<const unsigned char> samples = m_row;
  if (m_format.nBitsPerComponent != 8)
  {
    const int nSamples = nPixels * m_format.GetComponents();
    if (m_samples.GetSize() < nSamples)
      m_samples.SetSize(nSamples);
    const auto unpacked = m_samples.GetSpan().first(static_cast<std::size_t>(nSamples));
    UnpackSamples(m_row, m_format.nBitsPerComponent, !m_format.pColorSpace->GetIndexed(), unpacked);
    samples = unpacked;
  }
  const bool bConverted = m_format.pColorSpace->ConvertRow(m_target, samples, row, nPixels);
  m_bGap = m_bGap || m_format.pColorSpace->IsGuessed();
  if (bConverted)
    return true;
  BSE::ReportLoss(m_pErrorContext, g_nInvalidColorSpace);
  return false;
}

namespace
{

int GetBaseComponents(const CSampleFormat& format, bool bGrayOnly)
{
  const DOC::IIndexedColorSpace* pIndexed = format.pColorSpace ? format.pColorSpace->GetIndexed() : nullptr;
  return !pIndexed ? 0 : bGrayOnly ? 1 : pIndexed->GetBase().GetComponentCount();
}

}  // namespace

CConvertToBaseCSFilter::CConvertToBaseCSFilter(BSE::IByteStream* pSource, const CSampleFormat& format,
                                               bool bGrayOnly, BSE::IErrorContext* pErrorContext)
    : CPixelFilter(pSource, format, GetBaseComponents(format, bGrayOnly), pErrorContext),
      m_bGrayOnly(bGrayOnly)
{
}

bool CConvertToBaseCSFilter::MakeRow(std::span<unsigned char> row)
{
  const int nPixels = CountResult(row);
  if (m_indices.GetSize() < nPixels)
    m_indices.SetSize(nPixels);
  const auto indices = m_indices.GetSpan().first(static_cast<std::size_t>(nPixels));
  UnpackSamples(m_row, m_format.nBitsPerComponent, false, indices);
  const DOC::IIndexedColorSpace& space = *m_format.pColorSpace->GetIndexed();
  const unsigned char* pTable = space.GetTable().data();
  const int nHigh = space.GetHighIndex();
  const auto nStep = static_cast<std::size_t>(space.GetBase().GetComponentCount());
  const std::size_t nCopied = m_bGrayOnly ? 1 : nStep;
  unsigned char* pResult = row.data();
  for (const unsigned char nIndex : indices)
  {
    std::memcpy(pResult, pTable + static_cast<std::size_t>(std::min<int>(nIndex, nHigh)) * nStep, nCopied);
    pResult += nCopied;
  }
  return true;
}

CUnmatteFilter::CUnmatteFilter(BSE::IByteStream* pSource, const CSampleFormat& format,
                               BSE::IByteStream* pMask, std::span<const unsigned char> matte,
                               BSE::IErrorContext* pErrorContext)
    : CPixelFilter(
          pSource, format,
          pMask && format.nBitsPerComponent == 8 && static_cast<int>(matte.size()) == format.GetComponents()
              ? format.GetComponents()
              : 0,
          pErrorContext),
      m_pMask(pMask)
{
  m_matte.Append(matte);
}

std::int64_t CUnmatteFilter::FetchRow()
{
  const std::int64_t nSize = CPixelFilter::FetchRow();
  const int nPixels = static_cast<int>(CountPixels(m_row));
  if (nPixels == 0)
    return 0;
  if (m_mask.GetSize() < nPixels)
    m_mask.SetSize(nPixels);
  const std::int64_t nRead = m_pMask->ReadFully(m_mask.GetData(), nPixels);
  if (nRead == nPixels)
    return nSize;
  // Colours cannot be computed without it.
  m_bGap = true;
  BSE::ReportLoss(m_pErrorContext,
                  BSE::MakeError(g_nSampleLength, "l1", std::int64_t{m_format.nWidth} * m_format.nHeight,
                                 "l2", std::int64_t{m_format.nWidth} * (m_nSourceRow - 1) + nRead));
  return nRead * m_format.GetComponents();
}

bool CUnmatteFilter::MakeRow(std::span<unsigned char> row)
{
  const int nComponents = m_format.GetComponents();
  const int nPixels = CountResult(row);
  const unsigned char* pSource = m_row.data();
  unsigned char* pResult = row.data();
  for (int i = 0; i < nPixels; ++i)
  {
    const int nAlpha = m_mask[i];
    for (int k = 0; k < nComponents; ++k)
    {
      const int nMatte = m_matte[k];
      const int nColor = nAlpha == 0 ? 255 : (*pSource - nMatte) * 255 / nAlpha + nMatte;
      *pResult++ = static_cast<unsigned char>(std::clamp(nColor, 0, 255));
      ++pSource;
    }
  }
  return true;
}

bool CUnmatteFilter::RewindSource()
{
  return CPixelFilter::RewindSource() && m_pMask && m_pMask->Rewind();
}

namespace
{

int CountKept(const CSampleFormat& format, std::span<const unsigned char> kept)
{
  if (format.nBitsPerComponent != 8 || static_cast<int>(kept.size()) != format.GetComponents())
    return 0;
  return static_cast<int>(std::count_if(kept.begin(), kept.end(), [](unsigned char n) { return n != 0; }));
}

}  // namespace

CChannelFilter::CChannelFilter(BSE::IByteStream* pSource, const CSampleFormat& format,
                               std::span<const unsigned char> kept, BSE::IErrorContext* pErrorContext)
    : CPixelFilter(pSource, format, CountKept(format, kept), pErrorContext)
{
  for (std::size_t i = 0; i < kept.size(); ++i)
  {
    if (kept[i])
      m_kept.Add(static_cast<int>(i));
  }
}

bool CChannelFilter::MakeRow(std::span<unsigned char> row)
{
  const int nComponents = m_format.GetComponents();
  const int nPixels = CountResult(row);
  const unsigned char* pSource = m_row.data();
  unsigned char* pResult = row.data();
  for (int i = 0; i < nPixels; ++i, pSource += nComponents)
  {
    for (const int nKept : m_kept.GetSpan())
      *pResult++ = pSource[nKept];
  }
  return true;
}

CColorKeyFilter::CColorKeyFilter(BSE::IByteStream* pSource, const CSampleFormat& format,
                                 std::span<const TKeyRange> ranges, BSE::IErrorContext* pErrorContext)
    : CPixelFilter(pSource, format, static_cast<int>(ranges.size()) == format.GetComponents() ? 1 : 0,
                   pErrorContext)
{
  m_ranges.Append(ranges);
}

bool CColorKeyFilter::MakeRow(std::span<unsigned char> row)
{
  const int nSamples = static_cast<int>(row.size()) * m_format.GetComponents();
  if (m_samples.GetSize() < nSamples)
    m_samples.SetSize(nSamples);
  UnpackSamples(m_row, m_format.nBitsPerComponent,
                m_samples.GetSpan().first(static_cast<std::size_t>(nSamples)));
  const std::uint16_t* pSample = m_samples.GetData();
  for (unsigned char& nMask : row)
  {
    bool bInside = true;
    for (const TKeyRange& range : m_ranges.GetSpan())
    {
      bInside = bInside && *pSample >= range.m_nLow && *pSample <= range.m_nHigh;
      ++pSample;
    }
    nMask = bInside ? 255 : 0;
  }
  return true;
}

}  // namespace PDF
