#pragma once

#include "base/ErrorHandler.h"
#include "base/Stream.h"

namespace BSE
{

// Appends the lines of one error as UTF-8, each after nIndent units of two spaces: "0x%08X - %c - %s\n" with
// code, severity letter and message, then, with bProperties, "    - %s: %s\n" for each property that the
// message did not consume.
void AppendErrorText(IError& error, int nIndent, bool bProperties, CStr8& text);

// Writes the errors that pass as UTF-8 lines to a stream; without a valid stream they are dropped. What was
// written is complete after each report: the stream must not hold it back.
class CStreamErrorHandler : public CErrorHandler
{
public:
  // A null stream is fine.
  explicit CStreamErrorHandler(IByteStream* pStream = nullptr) : m_pStream(pStream) {}

  void OnHandleError(CScopedPtr<IError>& pError) override;

  // Writes the template of the code with the properties, in the order in which they were set, in place of its
  // printf conversions. A code without a template writes nothing.
  void OnReport(unsigned nCode, const CErrorProperties* pProperties) override;

  // Null for none.
  void SetStream(IByteStream* pStream) { m_pStream = pStream; }

protected:
  friend class CIndentGuard;

  bool HasStream() const { return m_pStream && m_pStream->IsValid(); }

  CObjectPtr<IByteStream> m_pStream;
  int m_nIndent = 0;         // in units of two spaces
  bool m_bLineStart = true;  // the last text ended in a line feed
};

// Indents what a handler writes by one unit for a scope.
class CIndentGuard
{
public:
  explicit CIndentGuard(CStreamErrorHandler& handler) : m_handler(handler) { ++m_handler.m_nIndent; }
  ~CIndentGuard() { --m_handler.m_nIndent; }
  CIndentGuard(const CIndentGuard&) = delete;
  CIndentGuard& operator=(const CIndentGuard&) = delete;

private:
  CStreamErrorHandler& m_handler;
};

// Writes to a file, which is created or truncated. A file that cannot be opened leaves the handler silent;
// the thread's error slot says why.
class CFileLogErrorHandler : public CStreamErrorHandler
{
public:
  explicit CFileLogErrorHandler(const char* szPath);

  // True if the file could be opened.
  bool IsOpen() const { return HasStream(); }
};

}  // namespace BSE
