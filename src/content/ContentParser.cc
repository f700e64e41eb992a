// Operators are rows of a table (Operator.h), which has their class and the numbers they take. Each passes
// two gates: whether it may be where it is (ContentStates.cc), and whether its operands are there and of the
// right types. Only then the operation of its name is called. Other viewers show damaged content as far as
// they can, and so does this: of too many operands the last ones count, an operator that is refused takes all
// of its operands with it, and parsing goes on after it. What belongs to inline images alone ends the content
// when it is met elsewhere, since data may follow. The files of this class are ContentStates.cc,
// ContentStateOperators.cc, ContentText.cc and ContentXObjects.cc.

#include "content/ContentParser.h"

#include "base/Tracer.h"
#include "content/StatusCodes.h"

#include <cmath>

namespace PDF
{

CContentParser::CContentParser(CContentEnvironment& environment,
                               const BSE::CObjectPtr<CContentStream>& pStream, const TRectangle& box,
                               int nRotation, BSE::IErrorContext* pErrorContext)
    : CContentParserBase(environment, pStream, pErrorContext), m_box(box), m_nRotation(nRotation)
{
}

CContentParser::~CContentParser()
{
  GetEnvironment().DropSavedStates(m_nSaved);
}

void CContentParser::Rewind()
{
  CContentParserBase::Rewind();
  m_nObject = eObjectPage;
  m_bCompatible = m_bPathOpen = m_bTextInterrupted = m_bStopped = false;
}

TMatrix CContentParser::GetBoxMatrix(const TRectangle& box, int nRotation)
{
  TMatrix matrix;
  // Clockwise, as Rotate has it (ISO 32000-1, Table 30).
  nRotation = ((nRotation % 360) + 360) % 360;
  if (nRotation == 90)
    matrix = {0, -1, 1, 0, 0, box.GetWidth()};
  else if (nRotation == 180)
    matrix = {-1, 0, 0, -1, box.GetWidth(), box.GetHeight()};
  else if (nRotation == 270)
    matrix = {0, 1, -1, 0, box.GetHeight(), 0};
  return TMatrix{1, 0, 0, 1, -box.m_dLeft, -box.m_dBottom} * matrix;
}

bool CContentParser::Parse(CParserContext* pContext, bool bCompatible)
{
  if (!pContext || !GetContent().IsValid())
    return false;
  Begin(pContext);
  Rewind();
  m_bCompatible = bCompatible;
  // The box of a form clips it, and does not move it.
  if (!m_pAround)
    m_state.m_ctm = GetBoxMatrix(m_box, m_nRotation) * m_state.m_ctm;
  int nToken = eTokenNone;
  while (nToken != eTokenEnd && nToken != eTokenInvalid)
    nToken = ParseNextOperator();
  if (!m_pAround && GetContent().HasGap() && !GetContent().HasRead())
    ReportDropped(g_nContentUnreadable, "name", "");
  if (m_nObject == eObjectText)
  {
    Report(g_nEndTextMissing);
    EndText();
  }
  if (m_bPathOpen)
  {
    Report(g_nPathNotPainted);
    EndPath();
  }
  Begin(nullptr);
  return nToken == eTokenEnd;
}

int CContentParser::DropOperator(unsigned nCode)
{
  ReportDropped(nCode);
  return static_cast<int>(GetOperands().size());
}

// In strict mode a number that is too large is cut to the limit and reported.
bool CContentParser::GetNumber(const TOperand& operand, double& dNumber)
{
  if (operand.m_nType != eTokenInteger && operand.m_nType != eTokenReal)
    return false;
  dNumber = operand.m_dNumber;
  if (!GetEnvironment().IsStrict())
    return true;
  // PDF/A-1 limits reals to 16 bits (PDF Reference 1.4, Table C.1), the later parts integers to 32 bits (ISO
  // 19005-2, 6.1.13).
  const bool bFirst = GetEnvironment().GetDocument().GetFile().GetConformance().GetPart() == 1;
  if (std::abs(dNumber) > (bFirst ? 32767.00000001 : 2147483647.0))
  {
    Report(bFirst ? g_nNumberAbove15Bits : g_nNumberAbove31Bits);
    if (bFirst)
      dNumber = dNumber > 0 ? 32767 : -32767;
    else
      dNumber = dNumber > 0 ? 2147483647.0 : -2147483648.0;
  }
  return true;
}

int CContentParser::ExecuteOperator(int nOperator)
{
  const TOperatorRow& row = GetOperatorRow(nOperator);
  if (nOperator == eOpI || nOperator == eOpRl || nOperator == eOpEI || nOperator == eOpID)
  {
    ReportDropped(g_nInvalidOperator);
    return -1;
  }
  if (!Admit(nOperator, row.m_nClass))
    return static_cast<int>(GetOperands().size());
  int nConsumed = row.m_nNumbers;
  if (nConsumed >= 0)
    nConsumed = ExecuteNumbers(nOperator, nConsumed);
  else
    switch (row.m_nClass)
    {
    case eClassColor:
      nConsumed = ExecuteColor(nOperator);
      break;
    case eClassTextShow:
      nConsumed = ExecuteShow(nOperator);
      break;
    case eClassMarkedContent:
      nConsumed = ExecuteMarked(nOperator);
      break;
    default:
      nConsumed = nOperator == eOpDash   ? ExecuteDash()
                  : nOperator == eOpFont ? ExecuteFont()
                                         : ExecuteNamed(nOperator);
      break;
    }
  return m_bStopped ? -1 : nConsumed;
}

int CContentParser::ExecuteNumbers(int nOperator, int nCount)
{
  const std::span<const TOperand> operands = GetOperands();
  if (operands.size() < static_cast<std::size_t>(nCount))
    return DropOperator(g_nOperandCount);
  double aNumbers[6] = {};
  const auto last = operands.last(static_cast<std::size_t>(nCount));
  for (std::size_t i = 0; i < last.size(); ++i)
    if (!GetNumber(last[i], aNumbers[i]))
      return DropOperator(g_nOperandCount);
  switch (GetOperatorRow(nOperator).m_nClass)
  {
  case eClassGeneral:
    ExecuteState(nOperator, aNumbers);
    break;
  case eClassPath:
    ExecutePath(nOperator, aNumbers);
    break;
  case eClassPaint:
    ExecutePaint(nOperator);
    break;
  case eClassTextState:
  case eClassTextPosition:
    ExecuteText(nOperator, aNumbers);
    break;
  case eClassColor:
    ExecuteDeviceColor(nOperator, {aNumbers, static_cast<std::size_t>(nCount)});
    break;
  case eClassInlineImage:
    return ExecuteInlineImage();
  case eClassType3:
    if (nOperator == eOpGlyphWidth)
      SetGlyphWidth(aNumbers[0], aNumbers[1]);
    else
      SetGlyphWidthAndBBox(aNumbers[0], aNumbers[1], {aNumbers[2], aNumbers[3], aNumbers[4], aNumbers[5]});
    break;
  default:
    if (nOperator == eOpConcat)
      Transform({aNumbers[0], aNumbers[1], aNumbers[2], aNumbers[3], aNumbers[4], aNumbers[5]});
    else
      ExecuteSimple(nOperator);
    break;
  }
  return nCount;
}

void CContentParser::ExecuteSimple(int nOperator)
{
  switch (nOperator)
  {
  case eOpSave:
    return Save();
  case eOpRestore:
    return Restore();
  case eOpClip:
  case eOpEoClip:
    SetClipRule(nOperator == eOpEoClip);
    return Clip();
  case eOpBT:
    m_state.m_textMatrix = m_state.m_lineMatrix = TMatrix();
    return BeginText();
  case eOpET:
    return EndText();
  case eOpEMC:
    return EndMarkedContent();
  case eOpBX:
    m_bCompatible = !GetEnvironment().IsStrict();
    return;
  case eOpEX:
    m_bCompatible = false;
    return;
  default:
    return;
  }
}

bool CContentParser::CheckRange(double dValue, double dMax)
{
  if (dValue >= 0 && dValue <= dMax)
    return true;
  ReportDropped(g_nOperandRange, "value", dValue);
  return false;
}

void CContentParser::ExecuteState(int nOperator, const double* pNumbers)
{
  const double dValue = pNumbers[0];
  switch (nOperator)
  {
  case eOpLineWidth:
    return SetLineWidth(dValue);
  case eOpMiterLimit:
    return SetMiterLimit(dValue);
  case eOpLineCap:
    if (CheckRange(dValue, 2))
      SetLineCap(static_cast<int>(dValue));
    return;
  case eOpLineJoin:
    if (CheckRange(dValue, 2))
      SetLineJoin(static_cast<int>(dValue));
    return;
  case eOpFlatness:
    if (dValue < 0 || dValue > 100)
      Report(g_nOperandRange, "value", dValue);
    return SetFlatness(std::min(std::max(dValue, 0.0), 100.0));
  default:
    return;
  }
}

void CContentParser::ExecutePath(int nOperator, const double* pNumbers)
{
  const double* p = pNumbers;
  const double dX = m_dX;
  const double dY = m_dY;
  switch (nOperator)
  {
  case eOpMove:
    m_dX = m_dStartX = p[0];
    m_dY = m_dStartY = p[1];
    return MoveTo(p[0], p[1]);
  case eOpLine:
    m_dX = p[0];
    m_dY = p[1];
    return LineTo(p[0], p[1]);
  case eOpCurve:
    m_dX = p[4];
    m_dY = p[5];
    return CurveTo(p[0], p[1], p[2], p[3], p[4], p[5]);
  case eOpCurveFromHere:
    m_dX = p[2];
    m_dY = p[3];
    return CurveTo(dX, dY, p[0], p[1], p[2], p[3]);
  case eOpCurveToEnd:
    m_dX = p[2];
    m_dY = p[3];
    return CurveTo(p[0], p[1], p[2], p[3], p[2], p[3]);
  case eOpRectangle:
    m_dX = m_dStartX = p[0];
    m_dY = m_dStartY = p[1];
    return Rectangle(p[0], p[1], p[2], p[3]);
  default:
    m_dX = m_dStartX;
    m_dY = m_dStartY;
    return ClosePath();
  }
}

void CContentParser::ExecutePaint(int nOperator)
{
  if (!IsVisible())
    return EndPath();
  m_bEmpty = m_bEmpty && nOperator == eOpEndPath;
  if (nOperator == eOpCloseFill || nOperator == eOpEoCloseFill || nOperator == eOpCloseStroke)
    ClosePath();
  switch (nOperator)
  {
  case eOpEndPath:
    return EndPath();
  case eOpStroke:
  case eOpCloseStroke:
    return Stroke();
  case eOpFill:
  case eOpFillOld:
  case eOpEoFill:
    SetFillRule(nOperator == eOpEoFill);
    return Fill();
  default:
    SetFillRule(nOperator == eOpEoFillStroke || nOperator == eOpEoCloseFill);
    return StrokeAndFill();
  }
}

void CContentParser::ExecuteText(int nOperator, const double* pNumbers)
{
  const double dValue = pNumbers[0];
  switch (nOperator)
  {
  case eOpCharSpacing:
    return SetCharSpacing(dValue);
  case eOpWordSpacing:
    return SetWordSpacing(dValue);
  case eOpScaling:
    return SetHorizontalScaling(dValue);
  case eOpLeading:
    return SetLeading(dValue);
  case eOpRise:
    return SetRise(dValue);
  case eOpRenderMode:
    if (CheckRange(dValue, 7))
      SetRenderMode(static_cast<int>(dValue));
    return;
  case eOpMoveSetLead:
    SetLeading(-pNumbers[1]);
    return MoveTextPosition(pNumbers[0], pNumbers[1]);
  case eOpMoveText:
    return MoveTextPosition(pNumbers[0], pNumbers[1]);
  case eOpTextMatrix:
    return SetTextMatrix({pNumbers[0], pNumbers[1], pNumbers[2], pNumbers[3], pNumbers[4], pNumbers[5]});
  default:
    return MoveTextPosition(0, m_state.m_text.m_dLeading);
  }
}

void CContentParser::ExecuteDeviceColor(int nOperator, std::span<const double> numbers)
{
  const char* szSpace = numbers.size() == 1 ? "DeviceGray" : numbers.size() == 3 ? "DeviceRGB" : "DeviceCMYK";
  if (nOperator == eOpStrokeGray || nOperator == eOpStrokeRGB || nOperator == eOpStrokeCMYK)
  {
    SetStrokeColorSpace(szSpace);
    SetStrokeColor({numbers, nullptr});
    return;
  }
  SetFillColorSpace(szSpace);
  SetFillColor({numbers, nullptr});
}

int CContentParser::ExecuteColor(int nOperator)
{
  if (nOperator == eOpCS || nOperator == eOpFillSpace)
    return ExecuteNamed(nOperator);
  const bool bStroke = nOperator == eOpStrokeColor || nOperator == eOpSCN;
  const TColorState& state = bStroke ? m_state.m_stroke : m_state.m_fill;
  std::span<const TOperand> operands = GetOperands();
  const auto nAll = static_cast<int>(operands.size());
  TColorValue color;
  if (!operands.empty() && operands.back().m_nType == eTokenName)
  {
    color.m_szPattern = GetText(operands.back());
    operands = operands.first(operands.size() - 1);
  }
  else if (state.m_nFamily == eFamilyPattern)
    return DropOperator(g_nOperandNoName);
  const int nCount = color.m_szPattern ? -1 : state.GetComponentCount();
  if (nCount >= 0 && operands.size() > static_cast<std::size_t>(nCount))
    operands = operands.last(static_cast<std::size_t>(nCount));
  double aNumbers[g_nMaxColorComponents];
  if (operands.size() > g_nMaxColorComponents || static_cast<int>(operands.size()) < nCount ||
      (operands.empty() && !color.m_szPattern))
    return DropOperator(g_nOperandCount);
  for (std::size_t i = 0; i < operands.size(); ++i)
    if (!GetNumber(operands[i], aNumbers[i]))
      return DropOperator(g_nOperandCount);
  color.m_components = {aNumbers, operands.size()};
  if (bStroke)
    SetStrokeColor(color);
  else
    SetFillColor(color);
  return nAll;
}

int CContentParser::ExecuteNamed(int nOperator)
{
  const std::span<const TOperand> operands = GetOperands();
  if (operands.empty())
    return DropOperator(g_nOperandCount);
  if (operands.back().m_nType != eTokenName)
    return DropOperator(g_nOperandNoName);
  const char* szName = GetText(operands.back());
  switch (nOperator)
  {
  case eOpCS:
    SetStrokeColorSpace(szName);
    break;
  case eOpFillSpace:
    SetFillColorSpace(szName);
    break;
  case eOpDo:
    DoXObject(szName);
    break;
  case eOpExtGState:
    SetExtGState(szName);
    break;
  case eOpIntent:
    SetRenderingIntent(szName);
    break;
  default:
    if (IsVisible())
    {
      m_bEmpty = false;
      PaintShading(szName);
    }
    break;
  }
  return 1;
}

int CContentParser::ExecuteFont()
{
  const std::span<const TOperand> operands = GetOperands();
  if (operands.size() < 2)
    return DropOperator(g_nOperandCount);
  const TOperand& name = operands[operands.size() - 2];
  double dSize = 0;
  if (name.m_nType != eTokenName)
    return DropOperator(g_nOperandNoName);
  if (!GetNumber(operands.back(), dSize))
    return DropOperator(g_nOperandCount);
  SetFont(GetText(name), dSize);
  return 2;
}

// The elements of the array that the last of the operands closes; null data if none does.
std::span<const TOperand> CContentParser::GetArray(std::span<const TOperand> operands) const
{
  if (operands.empty() || operands.back().m_nType != eTokenArrayEnd || operands.back().m_nCount < 2)
    return {};
  return operands.last(static_cast<std::size_t>(operands.back().m_nCount))
      .subspan(1)
      .first(static_cast<std::size_t>(operands.back().m_nCount - 2));
}

int CContentParser::ExecuteDash()
{
  const std::span<const TOperand> operands = GetOperands();
  if (operands.size() < 2)
    return DropOperator(g_nOperandCount);
  double dPhase = 0;
  const std::span<const TOperand> elements = GetArray(operands.first(operands.size() - 1));
  if (!elements.data())
    return DropOperator(g_nOperandNoArray);
  if (elements.size() > g_nMaxDashes)
  {
    ReportDropped(g_nOperandRange, "value", static_cast<long long>(elements.size()));
    return static_cast<int>(operands.size());
  }
  double aLengths[g_nMaxDashes] = {};
  for (std::size_t i = 0; i < elements.size(); ++i)
    if (!GetNumber(elements[i], aLengths[i]))
      return DropOperator(g_nOperandNoArray);
  if (!GetNumber(operands.back(), dPhase))
    return DropOperator(g_nOperandCount);
  SetDash({aLengths, elements.size()}, dPhase);
  return static_cast<int>(elements.size()) + 3;
}

int CContentParser::ExecuteShow(int nOperator)
{
  if (nOperator == eOpShowArray)
    return ExecuteShowArray();
  if (nOperator == eOpShowSpaced)
    return ExecuteShowSpaced();
  const std::span<const TOperand> operands = GetOperands();
  if (operands.empty())
    return DropOperator(g_nOperandCount);
  if (operands.back().m_nType != eTokenString)
    return DropOperator(g_nOperandNoString);
  if (nOperator == eOpShowNextLine)
    MoveTextPosition(0, m_state.m_text.m_dLeading);
  ShowString(GetString(operands.back()));
  return 1;
}

int CContentParser::ExecuteShowSpaced()
{
  const std::span<const TOperand> operands = GetOperands();
  if (operands.size() < 3)
    return DropOperator(g_nOperandCount);
  const std::span<const TOperand> last = operands.last(3);
  double dWordSpacing = 0;
  double dCharSpacing = 0;
  if (!GetNumber(last[0], dWordSpacing) || !GetNumber(last[1], dCharSpacing))
    return DropOperator(g_nOperandCount);
  if (last[2].m_nType != eTokenString)
    return DropOperator(g_nOperandNoString);
  SetWordSpacing(dWordSpacing);
  SetCharSpacing(dCharSpacing);
  MoveTextPosition(0, m_state.m_text.m_dLeading);
  ShowString(GetString(last[2]));
  return 3;
}

int CContentParser::ExecuteShowArray()
{
  const std::span<const TOperand> operands = GetOperands();
  if (operands.empty())
    return DropOperator(g_nOperandCount);
  const std::span<const TOperand> elements = GetArray(operands);
  if (!elements.data())
    return DropOperator(g_nOperandNoArray);
  ShowTextArray(elements);
  return static_cast<int>(elements.size()) + 2;
}

int CContentParser::ExecuteMarked(int nOperator)
{
  const std::span<const TOperand> operands = GetOperands();
  if (operands.empty())
    return DropOperator(g_nOperandCount);
  const bool bBegin = nOperator == eOpBMC || nOperator == eOpBDC;
  std::span<const TOperand> properties;
  if (nOperator == eOpBDC || nOperator == eOpDP)
  {
    const TOperand& last = operands.back();
    if (last.m_nType == eTokenName)
      properties = operands.last(1);
    else if (last.m_nType == eTokenDictionaryEnd && last.m_nCount >= 2)
      properties = operands.last(static_cast<std::size_t>(last.m_nCount));
    else
      ReportDropped(g_nOperandNoDictionary);
  }
  // A sequence that begins also ends, whatever it begins with: without it the end would close another one.
  const std::span<const TOperand> before = operands.first(operands.size() - properties.size());
  const bool bTag = !before.empty() && before.back().m_nType == eTokenName;
  if (!bTag)
    ReportDropped(g_nOperandNoName);
  const char* szTag = bTag ? GetText(before.back()) : "";
  if (bBegin)
    BeginMarkedContent(szTag, properties);
  else if (bTag)
    MarkPoint(szTag, properties);
  return static_cast<int>(properties.size() + (before.empty() ? 0 : 1));
}

}  // namespace PDF
