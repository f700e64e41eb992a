#include "images/filters/jbig2/JBIG2Halftone.h"

#include "images/filters/jbig2/JBIG2Integers.h"
#include "images/filters/jbig2/JBIG2MMR.h"

namespace BSE
{

namespace
{

// Work of a place in the grid besides its pixels.
constexpr int g_nPlaceWork = 4;

}  // namespace

CObjectPtr<CJBIG2PatternDictionary> DecodeJBIG2Patterns(CJBIG2Run& run, const TJBIG2PatternForm& form,
                                                        std::span<const unsigned char> data)
{
  // All patterns side by side in one bitmap, which is predicted from the pattern to the left.
  const std::int64_t nCount = std::int64_t{form.m_nLast} + 1;
  const CJBIG2BitmapPtr pAll = CJBIG2Bitmap::Create(run, nCount * form.m_nWidth, form.m_nHeight);
  if (!pAll)
    return nullptr;
  TJBIG2GenericForm generic = TJBIG2GenericForm::Make(form.m_nTemplate);
  generic.m_movable[0] = {-form.m_nWidth, 0};
  CJBIG2ArithmeticDecoder decoder(form.m_bMMR ? std::span<const unsigned char>() : data);
  std::size_t nTaken = 0;
  if (form.m_bMMR ? !DecodeJBIG2MMR(run, data, *pAll, nTaken)
                  : !CJBIG2GenericDecoder(run, generic).Decode(decoder, *pAll))
    return nullptr;
  CObjectPtr<CJBIG2PatternDictionary> pDictionary(new CJBIG2PatternDictionary);
  for (std::int64_t i = 0; i < nCount; ++i)
  {
    const CJBIG2BitmapPtr pPattern = pAll->CopyPart(run, i * form.m_nWidth, 0, form.m_nWidth, form.m_nHeight);
    if (!pPattern || !run.Spend(pPattern->GetWork()))
      return nullptr;
    pDictionary->m_patterns.Add(pPattern.Get());
  }
  return pDictionary;
}

std::int64_t CJBIG2HalftoneDecoder::GetX(int nRow, int nColumn) const
{
  return (m_form.m_x + std::int64_t{nRow} * m_form.m_nStepY + std::int64_t{nColumn} * m_form.m_nStepX) >> 8;
}

std::int64_t CJBIG2HalftoneDecoder::GetY(int nRow, int nColumn) const
{
  return (m_form.m_y + std::int64_t{nRow} * m_form.m_nStepX - std::int64_t{nColumn} * m_form.m_nStepY) >> 8;
}

bool CJBIG2HalftoneDecoder::MakeSkip(const CJBIG2Bitmap& bitmap)
{
  m_pSkip = CJBIG2Bitmap::Create(m_run, m_form.m_nColumns, m_form.m_nRows);
  if (!m_pSkip)
    return false;
  const CJBIG2Bitmap& pattern = *m_patterns[0];
  for (int nRow = 0; nRow < m_pSkip->GetHeight(); ++nRow)
  {
    if (!m_run.Spend(m_pSkip->GetWidth()))
      return false;
    for (int nColumn = 0; nColumn < m_pSkip->GetWidth(); ++nColumn)
    {
      const std::int64_t x = GetX(nRow, nColumn);
      const std::int64_t y = GetY(nRow, nColumn);
      if (x + pattern.GetWidth() <= 0 || x >= bitmap.GetWidth() || y + pattern.GetHeight() <= 0 ||
          y >= bitmap.GetHeight())
        m_pSkip->FillRun(nRow, nColumn, nColumn + 1);
    }
  }
  return true;
}

bool CJBIG2HalftoneDecoder::DecodePlanes(std::span<const unsigned char> data)
{
  CJBIG2ArithmeticDecoder decoder(m_form.m_bMMR ? std::span<const unsigned char>() : data);
  CJBIG2GenericDecoder generic(m_run, TJBIG2GenericForm::Make(m_form.m_nTemplate));
  for (int i = GetJBIG2CodeBits(m_patterns.GetSize()); i > 0; --i)
  {
    const CJBIG2BitmapPtr pPlane = CJBIG2Bitmap::Create(m_run, m_form.m_nColumns, m_form.m_nRows);
    if (!pPlane)
      return false;
    std::size_t nTaken = 0;
    if (m_form.m_bMMR ? !DecodeJBIG2MMR(m_run, data, *pPlane, nTaken)
                      : !generic.Decode(decoder, *pPlane, m_pSkip.Get()))
      return false;
    data = data.subspan(nTaken);
    // Numbers are in Gray code: each plane is coded by its difference to the one before.
    if (!m_planes.IsEmpty())
      pPlane->Combine(*m_planes[m_planes.GetSize() - 1], 0, 0, eJBIG2Xor);
    if (!m_run.Spend(pPlane->GetWork()))
      return false;
    m_planes.Add(pPlane.Get());
  }
  return true;
}

bool CJBIG2HalftoneDecoder::Draw(CJBIG2Bitmap& bitmap)
{
  const std::int64_t nWork = g_nPlaceWork + m_planes.GetSize() + m_patterns[0]->GetWork();
  for (std::uint32_t nRow = 0; nRow < m_form.m_nRows; ++nRow)
  {
    for (std::uint32_t nColumn = 0; nColumn < m_form.m_nColumns; ++nColumn)
    {
      if (!m_run.Spend(nWork))
        return false;
      int nPattern = 0;
      for (int i = 0; i < m_planes.GetSize(); ++i)
        nPattern = nPattern << 1 | (m_planes[i]->GetPixel(nColumn, nRow) ? 1 : 0);
      if (nPattern >= m_patterns.GetSize())
        return m_run.Fail("a pattern is not in the dictionary");
      const int nGridRow = static_cast<int>(nRow);
      const int nGridColumn = static_cast<int>(nColumn);
      bitmap.Combine(*m_patterns[nPattern], GetX(nGridRow, nGridColumn), GetY(nGridRow, nGridColumn),
                     m_form.m_operator);
    }
  }
  return true;
}

bool CJBIG2HalftoneDecoder::Decode(std::span<const unsigned char> data, CJBIG2Bitmap& bitmap)
{
  return (!m_form.m_bSkip || MakeSkip(bitmap)) && DecodePlanes(data) && Draw(bitmap);
}

}  // namespace BSE
