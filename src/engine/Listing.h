#pragma once

#include "base/BasicString.h"
#include "base/ErrorContext.h"

#include <cstdio>

namespace PDF
{

class CFile;

// Appends formatted numbers and texts to a row, the same in every locale.
class CListingRow
{
public:
  CListingRow& AddText(const char* szText);
  CListingRow& AddNumber(std::int64_t nValue);

  // With so many decimals, filled up with blanks on the left.
  CListingRow& AddReal(double dValue, int nDecimals, int nWidth = 0);

  // A text from the file. What would end its place in the row, and what a terminal would obey, is written as
  // in names of PDF: "#" and two hexadecimal digits. Those are control characters, '"' and '#', with bCommas
  // ',', and bytes that are not UTF-8.
  CListingRow& AddName(const char* szName, bool bCommas);

  const char* GetText() const { return m_text.GetText(); }
  int GetLength() const { return m_text.GetLength(); }

private:
  void AddEscaped(unsigned char nByte);

  BSE::CStr8 m_text;
};

// The text that a listing writes: a file, or standard output, which stays open. Failures are reported to the
// context as an end.
class CListing
{
public:
  // A null or empty path is standard output. The file that the document is read from is refused.
  CListing(const char* szPath, CFile& input, BSE::IErrorContext* pErrorContext);
  CListing(const CListing&) = delete;
  CListing& operator=(const CListing&) = delete;
  ~CListing();

  bool IsOpen() const { return m_pFile != nullptr; }
  void Write(const CListingRow& row);

  // False if anything could not be written.
  bool Close();

private:
  void Fail(unsigned nCode);

  std::FILE* m_pFile = nullptr;
  BSE::CStr8 m_path;
  BSE::IErrorContext* m_pErrorContext;
  int m_nErrno = 0;  // of the first write that failed
};

}  // namespace PDF
