#pragma once

#include "base/BasicArray.h"
#include "base/ErrorContext.h"
#include "metadata/XmlUri.h"

namespace RDF
{

class CLiteral;
class CResource;

class IVisitor
{
public:
  virtual void VisitResource(const CResource& resource) = 0;
  virtual void VisitLiteral(const CLiteral& literal) = 0;

protected:
  virtual ~IVisitor() = default;
};

// What a property can have as its value. Belongs to a graph, and lives as long as that.
class CNode : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }
  virtual void Accept(IVisitor& visitor) const = 0;

  // Value of xml:lang; empty without one.
  const BSE::CStr8& GetLanguage() const { return m_language; }
  void SetLanguage(const BSE::CStr8& language) { m_language = language; }

private:
  BSE::CStr8 m_language;
};

class CLiteral : public CNode
{
public:
  void Accept(IVisitor& visitor) const override { visitor.VisitLiteral(*this); }
  const BSE::CStr8& GetText() const { return m_text; }
  void SetText(const BSE::CStr8& text) { m_text = text; }

private:
  BSE::CStr8 m_text;
};

using CPlainLiteral = CLiteral;

// An arc from a resource to its value; both are borrowed from the graph.
struct TProperty
{
  const XML::CUri* m_pName;
  CNode* m_pValue;
};

// A node with properties, in the order in which they were found.
class CResource : public CNode
{
public:
  void Accept(IVisitor& visitor) const override { visitor.VisitResource(*this); }

  // Null for a blank node.
  const XML::CUri* GetUri() const { return m_pUri; }
  void SetUri(const XML::CUri* pUri) { m_pUri = pUri; }

  // The class that rdf:type states, or null.
  const XML::CUri* GetType() const { return m_pType; }
  void SetType(const XML::CUri* pType) { m_pType = pType; }

  void Add(const XML::CUri* pName, CNode* pValue) { m_properties.Add({pName, pValue}); }
  std::span<const TProperty> GetProperties() const { return m_properties.GetSpan(); }

  // The first value under a name, or null. Linear.
  CNode* Find(const XML::CUri* pName) const;

private:
  const XML::CUri* m_pUri = nullptr;
  const XML::CUri* m_pType = nullptr;
  BSE::CBasicArray<TProperty> m_properties;
};

// Prefixes that a document has used for its namespaces, so that it is written with them again.
class CUriNamespacePool
{
public:
  CUriNamespacePool() = default;
  CUriNamespacePool(const CUriNamespacePool& other) { *this = other; }
  CUriNamespacePool& operator=(const CUriNamespacePool& other);
  ~CUriNamespacePool() { RemoveAll(); }

  // The first prefix of a namespace is kept. For one that is empty or that another namespace has, a prefix is
  // made up.
  void Enter(const char* szNamespace, const char* szPrefix);

  // Borrowed; null if none is known.
  const char* Find(const char* szNamespace) const;
  int GetCount() const { return m_namespaces.GetEnd(); }

  int GetBegin() const { return m_namespaces.GetBegin(); }
  int GetNext(int nPos) const { return m_namespaces.GetNext(nPos); }
  int GetEnd() const { return m_namespaces.GetEnd(); }
  const char* GetNamespace(int nPos) const { return static_cast<const char*>(m_namespaces.GetKey(nPos)); }
  const char* GetPrefix(int nPos) const;

private:
  bool HasPrefix(const char* szPrefix) const;
  void RemoveAll();

  BSE::CBasicMap m_namespaces;  // URI with its end, to CStr8
  BSE::CBasicMap m_prefixes;    // prefix with its end, to nothing
  int m_nMadeUp = 0;
};

// Resources and literals, joined by properties. The graph is a tree below its roots: a parser that finds an
// arc back leaves it out.
class CGraph : public BSE::CObject, public BSE::CBasicErrorContext
{
public:
  // The pool must outlive the graph.
  CGraph(XML::CUriPool& uris, BSE::IErrorContext* pErrorContext)
      : CBasicErrorContext(pErrorContext), m_uris(uris)
  {
  }
  bool IsValid() const override { return true; }

  XML::CUriPool& GetUris() const { return m_uris; }
  const XML::CUri* GetName(const char* szLocalName) const;

  // New nodes belong to the graph. A root is a resource that no property leads to.
  CResource* NewResource();
  CResource* NewRoot();
  CLiteral* NewLiteral(const BSE::CStr8& text);

  std::span<CResource* const> GetRoots() const { return m_roots.GetSpan(); }

private:
  XML::CUriPool& m_uris;
  BSE::CObjectArray<CNode> m_nodes;
  BSE::CPtrArray<CResource> m_roots;
};

}  // namespace RDF
