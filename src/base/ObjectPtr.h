#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace BSE
{

// Pointer values below this bound stand for "no object": they are copied and compared as they are, never
// dereferenced.
inline constexpr std::uintptr_t g_nFirstObjectAddress = 4096;

template <class T>
inline bool IsObjectAddress(const T* p)
{
  return reinterpret_cast<std::uintptr_t>(p) >= g_nFirstObjectAddress;
}

// Counting pointer: keeps one reference on its object. Assignment takes the new reference before it drops the
// old one, so that self-assignment and a value kept alive only by the old one are safe.
template <class T>
class CObjectPtr
{
public:
  CObjectPtr() = default;
  CObjectPtr(std::nullptr_t) {}
  CObjectPtr(T* p) : m_p(p) { Add(m_p); }
  CObjectPtr(const CObjectPtr& other) : m_p(other.m_p) { Add(m_p); }
  CObjectPtr(CObjectPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
  template <class U>
  CObjectPtr(const CObjectPtr<U>& other) : m_p(other.Get())
  {
    Add(m_p);
  }
  ~CObjectPtr() { Drop(m_p); }

  CObjectPtr& operator=(T* p)
  {
    Add(p);
    Drop(std::exchange(m_p, p));
    return *this;
  }
  CObjectPtr& operator=(const CObjectPtr& other) { return *this = other.m_p; }
  CObjectPtr& operator=(CObjectPtr&& other) noexcept
  {
    if (this != &other)
      Drop(std::exchange(m_p, std::exchange(other.m_p, nullptr)));
    return *this;
  }

  // Borrowed; valid while this pointer keeps its value.
  T* Get() const { return m_p; }
  T* operator->() const { return m_p; }
  T& operator*() const { return *m_p; }
  explicit operator bool() const { return IsObjectAddress(m_p); }

  void Reset() { Drop(std::exchange(m_p, nullptr)); }

  // Gives the reference away without dropping it.
  T* Detach() { return std::exchange(m_p, nullptr); }

  friend bool operator==(const CObjectPtr& a, const CObjectPtr& b) { return a.m_p == b.m_p; }
  friend bool operator==(const CObjectPtr& a, const T* p) { return a.m_p == p; }

protected:
  static void Add(T* p)
  {
    if (IsObjectAddress(p))
      p->AddRef();
  }
  static void Drop(T* p)
  {
    if (IsObjectAddress(p))
      p->Release();
  }

  T* m_p = nullptr;
};

// Takes over the one reference that it is given: never adds one, drops it at the end.
template <class T>
class COwnerPtr
{
public:
  COwnerPtr() = default;
  explicit COwnerPtr(T* p) : m_p(p) {}
  COwnerPtr(COwnerPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
  COwnerPtr(const COwnerPtr&) = delete;
  COwnerPtr& operator=(const COwnerPtr&) = delete;
  COwnerPtr& operator=(COwnerPtr&& other) noexcept
  {
    if (this != &other)
      Reset(std::exchange(other.m_p, nullptr));
    return *this;
  }
  ~COwnerPtr() { Reset(); }

  T* Get() const { return m_p; }
  T* operator->() const { return m_p; }
  explicit operator bool() const { return IsObjectAddress(m_p); }

  void Reset(T* p = nullptr)
  {
    T* pOld = std::exchange(m_p, p);
    if (IsObjectAddress(pOld))
      pOld->Release();
  }
  T* Detach() { return std::exchange(m_p, nullptr); }

private:
  T* m_p = nullptr;
};

// Single owner of something that is not counted: an error, a record, a helper object. Deletes it at the end.
template <class T>
class CScopedPtr
{
public:
  CScopedPtr() = default;
  CScopedPtr(std::nullptr_t) {}
  explicit CScopedPtr(T* p) : m_p(p) {}
  CScopedPtr(CScopedPtr&& other) noexcept : m_p(other.Detach()) {}
  template <class U>
  CScopedPtr(CScopedPtr<U>&& other) noexcept : m_p(other.Detach())
  {
  }
  CScopedPtr(const CScopedPtr&) = delete;
  CScopedPtr& operator=(const CScopedPtr&) = delete;
  CScopedPtr& operator=(CScopedPtr&& other) noexcept
  {
    if (this != &other)
      Reset(other.Detach());
    return *this;
  }
  ~CScopedPtr() { delete m_p; }

  T* Get() const { return m_p; }
  T* operator->() const { return m_p; }
  T& operator*() const { return *m_p; }
  explicit operator bool() const { return m_p != nullptr; }

  void Reset(T* p = nullptr) { delete std::exchange(m_p, p); }
  T* Detach() { return std::exchange(m_p, nullptr); }

private:
  T* m_p = nullptr;
};

}  // namespace BSE
