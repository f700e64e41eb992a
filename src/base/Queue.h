#pragma once

#include "base/Memory.h"
#include "base/Object.h"
#include "base/ObjectPtr.h"

#include <new>

namespace BSE
{

// First-in, first-out queue of a limited size. Push and PushFront refuse, with false, once the queue is full.
// Pop and Peek give 0 from an empty queue.
template <class T>
class CQueue;

template <>
class CQueue<long>
{
public:
  explicit CQueue(int nMaxSize) : m_nMaxSize(nMaxSize) {}
  CQueue(const CQueue&) = delete;
  CQueue& operator=(const CQueue&) = delete;
  ~CQueue()
  {
    while (!IsEmpty())
      Pop();
  }

  bool Push(long nValue)
  {
    if (m_nSize >= m_nMaxSize)
      return false;
    TNode* pNode = new (Allocate(sizeof(TNode))) TNode{nValue, nullptr};
    (m_pTail ? m_pTail->m_pNext : m_pHead) = pNode;
    m_pTail = pNode;
    ++m_nSize;
    return true;
  }

  bool PushFront(long nValue)
  {
    if (m_nSize >= m_nMaxSize)
      return false;
    m_pHead = new (Allocate(sizeof(TNode))) TNode{nValue, m_pHead};
    if (!m_pTail)
      m_pTail = m_pHead;
    ++m_nSize;
    return true;
  }

  long Pop()
  {
    TNode* pNode = m_pHead;
    if (!pNode)
      return 0;
    const long nValue = pNode->m_nValue;
    m_pHead = pNode->m_pNext;
    if (!m_pHead)
      m_pTail = nullptr;
    --m_nSize;
    Free(pNode);
    return nValue;
  }

  long Peek() const { return m_pHead ? m_pHead->m_nValue : 0; }
  bool IsEmpty() const { return !m_pHead; }
  int GetSize() const { return m_nSize; }

private:
  struct TNode
  {
    long m_nValue;
    TNode* m_pNext;
  };

  TNode* m_pHead = nullptr;
  TNode* m_pTail = nullptr;
  int m_nMaxSize;
  int m_nSize = 0;
};

// Borrowed objects.
template <>
class CQueue<IObject*> : private CQueue<long>
{
  static_assert(sizeof(long) == sizeof(IObject*));

public:
  using CQueue<long>::CQueue;
  using CQueue<long>::GetSize;
  using CQueue<long>::IsEmpty;

  bool Push(IObject* p) { return CQueue<long>::Push(reinterpret_cast<long>(p)); }
  bool PushFront(IObject* p) { return CQueue<long>::PushFront(reinterpret_cast<long>(p)); }
  IObject* Pop() { return reinterpret_cast<IObject*>(CQueue<long>::Pop()); }
  IObject* Peek() const { return reinterpret_cast<IObject*>(CQueue<long>::Peek()); }
};

// Queue that keeps the references of its elements, handed over by holders of type P. A push that is refused
// leaves the object with the caller's holder; one that succeeds empties it.
template <class P>
class CHoldingQueue : private CQueue<IObject*>
{
public:
  using CQueue<IObject*>::CQueue;
  using CQueue<IObject*>::GetSize;
  using CQueue<IObject*>::IsEmpty;

  ~CHoldingQueue()
  {
    while (!IsEmpty())
      COwnerPtr<IObject>(CQueue<IObject*>::Pop()).Reset();
  }

  bool Push(P& pObject)
  {
    if (!CQueue<IObject*>::Push(pObject.Get()))
      return false;
    pObject.Detach();
    return true;
  }
  bool PushFront(P& pObject)
  {
    if (!CQueue<IObject*>::PushFront(pObject.Get()))
      return false;
    pObject.Detach();
    return true;
  }

  // Borrowed.
  IObject* Peek() const { return CQueue<IObject*>::Peek(); }

protected:
  IObject* PopReference() { return CQueue<IObject*>::Pop(); }
};

template <>
class CQueue<CObjectPtr<IObject>> : public CHoldingQueue<CObjectPtr<IObject>>
{
public:
  using CHoldingQueue::CHoldingQueue;

  CObjectPtr<IObject> Pop()
  {
    const COwnerPtr<IObject> pReference(PopReference());
    return CObjectPtr<IObject>(pReference.Get());
  }
};

template <>
class CQueue<COwnerPtr<IObject>> : public CHoldingQueue<COwnerPtr<IObject>>
{
public:
  using CHoldingQueue::CHoldingQueue;

  COwnerPtr<IObject> Pop() { return COwnerPtr<IObject>(PopReference()); }
};

}  // namespace BSE
