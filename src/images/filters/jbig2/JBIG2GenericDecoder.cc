#include "images/filters/jbig2/JBIG2GenericDecoder.h"

#include "images/filters/jbig2/JBIG2GenericRow.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

using TWord = std::uint64_t;

constexpr int g_nWordBits = CJBIG2Bitmap::g_nWordBits;

// Words that are looked at ahead for a run of white.
constexpr int g_nMaxAhead = 32;

// Work of a word that is passed over in such a run.
constexpr int g_nAheadWork = 2;

}  // namespace

CJBIG2GenericDecoder::CJBIG2GenericDecoder(CJBIG2Run& run, const TJBIG2GenericForm& form)
    : m_run(run), m_form(form)
{
  for (int i = 0; i < form.GetMovableCount(); ++i)
  {
    const TJBIG2Offset& offset = form.m_movable[static_cast<unsigned>(i)];
    if (offset == form.GetDefault(i))
      continue;
    m_moved[static_cast<unsigned>(m_nMoved++)] = {offset, form.GetMovableBit(i)};
    m_nMovedMask |= 1U << form.GetMovableBit(i);
  }
  m_contexts.SetSize(1 << form.GetTemplate().GetBits());
}

bool CJBIG2GenericDecoder::Decode(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap,
                                  const CJBIG2Bitmap* pSkip)
{
  const int nStride = bitmap.GetStride();
  if (nStride == 0)
    return true;
  if (m_white.GetSize() < nStride)
    m_white.SetSize(nStride);
  unsigned nTypical = 0;
  for (int y = 0; y < bitmap.GetHeight(); ++y)
  {
    if (!m_run.Spend(1 + nStride / 16))
      return false;
    if (m_form.m_bTypical)
      nTypical ^= decoder.Decode(m_contexts.GetData()[m_form.GetTemplate().m_nTypical]);
    if (nTypical != 0)
    {
      if (y > 0)
        std::memcpy(bitmap.GetRow(y), bitmap.GetRow(y - 1),
                    static_cast<std::size_t>(nStride) * sizeof(TWord));
    }
    else if (!DecodeRow(decoder, bitmap, y, pSkip))
      return false;
    if (decoder.HasOverrun())
      return m_run.Fail("the data ends too early");
  }
  return true;
}

bool CJBIG2GenericDecoder::DecodeRow(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap, int y,
                                     const CJBIG2Bitmap* pSkip)
{
  if (m_nMoved > 0 || pSkip)
    return DecodeAnyRow(decoder, bitmap, y, pSkip);
  switch (m_form.m_nTemplate)
  {
  case 0:
    return DecodePlainRow<0>(decoder, bitmap, y);
  case 1:
    return DecodePlainRow<1>(decoder, bitmap, y);
  case 2:
    return DecodePlainRow<2>(decoder, bitmap, y);
  default:
    return DecodePlainRow<3>(decoder, bitmap, y);
  }
}

template <int nTemplate>
bool CJBIG2GenericDecoder::DecodePlainRow(CJBIG2ArithmeticDecoder& shared, CJBIG2Bitmap& bitmap, int y)
{
  constexpr TJBIG2Template form = g_jbig2Templates[nTemplate];
  constexpr unsigned nStaying = form.GetStayingBits();
  CJBIG2ArithmeticDecoder decoder(shared);
  TJBIG2Context* const pContexts = m_contexts.GetData();
  const int nWidth = bitmap.GetWidth();
  const int nStride = bitmap.GetStride();
  const TJBIG2RowAbove row1{y > 0 ? bitmap.GetRow(y - 1) : m_white.GetData()};
  const TJBIG2RowAbove row2{y > 1 ? bitmap.GetRow(y - 2) : m_white.GetData()};
  TWord* const pRow = bitmap.GetRow(y);
  const std::int64_t nAllowed = m_run.GetWorkLeft();
  std::int64_t nWork = 0;
  // The context of the pixel before, still without its value.
  unsigned nContext = row1.GetStart(form.m_nReach1) << form.GetShift1() | row2.GetStart(form.m_nReach2)
                                                                              << form.GetShift2();
  unsigned nValue = 0;
  for (int i = 0; i < nStride && nWork <= nAllowed && !decoder.HasOverrun(); ++i)
  {
    TWord nNext1 = row1.Get(i, nStride, form.m_nReach1);
    TWord nNext2 = row2.Get(i, nStride, form.m_nReach2);
    int nBit = 0;
    TWord nWord = 0;
    if (((nContext << 1 & nStaying) | nValue | nNext1 | nNext2) == 0)
    {
      // All is white: the context stays the same as long as white goes on.
      int nEnd = i + 1;
      while (nEnd < nStride && nEnd - i < g_nMaxAhead && row1.Get(nEnd, nStride, form.m_nReach1) == 0 &&
             row2.Get(nEnd, nStride, form.m_nReach2) == 0)
        ++nEnd;
      const int nLength = std::min(nEnd * g_nWordBits, nWidth) - i * g_nWordBits;
      const auto nZeros = static_cast<int>(decoder.DecodeZeros(pContexts[0], nLength));
      nContext = 0;
      nWork += (nEnd - i) * g_nAheadWork;
      if (nZeros == nLength)
      {
        i = nEnd - 1;
        continue;
      }
      i += nZeros / g_nWordBits;
      nNext1 = nNext2 = 0;
      nBit = nZeros % g_nWordBits + 1;
      nWord = nValue = 1;
    }
    const int nBits = std::min(nWidth - i * g_nWordBits, g_nWordBits);
    nWork += nBits;
    for (; nBit < nBits; ++nBit)
    {
      nContext =
          (nContext << 1 & nStaying) | nValue |
          static_cast<unsigned>(nNext1 >> (g_nWordBits - 1)) << form.GetShift1() |
          (form.m_nCount2 > 0 ? static_cast<unsigned>(nNext2 >> (g_nWordBits - 1)) << form.GetShift2() : 0);
      nNext1 <<= 1;
      nNext2 <<= 1;
      nValue = decoder.Decode(pContexts[nContext]);
      nWord = nWord << 1 | nValue;
    }
    pRow[i] = nWord << (g_nWordBits - nBits);
  }
  shared = decoder;
  return m_run.Spend(nWork);
}

