#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"

namespace PDF
{

CObject* CArrayObject::Clone()
{
  BSE::CScopedPtr<CArrayObject> pCopy(new CArrayObject);
  pCopy->m_elements = m_elements;
  return pCopy.Detach();
}

CDictionaryObject::~CDictionaryObject()
{
  for (int i = m_entries.GetBegin(); i != m_entries.GetEnd(); i = m_entries.GetNext(i))
    if (CObject* pValue = PeekValue(i))
      pValue->Release();
}

CObject* CDictionaryObject::Clone()
{
  BSE::CScopedPtr<CDictionaryObject> pCopy(new CDictionaryObject);
  for (int i = GetBegin(); i != GetEnd(); i = GetNext(i))
    pCopy->AddEntry(GetKey(i), PeekValue(i));
  return pCopy.Detach();
}

CObjectPtr CDictionaryObject::GetEntry(const char* szKey)
{
  return PeekValue(m_entries.Lookup(szKey, std::strlen(szKey) + 1));
}

int CDictionaryObject::GetIndex(const char* szKey)
{
  const int nPos = m_entries.Lookup(szKey, std::strlen(szKey) + 1);
  return PeekValue(nPos) ? nPos : -1;
}

int CDictionaryObject::GetNext(int nPos)
{
  do
    nPos = m_entries.GetNext(nPos);
  while (nPos != m_entries.GetEnd() && !PeekValue(nPos));
  return nPos;
}

bool CDictionaryObject::AddEntry(const char* szKey, const CObjectPtr& value)
{
  const std::size_t nLength = std::strlen(szKey) + 1;
  BSE::CObjectPtr<CObject> pKept(value);
  CObjectPtr former;
  const int nPos = m_entries.Lookup(szKey, nLength);
  if (nPos >= 0)
  {
    former = PeekValue(nPos);
    m_entries.SetValue(nPos, pKept.Detach());
    if (former)
      former->Release();
    return true;
  }
  m_entries.SetAt(szKey, nLength, pKept.Get());
  pKept.Detach();
  return true;
}

void CDictionaryObject::DeleteEntry(const char* szKey)
{
  if (void* pValue = m_entries.RemoveKey(szKey, std::strlen(szKey) + 1))
    static_cast<CObject*>(pValue)->Release();
}

}  // namespace PDF
