#include "content/GraphicsState.h"

namespace PDF
{

int TColorState::GetComponentCount() const
{
  switch (m_nFamily)
  {
  case eFamilyGray:
    return 1;
  case eFamilyRGB:
    return 3;
  case eFamilyCMYK:
    return 4;
  default:
    return m_pSpace ? m_pSpace->GetComponentCount() : -1;
  }
}

void TColorState::SetSpace(TColorFamily nFamily, const CObjectPtr& space,
                           const BSE::CObjectPtr<IContentColorSpace>& pSpace)
{
  m_nFamily = nFamily;
  m_space = space;
  m_pSpace = pSpace;
  m_pattern.Reset();
  double aInitial[g_nMaxColorComponents] = {};
  const int nCount = GetComponentCount();
  if (nCount < 0 || nCount > g_nMaxColorComponents)
  {
    m_components.Assign({});
    return;
  }
  const std::span<double> initial(aInitial, static_cast<std::size_t>(nCount));
  // Black, which in CMYK is the last component.
  if (nFamily == eFamilyCMYK)
    aInitial[3] = 1;
  else if (pSpace && nFamily != eFamilyPattern)
    pSpace->GetInitialColor(initial);
  m_components.Assign(initial);
}

void TTextState::SetFont(const CObjectPtr& font, const BSE::CObjectPtr<IContentFont>& pFont, double dSize)
{
  m_font = font;
  if (pFont == m_pFont && dSize == m_dSize)
    return;
  m_pFont = pFont;
  m_dSize = dSize;
  m_bComposite = pFont && pFont->IsComposite();
  m_bVertical = pFont && pFont->IsVertical();
  m_dGlyphFactor = pFont ? pFont->GetGlyphSpaceFactor() : 0.001;
  m_dSpaceSize = pFont ? m_dGlyphFactor * pFont->GetSpaceWidth() * dSize : 0;
  m_dVerticalSize = pFont ? pFont->GetDefaultVerticalWidth() * m_dGlyphFactor * dSize : 0;
}

}  // namespace PDF
