#include "base/ErrorProperty.h"

#include "base/Unicode.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <system_error>

namespace BSE
{

namespace
{

// Numbers are formatted as 8-bit text first; the result is plain ASCII.
template <std::size_t nSize, class... V>
void FormatNumber(char16_t (&szText)[nSize], V... value)
{
  char aDigits[nSize - 1];
  const std::to_chars_result result = std::to_chars(std::begin(aDigits), std::end(aDigits), value...);
  const char* pEnd = result.ec == std::errc() ? result.ptr : aDigits;
  char16_t* pOut = szText;
  for (const char* p = aDigits; p != pEnd; ++p)
    *pOut++ = static_cast<unsigned char>(*p);
  *pOut = 0;
}

}  // namespace

const char16_t* CIntErrorProperty::GetText() const
{
  FormatNumber(m_szText, m_nValue);
  return m_szText;
}

long long CRealErrorProperty::GetValue() const
{
  constexpr double dLimit = 9223372036854775808.0;  // 2^63
  if (!(m_dValue > -dLimit))
    return std::numeric_limits<long long>::min();
  return m_dValue < dLimit ? static_cast<long long>(m_dValue) : std::numeric_limits<long long>::max();
}

const char16_t* CRealErrorProperty::GetText() const
{
  FormatNumber(m_szText, m_dValue);
  return m_szText;
}

CStrErrorProperty::CStrErrorProperty(const char16_t* szText) : m_bNull(!szText), m_text(szText) {}

CStrErrorProperty::CStrErrorProperty(const char* szUtf8) : m_bNull(!szUtf8)
{
  ConvertText(szUtf8, m_text, TInvalidText::Replace);
}

const char16_t* CStrErrorProperty::GetText() const
{
  return m_bNull ? CErrorProperty::GetText() : m_text.GetText();
}

long long CPtrErrorProperty::GetValue() const
{
  return static_cast<long long>(reinterpret_cast<std::uintptr_t>(m_pValue));
}

const char16_t* CPtrErrorProperty::GetText() const
{
  if (!m_pValue)
    return u"(nil)";
  char16_t szDigits[21];
  FormatNumber(szDigits, reinterpret_cast<std::uintptr_t>(m_pValue), 16);
  m_szText[0] = u'0';
  m_szText[1] = u'x';
  std::copy_n(szDigits, std::size(szDigits), m_szText + 2);
  return m_szText;
}

CErrorProperties::CErrorProperties(const CErrorProperties& other)
{
  for (int i = other.GetBegin(); i != other.GetEnd(); i = other.GetNext(i))
    Set(other.GetName(i), CScopedPtr<CErrorProperty>(other.GetAt(i)->Clone()));
}

CErrorProperties::~CErrorProperties()
{
  for (int i = GetBegin(); i != GetEnd(); i = GetNext(i))
    delete GetAt(i);
}

void CErrorProperties::Set(const char* szName, CScopedPtr<CErrorProperty> pValue)
{
  if (!pValue || Find(szName))
    return;
  m_map.SetAt(szName, std::strlen(szName) + 1, pValue.Get());
  pValue.Detach();
}

void CErrorProperties::Set(const char* szName, long long nValue)
{
  Set(szName, CScopedPtr<CErrorProperty>(new CIntErrorProperty(nValue)));
}

void CErrorProperties::Set(const char* szName, double dValue)
{
  Set(szName, CScopedPtr<CErrorProperty>(new CRealErrorProperty(dValue)));
}

void CErrorProperties::Set(const char* szName, const char16_t* szText)
{
  Set(szName, CScopedPtr<CErrorProperty>(new CStrErrorProperty(szText)));
}

void CErrorProperties::Set(const char* szName, const char* szUtf8)
{
  Set(szName, CScopedPtr<CErrorProperty>(new CStrErrorProperty(szUtf8)));
}

void CErrorProperties::Set(const char* szName, bool bValue)
{
  Set(szName, CScopedPtr<CErrorProperty>(new CBoolErrorProperty(bValue)));
}

CErrorProperty* CErrorProperties::Find(const char* szName) const
{
  return static_cast<CErrorProperty*>(m_map.GetValue(m_map.Lookup(szName, std::strlen(szName) + 1)));
}

}  // namespace BSE
