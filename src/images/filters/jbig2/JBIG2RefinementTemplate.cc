#include "images/filters/jbig2/JBIG2RefinementTemplate.h"

namespace BSE
{

namespace
{

// Template 1 has neither the lower left nor the upper corners of the reference.
constexpr unsigned g_nUsed0 = 0x1FFF;
constexpr unsigned g_nUsed1 = g_nUsed0 & ~(1U << 6 | 1U << 10 | 1U << 12);

constexpr unsigned g_nMovedBit = 1U << 3;
constexpr unsigned g_nMovedReferenceBit = 1U << 12;

}  // namespace

CJBIG2RefinementWindow::CJBIG2RefinementWindow(const TJBIG2RefinementForm& form, const CJBIG2Bitmap& bitmap,
                                               const TJBIG2Reference& reference, int y)
    : m_form(form),
      m_bitmap(bitmap),
      m_reference(reference.m_bitmap),
      m_bPlain(form.IsPlain()),
      m_nUsed(form.m_nTemplate == 0 ? g_nUsed0 : g_nUsed1),
      m_nShift(-reference.m_x),
      m_nReferenceRow(y - reference.m_y),
      m_y(y)
{
  // The strings of the pixel before the first one, as far as they stay in the next.
  m_nStrings = static_cast<unsigned>(m_bitmap.GetBits(-1, y - 1) >> 62) << 1;
  for (int i = 0; i < 3; ++i)
    m_nStrings |= static_cast<unsigned>(m_reference.GetBits(m_nShift - 1, m_nReferenceRow - 1 + i) >> 62)
                  << (10 - 3 * i);
}

void CJBIG2RefinementWindow::Load()
{
  const std::int64_t x = std::int64_t{m_x} + 2;
  m_nAbove = m_bitmap.GetBits(x, m_y - 1);
  for (int i = 0; i < 3; ++i)
    m_references[i] = m_reference.GetBits(m_nShift + x, m_nReferenceRow - 1 + i);
}

void CJBIG2RefinementWindow::FindUniform(std::uint64_t& nUniform, std::uint64_t& nBlack) const
{
  nBlack = ~std::uint64_t{0};
  std::uint64_t nAny = 0;
  for (int i = -1; i <= 1; ++i)
  {
    for (int k = -1; k <= 1; ++k)
    {
      const std::uint64_t nBits = m_reference.GetBits(m_nShift + m_x + 1 + k, m_nReferenceRow + i);
      nBlack &= nBits;
      nAny |= nBits;
    }
  }
  nUniform = nBlack | ~nAny;
}

unsigned CJBIG2RefinementWindow::GetMovedContext() const
{
  const TJBIG2Offset& own = m_form.m_movable[0];
  const TJBIG2Offset& other = m_form.m_movable[1];
  unsigned nContext = m_nStrings & ~(g_nMovedBit | g_nMovedReferenceBit);
  if (m_bitmap.GetPixel(std::int64_t{m_x} + own.m_x, std::int64_t{m_y} + own.m_y))
    nContext |= g_nMovedBit;
  if (m_reference.GetPixel(m_nShift + m_x + other.m_x, m_nReferenceRow + other.m_y))
    nContext |= g_nMovedReferenceBit;
  return nContext;
}

}  // namespace BSE
