// The codec is told a signal to noise ratio of the whole image, and takes away what the ratio allows wherever
// that saves most. Where little is drawn on a plain ground, the little may be all that is taken away: a word
// on an empty page makes less noise than a photograph may have. So the ratio follows the image: it is what
// comes of a wavelet transform whose coefficients are all quantized with one step, which depends on the
// quality alone. Ground makes no noise then that could be spent on details. The transform is the one of the
// codec, scaled such that errors of coefficients weigh the same as errors of samples.

#include "images/filters/jpx/JPXNoise.h"

#include "images/filters/PictureQuality.h"
#include "images/filters/jpx/JPXRowReader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <numeric>

namespace BSE
{

namespace
{

constexpr double g_dPeak = 255;

// The step of all coefficients, in root mean squares of the noise that a quality allows.
constexpr double g_dStep = 7.0;

// What the colours of a pixel become, and the weight of an error in each (ISO/IEC 15444-1, G.3).
constexpr float g_colors[3][3] = {
    {0.299F, 0.587F, 0.114F}, {-0.16875F, -0.33126F, 0.5F}, {0.5F, -0.41869F, -0.08131F}};
constexpr float g_weights[3] = {1.7321F, 1.8051F, 1.5734F};

// Compilers make vectors of loops over so many.
constexpr int g_nBlock = 8;

// The sum of squares that one step for all coefficients makes of them.
class CNoise
{
public:
  explicit CNoise(float fStep) : m_fStep(fStep) {}

  // The codec rounds to steps of a sample first, and does not count what is lost so: these are of no size.
  void Add(const float* pCoefficients, int n, float fRounded)
  {
    int i = 0;
    for (; i + g_nBlock <= n; i += g_nBlock)
    {
      float errors[g_nBlock];
      for (int k = 0; k < g_nBlock; ++k)
        errors[k] = GetError(pCoefficients[i + k], fRounded);
      for (int k = 0; k < g_nBlock; ++k)
        m_aSums[k] += double{errors[k]};
    }
    for (; i < n; ++i)
      m_aSums[0] += double{GetError(pCoefficients[i], fRounded)};
  }

  double Get() const { return std::accumulate(std::begin(m_aSums), std::end(m_aSums), 0.0); }

private:
  float GetError(float f, float fRounded) const
  {
    const float fSize = std::abs(f);
    // Most are.
    if (fSize < m_fStep)
      return fSize < fRounded ? 0.0F : fSize * fSize;
    const auto fLevel = static_cast<float>(static_cast<int>(fSize / m_fStep));
    const float fError = fSize - (fLevel + 0.5F) * m_fStep;
    return fSize < fRounded ? 0.0F : fError * fError;
  }

  float m_fStep;
  double m_aSums[g_nBlock] = {};
};

// The irreversible transform (ISO/IEC 15444-1, F.4.8.2) of one component of a piece. Rows are taken through
// all steps while the cache has them, and what the next level needs of them moves together.
class CTransform
{
public:
  // Adds the noise of all coefficients; the samples are lost.
  void Run(float* pSamples, int nWidth, int nHeight, float fRounded, CNoise& noise)
  {
    constexpr int nLevels = 5;
    m_pSamples = pSamples;
    m_nPitch = m_nWidth = nWidth;
    m_nHeight = nHeight;
    m_low.SetSize(nWidth / 2 + 2);
    m_high.SetSize(nWidth / 2 + 2);
    for (int i = 0; i < nLevels; ++i)
      RunLevel(fRounded, noise);
    for (int y = 0; y < m_nHeight; ++y)
      noise.Add(GetRow(y), m_nWidth, fRounded);
  }

private:
  // Of odd and even samples in turn.
  static constexpr float g_steps[4] = {-1.586134342F, -0.052980118F, 0.882911075F, 0.443506852F};

  float* GetRow(int y) { return m_pSamples + y * m_nPitch; }

