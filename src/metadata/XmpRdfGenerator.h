#pragma once

#include "metadata/RdfGraph.h"
#include "metadata/XmpNode.h"

namespace XMP
{

// Turns the value tree into a graph, the way back of CRdfParser.
class CRdfGenerator : private IVisitor
{
public:
  // Must outlive the generator.
  explicit CRdfGenerator(RDF::CGraph& graph);

  // Adds one root.
  void Generate(const CMeta& meta);

private:
  void VisitLiteral(const CLiteral& literal) override;
  void VisitStructure(const CStructure& structure) override;
  void VisitArray(const CArray& array) override;

  RDF::CNode* MakeNode(const CNode& node);
  void AddFields(const CStructure& structure, RDF::CResource& resource);

  RDF::CGraph& m_graph;
  const XML::CUri* m_pValue;
  const XML::CUri* m_pItem;
  RDF::CNode* m_pNode = nullptr;
};

}  // namespace XMP
