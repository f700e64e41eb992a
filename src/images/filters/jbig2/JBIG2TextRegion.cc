#include "images/filters/jbig2/JBIG2TextRegion.h"

namespace BSE
{

namespace
{

constexpr std::int64_t g_nMaxPlace = std::int64_t{1} << 40;

}  // namespace

bool CJBIG2TextDecoder::Move(std::int64_t& nPlace, std::int64_t nStep)
{
  nPlace += nStep;
  return (nPlace < g_nMaxPlace && nPlace > -g_nMaxPlace) || m_run.Fail("a symbol is too far away");
}

bool CJBIG2TextDecoder::Decode(CJBIG2Bitmap& bitmap)
{
  std::int64_t nStep = 0;
  if (!m_codes.ReadStripStep(nStep) || !Move(m_nStrip, -nStep * (1 << m_form.m_nStripBits)))
    return false;
  while (m_nDone < m_form.m_nInstances)
  {
    if (!DecodeStrip(bitmap))
      return false;
  }
  return true;
}

bool CJBIG2TextDecoder::DecodeStrip(CJBIG2Bitmap& bitmap)
{
  std::int64_t nStep = 0;
  if (!m_codes.ReadStripStep(nStep) || !Move(m_nStrip, nStep * (1 << m_form.m_nStripBits)) ||
      !m_codes.ReadFirstStep(nStep) || !Move(m_nFirst, nStep))
    return false;
  m_nAlong = m_nFirst;
  while (true)
  {
    if (!DecodeInstance(bitmap))
      return false;
    ++m_nDone;
    // The end of the last strip is read too: other data may follow it. It need not be there.
    bool bEnd = false;
    const bool bRead = m_codes.ReadStep(nStep, bEnd);
    if (m_nDone >= m_form.m_nInstances)
    {
      m_run.ClearFailure();
      return true;
    }
    if (!bRead || bEnd)
      return bRead;
    if (!Move(m_nAlong, nStep + m_form.m_nStep))
      return false;
  }
}

bool CJBIG2TextDecoder::DecodeInstance(CJBIG2Bitmap& bitmap)
{
  std::int64_t nPlace = 0;
  if (!m_codes.ReadPlace(m_form.m_nStripBits, nPlace))
    return false;
  const CJBIG2BitmapPtr pSymbol = DecodeSymbol();
  if (!pSymbol || !m_run.Spend(pSymbol->GetWork()))
    return false;
  // The place of the symbol is that of its corner; the text goes on after it. What the corner does not
  // account for before the symbol comes after it.
  const bool bFarCorner = m_form.m_bTransposed ? m_form.IsBottom() : m_form.IsRight();
  const int nLength = (m_form.m_bTransposed ? pSymbol->GetHeight() : pSymbol->GetWidth()) - 1;
  if (bFarCorner && !Move(m_nAlong, nLength))
    return false;
  Draw(bitmap, *pSymbol, m_nStrip + nPlace);
  return bFarCorner || Move(m_nAlong, nLength);
}

CJBIG2BitmapPtr CJBIG2TextDecoder::DecodeSymbol()
{
  std::int64_t nSymbol = 0;
  bool bRefined = false;
  if (!m_codes.ReadSymbol(nSymbol) || (m_form.m_bRefined && !m_codes.ReadIsRefined(bRefined)))
    return nullptr;
  if (nSymbol < 0 || nSymbol >= m_symbols.GetSize())
  {
    m_run.Fail("a symbol is not in the dictionaries");
    return nullptr;
  }
  CJBIG2Bitmap* const pSymbol = m_symbols[static_cast<int>(nSymbol)];
  if (!bRefined)
    return pSymbol;
  TJBIG2SymbolChange change;
  if (!m_codes.ReadChange(change))
    return nullptr;
  CJBIG2BitmapPtr pRefined = CJBIG2Bitmap::Create(m_run, pSymbol->GetWidth() + change.m_nWidth,
                                                  pSymbol->GetHeight() + change.m_nHeight);
  // The halves are rounded down, below zero too.
  if (!pRefined || !m_codes.DecodeRefined(*pRefined, {*pSymbol, (change.m_nWidth >> 1) + change.m_x,
                                                      (change.m_nHeight >> 1) + change.m_y}))
    return nullptr;
  return pRefined;
}

void CJBIG2TextDecoder::Draw(CJBIG2Bitmap& bitmap, const CJBIG2Bitmap& symbol, std::int64_t nAcross)
{
  std::int64_t x = m_form.m_bTransposed ? nAcross : m_nAlong;
  std::int64_t y = m_form.m_bTransposed ? m_nAlong : nAcross;
  if (m_form.IsRight())
    x -= symbol.GetWidth() - 1;
  if (m_form.IsBottom())
    y -= symbol.GetHeight() - 1;
  bitmap.Combine(symbol, x, y, m_form.m_operator);
}

}  // namespace BSE
