#include "images/filters/PredictionParameters.h"

#include "base/Checked.h"
#include "base/Limits.h"
#include "base/Tracer.h"

#include <cstdint>

namespace BSE
{

namespace
{

constexpr const char* g_szComponent = "Prediction Filter";

}  // namespace

TPredictionLayout GetPredictionLayout(const CPredictionParameters& parameters)
{
  TPredictionLayout layout;
  layout.m_bPNG = parameters.Predictor >= g_nPredictorPNGFirst;
  if (parameters.Colors < 1 || parameters.Columns < 1 || parameters.BitsPerComponent < 1)
    return layout;
  std::int64_t nPixelBits = 0;
  std::int64_t nRowBits = 0;
  if (!CheckedMul(parameters.Colors, parameters.BitsPerComponent, nPixelBits) ||
      !CheckedMul(nPixelBits, parameters.Columns, nRowBits) || nRowBits / 8 >= g_nMaxDecodedSize)
    return layout;
  layout.m_nRowSize = static_cast<int>((nRowBits + 7) / 8);
  layout.m_nPixelSize = static_cast<int>((nPixelBits + 7) / 8);
  return layout;
}

bool CheckPredictor(const CPredictionParameters& parameters)
{
  const int nPredictor = parameters.Predictor;
  if (nPredictor == g_nPredictorNone ||
      (nPredictor >= g_nPredictorPNGFirst && nPredictor <= g_nPredictorPNGOptimum))
    return true;
  if (nPredictor == g_nPredictorTIFF && IsTIFFDepth(parameters.BitsPerComponent))
    return true;
  if (!CTracer::IsOn())
    return false;
  if (nPredictor == g_nPredictorTIFF)
    CTracer::Trace("E", g_szComponent, "PDF Predictor: Bits per component is %d.",
                   parameters.BitsPerComponent);
  else
    CTracer::Trace("E", g_szComponent, "Unimplemented predictor function %d.", nPredictor);
  return false;
}

}  // namespace BSE
