#include "metadata/XmpNode.h"

#include <strings.h>

namespace XMP
{

CNode::~CNode() = default;

const BSE::CStr8& CNode::GetText() const
{
  static const BSE::CStr8 empty;
  return empty;
}

void CNode::SetQualifiers(CStructure* pQualifiers)
{
  m_pQualifiers = pQualifiers;
  if (pQualifiers)
    pQualifiers->Join(this, nullptr);
}

void CNode::Join(CNode* pParent, const XML::CUri* pName)
{
  m_pParentNode = pParent;
  m_pName = pName;
  SetParent(pParent);
}

void CStructure::Set(const XML::CUri* pName, const BSE::CObjectPtr<CNode>& pValue)
{
  m_fields.SetAt(pName, pValue.Get());
  pValue->Join(this, pName);
}

void CArray::Insert(int nIndex, const BSE::CObjectPtr<CNode>& pItem)
{
  m_items.InsertAt(nIndex, pItem.Get());
  pItem->Join(this, nullptr);
}

void CArray::Replace(int nIndex, const BSE::CObjectPtr<CNode>& pItem)
{
  m_items.SetAt(nIndex, pItem.Get());
  pItem->Join(this, nullptr);
}

CArray* CArray::Create(TArrayKind kind)
{
  switch (kind)
  {
  case TArrayKind::Bag:
    return new CBag;
  case TArrayKind::Seq:
    return new CSeq;
  default:
    return new CAlt;
  }
}

int CAlt::FindLanguage(const char* szLanguage) const
{
  for (int i = 0; i < GetSize(); ++i)
    if (::strcasecmp(GetItem(i)->GetLanguage().GetText(), szLanguage) == 0)
      return i;
  return -1;
}

}  // namespace XMP
