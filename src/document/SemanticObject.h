#pragma once

#include "pdf/Object.h"

namespace PDF
{

// Base of counted views on a PDF object: keeps a reference on it. A null object makes an invalid view.
class CSemanticObject : public BSE::CObject
{
public:
  explicit CSemanticObject(PDF::CObject* pObject) : m_object(pObject) {}
  bool IsValid() const override { return static_cast<bool>(m_object); }

  const CObjectPtr& GetObject() const { return m_object; }
  int GetObjNumber() const { return m_object.GetObjNumber(); }

protected:
  CObjectPtr m_object;
};

// Base of views by value: a pointer to a PDF object with operations of its subject.
class CPtrSemanticObject : public CObjectPtr
{
public:
  using CObjectPtr::CObjectPtr;
  CPtrSemanticObject() = default;
  CPtrSemanticObject(const CObjectPtr& object) : CObjectPtr(object) {}
};

// A view that knows the "Type" that its dictionary should have.
class CTypedObject : public CPtrSemanticObject
{
public:
  // szType is a literal, or lives as long as the view.
  explicit CTypedObject(const char* szType) : m_szType(szType) {}
  CTypedObject(const CObjectPtr& object, const char* szType) : CPtrSemanticObject(object), m_szType(szType) {}

  const char* GetTypeName() const { return m_szType; }

  // True for a dictionary whose "Type" is that name.
  bool HasType() const { return IsDictionary() && (*this)["Type"].IsName(m_szType); }

private:
  const char* m_szType;
};

}  // namespace PDF
