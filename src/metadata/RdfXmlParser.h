#pragma once

#include "metadata/RdfGraph.h"
#include "metadata/XmlDocument.h"

namespace RDF
{

// Reads RDF/XML into a graph (W3C "RDF 1.1 XML Syntax", section 7), all of it that XMP (ISO 16684-1, 7.4)
// allows. rdf:nodeID, parseType "Literal" and "Collection" and datatypes are reported; the property is left
// out, a datatype only forgotten. Items of containers keep the name rdf:li, their order is that of the
// document. Deeper nesting than g_nMaxDepth is left out too.
class CXmlParser
{
public:
  static constexpr int g_nMaxDepth = 100;
  static constexpr int g_nMaxNames = 20000;
  static constexpr int g_nMaxNamespaces = 500;

  // Both must outlive the parser.
  CXmlParser(CGraph& graph, CUriNamespacePool& namespaces) : m_graph(graph), m_namespaces(namespaces) {}

  // Reads an rdf:RDF element. False past g_nMaxNames or g_nMaxNamespaces, which no honest
  // packet reaches.
  bool Parse(const XML::CElement& root);

private:
  enum class TParseType
  {
    None,
    Resource,
    Refused
  };

  void ParseNode(const XML::CElement& element, CResource& resource, int nDepth);
  void ParseNodeAttributes(const XML::CElement& element, CResource& resource);
  void ParseProperties(const XML::CElement& parent, CResource& subject, int nDepth);
  void ParseProperty(const XML::CElement& element, CResource& subject, int nDepth);

  // Null for a value that is left out.
  CNode* ParseValue(const XML::CElement& element, int nDepth);
  CNode* ParseEmptyValue(const XML::CElement& element);
  CNode* ParseNodeValue(const XML::CElement& element, int nDepth);

  // Attributes that are properties; returns how many there are.
  int ParsePropertyAttributes(const XML::CElement& element, CResource& resource);
  TParseType GetParseType(const XML::CElement& element);

  // Null for a name that cannot be a property; one without a namespace is reported.
  const XML::CUri* GetName(const XML::CNSNode& node);

  CGraph& m_graph;
  CUriNamespacePool& m_namespaces;
};

}  // namespace RDF
