#pragma once

#include "base/DecodeFilter.h"
#include "base/EncodeFilter.h"

#include <cwchar>

namespace BSE
{

// Encodings of text files.
enum TTextEncoding
{
  eTextLocale = 1,  // the process locale's multibyte encoding
  eTextUtf16LittleEndian = 2,
  eTextUtf8 = 3,
  eTextUtf16BigEndian = 5
};

// Reads a text file as UTF-8. A byte-order mark decides the encoding and is taken away; a text without one is
// in the default encoding. Text that is invalid in its encoding is reported and ends the data.
class CTextInputStream : public CBufferedDecodeFilter
{
public:
  explicit CTextInputStream(IByteStream* pSource, TTextEncoding nDefault = eTextUtf8,
                            IErrorContext* pErrorContext = nullptr);

  // Known after the first read.
  TTextEncoding GetEncoding() const { return m_nEncoding; }

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override;

private:
  void DetectEncoding();
  char32_t NextCharacter();
  char32_t NextUtf8();
  char32_t NextUtf16();
  char32_t NextLocale();
  int NextUnit();
  int NextRaw();

  TTextEncoding m_nDefault;
  TTextEncoding m_nEncoding;
  bool m_bStarted = false;
  bool m_bNullSeen = false;
  unsigned char m_ahead[4] = {};  // bytes read while looking for a mark, and the rest of a character
  int m_nAhead = 0;
  unsigned char m_pending[4] = {};
  int m_nPending = 0;
  int m_nPendingPos = 0;
  std::mbstate_t m_state = {};
};

// Writes text that it is given as UTF-8 in an encoding. Invalid text is reported and fails the stream.
class CTextOutputStream : public CBufferedEncodeFilter
{
public:
  // Another number than those of TTextEncoding is traced and taken for UTF-8. With bByteOrderMark the text
  // begins with a mark, unless the encoding has none.
  explicit CTextOutputStream(IByteStream* pSink, int nEncoding = eTextUtf8, bool bByteOrderMark = false,
                             IErrorContext* pErrorContext = nullptr);
  ~CTextOutputStream() override;

  // True if all of it was written; a null text is empty.
  bool WriteText(const char* szUtf8);
  bool WriteText(const char16_t* szText);

  // Hands everything that is complete to the sink.
  bool Flush() { return m_pOutput->Flush(); }

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  bool Encode(std::span<const unsigned char> text, std::size_t& nTaken);
  bool PutCharacter(char32_t nCharacter);
  bool PutUnit(char16_t nUnit);
  bool Fail(unsigned nCode);

  TTextEncoding m_nEncoding;
  bool m_bMark;
  unsigned char m_partial[4] = {};  // a character that the next block completes
  std::size_t m_nPartial = 0;
  std::mbstate_t m_state = {};
};

}  // namespace BSE
