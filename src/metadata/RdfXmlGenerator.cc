#include "metadata/RdfXmlGenerator.h"

#include "metadata/RdfNames.h"

namespace RDF
{

namespace
{

constexpr const char* g_szPrefix = "rdf";

const CLiteral* AsLiteral(const CNode* pNode)
{
  return dynamic_cast<const CLiteral*>(pNode);
}

}  // namespace

CXmlGenerator::CXmlGenerator(const CGraph& graph, const CUriNamespacePool& namespaces, XML::CWriter& writer)
    : m_graph(graph),
      m_known(namespaces),
      m_writer(writer),
      m_containers{graph.GetName("Bag"), graph.GetName("Seq"), graph.GetName("Alt")}
{
}

void CXmlGenerator::Generate()
{
  m_used.Enter(g_szNamespace, g_szPrefix);
  for (const CResource* pRoot : m_graph.GetRoots())
    CollectNamespaces(*pRoot);
  m_writer.Begin(g_szPrefix, "RDF");
  for (int i = m_used.GetBegin(); i != m_used.GetEnd(); i = m_used.GetNext(i))
    m_writer.Attribute("xmlns", m_used.GetPrefix(i), m_used.GetNamespace(i));
  for (const CResource* pRoot : m_graph.GetRoots())
  {
    m_writer.Begin(g_szPrefix, g_szDescription);
    m_writer.Attribute(g_szPrefix, "about", pRoot->GetUri() ? pRoot->GetUri()->GetText().GetText() : "");
    WritePlain(*pRoot);
    WriteRest(*pRoot);
    m_writer.End(g_szPrefix, g_szDescription);
  }
  m_writer.End(g_szPrefix, "RDF");
}

void CXmlGenerator::CollectName(const XML::CUri* pName)
{
  const char* szNamespace = pName->GetNamespace()->GetText().GetText();
  const char* szKnown = m_known.Find(szNamespace);
  m_used.Enter(szNamespace, szKnown ? szKnown : "");
}

void CXmlGenerator::CollectNamespaces(const CResource& resource)
{
  // In the order of writing, so that a packet that is read and written again stays the same.
  for (const TProperty& property : resource.GetProperties())
    if (IsPlain(property))
      CollectName(property.m_pName);
  for (const TProperty& property : resource.GetProperties())
  {
    CollectName(property.m_pName);
    if (const auto* pResource = dynamic_cast<const CResource*>(property.m_pValue))
      CollectNamespaces(*pResource);
  }
}

const char* CXmlGenerator::GetPrefix(const XML::CUri* pName) const
{
  return m_used.Find(pName->GetNamespace()->GetText().GetText());
}

bool CXmlGenerator::IsPlain(const TProperty& property)
{
  const CLiteral* pLiteral = AsLiteral(property.m_pValue);
  if (!pLiteral || !pLiteral->GetLanguage().IsEmpty())
    return false;
  // Other names of the syntax mean something else as attributes.
  const bool bSyntax = property.m_pName->GetNamespace()->GetText() == BSE::CStr8(g_szNamespace);
  return !bSyntax || property.m_pName->Is(g_szNamespace, g_szValue);
}

bool CXmlGenerator::IsContainer(const CResource& resource) const
{
  for (const XML::CUri* pType : m_containers)
    if (resource.GetType() == pType)
      return true;
  return false;
}

void CXmlGenerator::WritePlain(const CResource& resource)
{
  int nWritten = 0;
  for (const TProperty& property : resource.GetProperties())
  {
    if (nWritten >= g_nMaxPlain)
      break;
    if (!IsPlain(property))
      continue;
    m_writer.Attribute(GetPrefix(property.m_pName), property.m_pName->GetLocalName(),
                       AsLiteral(property.m_pValue)->GetText().GetText());
    ++nWritten;
  }
}

void CXmlGenerator::WriteRest(const CResource& resource)
{
  int nPlain = 0;
  for (const TProperty& property : resource.GetProperties())
    if (!IsPlain(property) || ++nPlain > g_nMaxPlain)
      WriteProperty(property);
}

void CXmlGenerator::WriteLanguage(const CNode& node)
{
  if (!node.GetLanguage().IsEmpty())
    m_writer.Attribute("xml", "lang", node.GetLanguage().GetText());
}

void CXmlGenerator::WriteProperty(const TProperty& property)
{
  const char* szPrefix = GetPrefix(property.m_pName);
  const char* szLocalName = property.m_pName->GetLocalName();
  m_writer.Begin(szPrefix, szLocalName);
  WriteLanguage(*property.m_pValue);
  property.m_pValue->Accept(*this);
  m_writer.End(szPrefix, szLocalName);
}

void CXmlGenerator::VisitLiteral(const CLiteral& literal)
{
  m_writer.Text(literal.GetText().GetText());
}

void CXmlGenerator::VisitResource(const CResource& resource)
{
  if (IsContainer(resource))
    WriteContainer(resource);
  else if (resource.GetUri() && resource.GetProperties().empty())
    m_writer.Attribute(g_szPrefix, "resource", resource.GetUri()->GetText().GetText());
  else
    WriteNode(resource);
}

void CXmlGenerator::WriteContainer(const CResource& resource)
{
  m_writer.Begin(g_szPrefix, resource.GetType()->GetLocalName());
  for (const TProperty& property : resource.GetProperties())
    WriteProperty(property);
  m_writer.End(g_szPrefix, resource.GetType()->GetLocalName());
}

void CXmlGenerator::WriteNode(const CResource& resource)
{
  bool bAllPlain = !resource.GetProperties().empty() &&
                   resource.GetProperties().size() <= static_cast<std::size_t>(g_nMaxPlain) &&
                   !resource.GetUri() && !resource.GetType();
  for (const TProperty& property : resource.GetProperties())
    bAllPlain = bAllPlain && IsPlain(property);
  if (bAllPlain)
  {
    WritePlain(resource);
    return;
  }
  m_writer.Begin(g_szPrefix, g_szDescription);
  if (resource.GetUri())
    m_writer.Attribute(g_szPrefix, "about", resource.GetUri()->GetText().GetText());
  WritePlain(resource);
  if (resource.GetType())
  {
    m_writer.Begin(g_szPrefix, g_szType);
    m_writer.Attribute(g_szPrefix, "resource", resource.GetType()->GetText().GetText());
    m_writer.End(g_szPrefix, g_szType);
  }
  WriteRest(resource);
  m_writer.End(g_szPrefix, g_szDescription);
}

}  // namespace RDF
