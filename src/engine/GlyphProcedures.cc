#include "engine/GlyphProcedures.h"

#include "content/ContentParser.h"

namespace PDF
{

namespace
{

// What it costs to look at a procedure, in bytes of content.
constexpr std::int64_t g_nProcedureWork = 64;

// Finds out whether a procedure gets along with the resources of its context.
class CGlyphParser : public CContentParser
{
public:
  CGlyphParser(CContentEnvironment& environment, const BSE::CObjectPtr<CContentStream>& pStream)
      : CContentParser(environment, pStream, g_defaultMediaBox, 0, nullptr)
  {
    IgnoreOptionalContent(true);
  }

  bool NeedsResources() const { return m_bNeedsResources; }
  bool HasGap() { return GetContent().HasGap(); }

  int ExecuteOperator(int nOperator) override
  {
    const int nResult = CContentParser::ExecuteOperator(nOperator);
    return m_bNeedsResources ? -1 : nResult;
  }

  void SetExtGState(const char* szName) override { Require("ExtGState", szName); }
  void DoXObject(const char* szName) override { Require("XObject", szName); }
  void SetStrokeColor(const TColorValue& color) override { RequirePattern(color); }
  void SetFillColor(const TColorValue& color) override { RequirePattern(color); }

  // Glyphs of glyphs may take what they need from anywhere around.
  void SetFont(const char* szName, double) override
  {
    const CObjectPtr font = Require("Font", szName);
    if (font["Subtype"].IsName("Type3") && !font["Resources"].IsDictionary())
      m_bNeedsResources = true;
    m_bFont = true;
  }

  void ShowText(std::span<const unsigned char>) override { m_bNeedsResources |= !m_bFont; }

private:
  CObjectPtr Require(const char* szCategory, const char* szName)
  {
    const CObjectPtr object = GetContext()->FindResource(szCategory, szName);
    if (!object)
      m_bNeedsResources = true;
    return object;
  }

  void RequirePattern(const TColorValue& color)
  {
    if (color.m_szPattern)
      Require("Pattern", color.m_szPattern);
  }

  bool m_bNeedsResources = false;
  bool m_bFont = false;
};

}  // namespace

bool DoGlyphsNeedResources(const CObjectPtr& font, CContentEnvironment& environment, CResourceUse* pUse)
{
  // The font may be shown by any content, whose resources are not known here.
  CParserContext around(environment, {}, nullptr);
  const CObjectPtr procedures = font["CharProcs"];
  bool bNeeded = false;
  for (int i = procedures.GetBegin(); i != procedures.GetEnd(); i = procedures.GetNext(i))
  {
    const CObjectPtr procedure = procedures.GetValue(i);
    if (!environment.GetAccount().Charge(g_nProcedureWork))
      return true;
    if (!procedure.IsStream())
      continue;
    const BSE::CObjectPtr<CContentStream> pStream(new CContentStream(procedure, &environment.GetAccount()));
    CNameCollector names;
    pStream->SetNameCollector(&names);
    CGlyphParser parser(environment, pStream);
    CParserContext context(environment, font["Resources"], &around);
    const bool bEnded = parser.Parse(&context, false);
    if (pUse)
    {
      pStream->Drain();
      names.End();
      if (!names.IsComplete() || parser.HasGap())
        pUse->GiveUp();
      pUse->AddNames(names, context);
    }
    procedure->Unload();
    bNeeded = bNeeded || !bEnded || parser.HasGap() || parser.NeedsResources();
    if (bNeeded && !pUse)
      return true;
  }
  return bNeeded;
}

}  // namespace PDF
