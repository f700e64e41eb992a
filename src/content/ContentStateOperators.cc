// The graphics state that CContentParser keeps.

#include "base/Tracer.h"
#include "content/ContentParser.h"
#include "content/StatusCodes.h"

namespace PDF
{

void CContentParser::Save()
{
  if (!GetEnvironment().AddSavedState())
  {
    GetEnvironment().DropSavedStates(1);
    ReportDropped(g_nStateOverflow);
    m_bStopped = true;
    return;
  }
  const auto nSaved = static_cast<std::size_t>(m_nSaved);
  if (nSaved == m_saved.GetSize())
    m_saved.SetSize(nSaved + 1);
  m_saved[nSaved] = m_state;
  ++m_nSaved;
}

void CContentParser::Restore()
{
  if (m_nSaved == 0)
    return Report(g_nStateUnderflow);
  // Which text object this is belongs to the place in the content, and "Q" does not bring it back.
  const int nTextObject = m_state.m_nTextObject;
  --m_nSaved;
  GetEnvironment().DropSavedStates(1);
  m_state = m_saved[static_cast<std::size_t>(m_nSaved)];
  m_state.m_nTextObject = nTextObject;
}

void CContentParser::Transform(const TMatrix& matrix)
{
  m_state.m_ctm = matrix * m_state.m_ctm;
}

void CContentParser::SetLineWidth(double dWidth)
{
  m_state.m_dLineWidth = dWidth;
}

void CContentParser::SetLineCap(int nCap)
{
  m_state.m_nLineCap = nCap;
}

void CContentParser::SetLineJoin(int nJoin)
{
  m_state.m_nLineJoin = nJoin;
}

void CContentParser::SetMiterLimit(double dLimit)
{
  m_state.m_dMiterLimit = dLimit;
}

void CContentParser::SetDash(std::span<const double> lengths, double dPhase)
{
  m_state.m_dashes.Assign(lengths);
  m_state.m_dDashPhase = dPhase;
}

void CContentParser::SetRenderingIntent(const char* szIntent)
{
  m_state.m_intent = szIntent;
}

void CContentParser::SetFlatness(double dFlatness)
{
  m_state.m_dFlatness = dFlatness;
}

void CContentParser::SetExtGState(const char* szName)
{
  const CObjectPtr dictionary = m_pContext->FindResource("ExtGState", szName);
  if (!dictionary.IsDictionary())
    return ReportDropped(g_nExtGStateUnknown, "name", szName);
  ApplyExtGState(dictionary);
}

void CContentParser::ApplyExtGState(const CObjectPtr& dictionary)
{
  ApplyLineEntries(dictionary);
  ApplyDeviceEntries(dictionary);
}

void CContentParser::ApplyLineEntries(const CObjectPtr& dictionary)
{
  if (const CObjectPtr width = dictionary["LW"]; width.IsNumber())
    SetLineWidth(width.GetRealValue());
  if (const CObjectPtr cap = dictionary["LC"]; cap.IsNumber() && CheckRange(cap.GetRealValue(), 2))
    SetLineCap(static_cast<int>(cap.GetRealValue()));
  if (const CObjectPtr join = dictionary["LJ"]; join.IsNumber() && CheckRange(join.GetRealValue(), 2))
    SetLineJoin(static_cast<int>(join.GetRealValue()));
  if (const CObjectPtr limit = dictionary["ML"]; limit.IsNumber())
    SetMiterLimit(limit.GetRealValue());
  if (const CObjectPtr dash = dictionary["D"]; dash.IsArray() && dash[0].IsArray())
  {
    const CObjectPtr lengths = dash[0];
    double aLengths[g_nMaxDashes] = {};
    if (lengths.GetSize() > g_nMaxDashes)
      ReportDropped(g_nOperandRange, "value", lengths.GetSize());
    else
    {
      for (int i = 0; i < lengths.GetSize(); ++i)
        aLengths[i] = lengths[i].IsNumber() ? lengths[i].GetRealValue() : 0;
      SetDash({aLengths, static_cast<std::size_t>(lengths.GetSize())},
              dash[1].IsNumber() ? dash[1].GetRealValue() : 0);
    }
  }
  if (const CObjectPtr intent = dictionary["RI"]; intent.IsName())
    SetRenderingIntent(intent.GetNameValue());
}

void CContentParser::ApplyFontEntry(const CObjectPtr& font)
{
  if (!font.IsArray() || !font[0].IsDictionary() || !font[1].IsNumber())
    return;
  SetFontObject(font[0], m_pContext->FindFontObject(font[0]), font[1].GetRealValue());
}

// ISO 32000-1, Table 58. BG2, UCR2 and TR2 win over the entries that they extend.
void CContentParser::ApplyDeviceEntries(const CObjectPtr& dictionary)
{
  TDeviceState& device = m_state.m_device;
  const auto takeFlag = [&](const char* szKey, bool& bFlag)
  {
    if (const CObjectPtr value = dictionary[szKey]; value.IsBoolean())
      bFlag = value.GetBooleanValue();
  };
  const auto takeNumber = [&](const char* szKey, double& dNumber)
  {
    if (const CObjectPtr value = dictionary[szKey]; value.IsNumber())
      dNumber = value.GetRealValue();
  };
  const auto takeObject = [&](const char* szKey, CObjectPtr& object)
  {
    if (const CObjectPtr value = dictionary[szKey])
      object = value.IsName("None") || value.IsName("Normal") ? CObjectPtr() : value;
  };
  takeFlag("OP", device.m_bStrokeOverprint);
  // The older form has one entry for both.
  takeFlag(dictionary["op"].IsBoolean() ? "op" : "OP", device.m_bFillOverprint);
  if (const CObjectPtr mode = dictionary["OPM"]; mode.IsInteger())
    device.m_nOverprintMode = mode.GetIntegerValue() == 1 ? 1 : 0;
  ApplyFontEntry(dictionary["Font"]);
  takeObject(dictionary["BG2"] ? "BG2" : "BG", device.m_blackGeneration);
  takeObject(dictionary["UCR2"] ? "UCR2" : "UCR", device.m_undercolor);
  takeObject(dictionary["TR2"] ? "TR2" : "TR", device.m_transfer);
  takeObject("HT", device.m_halftone);
  if (const CObjectPtr flatness = dictionary["FL"]; flatness.IsNumber())
    SetFlatness(flatness.GetRealValue());
  takeNumber("SM", device.m_dSmoothness);
  takeFlag("SA", device.m_bStrokeAdjust);
  takeObject("BM", device.m_blendMode);
  takeObject("SMask", device.m_softMask);
  takeNumber("CA", device.m_dStrokeAlpha);
  takeNumber("ca", device.m_dFillAlpha);
  takeFlag("AIS", device.m_bAlphaIsShape);
  takeFlag("TK", device.m_bTextKnockout);
}

bool CContentParser::ChooseColorSpace(TColorState& state, const char* szName)
{
  TColorFamily nFamily = eFamilyGray;
  CObjectPtr space;
  BSE::CObjectPtr<IContentColorSpace> pSpace;
  if (!m_pContext->FindColorSpace(szName, nFamily, space, pSpace))
  {
    ReportDropped(g_nColorSpaceUnknown, "name", szName);
    return false;
  }
  state.SetSpace(nFamily, space, pSpace);
  return true;
}

void CContentParser::ChooseColor(TColorState& state, const TColorValue& color)
{
  if (!color.m_szPattern)
  {
    state.m_pattern.Reset();
    return state.m_components.Assign(color.m_components);
  }
  const CObjectPtr pattern = m_pContext->FindResource("Pattern", color.m_szPattern);
  if (!pattern.IsDictionary() && !pattern.IsStream())
    return ReportDropped(g_nPatternUnknown, "name", color.m_szPattern);
  state.m_pattern = pattern;
  // Only a pattern without colours of its own is painted in one.
  const bool bUncolored = GetIntegerOr(pattern["PaintType"], 1) == 2;
  state.m_components.Assign(bUncolored ? color.m_components : std::span<const double>());
}

void CContentParser::SetStrokeColorSpace(const char* szName)
{
  ChooseColorSpace(m_state.m_stroke, szName);
}

void CContentParser::SetFillColorSpace(const char* szName)
{
  ChooseColorSpace(m_state.m_fill, szName);
}

void CContentParser::SetStrokeColor(const TColorValue& color)
{
  ChooseColor(m_state.m_stroke, color);
}

void CContentParser::SetFillColor(const TColorValue& color)
{
  ChooseColor(m_state.m_fill, color);
}

CObjectPtr CContentParser::FindProperties(std::span<const TOperand> properties)
{
  if (properties.empty())
    return nullptr;
  if (properties.front().m_nType == eTokenName)
    return m_pContext->FindResource("Properties", GetText(properties.front()));
  return MakeObject(properties);
}

void CContentParser::BeginMarkedContent(const char* szTag, std::span<const TOperand> properties)
{
  if (m_nMarked + 1 >= static_cast<int>(std::size(m_aVisible)))
  {
    ++m_nUnmarked;
    BSE::CTracer::Trace("E", "PDF Content Parser", "Marked content stack overflow.");
    return;
  }
  bool bVisible = IsVisible();
  if (bVisible && !m_bIgnoreOptional && KeyEquals(szTag, "OC") && properties.size() == 1 &&
      properties.front().m_nType == eTokenName)
    bVisible = GetEnvironment().IsVisible(FindProperties(properties));
  m_aVisible[++m_nMarked] = bVisible ? 1 : 0;
}

void CContentParser::EndMarkedContent()
{
  if (m_nUnmarked > 0)
  {
    --m_nUnmarked;
    return;
  }
  if (m_nMarked == 0)
    return BSE::CTracer::Trace("E", "PDF Content Parser", "Marked content stack underflow.");
  --m_nMarked;
}

}  // namespace PDF
