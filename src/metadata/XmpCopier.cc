#include "metadata/XmpCopier.h"

namespace XMP
{

BSE::CObjectPtr<CNode> CCopier::Copy(const CNode& node)
{
  node.Accept(*this);
  BSE::CObjectPtr<CNode> pCopy = std::move(m_pCopy);
  pCopy->SetLanguage(node.GetLanguage());
  if (const CStructure* pQualifiers = node.GetQualifiers())
  {
    BSE::CObjectPtr<CStructure> pTarget(new CStructure);
    CopyFields(*pQualifiers, *pTarget);
    pCopy->SetQualifiers(pTarget.Get());
  }
  return pCopy;
}

void CCopier::CopyFields(const CStructure& source, CStructure& target)
{
  for (int i = source.GetBegin(); i != source.GetEnd(); i = source.GetNext(i))
    target.Set(source.GetAt(i)->GetName(), Copy(*source.GetAt(i)).Get());
}

void CCopier::VisitLiteral(const CLiteral& literal)
{
  m_pCopy = new CLiteral(literal.GetText(), literal.IsUri());
}

void CCopier::VisitStructure(const CStructure& structure)
{
  BSE::CObjectPtr<CStructure> pCopy(new CStructure);
  CopyFields(structure, *pCopy);
  m_pCopy = pCopy.Get();
}

void CCopier::VisitArray(const CArray& array)
{
  BSE::CObjectPtr<CArray> pCopy(CArray::Create(array.GetKind()));
  for (int i = 0; i < array.GetSize(); ++i)
    pCopy->Add(Copy(*array.GetItem(i)).Get());
  m_pCopy = pCopy.Get();
}

}  // namespace XMP
