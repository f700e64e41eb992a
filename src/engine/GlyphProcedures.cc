#include "engine/GlyphProcedures.h"

#include "content/ContentParser.h"
#include "content/Operator.h"

#include <algorithm>

namespace PDF
{

namespace
{

// What it costs to look at a procedure, in bytes of content.
constexpr std::int64_t g_nProcedureWork = 64;

class CGlyphParser : public CContentParser
{
public:
  CGlyphParser(CContentEnvironment& environment, const BSE::CObjectPtr<CContentStream>& pStream)
      : CContentParser(environment, pStream, g_defaultMediaBox, 0, nullptr)
  {
  }

  bool NeedsResources() const { return m_bNeedsResources; }
  bool HasGap() { return GetContent().HasGap(); }

  // Patterns come after the colour space that has them.
  int ExecuteOperator(int nOperator) override
  {
    constexpr int operators[] = {eOpExtGState, eOpFont,         eOpDo,         eOpCS,        eOpFillSpace,
                                 eOpShow,      eOpShowNextLine, eOpShowSpaced, eOpShowArray, eOpShading};
    m_bNeedsResources =
        std::find(std::begin(operators), std::end(operators), nOperator) != std::end(operators);
    return m_bNeedsResources ? -1 : CContentParser::ExecuteOperator(nOperator);
  }

private:
  bool m_bNeedsResources = false;
};

}  // namespace

bool DoGlyphsNeedResources(const CObjectPtr& font, CContentEnvironment& environment)
{
  const CObjectPtr procedures = font["CharProcs"];
  for (int i = procedures.GetBegin(); i != procedures.GetEnd(); i = procedures.GetNext(i))
  {
    const CObjectPtr procedure = procedures.GetValue(i);
    if (!environment.GetAccount().Charge(g_nProcedureWork))
      return true;
    if (!procedure.IsStream())
      continue;
    const BSE::CObjectPtr<CContentStream> pStream(new CContentStream(procedure, &environment.GetAccount()));
    CGlyphParser parser(environment, pStream);
    CParserContext context(environment, nullptr, nullptr);
    const bool bEnded = parser.Parse(&context, false);
    procedure->Unload();
    if (!bEnded || parser.HasGap() || parser.NeedsResources())
      return true;
  }
  return false;
}

}  // namespace PDF
