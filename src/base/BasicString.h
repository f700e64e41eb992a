#pragma once

#include "base/BasicArray.h"
#include "base/Memory.h"

#include <span>

namespace BSE
{

// Growable text of units T, always ended by a zero unit that the length does not count.
template <class T>
class CBasicString
{
public:
  CBasicString() = default;
  CBasicString(const T* szText) { Assign(szText); }
  CBasicString(const T* pText, int nLength) { Assign(pText, nLength); }

  // A null text makes it empty.
  void Assign(const T* szText) { Assign(szText, Length(szText)); }
  void Assign(const T* pText, int nLength)
  {
    CBasicArray<T> data;
    Swap(data);
    Append(pText, nLength);
  }
  void Append(const T* szText) { Append(szText, Length(szText)); }
  void Append(const T* pText, int nLength)
  {
    if (nLength <= 0 || !pText)
      return;
    m_data.Reserve(GetLength() + nLength + 1);
    m_data.Truncate(GetLength());
    m_data.Append({pText, static_cast<std::size_t>(nLength)});
    m_data.Add(T{});
  }
  void Append(T unit) { Append(&unit, 1); }
  void RemoveAll() { m_data.RemoveAll(); }

  // Overwrites the text, which keeps its length.
  void Wipe() { BSE::Wipe(m_data.GetData(), static_cast<std::size_t>(m_data.GetSize()) * sizeof(T)); }

  int GetLength() const { return m_data.IsEmpty() ? 0 : m_data.GetSize() - 1; }
  bool IsEmpty() const { return GetLength() == 0; }

  // Ended by a zero unit; valid until the next change.
  const T* GetText() const { return m_data.IsEmpty() ? &g_nZero : m_data.GetData(); }
  std::span<const T> GetSpan() const { return {GetText(), static_cast<std::size_t>(GetLength())}; }
  T operator[](int nIndex) const { return nIndex < GetLength() ? m_data[nIndex] : T{}; }

  friend bool operator==(const CBasicString& a, const CBasicString& b)
  {
    return a.GetLength() == b.GetLength() &&
           std::equal(a.GetText(), a.GetText() + a.GetLength(), b.GetText());
  }

  static int Length(const T* szText)
  {
    int nLength = 0;
    if (szText)
      while (szText[nLength])
        ++nLength;
    return nLength;
  }

private:
  void Swap(CBasicArray<T>& data) { m_data = std::move(data); }

  static constexpr T g_nZero{};
  CBasicArray<T> m_data;
};

using CStr8 = CBasicString<char>;
using CStr16 = CBasicString<char16_t>;

}  // namespace BSE
