#include "engine/FlateImageEncoder.h"

#include "base/BasicArray.h"
#include "engine/StreamEncoding.h"
#include "images/filters/PredictionParameters.h"
#include "images/filters/PredictionRow.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>

namespace PDF
{

namespace
{

constexpr int g_nPredictorEffort = 5;

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
  m_nBestCost = nLimit;
  m_bFound = false;
  m_best.SetSize(0);
  if (bReduce)
    TryForms(samples);
  else
    TryForm(samples);
  return m_bFound;
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
  const BSE::CPredictionParameters prediction = {BSE::g_nPredictorPNGOptimum, form.m_nComponents,
                                                 form.m_nWidth, form.m_nBits};
  const BSE::TPredictionLayout layout = BSE::GetPredictionLayout(prediction);
  // Bits of several pixels in a byte follow no neighbour.
  if (m_nEffort < g_nPredictorEffort || layout.m_nRowSize <= 0 || form.m_nBits < 8)
    return;
  PredictRows(samples.GetRows(), layout, m_predicted);
  Try(m_predicted.GetSpan(), MakePrediction(form), form);
}

void CFlateImageEncoder::Try(std::span<const unsigned char> data, const CObjectPtr& parameters,
                             const TSampleForm& form)
{
  const std::size_t nCost = MeasureFilter("FlateDecode", parameters) + MeasureValue(form.m_space);
  if (m_nBestCost <= nCost ||
      !m_deflater.Deflate(data, std::min(m_nBestCost - nCost, m_deflater.GetBound(data.size()) + 1),
                          m_candidate))
    return;
  m_nBestCost = nCost + m_candidate.GetSize();
  m_bestParameters = parameters;
  m_bestForm = form;
  m_best.Swap(m_candidate);
  m_bFound = true;
}

}  // namespace PDF
