// One pass over the bytes of the stream, which looks one byte ahead. Nothing here is an error that ends
// anything: a malformed number, name or escape has the value that most readers give it, and what can be no
// token is eTokenInvalid and costs its own bytes only. A number is collected as a whole mantissa with a
// decimal exponent, so that a value of up to 15 digits is rounded only once, and any number of digits neither
// wraps nor takes memory.

#include "pdf/Scanner.h"
#include "pdf/StatusCodes.h"

#include <cmath>

namespace PDF
{

namespace
{

constexpr int g_nEndObjLength = 6;

// A mantissa above this, a tenth of the largest, takes no further digit, so that times ten never wraps.
constexpr std::int64_t g_nMaxMantissa = 0x0CCCCCCCCCCCCCCC;

std::int64_t Truncate(double dValue)
{
  constexpr double dLimit = 9223372036854775808.0;
  if (dValue >= dLimit)
    return INT64_MAX;
  if (dValue <= -dLimit)
    return INT64_MIN;
  return static_cast<std::int64_t>(dValue);
}

}  // namespace

CScanner::CScanner(const BSE::CObjectPtr<BSE::CBufferedInputStream>& pStream,
                   BSE::IErrorContext* pErrorContext)
    : m_pStream(pStream), m_pErrorContext(pErrorContext)
{
  m_text.Reserve(256);
  EndText();
}

void CScanner::SetStrict(bool bStrict, int nMaxString, int nMaxName)
{
  m_bStrict = bStrict;
  m_nMaxString = nMaxString;
  m_nMaxName = nMaxName;
}

int CScanner::SkipSpace()
{
  if (!m_bStrict)
  {
    int c = m_pStream->GetByte();
    while (IsSpace(c))
      c = m_pStream->GetByte();
    return c;
  }
  int nCount = 0;
  int nLast = -1;
  m_bEolBefore = false;
  int c = m_pStream->GetByte();
  while (IsSpace(c))
  {
    ++nCount;
    nLast = c;
    m_bEolBefore = m_bEolBefore || c == '\r' || c == '\n';
    c = m_pStream->GetByte();
  }
  m_bSpaceBefore = nCount == 1 && nLast == ' ';
  m_bEolAtEnd = nLast == '\r' || nLast == '\n';
  return c;
}

void CScanner::SkipComment()
{
  // The end of line stays: it is white space before the next token.
  for (int c = m_pStream->PeekByte(); c >= 0 && c != '\r' && c != '\n'; c = m_pStream->PeekByte())
    m_pStream->GetByte();
}

bool CScanner::ReadToken()
{
  int c = SkipSpace();
  while (c == '%')
  {
    SkipComment();
    c = SkipSpace();
  }
  if (m_bRecordPos)
    m_nTokenPos = m_pStream->Tell() - (c >= 0 ? 1 : 0);
  switch (c)
  {
  case -1:
    m_nToken = eTokenEnd;
    return m_pStream->IsValid();
  case '(':
    ReadString();
    break;
  case '[':
    m_nToken = eTokenArrayBegin;
    break;
  case ']':
    m_nToken = eTokenArrayEnd;
    break;
  case '/':
    ReadName();
    break;
  case '<':
    if (m_pStream->PeekByte() == '<')
    {
      m_pStream->GetByte();
      m_nToken = eTokenDictionaryBegin;
    }
    else
      ReadHexString();
    break;
  case '>':
    m_nToken = eTokenInvalid;
    if (m_pStream->PeekByte() == '>')
    {
      m_pStream->GetByte();
      m_nToken = eTokenDictionaryEnd;
    }
    break;
  case ')':
  case '{':
  case '}':
    m_nToken = eTokenInvalid;
    break;
  default:
    if ((c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.')
      ReadNumber(c);
    else
      ReadKeyword(c);
    break;
  }
  return true;
}

void CScanner::ReadString()
{
  m_nToken = eTokenString;
  BeginText();
  int nDepth = 1;
  for (;;)
  {
    int c = m_pStream->GetByte();
    m_bTextCut = c < 0;
    if (m_bTextCut)
      break;
    if (c == '\\')
    {
      ReadEscape();
      continue;
    }
    if (c == '(')
      ++nDepth;
    else if (c == ')' && --nDepth == 0)
      break;
    else if (c == '\r')
    {
      if (m_pStream->PeekByte() == '\n')
        m_pStream->GetByte();
      c = '\n';
    }
    m_text.Add(static_cast<char>(c));
    if (m_bStopAtEndObj && c == 'j' && m_text.GetSize() >= g_nEndObjLength &&
        std::memcmp(m_text.GetData() + m_text.GetSize() - g_nEndObjLength, "endobj", g_nEndObjLength) == 0)
      break;
  }
  CheckStringLength();
  EndText();
}

void CScanner::ReadEscape()
{
  int c = m_pStream->GetByte();
  switch (c)
  {
  case -1:
    return;
  case 'n':
    c = '\n';
    break;
  case 'r':
    c = '\r';
    break;
  case 't':
    c = '\t';
    break;
  case 'b':
    c = '\b';
    break;
  case 'f':
    c = '\f';
    break;
  case '\n':
    return;
  case '\r':
    if (m_pStream->PeekByte() == '\n')
      m_pStream->GetByte();
    return;
  default:
    if (c < '0' || c > '7')
      break;
    c -= '0';
    for (int i = 0; i < 2; ++i)
    {
      const int nDigit = m_pStream->PeekByte();
      if (nDigit < '0' || nDigit > '7')
        break;
      c = c * 8 + (m_pStream->GetByte() - '0');
    }
    c &= 0xFF;
    break;
  }
  m_text.Add(static_cast<char>(c));
}

void CScanner::ReadHexString()
{
  m_nToken = eTokenString;
  BeginText();
  int nHigh = -1;
  for (;;)
  {
    int c = m_pStream->GetByte();
    m_bTextCut = c < 0;
    if (c == '>' || c < 0)
      break;
    if (IsSpace(c))
      continue;
    const int nDigit = GetHexValue(c);
    if (nDigit < 0)
    {
      m_nToken = eTokenInvalid;
      BeginText();
      while (c >= 0 && c != '>')
        c = m_pStream->GetByte();
      EndText();
      return;
    }
    if (nHigh < 0)
      nHigh = nDigit;
    else
    {
      m_text.Add(static_cast<char>(nHigh * 16 + nDigit));
      nHigh = -1;
    }
  }
  if (nHigh >= 0)
  {
    m_text.Add(static_cast<char>(nHigh * 16));
    if (m_bStrict)
      BSE::ReportError(m_pErrorContext, g_nOddHexString);
  }
  CheckStringLength();
  EndText();
}

void CScanner::CheckStringLength()
{
  if (m_nMaxString >= 0 && m_text.GetSize() > m_nMaxString)
    BSE::ReportError(m_pErrorContext, g_nStringTooLong);
}

void CScanner::ReadName()
{
  m_nToken = eTokenName;
  BeginText();
  for (;;)
  {
    const int c = m_pStream->PeekByte();
    if (!IsRegular(c))
      break;
    m_pStream->GetByte();
    if (c != '#')
    {
      m_text.Add(static_cast<char>(c));
      continue;
    }
    // A "#" without a hexadecimal digit after it disappears; one digit alone makes a byte of its value.
    const int nHigh = GetHexValue(m_pStream->PeekByte());
    if (nHigh < 0)
      continue;
    m_pStream->GetByte();
    const int nLow = GetHexValue(m_pStream->PeekByte());
    if (nLow >= 0)
      m_pStream->GetByte();
    m_text.Add(static_cast<char>(nLow < 0 ? nHigh : nHigh * 16 + nLow));
  }
  if (m_nMaxName >= 0 && m_text.GetSize() > m_nMaxName)
  {
    BSE::ReportError(m_pErrorContext, g_nNameTooLong);
    if (m_bStrict)
      m_text.Truncate(m_nMaxName);
  }
  EndText();
}

void CScanner::ReadNumber(int c)
{
  bool bNegative = false;
  // Of several signs, as some writers put them, the last one counts.
  while (c == '+' || c == '-')
  {
    bNegative = c == '-';
    c = m_pStream->GetByte();
  }
  std::int64_t nMantissa = 0;
  int nExponent = 0;
  bool bPoint = false;
  bool bOverflow = false;
  for (;; c = m_pStream->GetByte())
  {
    if (c == '.')
    {
      if (bPoint)
        break;
      bPoint = true;
      continue;
    }
    if (c < '0' || c > '9')
      break;
    if (nMantissa > g_nMaxMantissa)
    {
      bOverflow = true;
      // Beyond any value of a real the exponent stays where it is, so that digits without end cannot wrap it.
      if (!bPoint && nExponent < 400)
        ++nExponent;
      continue;
    }
    // The last digit that enters may pass the signed range by a hair.
    if (__builtin_mul_overflow(nMantissa, std::int64_t{10}, &nMantissa) ||
        __builtin_add_overflow(nMantissa, static_cast<std::int64_t>(c - '0'), &nMantissa))
    {
      nMantissa = INT64_MAX;
      bOverflow = true;
    }
    if (bPoint)
      --nExponent;
  }
  // A second point begins another number.
  const bool bNextNumber = c == '.';
  if (c >= 0)
    m_pStream->UngetByte();
  m_nJoined = eTokenNone;
  if (!bNextNumber && IsRegular(c))
    SkipJoined();
  if (bNegative)
    nMantissa = -nMantissa;
  if (!bPoint && !bOverflow)
  {
    m_nToken = eTokenInteger;
    m_nInteger = nMantissa;
    m_dReal = static_cast<double>(nMantissa);
    return;
  }
  m_nToken = eTokenReal;
  m_dReal = static_cast<double>(nMantissa);
  // Divided, not multiplied by a negative power: powers of ten are exact up to 10^22, negative ones never.
  if (nExponent != 0)
    m_dReal = nExponent < 0 ? m_dReal / std::pow(10.0, -nExponent) : m_dReal * std::pow(10.0, nExponent);
  m_nInteger = Truncate(m_dReal);
}

void CScanner::SkipJoined()
{
  ReadKeyword(m_pStream->GetByte());
  m_nJoined = m_nToken >= eTokenFirstOperator || m_nToken == eTokenR ? m_nToken : eTokenNone;
}

void CScanner::ReadKeyword(int c)
{
  // Longer words than any keyword are skipped, not stored.
  constexpr int g_nMaxWord = 32;
  BeginText();
  m_text.Add(static_cast<char>(c));
  while (IsRegular(m_pStream->PeekByte()))
  {
    c = m_pStream->GetByte();
    if (m_text.GetSize() < g_nMaxWord)
      m_text.Add(static_cast<char>(c));
  }
  m_nToken = FindKeyword(m_text.GetData(), m_text.GetSize());
  EndText();
}

void CScanner::SaveContext(TScannerState& state) const
{
  state.m_nToken = m_nToken;
  state.m_nInteger = m_nInteger;
  state.m_dReal = m_dReal;
  if (m_nToken == eTokenString || m_nToken == eTokenName || m_nToken == eTokenKeyword)
    state.m_text = m_text;
  else
    state.m_text.Truncate(0);
  state.m_nPos = m_pStream->Tell();
}

void CScanner::RestoreContext(const TScannerState& state)
{
  m_nToken = state.m_nToken;
  m_nInteger = state.m_nInteger;
  m_dReal = state.m_dReal;
  m_text.Truncate(0);
  m_text.Append(state.m_text.GetSpan());
  if (m_text.IsEmpty())
    EndText();
  m_pStream->Seek(state.m_nPos);
}

}  // namespace PDF