  static void Lift(float* pSamples, const float* pBefore, const float* pAfter, int n, float f)
  {
    int i = 0;
    for (; i + g_nBlock <= n; i += g_nBlock)
    {
      float lifted[g_nBlock];
      for (int k = 0; k < g_nBlock; ++k)
        lifted[k] = pSamples[i + k] + f * (pBefore[i + k] + pAfter[i + k]);
      std::copy_n(lifted, g_nBlock, pSamples + i);
    }
    for (; i < n; ++i)
      pSamples[i] += f * (pBefore[i] + pAfter[i]);
  }

  // Each step of a row needs the one before of its neighbours, so the steps follow each other a row apart.
  void RunLevel(float fRounded, CNoise& noise)
  {
    for (int y = 1; y < m_nHeight + 4; y += 2)
    {
      for (int i = 0; i < 4; ++i)
        LiftRow(y - i, g_steps[i]);
      FinishRow(y - 4, fRounded, noise);
      FinishRow(y - 3, fRounded, noise);
    }
    m_nWidth = (m_nWidth + 1) / 2;
    m_nHeight = (m_nHeight + 1) / 2;
  }

  void LiftRow(int y, float f)
  {
    if (m_nHeight < 2 || y < 0 || y >= m_nHeight)
      return;
    const float* const pAbove = GetRow(y > 0 ? y - 1 : y + 1);
    const float* const pBelow = y + 1 < m_nHeight ? GetRow(y + 1) : pAbove;
    Lift(GetRow(y), pAbove, pBelow, m_nWidth, f);
  }

  // A row whose columns are done.
  void FinishRow(int y, float fRounded, CNoise& noise)
  {
    if (y < 0 || y >= m_nHeight)
      return;
    // Basis functions of about the same norm.
    constexpr float fLow = 1.149604398F;
    const float fRow = y % 2 != 0 ? 1 / fLow : m_nHeight > 1 ? fLow : 1.0F;
    const int nHigh = m_nWidth / 2;
    const int nLow = m_nWidth - nHigh;
    float* const pLow = m_low.GetData();
    float* const pHigh = m_high.GetData() + 1;
    const float* const pRow = GetRow(y);
    for (int i = 0; i < nHigh; ++i)
    {
      pLow[i] = pRow[2 * i];
      pHigh[i] = pRow[2 * i + 1];
    }
    pLow[nLow - 1] = pRow[2 * (nLow - 1)];
    if (nHigh > 0)
      LiftColumns(pLow, nLow, pHigh, nHigh);
    for (int i = 0; i < nLow; ++i)
      pLow[i] *= (nHigh > 0 ? fLow : 1.0F) * fRow;
    for (int i = 0; i < nHigh; ++i)
      pHigh[i] *= 1 / fLow * fRow;
    noise.Add(pHigh, nHigh, fRounded);
    if (y % 2 != 0)
      noise.Add(pLow, nLow, fRounded);
    else
      std::copy_n(pLow, nLow, GetRow(y / 2));
  }

  // There is room for one more at either end of the odd ones, and at the end of the even ones.
  static void LiftColumns(float* pLow, int nLow, float* pHigh, int nHigh)
  {
    for (int i = 0; i < 4; i += 2)
    {
      pLow[nLow] = pLow[nLow - 1];
      Lift(pHigh, pLow, pLow + 1, nHigh, g_steps[i]);
      pHigh[-1] = pHigh[0];
      pHigh[nHigh] = pHigh[nHigh - 1];
      Lift(pLow, pHigh - 1, pHigh, nLow, g_steps[i + 1]);
    }
  }

  float* m_pSamples = nullptr;
  int m_nPitch = 0;
  int m_nWidth = 0;
  int m_nHeight = 0;
  CBasicArray<float> m_low;
  CBasicArray<float> m_high;
};

// A piece of an image, with samples as bytes would have them.
class CPiece
{
public:
  CPiece(const CJPXParameters& parameters, std::span<const unsigned char> rows)
      : m_parameters(parameters),
        m_rows(rows),
        m_nRowSize(rows.size() / static_cast<std::size_t>(parameters.nHeight)),
        m_nComponents(GetJPXComponentCount(parameters))
  {
  }

