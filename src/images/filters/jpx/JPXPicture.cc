#include "images/filters/jpx/JPXPicture.h"

#include "base/Tracer.h"

#include <algorithm>

namespace BSE
{

namespace
{

// The sample for a pixel, as the grid has it: the one at or before it.
std::int64_t GetSampleIndex(std::int64_t nPixel, std::uint32_t nStart, std::uint32_t nStep, int nCount)
{
  const std::int64_t nFirst = (std::int64_t{nStart} + nStep - 1) / nStep;
  return std::clamp<std::int64_t>((nStart + nPixel) / nStep - nFirst, 0, nCount - 1);
}

unsigned char ClampSample(std::int64_t nValue)
{
  return static_cast<unsigned char>(std::clamp<std::int64_t>(nValue, 0, 255));
}

// To 8 bits.
unsigned char ScaleSample(std::int64_t nValue, int nDepth)
{
  if (nDepth > 8)
    return ClampSample(nValue >> (nDepth - 8));
  return ClampSample(nDepth == 8 ? nValue : nValue * 255 / ((1 << nDepth) - 1));
}

// ITU-R BT.601 with the full range, in fractions of 2 to the 16.
void ConvertYCC(unsigned char* pPixel)
{
  const int nLuma = pPixel[0] << 16 | 0x8000;
  const int nBlue = pPixel[1] - 128;
  const int nRed = pPixel[2] - 128;
  pPixel[0] = ClampSample((nLuma + 91881 * nRed) >> 16);
  pPixel[1] = ClampSample((nLuma - 22554 * nBlue - 46802 * nRed) >> 16);
  pPixel[2] = ClampSample((nLuma + 116130 * nBlue) >> 16);
}

void ConvertRow(std::span<unsigned char> row)
{
  for (std::size_t i = 0; i + 3 <= row.size(); i += 3)
    ConvertYCC(row.data() + i);
}

}  // namespace

CJPXPicture::CJPXPicture(const TJPXHeader& header, int nComponents, int nWanted, bool bIndices,
                         IErrorContext* pErrorContext)
    : m_header(header), m_pErrorContext(pErrorContext), m_bIndices(bIndices)
{
  if (bIndices)
  {
    m_channels.Add({0, -1});
    m_bAmbiguous = nComponents != 1;
    return;
  }
  AddChannels(nComponents);
  ApplyDefinitions();
  m_nColorSpace = header.m_nColorSpace;
  const int nColors = nWanted > 0 ? nWanted : GetJPXColorCount(m_nColorSpace);
  m_bAmbiguous = (nColors > 0 && nColors != m_channels.GetSize()) || (nWanted == 0 && header.m_bProfile);
  LimitChannels(nWanted);
  m_bConvert = m_nColorSpace == eJPXYCC;
  if (m_bConvert)
    m_nColorSpace = eJPXRGB;
  if (nWanted == 0 && UsePalette() && std::exchange(m_bConvert, false))
    ConvertRow(m_palette.GetSpan());
}

void CJPXPicture::AddChannels(int nComponents)
{
  const int nColumns = m_header.m_palette.m_nColumns;
  if (m_header.m_bPaletteDamaged)
    Report(eJPXInvalidPalette);
  bool bValid = true;
  for (const TJPXChannel& channel : m_header.m_channels.GetSpan())
  {
    bValid = bValid && channel.m_nComponent < nComponents && channel.m_nColumn < nColumns;
    m_channels.Add(channel);
  }
  if (!bValid)
  {
    Report(eJPXInvalidMapping);
    m_channels.RemoveAll();
  }
  // Without a mapping a palette gives all channels, and else each component is one.
  for (int i = 0; m_channels.IsEmpty() && i < nColumns; ++i)
    m_channels.Add({0, i});
  if (m_channels.IsEmpty())
  {
    for (int i = 0; i < nComponents; ++i)
      m_channels.Add({i, -1});
  }
}

void CJPXPicture::ApplyDefinitions()
{
  CBasicArray<TJPXChannel> colors;
  CBasicArray<int> order;
  for (int i = 0; i < m_channels.GetSize(); ++i)
  {
    TJPXDefinition definition{i, TJPXDefinition::g_nColor, i + 1};
    for (const TJPXDefinition& told : m_header.m_definitions.GetSpan())
    {
      if (told.m_nChannel == i)
        definition = told;
    }
    if (definition.m_nType == TJPXDefinition::g_nOpacity ||
        definition.m_nType == TJPXDefinition::g_nPremultiplied)
    {
      m_bOpacity = true;
      continue;
    }
    int nPlace = 0;
    while (nPlace < order.GetSize() && order[nPlace] <= definition.m_nColor)
      ++nPlace;
    order.InsertAt(nPlace, definition.m_nColor);
    colors.InsertAt(nPlace, m_channels[i]);
  }
  if (m_bOpacity && CTracer::IsOn())
    CTracer::Trace("W", "JPX Filter", "JPEG2000 opacity channels not supported.");
  if (colors.IsEmpty())
    Report(eJPXInvalidChannels);
  else
    m_channels = std::move(colors);
}

void CJPXPicture::LimitChannels(int nWanted)
{
  if (GetJPXColorCount(m_nColorSpace) > m_channels.GetSize())
    m_nColorSpace = eJPXNone;
  const int nColors = nWanted > 0 ? nWanted : GetJPXColorCount(m_nColorSpace);
  if (nColors > 0 && m_channels.GetSize() > nColors)
    m_channels.SetSize(nColors);
  if (m_nColorSpace != eJPXNone && m_channels.GetSize() == GetJPXColorCount(m_nColorSpace))
    return;
  constexpr int spaces[] = {eJPXNone, eJPXGray, eJPXNone, eJPXRGB, eJPXCMYK};
  const int nCount = m_channels.GetSize();
  m_nColorSpace = nCount < static_cast<int>(std::size(spaces)) ? spaces[nCount] : int{eJPXNone};
}

bool CJPXPicture::UsePalette()
{
  constexpr int nMaxRows = 256;
  const TJPXPalette& palette = m_header.m_palette;
  const int nComponent = m_channels[0].m_nComponent;
  for (const TJPXChannel& channel : m_channels.GetSpan())
  {
    if (channel.m_nColumn < 0 || channel.m_nComponent != nComponent || palette.m_nRows > nMaxRows)
      return false;
  }
  for (int i = 0; i < palette.m_nRows; ++i)
  {
    for (const TJPXChannel& channel : m_channels.GetSpan())
      m_palette.Add(palette.m_bytes[i * palette.m_nColumns + channel.m_nColumn]);
  }
  m_nPaletteColumns = m_channels.GetSize();
  m_channels.SetSize(1);
  m_channels.SetAt(0, {nComponent, -1});
  m_bIndices = true;
  return true;
}

void CJPXPicture::WriteRow(const CJPXImage& image, int y, std::span<unsigned char> row) const
{
  const TJPXPalette& palette = m_header.m_palette;
  const auto nStride = static_cast<std::size_t>(m_channels.GetSize());
  std::size_t nPlace = 0;
  for (const TJPXChannel& channel : m_channels.GetSpan())
  {
    const TJPXComponent component = image.GetComponent(channel.m_nComponent);
    unsigned char* pOut = row.data() + nPlace++;
    const unsigned char* const pEnd = row.data() + row.size();
    const std::int32_t* pSamples = component.m_pSamples;
    if (!pSamples || component.m_nWidth <= 0 || component.m_nHeight <= 0)
    {
      for (; pOut < pEnd; pOut += nStride)
        *pOut = 0;
      continue;
    }
    pSamples +=
        GetSampleIndex(y, component.m_nTop, component.m_nStepY, component.m_nHeight) * component.m_nWidth;
    const std::int64_t nOffset = component.m_bSigned ? std::int64_t{1} << (component.m_nDepth - 1) : 0;
    const auto convert = [&](std::int64_t nValue)
    {
      nValue += nOffset;
      if (channel.m_nColumn < 0)
        return m_bIndices ? ClampSample(nValue) : ScaleSample(nValue, component.m_nDepth);
      const auto nIndex = std::clamp<std::int64_t>(nValue, 0, palette.m_nRows - 1);
      return palette.m_bytes[static_cast<int>(nIndex) * palette.m_nColumns + channel.m_nColumn];
    };
    for (std::int64_t x = 0; pOut < pEnd; pOut += nStride, ++x)
    {
      const std::int64_t nIndex =
          component.m_nStepX == 1 && x < component.m_nWidth
              ? x
              : GetSampleIndex(x, component.m_nLeft, component.m_nStepX, component.m_nWidth);
      *pOut = convert(pSamples[nIndex]);
    }
  }
  if (m_bConvert)
    ConvertRow(row);
}

}  // namespace BSE
