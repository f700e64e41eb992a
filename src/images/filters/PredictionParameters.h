#pragma once

namespace BSE
{

// Parameters of the predictors of Flate and LZW data (ISO 32000-1, Table 8).
struct CPredictionParameters
{
  int Predictor = 1;
  int Colors = 1;
  int Columns = 1;
  int BitsPerComponent = 8;
};

// Values of Predictor.
inline constexpr int g_nPredictorNone = 1;
inline constexpr int g_nPredictorTIFF = 2;
inline constexpr int g_nPredictorPNGFirst = 10;
inline constexpr int g_nPredictorPNGOptimum = 15;  // the last PNG one

// What the rows of a stream look like.
struct TPredictionLayout
{
  int m_nRowSize = 0;    // bytes of a row without its tag; 0 if the parameters make no sense
  int m_nPixelSize = 0;  // bytes to the left neighbour, at least 1
  bool m_bPNG = false;   // rows start with a tag byte
};

// Checks the parameters, which may come from a file. Rows longer than any decoded stream may be are refused.
TPredictionLayout GetPredictionLayout(const CPredictionParameters& parameters);

// Whether TIFF prediction handles the depth: 1, 8 and 16 bits.
inline constexpr bool IsTIFFDepth(int nBitsPerComponent)
{
  return nBitsPerComponent == 1 || nBitsPerComponent == 8 || nBitsPerComponent == 16;
}

// True if the predictor exists and handles the depth; otherwise one trace line says why not.
bool CheckPredictor(const CPredictionParameters& parameters);

}  // namespace BSE
