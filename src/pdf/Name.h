#pragma once

#include <cstddef>
#include <cstring>

namespace PDF
{

// A name value (ISO 32000-1, 7.3.5) without its slash and with escapes resolved. Up to 19 bytes are in the
// object itself. The text is ended by a zero byte and compared as such.
class CName
{
public:
  CName() = default;
  CName(const char* szText) { Assign(szText, szText ? std::strlen(szText) : 0); }
  CName(const char* pText, std::size_t nLength) { Assign(pText, nLength); }
  CName(const CName& other) { Assign(other.GetText(), other.m_nLength); }
  CName(CName&& other) noexcept;
  CName& operator=(const CName& other);
  CName& operator=(CName&& other) noexcept;
  ~CName() { Clear(); }

  const char* GetText() const { return IsInline() ? m_u.m_szInline : m_u.m_szHeap; }
  std::size_t GetLength() const { return m_nLength; }
  bool IsEmpty() const { return m_nLength == 0; }

  friend bool operator==(const CName& a, const CName& b) { return a == b.GetText(); }
  friend bool operator==(const CName& a, const char* szText)
  {
    return szText && std::strcmp(a.GetText(), szText) == 0;
  }

private:
  static constexpr std::size_t g_nInlineSize = 20;

  bool IsInline() const { return m_nLength < g_nInlineSize; }
  void Assign(const char* pText, std::size_t nLength);
  void Clear();

  union
  {
    char m_szInline[g_nInlineSize];
    char* m_szHeap;
  } m_u = {{0}};
  unsigned m_nLength = 0;
};

}  // namespace PDF
