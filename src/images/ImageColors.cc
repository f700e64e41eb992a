// What colours an image has.

#include "base/BufferedInputStream.h"
#include "base/DecodeFilter.h"
#include "base/Memory.h"
#include "images/Image.h"
#include "images/SampleRows.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nMaxColors = 4;

// A single component is gray, and so are three equal ones, with any black.
bool IsGrayPixel(const unsigned char* pPixel, int nComponents)
{
  return nComponents < 3 || (pPixel[0] == pPixel[1] && pPixel[1] == pPixel[2]);
}

void GiveColor(const DOC::IColorSpace& space, const unsigned char* pPixel, std::span<double> color)
{
  const DOC::IIndexedColorSpace* pIndexed = space.GetIndexed();
  const DOC::IColorSpace& real = pIndexed ? pIndexed->GetBase() : space;
  const auto nComponents = static_cast<std::size_t>(real.GetComponentCount());
  if (color.size() < nComponents)
    return;
  std::span<const unsigned char> bytes(pPixel, pIndexed ? 0 : nComponents);
  if (pIndexed)
    bytes = pIndexed->GetTable().subspan(
        static_cast<std::size_t>(std::min<int>(*pPixel, pIndexed->GetHighIndex())) * nComponents,
        nComponents);
  real.ToReal(bytes, color.first(nComponents));
}

// Compares one pixel after the other.
class CColorCounter
{
public:
  CColorCounter(int nComponents, bool bIndexed) : m_nComponents(nComponents), m_bIndexed(bIndexed) {}

  // False once nothing can change the result.
  bool Add(std::span<const unsigned char> row)
  {
    const auto nSize = static_cast<std::size_t>(m_nComponents);
    for (const unsigned char* p = row.data(); p != row.data() + row.size(); p += m_nComponents)
    {
      if (m_analysis == eUnknownColors)
      {
        std::memcpy(m_first, p, nSize);
        m_analysis = eOneColor;
      }
      else if (std::memcmp(p, m_first, nSize) != 0 && !AddOther(p))
        return false;
    }
    return true;
  }

  TColorAnalysis m_analysis = eUnknownColors;
  unsigned char m_first[g_nMaxColors] = {};
  unsigned char m_second[g_nMaxColors] = {};

private:
  bool AddOther(const unsigned char* pPixel)
  {
    const auto nSize = static_cast<std::size_t>(m_nComponents);
    if (m_analysis == eOneColor)
    {
      std::memcpy(m_second, pPixel, nSize);
      m_analysis = eTwoColors;
      return true;
    }
    if (std::memcmp(pPixel, m_second, nSize) == 0)
      return true;
    const bool bFirstOfMany = m_analysis == eTwoColors;
    const bool bGray =
        !m_bIndexed && IsGrayPixel(pPixel, m_nComponents) &&
        (!bFirstOfMany || (IsGrayPixel(m_first, m_nComponents) && IsGrayPixel(m_second, m_nComponents)));
    m_analysis = bGray ? eGrayColors : eManyColors;
    return bGray;
  }

  int m_nComponents;
  bool m_bIndexed;
};

}  // namespace

TColorAnalysis CImage::AnalyzeBits(BSE::IByteStream& stream, std::span<double> first,
                                   std::span<double> second)
{
  const auto nRowBytes = static_cast<int>(GetRowBytes());
  const auto nRest = static_cast<unsigned>(-GetWidth()) & 7U;
  const int nHeight = GetHeight();
  BSE::CBufferedInputStream input(&stream, std::max(stream.GetBlockSize(), BSE::g_nDefaultBlockSize));
  const int nFirst = input.PeekByte();
  const int nFull = nFirst >= 128 ? 0xFF : 0;
  bool bTwo = false;
  for (int y = 0; y < nHeight; ++y)
  {
    for (int x = 0; x < nRowBytes; ++x)
    {
      const int nByte = input.GetByte();
      if (nByte < 0)
        return eUnknownColors;
      const int nMask = x + 1 < nRowBytes ? 0xFF : 0xFF << nRest & 0xFF;
      bTwo = bTwo || ((nByte ^ nFull) & nMask) != 0;
    }
    if (bTwo)
      break;
  }
  if (!first.empty())
    first[0] = nFull ? 1.0 : 0.0;
  if (bTwo && !second.empty())
    second[0] = nFull ? 0.0 : 1.0;
  return bTwo ? eTwoColors : eOneColor;
}

TColorAnalysis CImage::AnalyzeColors(std::span<double> first, std::span<double> second)
{
  const DOC::IColorSpace* pSpace = GetColorSpace();
  if (!pSpace)
    return eUnknownColors;
  const DOC::IIndexedColorSpace* pIndexed = pSpace->GetIndexed();
  const bool bBitonal = IsBitonal();
  if ((pIndexed ? pIndexed->GetBase() : *pSpace).GetType() > DOC::eDeviceCMYK ||
      (bBitonal ? pIndexed != nullptr : GetBitsPerComponent() != 8))
    return eUnknownColors;
  CSampleFormat format;
  BSE::IByteStream* pStream = Begin(format);
  if (!pStream)
    return eUnknownColors;
  if (bBitonal)
  {
    const TColorAnalysis analysis = AnalyzeBits(*pStream, first, second);
    return BSE::HasGap(pStream) ? eUnknownColors : analysis;
  }
  CColorCounter counter(format.GetComponents(), pIndexed != nullptr);
  BSE::CBasicArray<unsigned char> row;
  row.SetSize(static_cast<int>(format.GetRowSize()));
  for (int y = 0; y < format.nHeight; ++y)
  {
    if (pStream->ReadFully(row.GetData(), row.GetSize()) < row.GetSize())
      return eUnknownColors;
    if (!counter.Add(row.GetSpan()))
      break;
  }
  // What a decoder has put in place of damaged samples is not a colour of the picture.
  if (BSE::HasGap(pStream))
    return eUnknownColors;
  GiveColor(*pSpace, counter.m_first, first);
  if (counter.m_analysis != eOneColor)
    GiveColor(*pSpace, counter.m_second, second);
  return counter.m_analysis;
}

bool CImage::IsWhite()
{
  const DOC::IColorSpace* pSpace = GetColorSpace();
  CSampleFormat format;
  BSE::IByteStream* pStream = pSpace && pSpace->GetType() == DOC::eDeviceGray ? Begin(format) : nullptr;
  if (!pStream)
    return false;
  const std::int64_t nRest = -std::int64_t{format.nWidth} * format.nBitsPerComponent & 7;
  const auto nFill = static_cast<unsigned char>((1U << nRest) - 1);
  BSE::CBasicArray<unsigned char> row;
  row.SetSize(static_cast<int>(format.GetRowSize()));
  for (int y = 0; y < format.nHeight; ++y)
  {
    if (pStream->ReadFully(row.GetData(), row.GetSize()) < row.GetSize())
      return false;
    row.GetData()[row.GetSize() - 1] |= nFill;
    if (!std::ranges::all_of(row.GetSpan(), [](unsigned char n) { return n == 0xFF; }))
      return false;
  }
  return !BSE::HasGap(pStream);
}

}  // namespace PDF
