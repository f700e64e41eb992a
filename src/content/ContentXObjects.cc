// Forms and images of CContentParser (ISO 32000-1, 8.9 and 8.10).

#include "base/Tracer.h"
#include "content/ContentParser.h"
#include "content/StatusCodes.h"
#include "pdf/DictionaryObject.h"

namespace PDF
{

namespace
{

bool IsSame(const CObjectPtr& a, const CObjectPtr& b)
{
  return a.IsIndirect() && b.IsIndirect() ? a.GetObjNumber() == b.GetObjNumber() : a == b;
}

bool ReadMatrix(const CObjectPtr& object, TMatrix& matrix)
{
  if (!object.IsArray() || object.GetSize() != 6)
    return false;
  double aNumbers[6] = {};
  for (int i = 0; i < 6; ++i)
  {
    if (!object[i].IsNumber())
      return false;
    aNumbers[i] = object[i].GetRealValue();
  }
  matrix = {aNumbers[0], aNumbers[1], aNumbers[2], aNumbers[3], aNumbers[4], aNumbers[5]};
  return true;
}

}  // namespace

BSE::CScopedPtr<CContentParser> CContentParser::CreateParser(const BSE::CObjectPtr<CContentStream>& pStream,
                                                             const TRectangle& box, int nRotation)
{
  return BSE::CScopedPtr<CContentParser>(
      new CContentParser(GetEnvironment(), pStream, box, nRotation, GetParent()));
}

BSE::CScopedPtr<CParserContext> CContentParser::CreateContext(const CResources& resources,
                                                              CParserContext* pParent)
{
  return BSE::CScopedPtr<CParserContext>(new CParserContext(GetEnvironment(), resources, pParent));
}

CObjectPtr CContentParser::FindXObject(const char* szName)
{
  CObjectPtr object = m_pContext->FindResource("XObject", szName);
  return object.IsDictionary() || object.IsStream() ? object : CObjectPtr();
}

void CContentParser::DoXObject(const char* szName)
{
  const CObjectPtr object = FindXObject(szName);
  if (!object)
    return ReportDropped(g_nXObjectUnknown, "name", szName);
  if (!m_bIgnoreOptional && !GetEnvironment().IsVisible(object["OC"]))
    return;
  const CObjectPtr subtype = object["Subtype"];
  const bool bTold = subtype.IsName("Form") || subtype.IsName("Image");
  if (subtype.IsName("Form") || (!bTold && object["BBox"]))
    DoForm(szName);
  else if (subtype.IsName("Image") || object["Width"])
    DoImage(szName);
}

void CContentParser::DoImage(const char* szName)
{
  const BSE::CObjectPtr<BSE::IByteStream> pData = FindXObject(szName).GetStream();
  if (!pData || !pData->IsValid())
    return ReportDropped(g_nContentUnreadable, "name", szName);
  m_bEmpty = m_bEmpty && !IsVisible();
}

bool CContentParser::CanEnter(const CObjectPtr& form, const char* szName)
{
  for (const CContentParser* p = this; p; p = p->m_pAround)
    if (p->m_form && IsSame(p->m_form, form))
    {
      ReportDropped(g_nFormInItself, "name", szName);
      return false;
    }
  if (m_nFormDepth >= BSE::g_nMaxFormNesting)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Content Parser", "Forms are nested deeper than %d levels.",
                          BSE::g_nMaxFormNesting);
    ReportDropped(g_nContentUnreadable, "name", szName);
    PassOver(form);
    return false;
  }
  // A few bytes of forms in forms make work without end: once it is refused, everything around ends as well.
  return GetEnvironment().GetAccount().Charge(BSE::g_nFormWork);
}

void CContentParser::PassOver(const CObjectPtr&) {}

void CContentParser::DoForm(const char* szName)
{
  ParseContent(FindXObject(szName), m_pContext->GetResources(), m_state.m_ctm, szName);
}

void CContentParser::ParseContent(const CObjectPtr& form, const CResources& standIn, const TMatrix& around,
                                  const char* szName)
{
  if (CanEnter(form, szName) && !ParseForm(form, standIn, around))
    ReportDropped(g_nContentUnreadable, "name", szName);
}

bool CContentParser::ParseForm(const CObjectPtr& form, const CResources& standIn, const TMatrix& around)
{
  const BSE::CObjectPtr<CContentStream> pStream(new CContentStream(form, &GetEnvironment().GetAccount()));
  CResources resources = form["Resources"];
  if (!resources.IsDictionary())
    resources = standIn;
  TRectangle box = m_box;
  ReadRectangle(form["BBox"], box);
  const BSE::CScopedPtr<CContentParser> pParser = CreateParser(pStream, box, 0);
  const BSE::CScopedPtr<CParserContext> pContext = CreateContext(resources, m_pContext);
  pParser->m_pAround = this;
  pParser->m_form = form;
  pParser->m_nFormDepth = m_nFormDepth + 1;
  pParser->m_state = m_state;
  pParser->m_aVisible[0] = m_aVisible[m_nMarked];
  pParser->m_bIgnoreOptional = m_bIgnoreOptional;
  TMatrix matrix;
  pParser->m_state.m_ctm = ReadMatrix(form["Matrix"], matrix) ? matrix * around : around;
  if (const CObjectPtr parents = form["StructParents"]; parents.IsInteger())
    pParser->SetStructParents(parents.GetIntegerValue());
  else if (const CObjectPtr parent = form["StructParent"]; parent.IsInteger())
    pParser->SetStructParent(parent.GetIntegerValue());
  pParser->Parse(pContext.Get(), false);
  m_bEmpty = m_bEmpty && pParser->m_bEmpty;
  return pStream->IsValid() && (pStream->HasRead() || !pStream->HasGap());
}

bool CContentParser::ReadImageDictionary(const CObjectPtr& dictionary)
{
  // No image has that many entries.
  constexpr std::int64_t g_nMaxValues = 100000;
  CScanner& scanner = GetScanner();
  SetValueLimit(g_nMaxValues);
  scanner.ReadToken();
  while (scanner.GetToken() == eTokenName)
  {
    const CName key(scanner.GetText(), static_cast<std::size_t>(scanner.GetTextLength()));
    scanner.ReadToken();
    if (const CObjectPtr value = ParseObject())
      dictionary.AddEntry(key.GetText(), value);
  }
  return static_cast<int>(scanner.GetToken()) == eOpID;
}

int CContentParser::ExecuteInlineImage()
{
  // Its end may take a decoder to find, so that it costs as much as a form.
  GetEnvironment().GetAccount().Charge(BSE::g_nFormWork);
  TInlineImage image;
  image.m_dictionary = new CDictionaryObject;
  if (!ReadImageDictionary(image.m_dictionary))
  {
    // What is in the place of "ID" may be an operator in its own right.
    KeepToken();
    ReportDropped(g_nUnexpectedToken);
    return 0;
  }
  ExpandInlineImage(image.m_dictionary);
  const bool bEnded = ReadInlineImage(GetContent(), *m_pContext, image);
  if (image.m_bDamaged)
    BSE::CTracer::Trace("E", "PDF Content Parser", "Error decoding inline image");
  if (IsVisible())
  {
    m_bEmpty = false;
    InlineImage(image);
  }
  if (bEnded)
    return 0;
  ReportDropped(g_nUnexpectedToken);
  return -1;
}

}  // namespace PDF
