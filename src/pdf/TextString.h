#pragma once

#include "base/BasicString.h"
#include "pdf/String.h"

namespace PDF
{

// Code point of a byte in PDFDocEncoding (ISO 32000-1, Annex D.2). Bytes that the encoding leaves undefined
// stand for themselves.
char16_t DecodePdfDocByte(unsigned char nByte);

// Byte of a character in PDFDocEncoding, or -1.
int EncodePdfDocByte(char32_t nCharacter);

// A text string value (ISO 32000-1, 7.9.2.2) with its text. Bytes are in PDFDocEncoding unless they start
// with 0xFE 0xFF (UTF-16BE) or 0xEF 0xBB 0xBF (UTF-8, ISO 32000-2).
class CTextString : public CString
{
public:
  CTextString() = default;
  CTextString(const CTextString&) = default;
  CTextString(CTextString&&) noexcept = default;
  CTextString& operator=(const CTextString&) = default;
  CTextString& operator=(CTextString&&) noexcept = default;

  // Leaves nothing in memory: it is what passwords are handed over in.
  ~CTextString()
  {
    Wipe();
    m_text.Wipe();
  }

  // The bytes of a file. Invalid sequences read as U+FFFD.
  explicit CTextString(const CString& value);

  // 8-bit text: the bytes as they are, as PDFDocEncoding or with one of the markers; null is empty.
  explicit CTextString(const char* szText);

  // Encodes text: PDFDocEncoding where every character has a byte there, else UTF-16BE with its marker; null
  // is empty.
  explicit CTextString(const char16_t* szText);

  const BSE::CStr16& GetText() const { return m_text; }

private:
  BSE::CStr16 m_text;
};

}  // namespace PDF
