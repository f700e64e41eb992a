#pragma once

#include "base/BasicArray.h"

namespace BSE
{

// Receives the events of callers of type CEventCaller<T>. It detaches itself before it dies.
template <class T>
class CEventListener;

// Keeps the listeners, borrowed, in the order of attaching.
template <class T>
class CEventCaller
{
public:
  CEventCaller() = default;
  CEventCaller(const CEventCaller&) = delete;
  CEventCaller& operator=(const CEventCaller&) = delete;

  // A listener is attached once however often this is called.
  void Attach(T* pListener)
  {
    if (!pListener || m_listeners.Find(pListener) != m_listeners.GetSize())
      return;
    m_listeners.Add(pListener);
    pListener->OnAttach();
  }
  void Detach(T* pListener)
  {
    const int nIndex = m_listeners.Find(pListener);
    if (nIndex == m_listeners.GetSize())
      return;
    m_listeners.RemoveAt(nIndex);
    pListener->OnDetach();
  }

protected:
  ~CEventCaller() = default;

  // Calls a function for each listener; a listener may detach itself meanwhile.
  template <class F>
  void ForEachListener(F function)
  {
    for (int i = m_listeners.GetSize() - 1; i >= 0; --i)
      if (T* pListener = m_listeners[i])
        function(*pListener);
  }

private:
  CPtrArray<T> m_listeners;
};

template <class T>
class CEventListener
{
public:
  virtual ~CEventListener() = default;
  virtual void OnAttach() {}
  virtual void OnDetach() {}
};

}  // namespace BSE
