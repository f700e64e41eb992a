#pragma once

#include "metadata/RdfGraph.h"
#include "metadata/XmlWriter.h"

namespace RDF
{

// Writes a graph that is a tree as RDF/XML in the forms that XMP allows (ISO 16684-1, 7.4). Plain values
// become attributes where that is possible, which is the shortest form.
class CXmlGenerator : private IVisitor
{
public:
  // All must outlive the generator. Prefixes for namespaces that the pool does not know are made up.
  CXmlGenerator(const CGraph& graph, const CUriNamespacePool& namespaces, XML::CWriter& writer);

  // Writes rdf:RDF with every root.
  void Generate();

private:
  // Tags with more would not be read again.
  static constexpr int g_nMaxPlain = 400;

  void VisitResource(const CResource& resource) override;
  void VisitLiteral(const CLiteral& literal) override;

  void WriteProperty(const TProperty& property);
  void WriteContainer(const CResource& resource);
  void WriteNode(const CResource& resource);

  // Those properties that are plain literals, as attributes, up to g_nMaxPlain.
  void WritePlain(const CResource& resource);
  void WriteRest(const CResource& resource);
  void WriteLanguage(const CNode& node);
  static bool IsPlain(const TProperty& property);
  bool IsContainer(const CResource& resource) const;

  void CollectNamespaces(const CResource& resource);
  void CollectName(const XML::CUri* pName);
  const char* GetPrefix(const XML::CUri* pName) const;

  const CGraph& m_graph;
  const CUriNamespacePool& m_known;
  CUriNamespacePool m_used;
  XML::CWriter& m_writer;
  const XML::CUri* m_containers[3];
};

}  // namespace RDF
