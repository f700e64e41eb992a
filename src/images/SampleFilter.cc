#include "images/SampleFilter.h"

#include "base/Limits.h"
#include "images/StatusCodes.h"
#include "images/filters/StatusCodes.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace PDF
{

namespace
{

// Rows longer than this get their memory as their data comes: the file names the length.
constexpr std::int64_t g_nFirstStep = 1 << 16;

}  // namespace

bool CSampleFormat::IsUsable() const
{
  const int nComponents = GetComponents();
  return nWidth > 0 && nHeight > 0 && nComponents > 0 && nBitsPerComponent > 0 &&
         (nBitsPerComponent <= 8 || nBitsPerComponent == 16) && GetRowSamples() <= BSE::g_nMaxImageRow &&
         GetRowSize() <= BSE::g_nMaxImageRow && BSE::g_nMaxImagePixels / nWidth >= nHeight;
}

void CSampleFilter::SetResult(std::int64_t nRowSize, std::int64_t nRows)
{
  if (m_format.IsUsable() && nRowSize > 0 && nRowSize <= BSE::g_nMaxImageRow && nRows > 0 &&
      nRows <= std::numeric_limits<int>::max())
  {
    m_nRowSize = nRowSize;
    m_nRows = static_cast<int>(nRows);
    return;
  }
  BSE::ReportError(m_pErrorContext, BSE::MakeError(BSE::g_nFilterParameters, "argument", u"Width, Height"));
  m_bLast = m_bEnd = true;
}

std::int64_t CSampleFilter::GetSizeLimit() const
{
  return std::numeric_limits<std::int64_t>::max();
}

void CSampleFilter::ResetState()
{
  m_held.Truncate(0);
  m_nHeldPos = m_nRow = m_nSourceRow = 0;
  m_bShort = false;
  m_bLast = m_nRowSize == 0;
}

std::int64_t CSampleFilter::CountPixels(std::span<const unsigned char> row) const
{
  const std::int64_t nPixels =
      static_cast<std::int64_t>(row.size()) * 8 / m_format.nBitsPerComponent / m_format.GetComponents();
  return std::min<std::int64_t>(nPixels, m_format.nWidth);
}

std::int64_t CSampleFilter::FillSourceRow(std::int64_t nRowSize)
{
  // A source of whole rows gives nothing for a part of one, and has memory for it itself.
  const bool bWhole = m_pSource->GetBlockSize() >= nRowSize;
  std::int64_t nFilled = 0;
  while (nFilled < nRowSize)
  {
    const std::int64_t nStep =
        bWhole ? nRowSize - nFilled : std::min(nRowSize - nFilled, std::max(nFilled, g_nFirstStep));
    if (m_source.GetSize() < nFilled + nStep)
      m_source.SetSize(static_cast<int>(nFilled + nStep));
    const std::int64_t nRead = m_pSource->ReadFully(m_source.GetData() + nFilled, nStep);
    nFilled += nRead;
    if (nRead < nStep)
      break;
  }
  return nFilled;
}

std::span<const unsigned char> CSampleFilter::ReadSourceRow()
{
  if (m_bShort || m_nSourceRow >= m_format.nHeight)
    return {};
  const std::int64_t nRowSize = m_format.GetRowSize();
  const std::int64_t nRead = FillSourceRow(nRowSize);
  if (nRead == nRowSize)
    ++m_nSourceRow;
  else
    ReportShort(nRead);
  return m_source.GetSpan().first(static_cast<std::size_t>(nRead));
}

void CSampleFilter::ReportShort(std::int64_t nLast)
{
  m_bShort = m_bGap = true;
  if (BSE::HasGap(m_pSource.Get()))
    return;
  const std::int64_t nRowSize = m_format.GetRowSize();
  BSE::ReportError(m_pErrorContext, BSE::MakeError(g_nSampleLength, "l1", nRowSize * m_format.nHeight, "l2",
                                                   nRowSize * m_nSourceRow + nLast));
}

std::size_t CSampleFilter::TakeHeld(std::span<unsigned char> room)
{
  const auto held = m_held.GetSpan().subspan(static_cast<std::size_t>(m_nHeldPos));
  const std::size_t nTaken = std::min(held.size(), room.size());
  if (nTaken > 0)
    std::memcpy(room.data(), held.data(), nTaken);
  m_nHeldPos += static_cast<int>(nTaken);
  return nTaken;
}

int CSampleFilter::DecodeBlock(std::span<unsigned char> block)
{
  std::size_t nDone = TakeHeld(block);
  while (nDone < block.size() && !m_bLast)
  {
    const std::int64_t nSize = FetchRow();
    m_bLast = nSize < m_nRowSize || ++m_nRow == m_nRows;
    const auto nBytes = static_cast<std::size_t>(nSize);
    const bool bDirect = nBytes <= block.size() - nDone;
    if (!bDirect && m_held.GetSize() != nSize)
      m_held.SetSize(static_cast<int>(nSize));
    if (nBytes > 0 && !MakeRow(bDirect ? block.subspan(nDone, nBytes) : m_held.GetSpan()))
    {
      m_held.Truncate(0);
      m_bLast = m_bGap = true;
      break;
    }
    if (!bDirect)
      m_nHeldPos = 0;
    nDone += bDirect ? nBytes : TakeHeld(block.subspan(nDone));
  }
  m_bEnd = m_bLast && m_nHeldPos >= m_held.GetSize();
  return static_cast<int>(nDone);
}

}  // namespace PDF
