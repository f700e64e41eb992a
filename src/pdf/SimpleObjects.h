#pragma once

#include "pdf/Object.h"

namespace PDF
{

class CBooleanObject : public CObject
{
public:
  explicit CBooleanObject(bool bValue) : m_bValue(bValue) {}
  TObjectType GetType() override { return eBoolean; }
  CObject* Clone() override { return new CBooleanObject(m_bValue); }
  bool Equals(CObject& other) override { return other.IsBoolean() && other.GetBooleanValue() == m_bValue; }
  bool IsBoolean() override { return true; }
  bool GetBooleanValue() override { return m_bValue; }

private:
  bool m_bValue;
};

class CIntegerObject : public CObject
{
public:
  explicit CIntegerObject(std::int64_t nValue) : m_nValue(nValue) {}
  TObjectType GetType() override { return eInteger; }
  CObject* Clone() override { return new CIntegerObject(m_nValue); }
  bool Equals(CObject& other) override { return other.IsInteger() && other.GetIntegerValue() == m_nValue; }
  bool IsInteger() override { return true; }
  std::int64_t GetIntegerValue() override { return m_nValue; }
  double GetRealValue() override { return static_cast<double>(m_nValue); }

private:
  std::int64_t m_nValue;
};

class CRealObject : public CObject
{
public:
  explicit CRealObject(double dValue) : m_dValue(dValue) {}
  TObjectType GetType() override { return eReal; }
  CObject* Clone() override { return new CRealObject(m_dValue); }
  bool Equals(CObject& other) override { return other.IsReal() && other.GetRealValue() == m_dValue; }
  bool IsReal() override { return true; }
  std::int64_t GetIntegerValue() override;
  double GetRealValue() override { return m_dValue; }

private:
  double m_dValue;
};

class CNameObject : public CObject
{
public:
  explicit CNameObject(CName name) : m_name(std::move(name)) {}
  TObjectType GetType() override { return eName; }
  CObject* Clone() override { return new CNameObject(m_name); }
  bool Equals(CObject& other) override { return other.IsName() && m_name == other.GetNameValue(); }
  bool IsName() override { return true; }
  const char* GetNameValue() override { return m_name.GetText(); }

private:
  CName m_name;
};

class CStringObject : public CObject
{
public:
  explicit CStringObject(CString value) : m_value(std::move(value)) {}
  TObjectType GetType() override { return eString; }
  CObject* Clone() override { return new CStringObject(m_value); }
  bool Equals(CObject& other) override { return other.IsString() && other.GetStringValue() == m_value; }
  bool IsString() override { return true; }
  int GetLength() override { return m_value.GetLength(); }
  const CString& GetStringValue() override { return m_value; }

protected:
  CString m_value;
};

}  // namespace PDF
