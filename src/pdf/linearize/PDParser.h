#pragma once

#include "pdf/linearize/PDObj.h"

// What came of parsing: Incomplete asks for a longer text.
enum class TPDResult
{
  Complete,
  Incomplete,
  Damaged
};

// Parses values and words from a text (ISO 32000-1, 7.3). Does not recurse; nesting beyond the limit is
// damage. The text is at most 4 GiB minus one byte.
class PDParser
{
public:
  // bFinal: nothing follows the text, so that its end ends a number or name too.
  PDParser(std::span<const unsigned char> text, bool bFinal) : m_text(text), m_bFinal(bFinal) {}

  std::size_t GetPosition() const { return m_nPos; }

  // Next value; its nodes replace those of the object, which refers to the text from here on.
  TPDResult ParseValue(PDObj& object);

  // A number without a sign.
  TPDResult ParseNumber(std::int64_t& nValue);

  // Complete, and after it, if this word comes next; Damaged, and in front of it, if something else does.
  TPDResult ParseWord(const char* szWord);

  // Skips white space and comments; false at the end of the text.
  bool SkipSpace();

private:
  TPDResult ParseNode(PDObj& object);
  TPDResult ParseWordNode(PDObj& object);
  TPDResult ParseRestOfReference(PDObj& object);
  TPDResult ParseLiteral(PDObj& object);
  TPDResult ParseHex(PDObj& object);
  TPDResult Open(PDObj& object, TPDType nType, std::size_t nLength);
  TPDResult Close(PDObj& object, TPDType nType, std::size_t nLength);
  TPDResult MakeReference(PDObj& object);
  void Add(PDObj& object, TPDType nType, std::size_t nStart, std::size_t nEnd);

  // End of the run of regular characters from here.
  std::size_t FindRegularEnd(std::size_t nPos) const;
  TPDResult AtEnd() const { return m_bFinal ? TPDResult::Damaged : TPDResult::Incomplete; }

  std::span<const unsigned char> m_text;
  std::size_t m_nPos = 0;
  bool m_bFinal;
  int m_nOpen = -1;  // innermost open container; its m_nValue is the one around it until it closes
  int m_nDepth = 0;
  int m_nIntegers = 0;  // integers that came last, in the open container
};
