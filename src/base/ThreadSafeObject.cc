#include "base/ThreadSafeObject.h"

#include "base/Tracer.h"

namespace BSE
{

IObject* CThreadSafeObject::AddRef()
{
  const CWriteGuard guard(m_countLock);
  ++m_nRefCount;
  return this;
}

void CThreadSafeObject::Release()
{
  int nCount = 0;
  {
    const CWriteGuard guard(m_countLock);
    nCount = --m_nRefCount;
    if (nCount < 0 && CTracer::IsOn())
      CTracer::Trace("E", "Thread Safe Object", "m_nRefCount == %d", nCount);
  }
  if (nCount == 0)
    delete this;
}

int CThreadSafeObject::GetRefCount() const
{
  const CReadGuard guard(m_countLock);
  return m_nRefCount;
}

}  // namespace BSE
