#pragma once

#include "base/BasicString.h"

namespace API
{

// One text in both forms of the interface: bytes in the process's locale and UTF-16. A text that was set from
// null reads as null in both.
class CApiString
{
public:
  // Keep a copy and make the other form, which is empty if it cannot express the text.
  void Set(const char* szText);
  void Set(const char16_t* szText);

  // Valid until the next Set.
  const char* GetA() const { return m_bNull ? nullptr : m_textA.GetText(); }
  const char16_t* GetW() const { return m_bNull ? nullptr : m_textW.GetText(); }

private:
  BSE::CStr8 m_textA;
  BSE::CStr16 m_textW;
  bool m_bNull = true;
};

}  // namespace API