  // Adds the noise of a rectangle.
  void MeasureNoise(int nLeft, int nTop, int nWidth, int nHeight, CNoise& noise)
  {
    const bool bMixed = HasColorTransform(m_parameters);
    m_nSize = nWidth * nHeight;
    m_samples.SetSize(m_nSize * m_nComponents);
    for (int y = 0; y < nHeight; ++y)
    {
      ReadRow(nLeft, nTop + y, nWidth, GetPlane(0) + y * nWidth);
      if (bMixed)
        MixColors(y * nWidth, nWidth);
    }
    for (int k = 0; k < m_nComponents; ++k)
      m_transform.Run(GetPlane(k), nWidth, nHeight, bMixed ? GetScale() * g_weights[k] : GetScale(), noise);
  }

private:
  // Of a sample.
  float GetScale() const { return static_cast<float>(g_dPeak / ((1 << m_parameters.nBitsPerComponent) - 1)); }

  float* GetPlane(int nComponent) { return m_samples.GetData() + nComponent * m_nSize; }

  void ReadRow(int nLeft, int y, int nWidth, float* pTarget)
  {
    const std::span<const unsigned char> row =
        m_rows.subspan(static_cast<std::size_t>(y) * m_nRowSize, m_nRowSize);
    const float fScale = GetScale();
    if (m_parameters.nBitsPerComponent == 8)
    {
      const unsigned char* pSample = row.data() + static_cast<std::ptrdiff_t>(nLeft) * m_nComponents;
      for (int x = 0; x < nWidth; ++x)
        for (int k = 0; k < m_nComponents; ++k)
          pTarget[k * m_nSize + x] = *pSample++;
      return;
    }
    CJPXRowReader reader(row, m_parameters.nBitsPerComponent);
    reader.Skip(std::int64_t{nLeft} * m_nComponents);
    for (int x = 0; x < nWidth; ++x)
      for (int k = 0; k < m_nComponents; ++k)
        pTarget[k * m_nSize + x] = fScale * static_cast<float>(reader.Next());
  }

  void MixColors(int nStart, int n)
  {
    float* const pRed = GetPlane(0) + nStart;
    float* const pGreen = GetPlane(1) + nStart;
    float* const pBlue = GetPlane(2) + nStart;
    for (int i = 0; i < n; ++i)
    {
      float mixed[3];
      for (int k = 0; k < 3; ++k)
        mixed[k] = g_weights[k] *
                   (g_colors[k][0] * pRed[i] + g_colors[k][1] * pGreen[i] + g_colors[k][2] * pBlue[i]);
      pRed[i] = mixed[0];
      pGreen[i] = mixed[1];
      pBlue[i] = mixed[2];
    }
  }

  const CJPXParameters& m_parameters;
  std::span<const unsigned char> m_rows;
  std::size_t m_nRowSize;
  int m_nComponents;
  int m_nSize = 0;               // of a plane
  CBasicArray<float> m_samples;  // one plane after the other
  CTransform m_transform;
};

}  // namespace

double ChooseSignalToNoise(const CJPXParameters& parameters, std::span<const unsigned char> rows)
{
  // Of photographs full of details.
  constexpr double dMostBelow = 3;
  // Nothing can be told from the samples any more.
  constexpr double dHighest = 70;
  // Of a piece: little beside what the codec takes for a tile.
  constexpr double dMaxSamples = 1 << 20;
  const double dUsual = GetSignalToNoise(parameters.nQuality);
  const float fStep = static_cast<float>(g_dStep * g_dPeak * std::pow(10, -dUsual / 20));
  const int nComponents = GetJPXComponentCount(parameters);
  const int nSide = static_cast<int>(std::sqrt(dMaxSamples / nComponents));
  CPiece piece(parameters, rows);
  CNoise noise(fStep);
  for (int y = 0; y < parameters.nHeight; y += nSide)
    for (int x = 0; x < parameters.nWidth; x += nSide)
      piece.MeasureNoise(x, y, std::min(nSide, parameters.nWidth - x),
                         std::min(nSide, parameters.nHeight - y), noise);
  const double dSamples = static_cast<double>(parameters.nWidth) * parameters.nHeight * nComponents;
  const double dRatio = 10 * std::log10(g_dPeak * g_dPeak * dSamples / std::max(noise.Get(), 1e-3));
  return std::clamp(dRatio, dUsual - dMostBelow, dHighest);
}

}  // namespace BSE
