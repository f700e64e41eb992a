// Text of CContentParser (ISO 32000-1, 9.4).

#include "content/ContentParser.h"
#include "content/StatusCodes.h"

#include <cstdlib>

namespace PDF
{

void CContentParser::BeginText()
{
  // A number of its own for each text object; no stream has enough of them to run out.
  m_state.m_nTextObject = std::abs(m_state.m_nTextObject) + 1;
}

void CContentParser::EndText()
{
  m_state.m_nTextObject = -m_state.m_nTextObject;
}

void CContentParser::MoveTextPosition(double dX, double dY)
{
  m_state.m_lineMatrix.Translate(dX, dY);
  m_state.m_textMatrix = m_state.m_lineMatrix;
}

void CContentParser::SetTextMatrix(const TMatrix& matrix)
{
  m_state.m_textMatrix = m_state.m_lineMatrix = matrix;
}

void CContentParser::SetCharSpacing(double dSpacing)
{
  m_state.m_text.m_dCharSpacing = dSpacing;
}

void CContentParser::SetWordSpacing(double dSpacing)
{
  m_state.m_text.m_dWordSpacing = dSpacing;
}

void CContentParser::SetHorizontalScaling(double dScale)
{
  m_state.m_text.m_dScale = dScale / 100;
}

void CContentParser::SetLeading(double dLeading)
{
  m_state.m_text.m_dLeading = -dLeading;
}

void CContentParser::SetRenderMode(int nMode)
{
  m_state.m_text.m_nRenderMode = nMode;
}

void CContentParser::SetRise(double dRise)
{
  m_state.m_text.m_dRise = dRise;
}

void CContentParser::SetFont(const char* szName, double dSize)
{
  CObjectPtr font;
  BSE::CObjectPtr<IContentFont> pFont = m_pContext->FindFont(szName, font);
  IContentResources* pResources = GetEnvironment().GetResources();
  if (!font || (pResources && !pFont))
  {
    // The text is still there, and is shown in another font.
    ReportDropped(g_nFontUnknown, "name", szName);
    font.Reset();
    pFont = pResources ? pResources->GetDefaultFont() : nullptr;
  }
  SetFontObject(font, pFont, dSize);
}

void CContentParser::SetFontObject(const CObjectPtr& font, const BSE::CObjectPtr<IContentFont>& pFont,
                                   double dSize)
{
  m_state.m_text.SetFont(font, pFont, dSize);
}

void CContentParser::MoveBy(double dX, double dY)
{
  m_state.m_textMatrix.Translate(dX, dY);
}

void CContentParser::ShowText(std::span<const unsigned char> text)
{
  m_bEmpty = m_bEmpty && !(IsVisible() && !text.empty());
  if (!m_state.m_text.m_pFont)
    return;
  double dX = 0;
  double dY = 0;
  for (CTextWalker walker(m_state.m_text, text); walker.Next();)
  {
    dX += walker.GetMoveX();
    dY += walker.GetMoveY();
  }
  MoveBy(dX, dY);
}

void CContentParser::AdjustText(double dValue)
{
  const double dMove = -dValue * 0.001 * m_state.m_text.m_dSize;
  if (m_state.m_text.m_bVertical)
    MoveBy(0, dMove);
  else
    MoveBy(dMove * m_state.m_text.m_dScale, 0);
}

void CContentParser::ShowTextArray(std::span<const TOperand> elements)
{
  for (const TOperand& element : elements)
  {
    double dValue = 0;
    if (element.m_nType == eTokenString)
    {
      if (element.m_nLength > 0)
        ShowText(GetString(element));
    }
    else if (GetNumber(element, dValue))
      AdjustText(dValue);
    else
      ReportDropped(g_nOperandNoString);
  }
}

void CCodeWalker::ReadCompositeCode()
{
  // A code of two bytes that the text cuts has a second byte of 0.
  m_nCode = m_rest[0];
  m_nCodeLength = 1;
  m_nCID = m_font.CodeToCID(m_nCode);
  m_bInvalid = false;
  if (m_nCID != g_nNoCID)
    return;
  m_nCode = m_nCode << 8 | (m_rest.size() > 1 ? m_rest[1] : 0U);
  m_nCodeLength = m_rest.size() > 1 ? 2 : 1;
  m_nCID = m_font.Code2ToCID(m_nCode);
  unsigned nCode = m_nCode;
  for (std::size_t i = 2; m_nCID == g_nNoCID && i < 4 && i < m_rest.size(); ++i)
  {
    nCode = nCode << 8 | m_rest[i];
    const int nLength = static_cast<int>(i) + 1;
    m_nCID = m_font.LongCodeToCID(nCode, nLength);
    if (m_nCID != g_nNoCID)
    {
      m_nCode = nCode;
      m_nCodeLength = nLength;
    }
  }
  m_bInvalid = m_nCID == g_nNoCID;
  if (m_bInvalid)
    m_nCID = 0;
}

bool CCodeWalker::Next()
{
  if (m_rest.empty())
    return false;
  if (m_bComposite)
    ReadCompositeCode();
  else
  {
    m_nCode = m_rest[0];
    m_nCodeLength = 1;
    m_nCID = m_rest[0];
  }
  m_rest = m_rest.subspan(static_cast<std::size_t>(m_nCodeLength));
  return true;
}

bool CTextWalker::Next()
{
  if (!CCodeWalker::Next())
    return false;
  const IContentFont& font = *m_state.m_pFont;
  double dWidth = 0;
  if (m_state.m_bComposite)
    dWidth = m_state.m_bVertical ? font.GetVerticalWidth(GetCID()) : font.GetWidth(GetCID());
  else if (const std::span<const double> widths = font.GetWidths(); GetCode() < widths.size())
    dWidth = widths[GetCode()];
  m_dMove = dWidth * m_state.m_dGlyphFactor * m_state.m_dSize + m_state.m_dCharSpacing;
  if (GetCode() == 32 && GetCodeLength() == 1)
    m_dMove += m_state.m_dWordSpacing;
  if (!m_state.m_bVertical)
    m_dMove *= m_state.m_dScale;
  return true;
}

}  // namespace PDF
