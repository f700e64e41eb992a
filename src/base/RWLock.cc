#include "base/RWLock.h"

#include "base/Tracer.h"

namespace BSE
{

CRWLock::CRWLock() : m_bValid(pthread_rwlock_init(&m_lock, nullptr) == 0)
{
  if (!m_bValid && CTracer::IsOn())
    CTracer::Trace("E", "RW Lock", "Initialization failed.");
}

CRWLock::~CRWLock()
{
  if (m_bValid)
    pthread_rwlock_destroy(&m_lock);
}

void CRWLock::LockForReading()
{
  if (m_bValid)
    pthread_rwlock_rdlock(&m_lock);
}

void CRWLock::LockForWriting()
{
  if (m_bValid)
    pthread_rwlock_wrlock(&m_lock);
}

void CRWLock::Unlock()
{
  if (m_bValid)
    pthread_rwlock_unlock(&m_lock);
}

}  // namespace BSE
