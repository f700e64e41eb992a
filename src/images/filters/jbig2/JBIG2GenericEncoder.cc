#include "images/filters/jbig2/JBIG2GenericEncoder.h"

#include "images/filters/jbig2/JBIG2GenericRow.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

using TWord = std::uint64_t;

constexpr int g_nWordBits = CJBIG2Bitmap::g_nWordBits;

}  // namespace

CJBIG2GenericEncoder::CJBIG2GenericEncoder(const TJBIG2GenericForm& form) : m_form(form)
{
  m_contexts.SetSize(1 << form.GetTemplate().GetBits());
}

void CJBIG2GenericEncoder::Encode(CJBIG2ArithmeticEncoder& encoder, const CJBIG2Bitmap& bitmap)
{
  const int nStride = bitmap.GetStride();
  if (nStride == 0)
    return;
  if (m_white.GetSize() < nStride)
    m_white.SetSize(nStride);
  bool bTypical = false;
  for (int y = 0; y < bitmap.GetHeight(); ++y)
  {
    if (m_form.m_bTypical)
    {
      const TWord* const pAbove = y > 0 ? bitmap.GetRow(y - 1) : m_white.GetData();
      const bool bEqual =
          std::memcmp(bitmap.GetRow(y), pAbove, static_cast<std::size_t>(nStride) * sizeof(TWord)) == 0;
      encoder.Encode(m_contexts.GetData()[m_form.GetTemplate().m_nTypical], bEqual != bTypical ? 1 : 0);
      bTypical = bEqual;
      if (bEqual)
        continue;
    }
    switch (m_form.m_nTemplate)
    {
    case 0:
      EncodeRow<0>(encoder, bitmap, y);
      break;
    case 1:
      EncodeRow<1>(encoder, bitmap, y);
      break;
    case 2:
      EncodeRow<2>(encoder, bitmap, y);
      break;
    default:
      EncodeRow<3>(encoder, bitmap, y);
    }
  }
}

template <int nTemplate>
void CJBIG2GenericEncoder::EncodeRow(CJBIG2ArithmeticEncoder& encoder, const CJBIG2Bitmap& bitmap, int y)
{
  constexpr TJBIG2Template form = g_jbig2Templates[nTemplate];
  constexpr unsigned nStaying = form.GetStayingBits();
  TJBIG2Context* const pContexts = m_contexts.GetData();
  const int nWidth = bitmap.GetWidth();
  const int nStride = bitmap.GetStride();
  const TJBIG2RowAbove row1{y > 0 ? bitmap.GetRow(y - 1) : m_white.GetData()};
  const TJBIG2RowAbove row2{y > 1 ? bitmap.GetRow(y - 2) : m_white.GetData()};
  const TWord* const pRow = bitmap.GetRow(y);
  // The context of the pixel before, still without its value.
  unsigned nContext = row1.GetStart(form.m_nReach1) << form.GetShift1() | row2.GetStart(form.m_nReach2)
                                                                              << form.GetShift2();
  unsigned nValue = 0;
  for (int i = 0; i < nStride; ++i)
  {
    TWord nNext1 = row1.Get(i, nStride, form.m_nReach1);
    TWord nNext2 = row2.Get(i, nStride, form.m_nReach2);
    if (((nContext << 1 & nStaying) | nValue | nNext1 | nNext2 | pRow[i]) == 0)
    {
      int nEnd = i + 1;
      while (nEnd < nStride && (row1.Get(nEnd, nStride, form.m_nReach1) |
                                row2.Get(nEnd, nStride, form.m_nReach2) | pRow[nEnd]) == 0)
        ++nEnd;
      encoder.EncodeZeros(pContexts[0], std::min(nEnd * g_nWordBits, nWidth) - i * g_nWordBits);
      nContext = 0;
      i = nEnd - 1;
      continue;
    }
    TWord nWord = pRow[i];
    for (int nBits = std::min(nWidth - i * g_nWordBits, g_nWordBits); nBits > 0; --nBits)
    {
      nContext =
          (nContext << 1 & nStaying) | nValue |
          static_cast<unsigned>(nNext1 >> (g_nWordBits - 1)) << form.GetShift1() |
          (form.m_nCount2 > 0 ? static_cast<unsigned>(nNext2 >> (g_nWordBits - 1)) << form.GetShift2() : 0);
      nNext1 <<= 1;
      nNext2 <<= 1;
      nValue = static_cast<unsigned>(nWord >> (g_nWordBits - 1));
      nWord <<= 1;
      encoder.Encode(pContexts[nContext], nValue);
    }
  }
}

}  // namespace BSE
