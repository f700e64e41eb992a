#include "metadata/XmpRdfParser.h"

#include "metadata/RdfNames.h"

namespace XMP
{

namespace
{

constexpr TArrayKind g_kinds[] = {TArrayKind::Bag, TArrayKind::Seq, TArrayKind::Alt};

// rdf:li, or rdf:_n with n a number.
bool IsItem(const XML::CUri* pName)
{
  if (!pName->GetNamespace() ||
      std::strcmp(pName->GetNamespace()->GetText().GetText(), RDF::g_szNamespace) != 0)
    return false;
  const char* szName = pName->GetLocalName();
  return std::strcmp(szName, "li") == 0 || (szName[0] == '_' && szName[1] >= '1' && szName[1] <= '9');
}

}  // namespace

CRdfParser::CRdfParser(const RDF::CGraph& graph, const RDF::CUriNamespacePool& namespaces,
                       BSE::IErrorContext* pErrorContext)
    : m_graph(graph),
      m_namespaces(namespaces),
      m_pErrorContext(pErrorContext),
      m_pValue(graph.GetName(RDF::g_szValue)),
      m_kinds{graph.GetName("Bag"), graph.GetName("Seq"), graph.GetName("Alt")}
{
}

void CRdfParser::Report(unsigned nCode, const XML::CUri* pName)
{
  const char* szPrefix =
      pName->GetNamespace() ? m_namespaces.Find(pName->GetNamespace()->GetText().GetText()) : "";
  BSE::ReportError(m_pErrorContext,
                   BSE::MakeError(nCode, "prefix", szPrefix ? szPrefix : "", "name", pName->GetLocalName()));
}

void CRdfParser::Parse(CMeta& meta)
{
  bool bSeveral = false;
  for (const RDF::CResource* pRoot : m_graph.GetRoots())
  {
    if (pRoot->GetType())
      Report(g_nTypedTopLevel, pRoot->GetType());
    const BSE::CStr8 about(pRoot->GetUri() ? pRoot->GetUri()->GetText().GetText() : "");
    bSeveral = bSeveral || (pRoot != m_graph.GetRoots().front() && !(about == meta.GetAbout()));
    if (meta.GetAbout().IsEmpty())
      meta.SetAbout(about);
    AddFields(*pRoot, meta, nullptr);
  }
  if (bSeveral)
    BSE::ReportError(m_pErrorContext, g_nSeveralResources);
}

BSE::CObjectPtr<CNode> CRdfParser::MakeNode(const RDF::CNode& source)
{
  source.Accept(*this);
  BSE::CObjectPtr<CNode> pNode = std::move(m_pNode);
  if (!source.GetLanguage().IsEmpty())
    pNode->SetLanguage(source.GetLanguage());
  return pNode;
}

void CRdfParser::AddFields(const RDF::CResource& resource, CStructure& target, const XML::CUri* pSkipped)
{
  for (const RDF::TProperty& property : resource.GetProperties())
  {
    if (property.m_pName == pSkipped)
      continue;
    if (target.Find(property.m_pName))
      Report(g_nRepeatedProperty, property.m_pName);
    else
      target.Set(property.m_pName, MakeNode(*property.m_pValue).Get());
  }
}

void CRdfParser::AddItems(const RDF::CResource& resource, CArray& target)
{
  for (const RDF::TProperty& property : resource.GetProperties())
  {
    if (IsItem(property.m_pName))
      target.Add(MakeNode(*property.m_pValue).Get());
    else
      Report(g_nNoArrayItem, property.m_pName);
  }
}

bool CRdfParser::FindKind(const XML::CUri* pType, TArrayKind& kind) const
{
  for (int i = 0; i < 3; ++i)
    if (pType == m_kinds[i])
    {
      kind = g_kinds[i];
      return true;
    }
  return false;
}

void CRdfParser::VisitLiteral(const RDF::CLiteral& literal)
{
  m_pNode = new CLiteral(literal.GetText());
}

void CRdfParser::VisitResource(const RDF::CResource& resource)
{
  TArrayKind kind = TArrayKind::Bag;
  if (FindKind(resource.GetType(), kind))
  {
    BSE::CObjectPtr<CArray> pArray(CArray::Create(kind));
    AddItems(resource, *pArray);
    m_pNode = pArray.Get();
    return;
  }
  if (resource.GetType())
    Report(g_nUnknownNodeType, resource.GetType());
  if (const RDF::CNode* pValue = resource.Find(m_pValue))
  {
    VisitQualified(resource, *pValue);
    return;
  }
  BSE::CObjectPtr<CStructure> pStructure(new CStructure);
  AddFields(resource, *pStructure, nullptr);
  if (!resource.GetUri())
  {
    m_pNode = pStructure.Get();
    return;
  }
  m_pNode = new CLiteral(resource.GetUri()->GetText(), true);
  if (pStructure->GetBegin() != pStructure->GetEnd())
    m_pNode->SetQualifiers(pStructure.Get());
}

void CRdfParser::VisitQualified(const RDF::CResource& resource, const RDF::CNode& value)
{
  const BSE::CObjectPtr<CNode> pNode = MakeNode(value);
  BSE::CObjectPtr<CStructure> pQualifiers(pNode->GetQualifiers());
  if (!pQualifiers)
    pQualifiers = new CStructure;
  AddFields(resource, *pQualifiers, m_pValue);
  if (pQualifiers->GetBegin() != pQualifiers->GetEnd())
    pNode->SetQualifiers(pQualifiers.Get());
  m_pNode = pNode;
}

}  // namespace XMP
