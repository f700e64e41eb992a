#pragma once

#include "base/BasicArray.h"
#include "pdf/Object.h"

namespace PDF
{

// Array (ISO 32000-1, 7.3.6). Keeps a reference on each element; elements may be null.
class CArrayObject : public CObject
{
public:
  TObjectType GetType() override { return eArray; }
  CObject* Clone() override;
  bool IsArray() override { return true; }
  int GetSize() override { return m_elements.GetSize(); }
  CObjectPtr GetElement(int nIndex) override { return m_elements[nIndex]; }
  void SetAt(int nIndex, CObject* pValue) override { m_elements.SetAt(nIndex, pValue); }
  void Add(CObject* pValue) override { m_elements.Add(pValue); }
  void SetSize(int nSize) override { m_elements.SetSize(nSize); }
  void Insert(int nIndex, CObject* pValue) override { m_elements.InsertAt(nIndex, pValue); }
  void Delete(int nIndex) override { m_elements.RemoveAt(nIndex); }

  // The element without a reference of its own, for walks that change nothing.
  CObject* PeekElement(int nIndex) const { return m_elements[nIndex]; }

protected:
  BSE::CObjectArray<CObject> m_elements;
};

}  // namespace PDF
