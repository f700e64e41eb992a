#include "document/ObjectTraverser.h"

#include "base/ScopedValue.h"

namespace PDF
{

CObjectPtr CObjectTraverser::Dispatch(const CObjectPtr& object)
{
  if (m_nDepth >= g_nMaxContainerDepth)
    return {};
  const CLevel level(*this);
  switch (object.GetType())
  {
  case eBoolean:
    return VisitBoolean(object);
  case eInteger:
    return VisitInteger(object);
  case eReal:
    return VisitReal(object);
  case eString:
    return VisitString(object);
  case eName:
    return VisitName(object);
  case eArray:
    return VisitArray(object);
  case eDictionary:
    return VisitDictionary(object);
  case eStream:
    return VisitStream(object);
  case eIndirect:
    return VisitIndirect(object);
  case eNull:
    break;
  }
  return VisitNull(object);
}

CObjectPtr CObjectTraverser::Visit(const CObjectPtr& object)
{
  const CObjectPtr result = Dispatch(object);
  if (m_nDepth == 0)
    WorkOff();
  return result;
}

CObjectPtr CObjectTraverser::VisitNull(const CObjectPtr& object)
{
  return object;
}

CObjectPtr CObjectTraverser::VisitBoolean(const CObjectPtr& object)
{
  return object;
}

CObjectPtr CObjectTraverser::VisitInteger(const CObjectPtr& object)
{
  return object;
}

CObjectPtr CObjectTraverser::VisitReal(const CObjectPtr& object)
{
  return object;
}

CObjectPtr CObjectTraverser::VisitString(const CObjectPtr& object)
{
  return object;
}

CObjectPtr CObjectTraverser::VisitName(const CObjectPtr& object)
{
  return object;
}

CObjectPtr CObjectTraverser::VisitDictionary(const CObjectPtr& object)
{
  for (int i = object.GetBegin(); i != object.GetEnd(); i = object.GetNext(i))
    VisitEntry(object.GetKey(i), object.GetValue(i));
  return object;
}

CObjectPtr CObjectTraverser::VisitArray(const CObjectPtr& object)
{
  for (int i = 0; i < object.GetSize(); ++i)
    VisitElement(i, object[i]);
  return object;
}

CObjectPtr CObjectTraverser::VisitStream(const CObjectPtr& object)
{
  return object;
}

CObjectPtr CObjectTraverser::VisitIndirect(const CObjectPtr& object)
{
  const int nNumber = object.GetObjNumber();
  if (object->IsLocked() || (nNumber > 0 && !m_visited.Add(nNumber)))
    return object;
  if (IsDeep())
    m_postponed.Add(object.Get());
  else
    VisitParts(object);
  return object;
}

void CObjectTraverser::VisitParts(const CObjectPtr& object)
{
  object->Lock();
  Visit(object->GetValueObject());
  if (const CObjectPtr stream = object->GetStreamObject())
    Visit(stream);
  object->Unlock();
}

void CObjectTraverser::WorkOff()
{
  if (m_bWorkingOff)
    return;
  const BSE::CScopedValue working(m_bWorkingOff, true);
  while (!m_postponed.IsEmpty())
  {
    const int nLast = m_postponed.GetSize() - 1;
    const CObjectPtr object(m_postponed[nLast]);
    m_postponed.SetSize(nLast);
    VisitParts(object);
  }
  m_visited.RemoveAll();
}

CObjectPtr CObjectTraverser::VisitElement(int, const CObjectPtr& value)
{
  return Visit(value);
}

CObjectPtr CObjectTraverser::VisitEntry(const char*, const CObjectPtr& value)
{
  return Visit(value);
}

}  // namespace PDF
