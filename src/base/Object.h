#pragma once

#include <cstddef>

namespace BSE
{

// Root of everything that is counted. Interfaces derive from it virtually, so that a class can join several.
class IObject
{
public:
  // Adds one reference; returns this object.
  virtual IObject* AddRef() = 0;

  // Drops one reference; the object is gone when the last one is dropped.
  virtual void Release() = 0;

  // True while the object can be used. What that means is the class's to say: a stream is open, a filter
  // could start.
  virtual bool IsValid() const = 0;

protected:
  virtual ~IObject() = default;
};

// Plain counted object, for one thread. The count starts at 0: creation is not a reference, the first
// CObjectPtr makes it 1. An object on the stack or inside another one stays at 0 and is never deleted by
// Release as long as nobody takes and drops a reference. Memory comes from malloc; exhausted memory is thrown
// (ThrowOutOfMemory).
class CObject : public virtual IObject
{
public:
  IObject* AddRef() override
  {
    ++m_nRefCount;
    return this;
  }

  // Deletes the object when the count falls to exactly 0. Below 0 a trace line is written and nothing is
  // freed.
  void Release() override
  {
    if (--m_nRefCount <= 0)
      EndLife();
  }

  // The default writes a trace line and returns false.
  bool IsValid() const override;

  virtual int GetRefCount() const { return m_nRefCount; }

  static void* operator new(std::size_t nSize);
  static void* operator new(std::size_t, void* pWhere) { return pWhere; }
  static void operator delete(void* pObject);
  static void operator delete(void*, void*) {}

protected:
  CObject() = default;
  CObject(const CObject&) {}  // a copy starts without references
  CObject& operator=(const CObject&) { return *this; }
  ~CObject() override
  {
    if (m_nRefCount != 0)
      TraceCount();
  }

  int m_nRefCount = 0;

private:
  // Out of line: inlined into a guess at the class, it makes GCC 12 warn about the deletion of a subobject.
  void EndLife();
  void TraceCount() const;
};

}  // namespace BSE
