#pragma once

#include "base/ErrorProperty.h"
#include "base/StatusCodes.h"

namespace BSE
{

// Status codes: bit 31 an error, bits 16 to 30 the facility, bit 15 a warning where bit 31 is clear.
// Codes 1 to 32767 are errno values; 0 is success.
inline constexpr unsigned g_nErrorBit = 0x80000000U;
inline constexpr unsigned g_nWarningBit = 0x00008000U;

inline constexpr bool IsErrnoCode(unsigned nCode)
{
  return nCode >= 1 && nCode <= 32767;
}

// 2 error, 1 warning, 0 information; from the code alone.
int GetCodeSeverity(unsigned nCode);

// What a report means for the result of the operation that it is made in.
enum TConsequence
{
  eNoConsequence,  // everything is there: damage that was found again whole, remarks on form
  eContentLost,    // something of the input is missing in the result
  eOperationEnded  // the reason for which the operation gives up
};

// One failure or note. Passed along by CScopedPtr: whoever holds it last deletes it.
class IError
{
public:
  virtual ~IError() = default;

  // Renders the message into a buffer of nLength UTF-16 units, cut and always terminated; returns the units
  // written with the terminator, 0 if there is no text. With a null buffer: an upper bound of the units
  // needed.
  virtual int GetMessage(char16_t* pBuffer, int nLength) = 0;

  // 2 error, 1 warning, 0 information.
  virtual int GetSeverity() const { return GetCodeSeverity(m_nCode); }

  virtual IError* Clone() const = 0;

  unsigned GetCode() const { return m_nCode; }

  // Decided by the reporter, since the same code is used for damage with and without a loss.
  TConsequence GetConsequence() const { return m_consequence; }
  void SetConsequence(TConsequence consequence) { m_consequence = consequence; }

  // Properties, or null for a class without.
  virtual CErrorProperties* GetProperties() { return nullptr; }

protected:
  explicit IError(unsigned nCode) : m_nCode(nCode) {}
  IError(const IError&) = default;

  unsigned m_nCode;
  TConsequence m_consequence = eNoConsequence;
};

// An error with named properties.
class CContextError : public IError
{
public:
  CErrorProperties* GetProperties() override { return &m_properties; }

  // Chainable; the first value of a name wins.
  template <class V>
  CContextError& Set(const char* szName, V value)
  {
    m_properties.Set(szName, value);
    return *this;
  }

protected:
  explicit CContextError(unsigned nCode) : IError(nCode) {}
  CContextError(const CContextError&) = default;

  CErrorProperties m_properties;
};

// Renders the message table's template of its code, with %key% replaced by the property of that name.
class CError : public CContextError
{
public:
  explicit CError(unsigned nCode) : CContextError(nCode) {}
  int GetMessage(char16_t* pBuffer, int nLength) override;
  IError* Clone() const override { return new CError(*this); }
};

// An operating system failure: the code is an errno value, the text the C library's. Severity is always
// error.
class CErrnoError : public CContextError
{
public:
  explicit CErrnoError(int nErrno) : CContextError(static_cast<unsigned>(nErrno)) {}
  int GetMessage(char16_t* pBuffer, int nLength) override;
  int GetSeverity() const override { return 2; }
  IError* Clone() const override { return new CErrnoError(*this); }
};

// An operating system failure on a file, whose name is in the property "File".
class CFileError : public CErrnoError
{
public:
  CFileError(int nErrno, const char* szFileName) : CErrnoError(nErrno)
  {
    m_properties.Set("File", szFileName);
  }
  IError* Clone() const override { return new CFileError(*this); }
};

// Public status numbers of the object-style interface, with texts of their own table unless one is given.
class CAPIError : public IError
{
public:
  explicit CAPIError(unsigned nStatus, const char16_t* szText = nullptr) : IError(nStatus), m_text(szText) {}
  int GetMessage(char16_t* pBuffer, int nLength) override;
  int GetSeverity() const override { return 2; }
  IError* Clone() const override { return new CAPIError(*this); }

private:
  CStr16 m_text;
};

// Renders a template; see IError::GetMessage for buffer rules. Marks the properties that it used. A key that
// no property has, or of more than 20 characters, is copied as it is.
int RenderTemplate(const char16_t* szTemplate, CErrorProperties* pProperties, char16_t* pBuffer, int nLength);

// Text of a bare code: errno values by the C library, others by the message table without properties.
int GetErrorMessage(unsigned nCode, char16_t* pBuffer, int nLength);

// The calling thread's current error: the outcome of its last file operation.
class CTLSError
{
public:
  // Borrowed; null before the first Set. Valid until the next Set of this thread.
  static IError* Get();

  // Replaces and deletes what the slot held.
  static void Set(CScopedPtr<IError> pError);

  // Code 0; cheap when the slot holds that already.
  static void SetSuccess();
};

}  // namespace BSE
