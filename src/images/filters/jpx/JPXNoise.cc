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
#include <cstdint>
#include <vector>

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

// One component of a piece of an image.
class CPlane
{
public:
  void SetSize(int nWidth, int nHeight)
  {
    m_nWidth = nWidth;
    m_nHeight = nHeight;
    m_samples.SetSize(nWidth * nHeight);
  }

  float* GetRow(int y) { return m_samples.GetData() + y * m_nWidth; }
  std::span<float> GetSamples() { return m_samples.GetSpan(); }

  // Replaces samples by coefficients of the irreversible transform (ISO/IEC 15444-1, F.4.8.2), where they
  // are.
  void Transform()
  {
    constexpr int nLevels = 5;
    for (int i = 0, nStride = 1; i < nLevels; ++i, nStride *= 2)
    {
      RunSteps([this, nStride](bool bOdd, float f) { LiftColumns(nStride, bOdd, f); });
      RunSteps([this, nStride](bool bOdd, float f) { LiftRows(nStride, bOdd, f); });
      Scale(nStride);
    }
  }

private:
  template <typename TLift>
  void RunSteps(TLift fnLift)
  {
    fnLift(true, -1.586134342F);
    fnLift(false, -0.052980118F);
    fnLift(true, 0.882911075F);
    fnLift(false, 0.443506852F);
  }

  void LiftColumns(int nStride, bool bOdd, float f)
  {
    if (m_nHeight <= nStride)
      return;
    for (int y = bOdd ? nStride : 0; y < m_nHeight; y += 2 * nStride)
    {
      float* const pRow = GetRow(y);
      const float* const pAbove = GetRow(y >= nStride ? y - nStride : y + nStride);
      const float* const pBelow = y + nStride < m_nHeight ? GetRow(y + nStride) : pAbove;
      for (int x = 0; x < m_nWidth; x += nStride)
        pRow[x] += f * (pAbove[x] + pBelow[x]);
    }
  }

  void LiftRows(int nStride, bool bOdd, float f)
  {
    if (m_nWidth <= nStride)
      return;
    for (int y = 0; y < m_nHeight; y += nStride)
    {
      float* const pRow = GetRow(y);
      for (int x = bOdd ? nStride : 0; x < m_nWidth; x += 2 * nStride)
      {
        const float fLeft = pRow[x >= nStride ? x - nStride : x + nStride];
        pRow[x] += f * (fLeft + (x + nStride < m_nWidth ? pRow[x + nStride] : fLeft));
      }
    }
  }

  // Basis functions of about the same norm.
  void Scale(int nStride)
  {
    constexpr float fLow = 1.149604398F;
    const float aX[2] = {m_nWidth > nStride ? fLow : 1.0F, 1 / fLow};
    const float aY[2] = {m_nHeight > nStride ? fLow : 1.0F, 1 / fLow};
    for (int y = 0, i = 0; y < m_nHeight; y += nStride, i ^= 1)
    {
      float* const pRow = GetRow(y);
      for (int x = 0, k = 0; x < m_nWidth; x += nStride, k ^= 1)
        pRow[x] *= aX[k] * aY[i];
    }
  }

  int m_nWidth = 0;
  int m_nHeight = 0;
  CBasicArray<float> m_samples;
};

// A piece of an image, with samples as bytes would have them.
class CPiece
{
public:
  CPiece(const CJPXParameters& parameters, std::span<const unsigned char> rows)
      : m_parameters(parameters),
        m_rows(rows),
        m_nRowSize(rows.size() / static_cast<std::size_t>(parameters.nHeight)),
        m_planes(static_cast<std::size_t>(GetJPXComponentCount(parameters)))
  {
  }

