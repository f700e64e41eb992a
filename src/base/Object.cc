#include "base/Object.h"

#include "base/Memory.h"
#include "base/Tracer.h"

namespace BSE
{

bool CObject::IsValid() const
{
  if (CTracer::IsOn())
    CTracer::Trace("E", "BSE Object", "BSE Object: IsValid() not implemented.");
  return false;
}

void* CObject::operator new(std::size_t nSize)
{
  return Allocate(nSize);
}

void CObject::operator delete(void* pObject)
{
  Free(pObject);
}

void CObject::EndLife()
{
  if (m_nRefCount == 0)
    delete this;
  else
    TraceCount();
}

void CObject::TraceCount() const
{
  if (CTracer::IsOn())
    CTracer::Trace("E", "BSE Object", "m_nRefCount == %d", m_nRefCount);
}

}  // namespace BSE
