#pragma once

#include "images/filters/jpx/JPXParameters.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace BSE
{

// Components of the encoded image: one for indices.
inline int GetJPXComponentCount(const CJPXParameters& parameters)
{
  return parameters.Palette.IsEmpty() ? parameters.nChannels : 1;
}

// Whether colours are coded as luminance and chrominance.
inline bool HasColorTransform(const CJPXParameters& parameters)
{
  return parameters.nColorSpace == eJPXRGB && GetJPXComponentCount(parameters) == 3;
}

// Samples of rows that begin at whole bytes.
class CJPXRowReader
{
public:
  CJPXRowReader(std::span<const unsigned char> row, int nDepth) : m_row(row), m_nDepth(nDepth) {}

  int Next()
  {
    int nValue = 0;
    if (m_nDepth == 16)
      nValue = m_row[m_nBit / 8] << 8 | m_row[m_nBit / 8 + 1];
    else
      nValue = m_row[m_nBit / 8] >> (8 - m_nDepth - static_cast<int>(m_nBit % 8)) & ((1 << m_nDepth) - 1);
    m_nBit += static_cast<std::size_t>(m_nDepth);
    return nValue;
  }

  void Skip(std::int64_t nSamples) { m_nBit += static_cast<std::size_t>(nSamples * m_nDepth); }

private:
  std::span<const unsigned char> m_row;
  int m_nDepth;
  std::size_t m_nBit = 0;
};

}  // namespace BSE
