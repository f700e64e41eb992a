// Which form and which prediction is the best shows in a fast compression as well, and only that one is then
// compressed with all effort.

#include "engine/FlateImageEncoder.h"

#include "base/BasicArray.h"
#include "engine/StreamEncoding.h"
#include "images/filters/PredictionParameters.h"
#include "images/filters/PredictionRow.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <limits>

namespace PDF
{

namespace
{

constexpr int g_nPredictorEffort = 5;

// All effort hardly ever makes half of what a fast compression does.
constexpr std::size_t g_nMaxGain = 2;

// Neighbours hardly ever explain more than that.
constexpr std::size_t g_nMaxPrediction = 20;

// Of a picture as flat as that, matches far apart make most, which a fast compression does not look for.
constexpr std::size_t g_nFlatRatio = 32;

// What is compressed at once to find out how well that goes.
constexpr std::size_t g_nPiece = std::size_t{1} << 20;

// Memory that is kept from one image to the next, in each of the buffers.
constexpr std::size_t g_nKept = std::size_t{4} << 20;

CObjectPtr MakePrediction(const TSampleForm& form)
{
  constexpr BSE::CPredictionParameters defaults;
  CObjectPtr parameters(new CDictionaryObject);
  parameters.AddEntry("Predictor", new CIntegerObject(BSE::g_nPredictorPNGOptimum));
  parameters.AddEntry("Columns", new CIntegerObject(form.m_nWidth));
  if (form.m_nComponents != defaults.Colors)
    parameters.AddEntry("Colors", new CIntegerObject(form.m_nComponents));
  if (form.m_nBits != defaults.BitsPerComponent)
    parameters.AddEntry("BitsPerComponent", new CIntegerObject(form.m_nBits));
  return parameters;
}

BSE::TPredictionLayout GetLayout(const TSampleForm& form)
{
  return BSE::GetPredictionLayout(
      {BSE::g_nPredictorPNGOptimum, form.m_nComponents, form.m_nWidth, form.m_nBits});
}

// What the entries of an encoding take in the file.
std::size_t MeasureEntries(const CObjectPtr& parameters, const TSampleForm& form)
{
  return MeasureFilter("FlateDecode", parameters) + MeasureValue(form.m_space);
}

// All rows after their PNG filters, each of which is chosen for its row.
void PredictRows(std::span<const unsigned char> rows, const BSE::TPredictionLayout& layout,
                 CByteBuffer& target)
{
  const auto nRowSize = static_cast<std::size_t>(layout.m_nRowSize);
  const std::size_t nRows = rows.size() / nRowSize;
  target.Provide(nRows * (nRowSize + 1));
  BSE::CBasicArray<unsigned char> zeros;
  zeros.SetSize(layout.m_nRowSize);
  std::span<const unsigned char> previous = zeros.GetSpan();
  for (std::size_t i = 0; i < nRows; ++i)
  {
    const std::span<const unsigned char> row = rows.subspan(i * nRowSize, nRowSize);
    unsigned char* pTag = target.GetRoom().data() + i * (nRowSize + 1);
    const std::span<unsigned char> filtered(pTag + 1, nRowSize);
    *pTag = BSE::ChoosePNGTag(layout.m_nPixelSize, row, previous, filtered);
    BSE::EncodePNGRow(*pTag, layout.m_nPixelSize, row, previous, filtered);
    previous = row;
  }
  target.SetSize(nRows * (nRowSize + 1));
}

}  // namespace

bool CFlateImageEncoder::Encode(CSamples& samples, bool bReduce, std::size_t nLimit)
{
  constexpr std::size_t nMost = std::numeric_limits<std::size_t>::max();
  m_nQuickCost = nLimit < nMost / g_nMaxGain ? nLimit * g_nMaxGain : nMost;
  m_nEstimate = 0;
  m_chosen.SetSize(0);
  m_best.SetSize(0);
  if (bReduce)
    TryForms(samples);
  else
    TryForm(samples);
  if (m_chosen.GetSize() == 0)
    return false;
  const bool bFlat = m_nQuickCost < samples.GetRows().size() / g_nFlatRatio;
  bool bEncoded = DeflateChosen(nLimit);
  // The samples may have become another form after the one that was chosen.
  const bool bSame = samples.GetForm().m_space.Get() == m_form.m_space.Get() &&
                     samples.GetForm().m_nBits == m_form.m_nBits &&
                     samples.GetForm().m_nComponents == m_form.m_nComponents;
  if (bFlat && bSame)
    bEncoded =
        DeflateOther(samples, bEncoded ? m_best.GetSize() + MeasureEntries(m_parameters, m_form) : nLimit) ||
        bEncoded;
  m_predicted.Trim(g_nKept);
  return bEncoded;
}

bool CFlateImageEncoder::DeflateChosen(std::size_t nLimit)
{
  const std::size_t nEntries = MeasureEntries(m_parameters, m_form);
  if (nLimit <= nEntries)
    return false;
  const std::size_t nRoom = std::min(nLimit - nEntries, m_deflater.GetBound(m_chosen.GetSize()) + 1);
  // With all effort it is hardly ever longer than in the fast try, so that far less room will do.
  return m_deflater.Deflate(m_chosen.GetSpan(), std::min(nRoom, m_nQuickCost), m_best) ||
         m_deflater.Deflate(m_chosen.GetSpan(), nRoom, m_best);
}

// The form that was chosen, with predictors if it was without, and the other way round.
bool CFlateImageEncoder::DeflateOther(const CSamples& samples, std::size_t nLimit)
{
  const BSE::TPredictionLayout layout = GetLayout(m_form);
  const bool bPredict = !m_parameters;
  if (m_nEffort < g_nPredictorEffort || layout.m_nRowSize <= 0 || m_form.m_nBits < 8)
    return false;
  if (bPredict)
    PredictRows(samples.GetRows(), layout, m_predicted);
  const CObjectPtr parameters = bPredict ? MakePrediction(m_form) : CObjectPtr();
  const std::span<const unsigned char> data = bPredict ? m_predicted.GetSpan() : samples.GetRows();
  const std::size_t nEntries = MeasureEntries(parameters, m_form);
  if (nLimit <= nEntries || !m_deflater.Deflate(data, nLimit - nEntries, m_candidate))
    return false;
  m_best.Swap(m_candidate);
  m_parameters = parameters;
  return true;
}

void CFlateImageEncoder::Trim()
{
  for (CByteBuffer* pBuffer : {&m_candidate, &m_chosen, &m_best, &m_predicted})
    pBuffer->Trim(g_nKept);
}

// Piece by piece, for which little memory does.
std::size_t CFlateImageEncoder::MeasureQuickly(std::span<const unsigned char> data, std::size_t nLimit)
{
  std::size_t nSize = 0;
  const std::size_t nAll = data.size();
  while (!data.empty() && nSize < nLimit)
  {
    const auto piece = data.first(std::min(data.size(), g_nPiece));
    if (!m_quick.Deflate(piece, m_quick.GetBound(piece.size()) + 1, m_candidate))
      return nLimit;
    nSize += m_candidate.GetSize();
    data = data.subspan(piece.size());
  }
  m_nEstimate = nAll > data.size() ? nSize * (nAll / (nAll - data.size())) : 0;
  return nSize;
}

// What is half or a third of the samples is not tried in full beside that; a table is, whose indices have
// none of the order that colours have.
void CFlateImageEncoder::TryForms(CSamples& samples)
{
  samples.ReduceDepth();
  samples.ReduceToGray();
  if (samples.Pack())
    return TryForm(samples);
  TryForm(samples);
  if (!samples.ReduceToTable())
    return;
  samples.Pack();
  TryForm(samples);
}

void CFlateImageEncoder::TryForm(const CSamples& samples)
{
  const TSampleForm& form = samples.GetForm();
  Try(samples.GetRows(), {}, form);
  if (m_nEstimate / g_nMaxPrediction > m_nQuickCost)
    return;
  const BSE::TPredictionLayout layout = GetLayout(form);
  // Bits of several pixels in a byte follow no neighbour.
  if (m_nEffort < g_nPredictorEffort || layout.m_nRowSize <= 0 || form.m_nBits < 8)
    return;
  PredictRows(samples.GetRows(), layout, m_predicted);
  Try(m_predicted.GetSpan(), MakePrediction(form), form);
}

void CFlateImageEncoder::Try(std::span<const unsigned char> data, const CObjectPtr& parameters,
                             const TSampleForm& form)
{
  const std::size_t nEntries = MeasureEntries(parameters, form);
  if (m_nQuickCost <= nEntries)
    return;
  const std::size_t nCost = nEntries + MeasureQuickly(data, m_nQuickCost - nEntries);
  if (nCost >= m_nQuickCost)
    return;
  m_nQuickCost = nCost;
  m_parameters = parameters;
  m_form = form;
  m_chosen.Assign(data);
}

}  // namespace PDF
