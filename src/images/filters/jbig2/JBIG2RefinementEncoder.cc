#include "images/filters/jbig2/JBIG2RefinementEncoder.h"

#include <algorithm>

namespace BSE
{

CJBIG2RefinementEncoder::CJBIG2RefinementEncoder(int nTemplate)
{
  m_form.m_nTemplate = nTemplate;
  m_contexts.SetSize(TJBIG2RefinementForm::g_nContexts);
}

void CJBIG2RefinementEncoder::Encode(CJBIG2ArithmeticEncoder& encoder, const CJBIG2Bitmap& bitmap,
                                     const TJBIG2Reference& reference)
{
  constexpr int nWordBits = CJBIG2Bitmap::g_nWordBits;
  for (int y = 0; y < bitmap.GetHeight(); ++y)
  {
    CJBIG2RefinementWindow window(m_form, bitmap, reference, y);
    const std::uint64_t* const pRow = bitmap.GetRow(y);
    unsigned nValue = 0;
    for (int i = 0; i < bitmap.GetStride(); ++i)
    {
      window.Load();
      std::uint64_t nWord = pRow[i];
      for (int nBits = std::min(bitmap.GetWidth() - i * nWordBits, nWordBits); nBits > 0; --nBits)
      {
        window.Move(nValue);
        nValue = static_cast<unsigned>(nWord >> (nWordBits - 1));
        nWord <<= 1;
        encoder.Encode(m_contexts.GetData()[window.GetContext()], nValue);
      }
    }
  }
}

}  // namespace BSE