  // Takes the samples of a rectangle, and turns them into coefficients.
  void Read(int nLeft, int nTop, int nWidth, int nHeight)
  {
    const int nDepth = m_parameters.nBitsPerComponent;
    const float fScale = GetScale();
    for (CPlane& plane : m_planes)
      plane.SetSize(nWidth, nHeight);
    for (int y = 0; y < nHeight; ++y)
    {
      CJPXRowReader reader(m_rows.subspan(static_cast<std::size_t>(nTop + y) * m_nRowSize, m_nRowSize),
                           nDepth);
      reader.Skip(nLeft * static_cast<std::int64_t>(m_planes.size()));
      for (int x = 0; x < nWidth; ++x)
        for (CPlane& plane : m_planes)
          plane.GetRow(y)[x] = fScale * static_cast<float>(reader.Next());
    }
    if (HasColorTransform(m_parameters))
      MixColors();
    for (CPlane& plane : m_planes)
      plane.Transform();
  }

  // The sum of squares that one step for all coefficients makes of them. The codec rounds to steps of a
  // sample first, and does not count what is lost so.
  double MeasureNoise(float fStep)
  {
    const float fLeast = GetScale();
    double dNoise = 0;
    for (std::size_t i = 0; i < m_planes.size(); ++i)
    {
      const float fRounded = HasColorTransform(m_parameters) ? fLeast * g_weights[i] : fLeast;
      for (const float f : m_planes[i].GetSamples())
      {
        const float fSize = std::abs(f);
        const auto fLevel = static_cast<float>(static_cast<int>(fSize / fStep));
        const float fError = fSize - (fLevel > 0 ? (fLevel + 0.5F) * fStep : 0.0F);
        dNoise += fSize < fRounded ? 0.0 : double{fError * fError};
      }
    }
    return dNoise;
  }

private:
  // Of a sample.
  float GetScale() const { return static_cast<float>(g_dPeak / ((1 << m_parameters.nBitsPerComponent) - 1)); }

  void MixColors()
  {
    const std::span<float> red = m_planes[0].GetSamples();
    const std::span<float> green = m_planes[1].GetSamples();
    const std::span<float> blue = m_planes[2].GetSamples();
    for (std::size_t i = 0; i < red.size(); ++i)
    {
      float mixed[3];
      for (int k = 0; k < 3; ++k)
        mixed[k] =
            g_weights[k] * (g_colors[k][0] * red[i] + g_colors[k][1] * green[i] + g_colors[k][2] * blue[i]);
      red[i] = mixed[0];
      green[i] = mixed[1];
      blue[i] = mixed[2];
    }
  }

  const CJPXParameters& m_parameters;
  std::span<const unsigned char> m_rows;
  std::size_t m_nRowSize;
  std::vector<CPlane> m_planes;
};

}  // namespace

double ChooseSignalToNoise(const CJPXParameters& parameters, std::span<const unsigned char> rows)
{
  // Of photographs full of details.
  constexpr double dMostBelow = 3;
  // Nothing can be told from the samples any more.
  constexpr double dHighest = 70;
  constexpr double dMaxSamples = 1 << 22;
  const double dUsual = GetSignalToNoise(parameters.nQuality);
  const float fStep = static_cast<float>(g_dStep * g_dPeak * std::pow(10, -dUsual / 20));
  const int nComponents = GetJPXComponentCount(parameters);
  const int nSide = static_cast<int>(std::sqrt(dMaxSamples / nComponents));
  CPiece piece(parameters, rows);
  double dNoise = 0;
  for (int y = 0; y < parameters.nHeight; y += nSide)
    for (int x = 0; x < parameters.nWidth; x += nSide)
    {
      piece.Read(x, y, std::min(nSide, parameters.nWidth - x), std::min(nSide, parameters.nHeight - y));
      dNoise += piece.MeasureNoise(fStep);
    }
  const double dSamples = static_cast<double>(parameters.nWidth) * parameters.nHeight * nComponents;
  const double dRatio = 10 * std::log10(g_dPeak * g_dPeak * dSamples / std::max(dNoise, 1e-3));
  return std::clamp(dRatio, dUsual - dMostBelow, dHighest);
}

}  // namespace BSE
