#include "metadata/XmpRdfGenerator.h"

#include "metadata/RdfNames.h"

namespace XMP
{

namespace
{

const char* GetTypeName(TArrayKind kind)
{
  switch (kind)
  {
  case TArrayKind::Bag:
    return "Bag";
  case TArrayKind::Seq:
    return "Seq";
  default:
    return "Alt";
  }
}

}  // namespace

CRdfGenerator::CRdfGenerator(RDF::CGraph& graph)
    : m_graph(graph), m_pValue(graph.GetName(RDF::g_szValue)), m_pItem(graph.GetName("li"))
{
}

void CRdfGenerator::Generate(const CMeta& meta)
{
  RDF::CResource* pRoot = m_graph.NewRoot();
  if (!meta.GetAbout().IsEmpty())
    pRoot->SetUri(m_graph.GetUris().Intern(meta.GetAbout().GetText()));
  AddFields(meta, *pRoot);
}

void CRdfGenerator::AddFields(const CStructure& structure, RDF::CResource& resource)
{
  for (int i = structure.GetBegin(); i != structure.GetEnd(); i = structure.GetNext(i))
    resource.Add(structure.GetAt(i)->GetName(), MakeNode(*structure.GetAt(i)));
}

RDF::CNode* CRdfGenerator::MakeNode(const CNode& node)
{
  node.Accept(*this);
  RDF::CNode* pNode = m_pNode;
  if (const CStructure* pQualifiers = node.GetQualifiers())
  {
    RDF::CResource* pQualified = m_graph.NewResource();
    pQualified->Add(m_pValue, pNode);
    AddFields(*pQualifiers, *pQualified);
    pNode = pQualified;
  }
  pNode->SetLanguage(node.GetLanguage());
  return pNode;
}

void CRdfGenerator::VisitLiteral(const CLiteral& literal)
{
  if (!literal.IsUri())
  {
    m_pNode = m_graph.NewLiteral(literal.GetText());
    return;
  }
  RDF::CResource* pResource = m_graph.NewResource();
  pResource->SetUri(m_graph.GetUris().Intern(literal.GetText().GetText()));
  m_pNode = pResource;
}

void CRdfGenerator::VisitStructure(const CStructure& structure)
{
  RDF::CResource* pResource = m_graph.NewResource();
  AddFields(structure, *pResource);
  m_pNode = pResource;
}

void CRdfGenerator::VisitArray(const CArray& array)
{
  RDF::CResource* pResource = m_graph.NewResource();
  pResource->SetType(m_graph.GetName(GetTypeName(array.GetKind())));
  for (int i = 0; i < array.GetSize(); ++i)
    pResource->Add(m_pItem, MakeNode(*array.GetItem(i)));
  m_pNode = pResource;
}

}  // namespace XMP
