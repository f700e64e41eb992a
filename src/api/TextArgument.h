#pragma once

#include "base/BasicString.h"

namespace API
{

// A text argument in the other form than the caller's, for the length of a call. Texts of ordinary length
// stay on the stack. A null argument gives null, one that the other form cannot express an empty text.

// UTF-16 to bytes in the process's locale.
class CLocaleArgument
{
public:
  explicit CLocaleArgument(const char16_t* szText);
  CLocaleArgument(const CLocaleArgument&) = delete;
  CLocaleArgument& operator=(const CLocaleArgument&) = delete;

  const char* Get() const { return m_szText; }

private:
  static constexpr int g_nShort = 256;

  const char* m_szText = nullptr;
  char m_szShort[g_nShort];
  BSE::CStr8 m_long;
};

// Bytes in the process's locale to UTF-16.
class CUtf16Argument
{
public:
  explicit CUtf16Argument(const char* szText);
  CUtf16Argument(const CUtf16Argument&) = delete;
  CUtf16Argument& operator=(const CUtf16Argument&) = delete;

  const char16_t* Get() const { return m_szText; }

private:
  static constexpr int g_nShort = 256;

  const char16_t* m_szText = nullptr;
  char16_t m_szShort[g_nShort];
  BSE::CStr16 m_long;
};

}  // namespace API
