#pragma once

#include "base/BasicArray.h"
#include "base/BufferedInputStream.h"
#include "base/ErrorContext.h"
#include "pdf/Token.h"

namespace PDF
{

// What a parser looks ahead from and comes back to: a token, its text and the position after it.
struct TScannerState
{
  TToken m_nToken = eTokenNone;
  std::int64_t m_nInteger = 0;
  double m_dReal = 0;
  BSE::CBasicArray<char> m_text;
  std::int64_t m_nPos = 0;
};

// Cuts a byte stream into tokens (ISO 32000-1, 7.2 and 7.3), files and content streams alike. Tolerant: what
// is malformed gives a token all the same. In strict mode deviations that do no harm are reported as
// warnings.
class CScanner
{
public:
  // Borrows the context; keeps a reference on the stream.
  CScanner(const BSE::CObjectPtr<BSE::CBufferedInputStream>& pStream, BSE::IErrorContext* pErrorContext);

  // Warnings for deviations; limits of string and name length, -1 for none.
  void SetStrict(bool bStrict, int nMaxString, int nMaxName);
  bool IsStrict() const { return m_bStrict; }

  // Advances to the next token; false only when the stream failed.
  bool ReadToken();

  TToken GetToken() const { return m_nToken; }

  // For a real its truncation; for an integer GetReal is the same value.
  std::int64_t GetInteger() const { return m_nInteger; }
  double GetReal() const { return m_dReal; }

  // The operator, or R, that is written directly after the current number, as in "10w" or "5 0R"; eTokenNone
  // for none. It is not read again; other characters there are skipped.
  TToken GetJoined() const { return m_nJoined; }

  // Text of a string, name or keyword, ended by a zero byte that the length does not count.
  const char* GetText() const { return m_text.GetData(); }
  int GetTextLength() const { return m_text.GetSize() - 1; }

  // True if the current string ends with the data and not with its delimiter.
  bool IsTextCut() const { return m_bTextCut; }

  // Start of the current token; only while recording is on.
  std::int64_t GetTokenPos() const { return m_nTokenPos; }
  void RecordPositions(bool bRecord) { m_bRecordPos = bRecord; }

  // A string also ends after "endobj": in a damaged file a stray parenthesis would swallow the rest of it.
  void StopStringsAtEndObj(bool bStop) { m_bStopAtEndObj = bStop; }

  // Strict mode: exactly one space before the token; an end of line somewhere before it; the last white-space
  // character before it was an end of line.
  bool HasSpaceBefore() const { return m_bSpaceBefore; }
  bool HasEolBefore() const { return m_bEolBefore; }
  bool IsEolAtEnd() const { return m_bEolAtEnd; }

  void SaveContext(TScannerState& state) const;
  void RestoreContext(const TScannerState& state);

  // After the keyword "stream": takes the end of line, tolerating CR alone and a space in front; returns the
  // position of the data.
  std::int64_t SkipStreamEol();
  bool IsStreamEolOk() const { return m_bStreamEolOk; }

  // Searches forward for "endstream", or where that is missing for an "endobj" with what follows an object
  // after it; returns the position of the data's end, before the end of line that precedes the keyword, or
  // the end of the stream, and stays there.
  std::int64_t FindEndStream();

  // Position in the stream after the current token.
  std::int64_t Tell() const { return m_pStream->Tell(); }
  bool Seek(std::int64_t nPos) { return m_pStream->Seek(nPos); }
  bool SeekBegin() { return m_pStream->Seek(0); }
  bool SeekEnd() { return m_pStream->Seek(-1); }

  // Position of the next, or the last before the current position, occurrence of a text; is after it
  // (forward) or on it (backward). -1 if there is none.
  std::int64_t FindForward(const char* szText);
  std::int64_t FindBackward(const char* szText);

  // Up to an end of line, which is taken but not stored; ended by zero, cut at the size. False at the end of
  // data.
  bool ReadLine(char* pBuffer, int nSize);

  BSE::CBufferedInputStream& GetStream() { return *m_pStream; }
  BSE::IErrorContext* GetErrorContext() const { return m_pErrorContext; }

private:
  bool IsEndOfData();
  bool IsBetweenObjects();
  bool FollowsKeyword(const char* szWord);
  int SkipSpace();
  void SkipComment();
  void ReadString();
  void ReadEscape();
  void ReadHexString();
  void ReadName();
  void ReadNumber(int nFirst);
  void ReadKeyword(int nFirst);
  void SkipJoined();
  void CheckStringLength();
  void BeginText() { m_text.Truncate(0); }
  void EndText() { m_text.Add('\0'); }

  BSE::CObjectPtr<BSE::CBufferedInputStream> m_pStream;
  BSE::IErrorContext* m_pErrorContext;
  TToken m_nToken = eTokenNone;
  TToken m_nJoined = eTokenNone;
  std::int64_t m_nTokenPos = -1;
  std::int64_t m_nInteger = 0;
  double m_dReal = 0;
  BSE::CBasicArray<char> m_text;
  int m_nMaxString = -1;
  int m_nMaxName = -1;
  bool m_bRecordPos = false;
  bool m_bStopAtEndObj = false;
  bool m_bTextCut = false;
  bool m_bStrict = false;
  bool m_bSpaceBefore = false;
  bool m_bEolBefore = false;
  bool m_bEolAtEnd = false;
  bool m_bStreamEolOk = false;
};

}  // namespace PDF
