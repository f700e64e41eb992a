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
  void SetAt(int nIndex, const CObjectPtr& value) override { m_elements.SetAt(nIndex, value.Get()); }
  void Add(const CObjectPtr& value) override { m_elements.Add(value.Get()); }
  void SetSize(int nSize) override { m_elements.SetSize(nSize); }
  void Insert(int nIndex, const CObjectPtr& value) override { m_elements.InsertAt(nIndex, value.Get()); }
  void Delete(int nIndex) override { m_elements.RemoveAt(nIndex); }

  // The element without a reference of its own, for walks that change nothing.
  CObject* PeekElement(int nIndex) const { return m_elements[nIndex]; }

protected:
  BSE::CObjectArray<CObject> m_elements;
};

}  // namespace PDF
