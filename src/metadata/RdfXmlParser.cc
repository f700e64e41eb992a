#include "metadata/RdfXmlParser.h"

#include "metadata/RdfNames.h"

namespace RDF
{

namespace
{

// Attributes that belong to the syntax and are not properties.
bool IsSyntaxAttribute(const XML::CAttr& attr)
{
  if (attr.IsIn(XML::g_szXmlNamespace))
    return true;
  if (!attr.IsIn(g_szNamespace))
    return false;
  for (const char* szName :
       {"about", "ID", "nodeID", "resource", "parseType", "datatype", "bagID", "aboutEach"})
    if (std::strcmp(attr.GetLocalName(), szName) == 0)
      return true;
  return false;
}

bool IsBlank(const BSE::CStr8& text)
{
  for (const char c : text.GetSpan())
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n')
      return false;
  return true;
}

}  // namespace

bool CXmlParser::Parse(const XML::CElement& root)
{
  for (XML::CElement element = root.GetFirstChild(); element; element = element.GetNext())
    ParseNode(element, *m_graph.NewRoot(), 0);
  return m_graph.GetUris().GetCount() <= g_nMaxNames && m_namespaces.GetCount() <= g_nMaxNamespaces;
}

const XML::CUri* CXmlParser::GetName(const XML::CNSNode& node)
{
  if (!*node.GetNamespace())
  {
    BSE::ReportLoss(&m_graph, BSE::MakeError(g_nNoNamespace, "property", node.GetLocalName()));
    return nullptr;
  }
  if (m_graph.GetUris().GetCount() > g_nMaxNames || node.IsIn(XML::g_szXmlNamespace))
    return nullptr;
  m_namespaces.Enter(node.GetNamespace(), node.GetPrefix());
  return m_graph.GetUris().Intern(node.GetNamespace(), node.GetLocalName());
}

void CXmlParser::ParseNode(const XML::CElement& element, CResource& resource, int nDepth)
{
  ParseNodeAttributes(element, resource);
  if (!element.Is(g_szNamespace, g_szDescription))
    resource.SetType(GetName(element));
  ParsePropertyAttributes(element, resource);
  ParseProperties(element, resource, nDepth + 1);
}

void CXmlParser::ParseNodeAttributes(const XML::CElement& element, CResource& resource)
{
  XML::CAttr about = element.FindAttr(g_szNamespace, "about");
  if (!about && (about = element.FindAttr("", "about")))
    BSE::ReportError(&m_graph, BSE::MakeError(g_nUnqualifiedAttribute, "attr1", "about", "attr2", "about"));
  if (about)
    resource.SetUri(m_graph.GetUris().Intern(about.GetValue().GetText()));
  if (element.FindAttr(g_szNamespace, "nodeID"))
    BSE::ReportError(&m_graph, BSE::MakeError(g_nFeatureNotAllowed, "feature", "rdf:nodeID"));
  if (const XML::CAttr language = element.FindAttr(XML::g_szXmlNamespace, "lang"))
    resource.SetLanguage(language.GetValue());
}

int CXmlParser::ParsePropertyAttributes(const XML::CElement& element, CResource& resource)
{
  int nCount = 0;
  for (XML::CAttr attr = element.GetFirstAttr(); attr; attr = attr.GetNext())
  {
    if (IsSyntaxAttribute(attr) || (!*attr.GetNamespace() && std::strcmp(attr.GetLocalName(), "about") == 0))
      continue;
    const XML::CUri* pName = GetName(attr);
    if (!pName)
      continue;
    if (attr.Is(g_szNamespace, "li"))
      BSE::ReportLoss(&m_graph, g_nListItemAttribute);
    else if (attr.Is(g_szNamespace, g_szType))
      resource.SetType(m_graph.GetUris().Intern(attr.GetValue().GetText()));
    else
      resource.Add(pName, m_graph.NewLiteral(attr.GetValue()));
    ++nCount;
  }
  return nCount;
}

void CXmlParser::ParseProperties(const XML::CElement& parent, CResource& subject, int nDepth)
{
  for (XML::CElement element = parent.GetFirstChild(); element; element = element.GetNext())
    ParseProperty(element, subject, nDepth);
}

void CXmlParser::ParseProperty(const XML::CElement& element, CResource& subject, int nDepth)
{
  const XML::CUri* pName = GetName(element);
  if (!pName)
    return;
  if (nDepth > g_nMaxDepth)
  {
    BSE::ReportLoss(&m_graph, BSE::MakeError(g_nFeatureMissing, "feature", "deep nesting"));
    return;
  }
  CNode* pValue = ParseValue(element, nDepth);
  if (!pValue)
    return;
  if (const XML::CAttr language = element.FindAttr(XML::g_szXmlNamespace, "lang"))
    pValue->SetLanguage(language.GetValue());
  const auto* pType = element.Is(g_szNamespace, g_szType) ? dynamic_cast<CResource*>(pValue) : nullptr;
  if (pType)
    subject.SetType(pType->GetUri());
  else
    subject.Add(pName, pValue);
}

CXmlParser::TParseType CXmlParser::GetParseType(const XML::CElement& element)
{
  const XML::CAttr attr = element.FindAttr(g_szNamespace, "parseType");
  if (!attr)
    return TParseType::None;
  const BSE::CStr8 type = attr.GetValue();
  if (type == BSE::CStr8("Resource"))
    return TParseType::Resource;
  BSE::CStr8 feature("rdf:parseType=");
  feature.Append(type.GetText());
  BSE::ReportLoss(&m_graph, BSE::MakeError(g_nFeatureMissing, "feature", feature.GetText()));
  return TParseType::Refused;
}

CNode* CXmlParser::ParseValue(const XML::CElement& element, int nDepth)
{
  const TParseType type = GetParseType(element);
  if (type == TParseType::Refused)
    return nullptr;
  if (element.FindAttr(g_szNamespace, "nodeID"))
  {
    BSE::ReportLoss(&m_graph, BSE::MakeError(g_nFeatureMissing, "feature", "rdf:nodeID"));
    return nullptr;
  }
  if (type == TParseType::Resource)
  {
    CResource* pResource = m_graph.NewResource();
    ParseProperties(element, *pResource, nDepth + 1);
    return pResource;
  }
  return element.GetFirstChild() ? ParseNodeValue(element, nDepth) : ParseEmptyValue(element);
}

CNode* CXmlParser::ParseNodeValue(const XML::CElement& element, int nDepth)
{
  const XML::CElement child = element.GetFirstChild();
  if (child.GetNext() || !IsBlank(element.GetText()))
    BSE::ReportError(&m_graph, BSE::MakeError(g_nOneChildOnly, "qname", element.GetLocalName()));
  CResource* pResource = m_graph.NewResource();
  ParseNode(child, *pResource, nDepth);
  return pResource;
}

CNode* CXmlParser::ParseEmptyValue(const XML::CElement& element)
{
  const BSE::CStr8 text = element.GetText();
  const XML::CAttr uri = element.FindAttr(g_szNamespace, "resource");
  if (uri || IsBlank(text))
  {
    CResource* pResource = m_graph.NewResource();
    if (uri)
      pResource->SetUri(m_graph.GetUris().Intern(uri.GetValue().GetText()));
    if (ParsePropertyAttributes(element, *pResource) > 0 || uri)
      return pResource;
  }
  if (element.FindAttr(g_szNamespace, "datatype"))
    BSE::ReportError(&m_graph, BSE::MakeError(g_nFeatureNotAllowed, "feature", "rdf:datatype"));
  return m_graph.NewLiteral(text);
}

}  // namespace RDF
