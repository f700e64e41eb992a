// Which operators CContentParser admits where (ISO 32000-1, 8.2), and what it does about the others.

#include "content/ContentParser.h"
#include "content/StatusCodes.h"

namespace PDF
{

namespace
{

constexpr const char* g_objectNames[] = {"page description", "path object", "clipping path object",
                                         "text object"};

}  // namespace

void CContentParser::ReportPlace(unsigned nCode, int nOperator)
{
  Report(nCode, "op", GetOperatorText(nOperator), "obj", g_objectNames[m_nObject]);
}

void CContentParser::ReportPlaceStrict(unsigned nCode, int nOperator)
{
  if (GetEnvironment().IsStrict())
    ReportPlace(nCode, nOperator);
}

bool CContentParser::Admit(int nOperator, TOperatorClass nClass)
{
  switch (m_nObject)
  {
  case eObjectPage:
    return AdmitOnPage(nOperator, nClass);
  case eObjectText:
    return AdmitInText(nOperator, nClass);
  default:
    return AdmitInPath(nOperator, nClass);
  }
}

bool CContentParser::AdmitOnPage(int nOperator, TOperatorClass nClass)
{
  switch (nClass)
  {
  case eClassPath:
    if (m_bPathOpen)
      ReportPlace(g_nOperatorNotAllowed, nOperator);
    else if (!StartPath(nOperator, g_nPathStartAssumed))
      return false;
    m_nObject = eObjectPath;
    return true;
  case eClassPaint:
    if (!m_bPathOpen)
    {
      Report(g_nEmptyPathPainted);
      return false;
    }
    ReportPlace(g_nOperatorNotAllowed, nOperator);
    m_bPathOpen = false;
    return true;
  case eClassClip:
    ReportPlaceStrict(g_nOperatorStrict, nOperator);
    return true;
  case eClassTextObject:
    return BeginText(nOperator);
  case eClassTextPosition:
  case eClassTextShow:
    ResumeText();
    return true;
  default:
    return true;
  }
}

bool CContentParser::BeginText(int nOperator)
{
  if (nOperator == eOpET)
  {
    ReportPlace(g_nOperatorDropped, nOperator);
    return false;
  }
  m_nObject = eObjectText;
  m_bTextInterrupted = false;
  return true;
}

bool CContentParser::AdmitInPath(int nOperator, TOperatorClass nClass)
{
  switch (nClass)
  {
  case eClassPath:
    if (m_nObject == eObjectClippingPath)
      ReportPlaceStrict(g_nOperatorStrict, nOperator);
    return true;
  case eClassPaint:
    m_nObject = eObjectPage;
    m_bPathOpen = false;
    return true;
  case eClassClip:
    m_nObject = eObjectClippingPath;
    return true;
  case eClassTextObject:
    return BeginText(nOperator);
  case eClassColor:
    return true;
  case eClassTextPosition:
  case eClassTextShow:
    ResumeText();
    return true;
  default:
    Report(g_nPathNotPainted);
    return true;
  }
}

bool CContentParser::AdmitInText(int nOperator, TOperatorClass nClass)
{
  switch (nClass)
  {
  case eClassSpecial:
    if (nOperator != eOpRestore || !IsOtherTextObject())
      return true;
    ReportPlace(g_nOperatorNotAllowed, nOperator);
    return false;
  case eClassPath:
    return AdmitPathInText(nOperator);
  case eClassPaint:
    if (!m_bPathOpen)
    {
      ReportPlace(g_nOperatorNotAllowed, nOperator);
      return false;
    }
    InterruptText();
    m_bPathOpen = false;
    return true;
  case eClassClip:
    ReportPlaceStrict(g_nOperatorStrict, nOperator);
    return true;
  case eClassTextObject:
    if (nOperator == eOpBT)
    {
      ReportPlace(g_nOperatorDropped, nOperator);
      return false;
    }
    m_nObject = eObjectPage;
    return true;
  case eClassShading:
  case eClassInlineImage:
  case eClassXObject:
    InterruptText();
    return true;
  default:
    return true;
  }
}

bool CContentParser::AdmitPathInText(int nOperator)
{
  ReportPlace(g_nOperatorNotAllowed, nOperator);
  return m_bPathOpen || StartPath(nOperator, g_nPathStartMissing);
}

// A path begins with a point. What goes on from nowhere goes on from the origin; closing nothing is nothing.
bool CContentParser::StartPath(int nOperator, unsigned nCode)
{
  if (nOperator != eOpMove && nOperator != eOpRectangle)
  {
    Report(nCode);
    if (nOperator == eOpClosePath)
      return false;
    MoveTo(0, 0);
    m_dX = m_dY = m_dStartX = m_dStartY = 0;
  }
  m_bPathOpen = true;
  return true;
}

// Text outside a text object is shown all the same, from where text was last.
void CContentParser::ResumeText()
{
  Report(g_nBeginTextMissing);
  m_nObject = eObjectText;
  if (!m_bTextInterrupted)
  {
    BeginText();
    return;
  }
  m_state.m_textMatrix = m_interruptedText;
  m_state.m_lineMatrix = m_interruptedLine;
  m_bTextInterrupted = false;
}

void CContentParser::InterruptText()
{
  Report(g_nEndTextMissing);
  m_interruptedText = m_state.m_textMatrix;
  m_interruptedLine = m_state.m_lineMatrix;
  m_bTextInterrupted = true;
  m_nObject = eObjectPage;
}

// Whether the state that "Q" would bring back belongs to another text object.
bool CContentParser::IsOtherTextObject() const
{
  return m_nSaved > 0 &&
         m_saved[static_cast<std::size_t>(m_nSaved - 1)].m_nTextObject != m_state.m_nTextObject;
}

}  // namespace PDF
