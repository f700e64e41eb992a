#pragma once

#include "base/BasicArray.h"

#include <cstdint>
#include <span>

namespace PS
{

enum TToken
{
  eTokenEnd,
  eTokenInteger,
  eTokenReal,
  eTokenName,           // executable
  eTokenLiteralName,    // after a slash, which is not part of the text
  eTokenImmediateName,  // after two slashes
  eTokenString,
  eTokenProcedureBegin,
  eTokenProcedureEnd,
  eTokenArrayBegin,
  eTokenArrayEnd,
  eTokenDictionaryBegin,
  eTokenDictionaryEnd,
  eTokenInvalid  // a delimiter that begins nothing
};

// Cuts PostScript text into tokens (PostScript Language Reference, 3.2): font programs and CMaps. Tolerant: a
// string that is not closed ends with the data, and wrong characters in it are skipped.
class CScanner
{
public:
  // The data outlive the scanner.
  explicit CScanner(std::span<const unsigned char> data) : m_data(data) {}

  // Advances to the next token and returns it; eTokenEnd at the end of the data, again and again.
  TToken ReadToken();

  TToken GetToken() const { return m_nToken; }

  // For a real its truncation, within the range of the type; for an integer GetReal is the same value. An
  // integer that does not fit 32 bits is a real, unless it was written with a radix.
  int GetInteger() const { return m_nInteger; }
  double GetReal() const { return m_dReal; }

  // Of a name or a string, whose escapes and digits are decoded. Valid until the next token. Spans of names,
  // and of strings that needed no decoding, are parts of the data and stay.
  std::span<const unsigned char> GetText() const { return m_text; }

  // Whether the text, of a name or a string, equals this one.
  bool HasText(const char* szText) const;

  // True if the current string ends with the data and not with its delimiter.
  bool IsCut() const { return m_bCut; }

  // Where the current token begins, and what follows it.
  std::size_t GetTokenOffset() const { return m_nTokenOffset; }
  std::size_t GetOffset() const { return m_nOffset; }

  // Goes on reading elsewhere; at the end for an offset outside the data.
  void Seek(std::size_t nOffset) { m_nOffset = std::min(nOffset, m_data.size()); }

  // Binary data after the current token: takes the one blank before them and n bytes. Empty, and nothing is
  // taken, if there are fewer.
  std::span<const unsigned char> TakeBinary(std::int64_t n);

private:
  int Peek(std::size_t nAhead = 0) const
  {
    return m_nOffset + nAhead < m_data.size() ? m_data[m_nOffset + nAhead] : -1;
  }
  void SkipSpace();
  TToken Scan();
  TToken ReadWord(TToken nName);
  bool ReadNumber(std::span<const unsigned char> word);
  bool ReadRadixNumber(std::span<const unsigned char> word);
  void SetReal(double dValue);
  TToken ReadString();
  void ReadEscape();
  TToken ReadHexString();
  TToken ReadBase85String();
  void AddGroup(const unsigned char (&digits)[5], int nDigits);
  TToken SetOwnText();

  std::span<const unsigned char> m_data;
  std::size_t m_nOffset = 0;
  std::size_t m_nTokenOffset = 0;
  TToken m_nToken = eTokenEnd;
  int m_nInteger = 0;
  double m_dReal = 0;
  bool m_bCut = false;
  std::span<const unsigned char> m_text;
  BSE::CBasicArray<unsigned char> m_own;
};

}  // namespace PS
