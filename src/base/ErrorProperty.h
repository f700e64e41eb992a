#pragma once

#include "base/BasicMap.h"
#include "base/BasicString.h"
#include "base/ObjectPtr.h"

namespace BSE
{

// A typed value that an error carries under a name.
class CErrorProperty
{
public:
  virtual ~CErrorProperty() = default;
  virtual CErrorProperty* Clone() const = 0;

  // The raw value as a number: itself for numbers, 0 for text.
  virtual long long GetValue() const { return 0; }

  // The UTF-16 rendering; valid while the property lives.
  virtual const char16_t* GetText() const { return u"(null)"; }

  // Set when a message template consumed the property.
  bool m_bUsed = false;
};

// Decimal text.
class CIntErrorProperty : public CErrorProperty
{
public:
  explicit CIntErrorProperty(long long nValue) : m_nValue(nValue) {}
  CErrorProperty* Clone() const override { return new CIntErrorProperty(*this); }
  long long GetValue() const override { return m_nValue; }
  const char16_t* GetText() const override;

private:
  long long m_nValue;
  mutable char16_t m_szText[24] = {};
};

class CRealErrorProperty : public CErrorProperty
{
public:
  explicit CRealErrorProperty(double dValue) : m_dValue(dValue) {}
  CErrorProperty* Clone() const override { return new CRealErrorProperty(*this); }
  long long GetValue() const override;
  const char16_t* GetText() const override;

private:
  double m_dValue;
  mutable char16_t m_szText[40] = {};
};

// Keeps a copy of the text; "(null)" for a null text.
class CStrErrorProperty : public CErrorProperty
{
public:
  explicit CStrErrorProperty(const char16_t* szText);
  explicit CStrErrorProperty(const char* szUtf8);
  CErrorProperty* Clone() const override { return new CStrErrorProperty(*this); }
  const char16_t* GetText() const override;

private:
  bool m_bNull;
  CStr16 m_text;
};

// The "%p" form of an address.
class CPtrErrorProperty : public CErrorProperty
{
public:
  explicit CPtrErrorProperty(const void* pValue) : m_pValue(pValue) {}
  CErrorProperty* Clone() const override { return new CPtrErrorProperty(*this); }
  long long GetValue() const override;
  const char16_t* GetText() const override;

private:
  const void* m_pValue;
  mutable char16_t m_szText[24] = {};
};

// "true" or "false".
class CBoolErrorProperty : public CErrorProperty
{
public:
  explicit CBoolErrorProperty(bool bValue) : m_bValue(bValue) {}
  CErrorProperty* Clone() const override { return new CBoolErrorProperty(*this); }
  long long GetValue() const override { return m_bValue ? 1 : 0; }
  const char16_t* GetText() const override { return m_bValue ? u"true" : u"false"; }

private:
  bool m_bValue;
};

// The named properties of one error, in the order in which they were set. Names are at most 20 characters
// long. The first value of a name wins: inner reporters speak first, outer ones add what is missing.
class CErrorProperties
{
public:
  CErrorProperties() = default;
  CErrorProperties(const CErrorProperties& other);
  CErrorProperties(CErrorProperties&& other) noexcept = default;
  CErrorProperties& operator=(const CErrorProperties&) = delete;
  ~CErrorProperties();

  void Set(const char* szName, CScopedPtr<CErrorProperty> pValue);
  void Set(const char* szName, int nValue) { Set(szName, static_cast<long long>(nValue)); }
  void Set(const char* szName, long nValue) { Set(szName, static_cast<long long>(nValue)); }
  void Set(const char* szName, long long nValue);
  void Set(const char* szName, double dValue);
  void Set(const char* szName, const char16_t* szText);
  void Set(const char* szName, const char* szUtf8);
  void Set(const char* szName, bool bValue);

  // Borrowed; null when absent.
  CErrorProperty* Find(const char* szName) const;

  // Positions in order of setting.
  int GetBegin() const { return m_map.GetBegin(); }
  int GetNext(int nPos) const { return m_map.GetNext(nPos); }
  int GetEnd() const { return m_map.GetEnd(); }
  const char* GetName(int nPos) const { return static_cast<const char*>(m_map.GetKey(nPos)); }
  CErrorProperty* GetAt(int nPos) const { return static_cast<CErrorProperty*>(m_map.GetValue(nPos)); }

private:
  CBasicMap m_map;
};

}  // namespace BSE
