#include "api/ApiString.h"

#include "base/Unicode.h"

namespace API
{

void CApiString::Set(const char* szText)
{
  m_bNull = szText == nullptr;
  m_textA.Assign(szText);
  BSE::ConvertLocaleToUtf16(szText, m_textW);
}

void CApiString::Set(const char16_t* szText)
{
  m_bNull = szText == nullptr;
  m_textW.Assign(szText);
  BSE::ConvertUtf16ToLocale(szText, m_textA);
}

}  // namespace API
