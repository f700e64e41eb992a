#pragma once

#include "metadata/RdfGraph.h"
#include "metadata/StatusCodes.h"
#include "metadata/XmpNode.h"

namespace XMP
{

// Turns a graph into the value tree (ISO 16684-1, 7). Resources at the top are joined into one; of properties
// of the same name the first stays.
class CRdfParser : private RDF::IVisitor
{
public:
  // Both must outlive the parser.
  CRdfParser(const RDF::CGraph& graph, const RDF::CUriNamespacePool& namespaces,
             BSE::IErrorContext* pErrorContext);

  void Parse(CMeta& meta);

private:
  void VisitResource(const RDF::CResource& resource) override;
  void VisitLiteral(const RDF::CLiteral& literal) override;

  BSE::CObjectPtr<CNode> MakeNode(const RDF::CNode& source);
  void AddFields(const RDF::CResource& resource, CStructure& target, const XML::CUri* pSkipped);
  void AddItems(const RDF::CResource& resource, CArray& target);

  // Makes the qualified value that rdf:value holds.
  void VisitQualified(const RDF::CResource& resource, const RDF::CNode& value);
  bool FindKind(const XML::CUri* pType, TArrayKind& kind) const;
  void Report(unsigned nCode, const XML::CUri* pName);

  const RDF::CGraph& m_graph;
  const RDF::CUriNamespacePool& m_namespaces;
  BSE::IErrorContext* m_pErrorContext;
  const XML::CUri* m_pValue;
  const XML::CUri* m_kinds[3];
  BSE::CObjectPtr<CNode> m_pNode;
};

}  // namespace XMP
