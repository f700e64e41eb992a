#pragma once

#include "base/Object.h"
#include "base/RWLock.h"

namespace BSE
{

// Counted object whose references may be taken and dropped on several threads. Only the count is locked, not
// what the object holds.
class CThreadSafeObject : public CObject
{
public:
  IObject* AddRef() override;

  // As CObject::Release; the object is deleted after the lock has been left.
  void Release() override;
  int GetRefCount() const override;

private:
  mutable CRWLock m_countLock;
};

// Base of objects that the public interface hands out.
class CAPIObject : public CThreadSafeObject
{
};

}  // namespace BSE
