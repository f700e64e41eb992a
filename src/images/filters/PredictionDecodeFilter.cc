#include "images/filters/PredictionDecodeFilter.h"

#include "base/Tracer.h"
#include "images/filters/PredictionRow.h"
#include "images/filters/StatusCodes.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace BSE
{

namespace
{

// Rows longer than this get their memory as their data comes: the file names the length.
constexpr int g_nFirstStep = 1 << 16;

}  // namespace

CPredictionDecodeFilter::CPredictionDecodeFilter(IByteStream* pSource,
                                                 const CPredictionParameters& parameters,
                                                 IErrorContext* pErrorContext)
    : CBufferedDecodeFilter(pSource, pErrorContext),
      m_parameters(parameters),
      m_layout(GetPredictionLayout(parameters)),
      m_bUsable(CheckPredictor(parameters))
{
  if (m_bUsable && m_layout.m_nRowSize == 0 && parameters.Predictor != g_nPredictorNone)
  {
    m_bUsable = false;
    ReportError(m_pErrorContext, MakeError(g_nFilterParameters, "argument", u"DecodeParms"));
  }
}

std::int64_t CPredictionDecodeFilter::Read(unsigned char* pBuffer, std::int64_t n)
{
  if (m_bUsable)
    return CDecodeFilter::Read(pBuffer, n);
  CheckPredictor(m_parameters);
  m_bEnd = true;
  return 0;
}

void CPredictionDecodeFilter::ResetState()
{
  m_previous.Truncate(0);
  m_nHeldPos = m_nHeldEnd = 0;
}

bool CPredictionDecodeFilter::ReadTag(unsigned char& nTag)
{
  nTag = ePNGNone;
  if (!m_layout.m_bPNG)
    return true;
  const int nByte = m_pInput->GetByte();
  if (nByte < 0)
    return false;
  if (nByte >= ePNGTagCount && CTracer::IsOn())
    CTracer::Trace("E", "Prediction Filter", "PDF Predictor: Unknown PNG predictor %d.", nByte);
  nTag = static_cast<unsigned char>(nByte);
  return true;
}

void CPredictionDecodeFilter::UndoRow(unsigned char nTag, std::span<const unsigned char> previous,
                                      std::span<unsigned char> row) const
{
  if (m_layout.m_bPNG)
    DecodePNGRow(nTag, m_layout.m_nPixelSize, row, previous.first(row.size()), row);
  else
    DecodeTIFFRow(m_parameters.Colors, m_parameters.BitsPerComponent, row);
}

int CPredictionDecodeFilter::DecodeRow(std::span<const unsigned char> previous, std::span<unsigned char> row)
{
  unsigned char nTag = ePNGNone;
  if (!ReadTag(nTag))
    return 0;
  const auto buffered = m_pInput->GetBuffered();
  if (m_layout.m_bPNG && buffered.size() >= row.size())
  {
    DecodePNGRow(nTag, m_layout.m_nPixelSize, buffered.first(row.size()), previous, row);
    m_pInput->Consume(row.size());
    return static_cast<int>(row.size());
  }
  const std::int64_t nRead = m_pInput->Read(row.data(), static_cast<std::int64_t>(row.size()));
  UndoRow(nTag, previous, row.first(static_cast<std::size_t>(nRead)));
  return static_cast<int>(nRead);
}

bool CPredictionDecodeFilter::HoldRow()
{
  unsigned char nTag = ePNGNone;
  if (!ReadTag(nTag))
    return false;
  int nFilled = 0;
  while (nFilled < m_layout.m_nRowSize)
  {
    const int nStep = std::min(m_layout.m_nRowSize - nFilled, std::max(nFilled, g_nFirstStep));
    if (m_row.GetSize() < nFilled + nStep)
      m_row.SetSize(nFilled + nStep);
    const auto nRead = static_cast<int>(m_pInput->Read(m_row.GetData() + nFilled, nStep));
    nFilled += nRead;
    if (nRead < nStep)
      break;
  }
  if (nFilled == 0)
    return false;
  if (m_previous.GetSize() < nFilled)
    m_previous.SetSize(nFilled);
  UndoRow(nTag, m_previous.GetSpan(), m_row.GetSpan().first(static_cast<std::size_t>(nFilled)));
  std::swap(m_row, m_previous);
  m_nHeldPos = 0;
  m_nHeldEnd = nFilled;
  return true;
}

int CPredictionDecodeFilter::TakeHeld(std::span<unsigned char> room)
{
  const int nTaken = std::min(m_nHeldEnd - m_nHeldPos, static_cast<int>(room.size()));
  if (nTaken > 0)
    std::memcpy(room.data(), m_previous.GetData() + m_nHeldPos, static_cast<std::size_t>(nTaken));
  m_nHeldPos += nTaken;
  return nTaken;
}

int CPredictionDecodeFilter::DecodeWholeRows(std::span<unsigned char> room)
{
  const auto nRowSize = static_cast<std::size_t>(m_layout.m_nRowSize);
  if (room.size() < nRowSize)
    return 0;
  if (m_previous.GetSize() < m_layout.m_nRowSize)
    m_previous.SetSize(m_layout.m_nRowSize);
  std::span<const unsigned char> previous = m_previous.GetSpan().first(nRowSize);
  std::size_t nDone = 0;
  while (room.size() - nDone >= nRowSize)
  {
    const auto row = room.subspan(nDone, nRowSize);
    const auto nRead = static_cast<std::size_t>(DecodeRow(previous, row));
    nDone += nRead;
    if (nRead < nRowSize)
    {
      m_bEnd = true;
      return static_cast<int>(nDone);
    }
    previous = row;
  }
  std::memcpy(m_previous.GetData(), previous.data(), nRowSize);
  return static_cast<int>(nDone);
}

int CPredictionDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  if (m_parameters.Predictor == g_nPredictorNone)
  {
    const auto nRead =
        static_cast<int>(m_pInput->Read(block.data(), static_cast<std::int64_t>(block.size())));
    m_bEnd = nRead == 0;
    return nRead;
  }
  int nDone = TakeHeld(block);
  nDone += DecodeWholeRows(block.subspan(static_cast<std::size_t>(nDone)));
  const auto rest = block.subspan(static_cast<std::size_t>(nDone));
  if (m_bEnd || rest.empty())
    return nDone;
  if (!HoldRow())
  {
    m_bEnd = true;
    return nDone;
  }
  return nDone + TakeHeld(rest);
}

}  // namespace BSE
