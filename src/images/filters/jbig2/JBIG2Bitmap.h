#pragma once

#include "base/Object.h"
#include "base/ObjectPtr.h"
#include "images/filters/jbig2/JBIG2Run.h"

#include <cstdint>

namespace BSE
{

// How the pixels of one bitmap meet those of another one (ITU-T T.88, 7.4.1.5).
enum TJBIG2Operator
{
  eJBIG2Or,
  eJBIG2And,
  eJBIG2Xor,
  eJBIG2Xnor,
  eJBIG2Replace
};

// A bilevel image of 1 for black. Its rows are words whose high bit is the leftmost pixel; bits beyond the
// width are 0 and have to stay so.
class CJBIG2Bitmap final : public CObject
{
public:
  static constexpr int g_nWordBits = 64;

  // An all-white bitmap, or null with the reason in the run if it would be larger than an image may be or
  // than the run allows. Either size may be 0. The run outlives the bitmap.
  static CObjectPtr<CJBIG2Bitmap> Create(CJBIG2Run& run, std::int64_t nWidth, std::int64_t nHeight);
  ~CJBIG2Bitmap() override;
  CJBIG2Bitmap(const CJBIG2Bitmap&) = delete;
  CJBIG2Bitmap& operator=(const CJBIG2Bitmap&) = delete;

  bool IsValid() const override { return true; }

  int GetWidth() const { return m_nWidth; }
  int GetHeight() const { return m_nHeight; }

  // Words of a row.
  int GetStride() const { return m_nStride; }

  // A row inside the bitmap.
  std::uint64_t* GetRow(int y) { return m_pWords + static_cast<std::int64_t>(y) * m_nStride; }
  const std::uint64_t* GetRow(int y) const { return m_pWords + static_cast<std::int64_t>(y) * m_nStride; }

  // Pixels anywhere; outside they are white.
  bool GetPixel(std::int64_t x, std::int64_t y) const;

  // 64 pixels from x on, anywhere.
  std::uint64_t GetBits(std::int64_t x, std::int64_t y) const;

  void Fill(bool bBlack);

  // Blackens the pixels from x up to nEnd of a row, all inside.
  void FillRun(int y, int x, int nEnd);

  // Draws another bitmap with its upper left corner at a place, anywhere.
  void Combine(const CJBIG2Bitmap& source, std::int64_t x, std::int64_t y, TJBIG2Operator op);

  // The work of drawing this bitmap.
  std::int64_t GetWork() const { return std::int64_t{m_nHeight} * (m_nStride + 1) / 4 + 4; }

  // A part, white where it is outside; null as for Create.
  CObjectPtr<CJBIG2Bitmap> CopyPart(CJBIG2Run& run, std::int64_t x, std::int64_t y, std::int64_t nWidth,
                                    std::int64_t nHeight) const;

  // The last word of a row with the bits inside the bitmap set.
  std::uint64_t GetLastMask() const
  {
    return ~std::uint64_t{0} << ((g_nWordBits - m_nWidth % g_nWordBits) % g_nWordBits);
  }

private:
  CJBIG2Bitmap(CJBIG2Run& run, int nWidth, int nHeight, int nStride, std::uint64_t* pWords,
               std::int64_t nMemory)
      : m_run(run),
        m_nWidth(nWidth),
        m_nHeight(nHeight),
        m_nStride(nStride),
        m_pWords(pWords),
        m_nMemory(nMemory)
  {
  }

  CJBIG2Run& m_run;
  int m_nWidth;
  int m_nHeight;
  int m_nStride;
  std::uint64_t* m_pWords;
  std::int64_t m_nMemory;
};

using CJBIG2BitmapPtr = CObjectPtr<CJBIG2Bitmap>;

}  // namespace BSE
