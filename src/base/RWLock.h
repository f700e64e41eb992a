#pragma once

#include <pthread.h>

namespace BSE
{

// Reader/writer lock, not recursive. A lock that could not be initialised is noted in the trace and then
// excludes nobody.
class CRWLock
{
public:
  CRWLock();
  ~CRWLock();
  CRWLock(const CRWLock&) = delete;
  CRWLock& operator=(const CRWLock&) = delete;

  void LockForReading();
  void LockForWriting();
  void Unlock();

private:
  pthread_rwlock_t m_lock;
  bool m_bValid;
};

class CReadGuard
{
public:
  explicit CReadGuard(CRWLock& lock) : m_lock(lock) { m_lock.LockForReading(); }
  ~CReadGuard() { m_lock.Unlock(); }
  CReadGuard(const CReadGuard&) = delete;
  CReadGuard& operator=(const CReadGuard&) = delete;

private:
  CRWLock& m_lock;
};

class CWriteGuard
{
public:
  explicit CWriteGuard(CRWLock& lock) : m_lock(lock) { m_lock.LockForWriting(); }
  ~CWriteGuard() { m_lock.Unlock(); }
  CWriteGuard(const CWriteGuard&) = delete;
  CWriteGuard& operator=(const CWriteGuard&) = delete;

private:
  CRWLock& m_lock;
};

}  // namespace BSE
