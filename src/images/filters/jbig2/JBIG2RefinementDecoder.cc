#include "images/filters/jbig2/JBIG2RefinementDecoder.h"

#include <algorithm>

namespace BSE
{

namespace
{

constexpr int g_nWordBits = CJBIG2Bitmap::g_nWordBits;

}  // namespace

CJBIG2RefinementDecoder::CJBIG2RefinementDecoder(CJBIG2Run& run, const TJBIG2RefinementForm& form)
    : m_run(run), m_form(form)
{
  m_contexts.SetSize(TJBIG2RefinementForm::g_nContexts);
}

bool CJBIG2RefinementDecoder::Decode(CJBIG2ArithmeticDecoder& decoder, CJBIG2Bitmap& bitmap,
                                     const TJBIG2Reference& reference)
{
  if (bitmap.GetStride() == 0)
    return true;
  bool bPredicted = false;
  for (int y = 0; y < bitmap.GetHeight(); ++y)
  {
    if (m_form.m_bTypical && decoder.Decode(m_contexts.GetData()[TJBIG2RefinementForm::g_nTypical]) != 0)
      bPredicted = !bPredicted;
    if (!DecodeRow(decoder, bitmap, reference, y, bPredicted))
      return false;
    if (decoder.HasOverrun())
      return m_run.Fail("the data ends too early");
  }
  return true;
}

bool CJBIG2RefinementDecoder::DecodeRow(CJBIG2ArithmeticDecoder& shared, CJBIG2Bitmap& bitmap,
                                        const TJBIG2Reference& reference, int y, bool bPredicted)
{
  CJBIG2ArithmeticDecoder decoder(shared);
  CJBIG2RefinementWindow window(m_form, bitmap, reference, y);
  std::uint64_t* const pRow = bitmap.GetRow(y);
  unsigned nValue = 0;
  for (int i = 0; i < bitmap.GetStride() && !decoder.HasOverrun(); ++i)
  {
    const int nBits = std::min(bitmap.GetWidth() - i * g_nWordBits, g_nWordBits);
    if (!m_run.Spend(2 * nBits))
      return false;
    window.Load();
    std::uint64_t nUniform = 0;
    std::uint64_t nBlack = 0;
    if (bPredicted)
      window.FindUniform(nUniform, nBlack);
    for (int nFromRight = g_nWordBits - 1; nFromRight >= g_nWordBits - nBits; --nFromRight)
    {
      window.Move(nValue);
      if ((nUniform >> nFromRight & 1) != 0)
        nValue = static_cast<unsigned>(nBlack >> nFromRight & 1);
      else
        nValue = decoder.Decode(m_contexts.GetData()[window.GetContext()]);
      pRow[i] |= std::uint64_t{nValue} << nFromRight;
    }
  }
  shared = decoder;
  return true;
}

}  // namespace BSE