bool CJBIG2GenericDecoder::DecodeAnyRow(CJBIG2ArithmeticDecoder& shared, CJBIG2Bitmap& bitmap, int y,
                                        const CJBIG2Bitmap* pSkip)
{
  const TJBIG2Template& form = m_form.GetTemplate();
  const unsigned nStaying = form.GetStayingBits();
  CJBIG2ArithmeticDecoder decoder(shared);
  const int nStride = bitmap.GetStride();
  const TJBIG2RowAbove row1{y > 0 ? bitmap.GetRow(y - 1) : m_white.GetData()};
  const TJBIG2RowAbove row2{y > 1 ? bitmap.GetRow(y - 2) : m_white.GetData()};
  unsigned nContext = row1.GetStart(form.m_nReach1) << form.GetShift1() | row2.GetStart(form.m_nReach2)
                                                                              << form.GetShift2();
  TWord nHistory = 0;  // the last pixels, the nearest one in the low bit
  for (int i = 0; i < nStride && !decoder.HasOverrun(); ++i)
  {
    const int nLeft = i * g_nWordBits;
    const int nBits = std::min(bitmap.GetWidth() - nLeft, g_nWordBits);
    if (!m_run.Spend(nBits + nBits * m_nMoved / 4))
      return false;
    const TWord nNext1 = row1.Get(i, nStride, form.m_nReach1);
    const TWord nNext2 = row2.Get(i, nStride, form.m_nReach2);
    const TWord nSkip = pSkip ? pSkip->GetBits(nLeft, y) : 0;
    std::array<TWord, g_nJBIG2MaxMovable> moved;
    for (unsigned k = 0; k < static_cast<unsigned>(m_nMoved); ++k)
      moved[k] = bitmap.GetBits(std::int64_t{nLeft} + m_moved[k].m_offset.m_x,
                                std::int64_t{y} + m_moved[k].m_offset.m_y);
    for (int nFromRight = g_nWordBits - 1; nFromRight >= g_nWordBits - nBits; --nFromRight)
    {
      nContext = (nContext << 1 & nStaying) | static_cast<unsigned>(nHistory & 1) |
                 static_cast<unsigned>(nNext1 >> nFromRight & 1) << form.GetShift1() |
                 static_cast<unsigned>(nNext2 >> nFromRight & 1) << form.GetShift2();
      unsigned nMoved = nContext & ~m_nMovedMask;
      for (unsigned k = 0; k < static_cast<unsigned>(m_nMoved); ++k)
      {
        const TWord nPixel =
            m_moved[k].IsNear() ? nHistory >> (-m_moved[k].m_offset.m_x - 1) : moved[k] >> nFromRight;
        nMoved |= static_cast<unsigned>(nPixel & 1) << m_moved[k].m_nBit;
      }
      const bool bSkipped = (nSkip >> nFromRight & 1) != 0;
      nHistory = nHistory << 1 | (bSkipped ? 0 : decoder.Decode(m_contexts.GetData()[nMoved]));
    }
    bitmap.GetRow(y)[i] = nHistory << (g_nWordBits - nBits);
  }
  shared = decoder;
  return true;
}

}  // namespace BSE
