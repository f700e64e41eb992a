#pragma once

#include <cstring>
#include <span>

namespace PDF
{

// A string value (ISO 32000-1, 7.3.4): bytes without escapes, not terminated in concept (a zero byte follows
// them nevertheless).
class CString
{
public:
  CString() = default;
  explicit CString(const char* szText) { Assign(szText, szText ? static_cast<int>(std::strlen(szText)) : 0); }
  CString(const void* pData, int nLength) { Assign(pData, nLength); }
  CString(const CString& other) { Assign(other.m_pData, other.m_nLength); }
  CString(CString&& other) noexcept;
  CString& operator=(const CString& other);
  CString& operator=(CString&& other) noexcept;
  ~CString();

  const unsigned char* GetData() const;
  int GetLength() const { return m_nLength; }
  bool IsEmpty() const { return m_nLength == 0; }
  std::span<const unsigned char> GetSpan() const { return {GetData(), static_cast<std::size_t>(m_nLength)}; }

  // Memory order, a shorter string before a longer one that starts with it.
  int Compare(const CString& other) const;
  friend bool operator==(const CString& a, const CString& b) { return a.Compare(b) == 0; }

protected:
  // Overwrites the bytes, of which there are as many afterwards.
  void Wipe();

private:
  void Assign(const void* pData, int nLength);

  unsigned char* m_pData = nullptr;
  int m_nLength = 0;
};

}  // namespace PDF
