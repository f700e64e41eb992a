#include "metadata/RdfGraph.h"

#include "metadata/RdfNames.h"

#include <charconv>

namespace RDF
{

namespace
{

std::size_t GetKeyLength(const char* szText)
{
  return std::strlen(szText) + 1;
}

}  // namespace

CNode* CResource::Find(const XML::CUri* pName) const
{
  for (const TProperty& property : m_properties.GetSpan())
    if (property.m_pName == pName)
      return property.m_pValue;
  return nullptr;
}

CUriNamespacePool& CUriNamespacePool::operator=(const CUriNamespacePool& other)
{
  if (this == &other)
    return *this;
  RemoveAll();
  for (int i = other.GetBegin(); i != other.GetEnd(); i = other.GetNext(i))
    Enter(other.GetNamespace(i), other.GetPrefix(i));
  return *this;
}

void CUriNamespacePool::RemoveAll()
{
  for (int i = GetBegin(); i != GetEnd(); i = GetNext(i))
    delete static_cast<BSE::CStr8*>(m_namespaces.GetValue(i));
  m_namespaces.RemoveAll();
  m_prefixes.RemoveAll();
}

void CUriNamespacePool::Enter(const char* szNamespace, const char* szPrefix)
{
  if (Find(szNamespace))
    return;
  char szMadeUp[16] = "ns";
  while (!*szPrefix || HasPrefix(szPrefix))
  {
    *std::to_chars(szMadeUp + 2, szMadeUp + sizeof szMadeUp - 1, ++m_nMadeUp).ptr = 0;
    szPrefix = szMadeUp;
  }
  BSE::CScopedPtr<BSE::CStr8> pPrefix(new BSE::CStr8(szPrefix));
  m_prefixes.SetAt(szPrefix, GetKeyLength(szPrefix), nullptr);
  m_namespaces.SetAt(szNamespace, GetKeyLength(szNamespace), pPrefix.Get());
  pPrefix.Detach();
}

const char* CUriNamespacePool::Find(const char* szNamespace) const
{
  const int nEntry = m_namespaces.Lookup(szNamespace, GetKeyLength(szNamespace));
  return nEntry < 0 ? nullptr : GetPrefix(nEntry);
}

bool CUriNamespacePool::HasPrefix(const char* szPrefix) const
{
  return m_prefixes.Lookup(szPrefix, GetKeyLength(szPrefix)) >= 0;
}

const char* CUriNamespacePool::GetPrefix(int nPos) const
{
  return static_cast<const BSE::CStr8*>(m_namespaces.GetValue(nPos))->GetText();
}

const XML::CUri* CGraph::GetName(const char* szLocalName) const
{
  return m_uris.Intern(g_szNamespace, szLocalName);
}

CResource* CGraph::NewResource()
{
  BSE::CObjectPtr<CResource> pResource(new CResource);
  m_nodes.Add(pResource.Get());
  return pResource.Get();
}

CResource* CGraph::NewRoot()
{
  CResource* pResource = NewResource();
  m_roots.Add(pResource);
  return pResource;
}

CLiteral* CGraph::NewLiteral(const BSE::CStr8& text)
{
  BSE::CObjectPtr<CLiteral> pLiteral(new CLiteral);
  m_nodes.Add(pLiteral.Get());
  pLiteral->SetText(text);
  return pLiteral.Get();
}

}  // namespace RDF
