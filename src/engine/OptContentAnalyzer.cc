#include "engine/OptContentAnalyzer.h"

#include "base/Limits.h"
#include "base/Tracer.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace PDF
{

namespace
{

constexpr double g_dFar = std::numeric_limits<double>::max();

// Around everything: for content of which nothing is known to be hidden.
constexpr TRectangle g_everywhere = {-g_dFar, -g_dFar, g_dFar, g_dFar};

void Widen(TRectangle& box, const TMatrix& matrix, double dX, double dY)
{
  const double dLeft = matrix.m_dA * dX + matrix.m_dC * dY + matrix.m_dE;
  const double dBottom = matrix.m_dB * dX + matrix.m_dD * dY + matrix.m_dF;
  box.m_dLeft = std::min(box.m_dLeft, dLeft);
  box.m_dRight = std::max(box.m_dRight, dLeft);
  box.m_dBottom = std::min(box.m_dBottom, dBottom);
  box.m_dTop = std::max(box.m_dTop, dBottom);
}

constexpr TRectangle g_nowhere = {g_dFar, g_dFar, -g_dFar, -g_dFar};

TRectangle MapBox(const TRectangle& box, const TMatrix& matrix)
{
  TRectangle result = g_nowhere;
  for (const double dX : {box.m_dLeft, box.m_dRight})
    for (const double dY : {box.m_dBottom, box.m_dTop})
      Widen(result, matrix, dX, dY);
  return result;
}

// A side of the one that lies outside the other is moved in; what has nothing in common ends as a line.
void Narrow(TRectangle& clip, const TRectangle& box)
{
  clip.m_dLeft = std::max(clip.m_dLeft, box.m_dLeft);
  clip.m_dBottom = std::max(clip.m_dBottom, box.m_dBottom);
  clip.m_dRight = std::max(clip.m_dLeft, std::min(clip.m_dRight, box.m_dRight));
  clip.m_dTop = std::max(clip.m_dBottom, std::min(clip.m_dTop, box.m_dTop));
}

// Whether a transfer function may change anything: one function for all colorants, or one for each (ISO
// 32000-1, 10.5). Names stand for none, or for that of the device.
bool HasFunction(const CObjectPtr& transfer)
{
  constexpr int nMostColorants = 4;
  if (!transfer.IsArray())
    return transfer && !transfer.IsName();
  bool bFound = transfer.GetSize() > nMostColorants;
  for (int i = 0; i < transfer.GetSize() && !bFound; ++i)
    bFound = !transfer[i].IsName();
  return bFound;
}

// Whether a blend mode takes the hue of what is drawn: that of a gray may be any after the smallest error,
// and is as strong as the colours below. A mode may be the first of a list that a reader knows.
bool TakesHue(const CObjectPtr& mode)
{
  constexpr int nMostModes = 16;
  bool bFound = mode.IsName("Hue");
  for (int i = 0; mode.IsArray() && i < std::min(mode.GetSize(), nMostModes) && !bFound; ++i)
    bFound = mode[i].IsName("Hue");
  return bFound;
}

}  // namespace

COptContentAnalyzer::COptContentAnalyzer(CContentAnalysis& analysis, CContentEnvironment& environment,
                                         const BSE::CObjectPtr<CContentStream>& pStream,
                                         const TRectangle& box, int nRotation,
                                         BSE::IErrorContext* pErrorContext)
    : CContentParser(environment, pStream, box, nRotation, pErrorContext),
      m_analysis(analysis),
      m_base(GetBoxMatrix(box, nRotation)),
      m_clip(MapBox(box, m_base))
{
  IgnoreOptionalContent(true);
  CollectNames();
}

COptContentAnalyzer::COptContentAnalyzer(const COptContentAnalyzer& around,
                                         const BSE::CObjectPtr<CContentStream>& pStream,
                                         const TRectangle& box, int nRotation)
    : CContentParser(around.GetEnvironment(), pStream, box, nRotation, around.GetParent()),
      m_analysis(around.m_analysis),
      m_clip(around.m_clip),
      m_bNested(true),
      m_bSteep(around.m_bSteep),
      m_pInherited(around.m_pInherited)
{
  CollectNames();
}

void COptContentAnalyzer::CollectNames()
{
  if (m_analysis.GetUse())
    GetContent().SetNameCollector(&m_names);
}

BSE::CScopedPtr<CContentParser> COptContentAnalyzer::CreateParser(
    const BSE::CObjectPtr<CContentStream>& pStream, const TRectangle& box, int nRotation)
{
  return BSE::CScopedPtr<CContentParser>(new COptContentAnalyzer(*this, pStream, box, nRotation));
}

void COptContentAnalyzer::Begin(CParserContext* pContext)
{
  CContentParser::Begin(pContext);
  if (pContext)
    m_analysis.ListFonts(pContext->GetResources());
  if (!pContext || !m_bNested)
    return;
  // The same content may be drawn again with another font around it, and is not read again for that.
  if (m_state.m_text.m_pFont)
    m_pInherited = m_state.m_text.m_pFont;
  SetFontObject({}, nullptr, m_state.m_text.m_dSize);
  m_base = m_state.m_ctm;
  Narrow(m_clip, MapBox(GetBox(), m_base));
}

bool COptContentAnalyzer::Parse(CParserContext* pContext, bool bCompatible)
{
  const bool bEnded = CContentParser::Parse(pContext, bCompatible);
  if (!pContext)
    return bEnded;
  if (m_analysis.GetUse())
    GetContent().Drain();
  const bool bWhole = bEnded && !GetContent().HasGap() && !GetContent().WasRefused();
  if (!bWhole)
  {
    m_analysis.KeepResources(pContext->GetResources());
    KeepFontAround();
  }
  AddNames(*pContext, bWhole);
  return bEnded;
}

// What a form lacks may be meant for the resources of any page that draws it.
void COptContentAnalyzer::AddNames(CParserContext& context, bool bWhole)
{
  CResourceUse* pUse = m_analysis.GetUse();
  GetContent().SetNameCollector(nullptr);
  if (!pUse)
    return;
  m_names.End();
  if (bWhole && m_names.IsComplete())
  {
    pUse->AddNames(m_names, context);
    pUse->AddRead(GetContent().GetObjNumber());
  }
  else if (context.GetParent())
    pUse->GiveUp();
  else
    pUse->AddAll(context.GetResources());
}

void COptContentAnalyzer::PassOver(const CObjectPtr& form)
{
  m_analysis.KeepResources(form["Resources"]);
  KeepOwn();
  KeepAround();
  KeepFontAround();
}

void COptContentAnalyzer::Save()
{
  if (m_clips.GetSize() < BSE::g_nMaxSavedStates)
    m_clips.Add(m_clip);
  else
    ++m_nUnsaved;
  CContentParser::Save();
}

void COptContentAnalyzer::Restore()
{
  CContentParser::Restore();
  if (m_nUnsaved > 0)
    --m_nUnsaved;
  else if (const int nLast = m_clips.GetSize() - 1; nLast >= 0)
  {
    m_clip = m_clips[nLast];
    m_clips.Truncate(nLast);
  }
}

void COptContentAnalyzer::SetExtGState(const char* szName)
{
  CContentParser::SetExtGState(szName);
  const CObjectPtr state = GetContext()->FindResource("ExtGState", szName);
  if (!state)
    KeepAround();
  if (const CObjectPtr font = state["Font"][0])
    KeepGlyphs(font);
  // A soft mask is drawn by the matrix of this moment (ISO 32000-1, 11.6.5.3).
  const CObjectPtr group = state["SMask"]["G"];
  const std::int64_t nBorrowings = m_analysis.GetBorrowings();
  const bool bSteep = std::exchange(m_bSteep, m_bSteep || HasFunction(state["SMask"]["TR"]));
  if (group.IsStream() && Enter(group, GetCTM(), m_clip))
  {
    ParseContent(group, GetContext()->GetResources(), GetCTM(), szName);
    Leave(group, nBorrowings);
  }
  m_bSteep = bSteep;
}

void COptContentAnalyzer::TraceSpace(const char* szName)
{
  TColorFamily nFamily = eFamilyGray;
  CObjectPtr space;
  BSE::CObjectPtr<IContentColorSpace> pSpace;
  if (BSE::CTracer::IsOn() && !GetContext()->FindColorSpace(szName, nFamily, space, pSpace))
    BSE::CTracer::Trace("E", "PDF Analyzer", "Color space resource not found %s", szName);
}

void COptContentAnalyzer::SetStrokeColorSpace(const char* szName)
{
  CContentParser::SetStrokeColorSpace(szName);
  TraceSpace(szName);
}

void COptContentAnalyzer::SetFillColorSpace(const char* szName)
{
  CContentParser::SetFillColorSpace(szName);
  TraceSpace(szName);
}

void COptContentAnalyzer::SetStrokeColor(const TColorValue& color)
{
  CContentParser::SetStrokeColor(color);
  if (color.m_szPattern)
    AnalyzePattern(GetContext()->FindResource("Pattern", color.m_szPattern));
}

void COptContentAnalyzer::SetFillColor(const TColorValue& color)
{
  CContentParser::SetFillColor(color);
  if (color.m_szPattern)
    AnalyzePattern(GetContext()->FindResource("Pattern", color.m_szPattern));
}

// A cell is drawn in many places, so that any part of it may be visible somewhere.
void COptContentAnalyzer::AnalyzePattern(const CObjectPtr& pattern)
{
  if (!pattern)
    KeepAround();
  const std::int64_t nBorrowings = m_analysis.GetBorrowings();
  if (!pattern.IsStream() || !Enter(pattern, m_base, g_everywhere))
    return;
  const TRectangle clip = m_clip;
  m_clip = g_everywhere;
  ParseContent(pattern, GetContext()->GetResources(), m_base, "");
  m_clip = clip;
  Leave(pattern, nBorrowings);
}

bool COptContentAnalyzer::Enter(const CObjectPtr& form, const TMatrix& matrix, const TRectangle& clip)
{
  if (m_analysis.AddPlace(form, matrix, clip, GetFontAround(), IsSteep()))
    return true;
  if (m_analysis.IsBorrower(form))
  {
    KeepOwn();
    KeepAround();
  }
  return false;
}

void COptContentAnalyzer::Leave(const CObjectPtr& form, std::int64_t nBorrowings)
{
  if (CResourceUse* pUse = m_analysis.GetUse(); pUse && !pUse->IsRead(form.GetObjNumber()))
    m_analysis.KeepResources(form["Resources"]);
  if (m_analysis.GetBorrowings() != nBorrowings)
    m_analysis.AddBorrower(form);
}

void COptContentAnalyzer::KeepOwn()
{
  if (!m_bOwnKept)
    m_analysis.KeepResources(CObjectPtr(GetContext()->GetResources()));
  m_bOwnKept = true;
}

void COptContentAnalyzer::KeepAround()
{
  CParserContext* p = GetContext()->GetParent();
  if (!p)
    return;
  m_analysis.NoteBorrowing();
  for (; p && !m_bAroundKept; p = p->GetParent())
    m_analysis.KeepResources(CObjectPtr(p->GetResources()));
  m_bAroundKept = true;
}

// Text that nobody has read here may be in the font that is set.
void COptContentAnalyzer::KeepFontAround()
{
  // All fonts come from the registry.
  for (IContentFont* pFont : {m_state.m_text.m_pFont.Get(), m_pInherited.Get()})
    if (pFont)
      static_cast<CFont*>(pFont)->SetAllGlyphsUsed();
}

// The procedures of glyphs are drawn by the size of each text and are not followed.
void COptContentAnalyzer::KeepGlyphs(const CObjectPtr& font)
{
  if (!font["Subtype"].IsName("Type3"))
    return;
  const CObjectPtr own = font["Resources"];
  if (own.IsDictionary())
    m_analysis.KeepResources(own);
  if (!m_analysis.NeedsResources(font))
    return;
  KeepOwn();
  KeepAround();
}

void COptContentAnalyzer::SetFont(const char* szName, double dSize)
{
  CContentParser::SetFont(szName, dSize);
  KeepGlyphs(m_state.m_text.m_font);
  // What these resources lack some readers look for in those around them.
  if (m_state.m_text.m_font || !GetContext()->GetParent())
    return;
  m_analysis.NoteBorrowing();
  for (CParserContext* p = GetContext()->GetParent(); p; p = p->GetParent())
    if (const CObjectPtr font = p->FindResource("Font", szName))
    {
      KeepGlyphs(font);
      m_analysis.KeepFont(font);
    }
}

void COptContentAnalyzer::ShowText(std::span<const unsigned char> text)
{
  // All fonts come from the registry.
  if (auto* pFont = static_cast<CFont*>(m_state.m_text.m_pFont.Get()))
    m_analysis.AddText(*pFont, text);
  else if (auto* pInherited = static_cast<CFont*>(m_pInherited.Get()))
    pInherited->SetAllGlyphsUsed();
}

void COptContentAnalyzer::AddPoint(double dX, double dY)
{
  if (!m_bPathBox)
    m_pathBox = g_nowhere;
  m_bPathBox = true;
  Widen(m_pathBox, GetCTM(), dX, dY);
}

void COptContentAnalyzer::CurveTo(double dX1, double dY1, double dX2, double dY2, double dX3, double dY3)
{
  AddPoint(dX1, dY1);
  AddPoint(dX2, dY2);
  AddPoint(dX3, dY3);
}

void COptContentAnalyzer::Rectangle(double dX, double dY, double dWidth, double dHeight)
{
  // All four corners: two are not enough where the axes are turned.
  AddPoint(dX, dY);
  AddPoint(dX + dWidth, dY);
  AddPoint(dX, dY + dHeight);
  AddPoint(dX + dWidth, dY + dHeight);
}

void COptContentAnalyzer::Clip()
{
  if (m_bPathBox)
    Narrow(m_clip, m_pathBox);
}

void COptContentAnalyzer::DoXObject(const char* szName)
{
  if (!FindXObject(szName))
    KeepAround();
  CContentParser::DoXObject(szName);
}

void COptContentAnalyzer::DoForm(const char* szName)
{
  const CObjectPtr form = FindXObject(szName);
  const std::int64_t nBorrowings = m_analysis.GetBorrowings();
  // The blend mode of a group is that of its picture.
  const bool bSteep = std::exchange(m_bSteep, IsSteep());
  if (Enter(form, GetCTM(), m_clip))
  {
    CContentParser::DoForm(szName);
    Leave(form, nBorrowings);
  }
  m_bSteep = bSteep;
}

void COptContentAnalyzer::DoImage(const char* szName)
{
  m_analysis.AddImage(FindXObject(szName), GetCTM(), m_clip, IsSteep());
}

bool COptContentAnalyzer::IsSteep() const
{
  return m_bSteep || HasFunction(m_state.m_device.m_transfer) || TakesHue(m_state.m_device.m_blendMode);
}

}  // namespace PDF
