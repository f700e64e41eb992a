#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <string>

namespace BSE
{

// A bilevel image in rows of whole bytes, high bit first; the bits beyond the width are 0.
struct TBitmap
{
  TBitmap(int nWidth, int nHeight)
      : m_nWidth(nWidth), m_nHeight(nHeight), m_rows(GetRowSize() * static_cast<size_t>(nHeight), '\0')
  {
  }

  size_t GetRowSize() const { return (static_cast<size_t>(m_nWidth) + 7) / 8; }

  bool Get(int x, int y) const
  {
    if (x < 0 || y < 0 || x >= m_nWidth || y >= m_nHeight)
      return false;
    return (m_rows[GetIndex(x, y)] & 0x80 >> (x & 7)) != 0;
  }

  void Invert(int x, int y)
  {
    if (x >= 0 && y >= 0 && x < m_nWidth && y < m_nHeight)
      m_rows[GetIndex(x, y)] = static_cast<char>(m_rows[GetIndex(x, y)] ^ 0x80 >> (x & 7));
  }

  void Set(int x, int y)
  {
    if (!Get(x, y))
      Invert(x, y);
  }

  size_t GetIndex(int x, int y) const
  {
    return static_cast<size_t>(y) * GetRowSize() + static_cast<size_t>(x) / 8;
  }

  int m_nWidth;
  int m_nHeight;
  std::string m_rows;
};

// Every so many pixels of a thousand are set at random.
inline TBitmap MakeNoise(int nWidth, int nHeight, unsigned nDensity, unsigned nSeed)
{
  std::mt19937 random(nSeed);
  TBitmap bitmap(nWidth, nHeight);
  for (int y = 0; y < nHeight; ++y)
  {
    for (int x = 0; x < nWidth; ++x)
      if (random() % 1000 < nDensity)
        bitmap.Set(x, y);
  }
  return bitmap;
}

// Lines of letters: shapes of a few strokes that come again and again, some of them with a pixel that
// differs, with rules between the lines.
inline TBitmap MakePage(int nWidth, int nHeight, unsigned nSeed)
{
  std::mt19937 random(nSeed);
  TBitmap bitmap(nWidth, nHeight);
  std::array<TBitmap, 12> shapes{TBitmap(13, 18), TBitmap(13, 18), TBitmap(9, 18),  TBitmap(9, 12),
                                 TBitmap(11, 12), TBitmap(5, 18),  TBitmap(11, 13), TBitmap(16, 12),
                                 TBitmap(8, 8),   TBitmap(3, 3),   TBitmap(70, 20), TBitmap(12, 17)};
  for (TBitmap& shape : shapes)
  {
    for (auto nStrokes = 2 + random() % 3; nStrokes > 0; --nStrokes)
    {
      const int x0 = static_cast<int>(random() % static_cast<unsigned>(shape.m_nWidth));
      const int x1 = static_cast<int>(random() % static_cast<unsigned>(shape.m_nWidth));
      for (int y = 0; y < shape.m_nHeight; ++y)
      {
        const int x = x0 + (x1 - x0) * y / shape.m_nHeight;
        shape.Set(x, y);
        shape.Set(x + 1, y);
      }
    }
  }
  for (int nTop = 4; nTop < nHeight; nTop += 26)
  {
    for (int nLeft = 5; nLeft < nWidth;)
    {
      const TBitmap& shape = shapes[random() % shapes.size()];
      for (int y = 0; y < shape.m_nHeight; ++y)
      {
        for (int x = 0; x < shape.m_nWidth; ++x)
          if (shape.Get(x, y))
            bitmap.Set(nLeft + x, nTop + y);
      }
      if (random() % 8 == 0)
        bitmap.Invert(nLeft + static_cast<int>(random() % 9), nTop + static_cast<int>(random() % 9));
      nLeft += shape.m_nWidth + 2 + static_cast<int>(random() % 2 * 8);
    }
    if (random() % 4 == 0)
      for (int x = 3; x < nWidth - 3; ++x)
        bitmap.Set(x, nTop + 22);
  }
  return bitmap;
}

}  // namespace BSE
