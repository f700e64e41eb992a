// Header, end of file and cross-reference tables of CParser (ISO 32000-1, 7.5.2, 7.5.4 and 7.5.5). Entries of
// a table have fields of fixed width, which are read from the bytes; only a table with other widths, as some
// writers make them, is read once more token by token, where widths do not matter.

#include "base/Checked.h"
#include "base/Limits.h"
#include "pdf/Parser.h"
#include "pdf/StatusCodes.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

bool IsDigit(int c)
{
  return c >= '0' && c <= '9';
}

bool IsEol(int c)
{
  return c == '\r' || c == '\n';
}

// Enters one entry of a table; false for an unknown kind, and once there were too many.
bool EnterEntry(CXRefSink& sink, int nObjNumber, int nKind, std::int64_t nOffset, std::int64_t nGeneration)
{
  if (nKind == 'n')
    return sink.SetOffset(nObjNumber, BSE::ClampTo<int>(nGeneration), nOffset);
  return nKind == 'f' && sink.SetFree(nObjNumber, BSE::ClampTo<int>(nGeneration), BSE::ClampTo<int>(nOffset));
}

// Digits at a text, after blanks, at most 9; -1 without any.
int ReadNumber(const char*& szText)
{
  while (*szText == ' ')
    ++szText;
  if (!IsDigit(*szText))
    return -1;
  int nValue = 0;
  for (int i = 0; i < 9 && IsDigit(*szText); ++i)
    nValue = nValue * 10 + (*szText++ - '0');
  return nValue;
}

}  // namespace

bool CParser::ReadHeader(std::int64_t& nHeaderOffset, int& nMajor, int& nMinor)
{
  m_scanner.SeekBegin();
  std::int64_t nPos = m_scanner.FindForward("%PDF-");
  if (nPos < 0)
  {
    m_scanner.SeekBegin();
    nPos = m_scanner.FindForward("%FDF-");
  }
  char szLine[256];
  if (nPos < 0 || !m_scanner.ReadLine(szLine, sizeof(szLine)))
  {
    Report(g_nNoHeader);
    return false;
  }
  const char* szVersion = szLine;
  const int nFirst = ReadNumber(szVersion);
  const int nSecond = nFirst >= 0 && *szVersion == '.' ? ReadNumber(++szVersion) : -1;
  if (nSecond < 0)
  {
    Report(g_nNoHeader);
    return false;
  }
  nMajor = nFirst;
  nMinor = nSecond;
  nHeaderOffset = m_nHeaderOffset = nPos;
  const std::int64_t nBehind = m_scanner.Tell();
  m_bBinaryMarker = m_scanner.ReadLine(szLine, sizeof(szLine)) && szLine[0] == '%' &&
                    std::all_of(szLine + 1, szLine + 5, [](char c) { return (c & 0x80) != 0; });
  m_scanner.Seek(nBehind);
  return true;
}

std::int64_t CParser::ReadStartXRef()
{
  m_scanner.SeekEnd();
  if (m_scanner.FindBackward("%%EOF") < 0)
  {
    Report(g_nNoEof);
    m_scanner.SeekEnd();
  }
  else if (m_scanner.IsStrict())
  {
    const std::int64_t nMarker = m_scanner.Tell();
    char szLine[16];
    m_scanner.ReadLine(szLine, sizeof(szLine));
    ReportStrict(m_scanner.GetStream().PeekByte() < 0, g_nDataAfterEof);
    m_scanner.Seek(nMarker);
  }
  if (m_scanner.FindBackward("startxref") < 0 || !m_scanner.ReadToken() ||
      m_scanner.GetToken() != eTokenStartXRef || !m_scanner.ReadToken() ||
      m_scanner.GetToken() != eTokenInteger || m_scanner.GetInteger() < 0)
  {
    Report(g_nNoStartXRef);
    return -1;
  }
  return m_scanner.GetInteger();
}

int CParser::SkipSpaceBytes()
{
  int nLast = -1;
  return SkipSpaceBytes(nLast);
}

int CParser::SkipSpaceBytes(int& nLast)
{
  BSE::CBufferedInputStream& stream = m_scanner.GetStream();
  int nCount = 0;
  while (IsSpace(stream.PeekByte()))
  {
    nLast = stream.GetByte();
    ++nCount;
  }
  return nCount;
}

bool CParser::ReadDigits(int nCount, std::int64_t& nValue)
{
  BSE::CBufferedInputStream& stream = m_scanner.GetStream();
  nValue = 0;
  for (int i = 0; i < nCount; ++i)
  {
    const int c = stream.GetByte();
    if (!IsDigit(c))
      return false;
    nValue = nValue * 10 + (c - '0');
  }
  return true;
}

bool CParser::ReadSubsectionHeader(int nFirst, std::int64_t& nStart, std::int64_t& nCount)
{
  BSE::CBufferedInputStream& stream = m_scanner.GetStream();
  nStart = nFirst - '0';
  while (IsDigit(stream.PeekByte()) && nStart <= BSE::g_nMaxObjNumber)
    nStart = nStart * 10 + (stream.GetByte() - '0');
  const bool bBlank = stream.PeekByte() == ' ';
  const int nSpaces = SkipSpaceBytes();
  ReportStrict(bBlank && nSpaces == 1, g_nSubsectionSeparator);
  if (nSpaces == 0 || !IsDigit(stream.PeekByte()))
    return false;
  nCount = 0;
  while (IsDigit(stream.PeekByte()) && nCount <= BSE::g_nMaxObjNumber)
    nCount = nCount * 10 + (stream.GetByte() - '0');
  ReportStrict(IsEol(stream.PeekByte()), g_nXRefSeparator);
  return SkipSpaceBytes() > 0 && nStart + nCount <= std::int64_t{BSE::g_nMaxObjNumber} + 1;
}

bool CParser::ReadXRefEntry(CXRefSink& sink, int nObjNumber)
{
  BSE::CBufferedInputStream& stream = m_scanner.GetStream();
  std::int64_t nOffset = 0;
  std::int64_t nGeneration = 0;
  if (!ReadDigits(10, nOffset))
    return false;
  bool bBlank = stream.PeekByte() == ' ';
  int nSpaces = SkipSpaceBytes();
  ReportStrict(bBlank && nSpaces == 1, g_nXRefSeparator);
  if (nSpaces == 0 || !ReadDigits(5, nGeneration))
    return false;
  bBlank = stream.PeekByte() == ' ';
  nSpaces = SkipSpaceBytes();
  ReportStrict(bBlank && nSpaces == 1, g_nXRefSeparator);
  if (nSpaces == 0)
    return false;
  if (!EnterEntry(sink, nObjNumber, stream.GetByte(), nOffset, nGeneration))
  {
    Report(g_nBadTable);
    return false;
  }
  int nLast = -1;
  nSpaces = SkipSpaceBytes(nLast);
  ReportStrict(nSpaces == 2 && IsEol(nLast), g_nXRefSeparator);
  return true;
}

bool CParser::ReadKeywordTrailer()
{
  BSE::CBufferedInputStream& stream = m_scanner.GetStream();
  SkipSpaceBytes();
  while (stream.PeekByte() == '%')
  {
    for (int c = stream.GetByte(); c >= 0 && c != '\r' && c != '\n'; c = stream.GetByte())
    {
    }
    SkipSpaceBytes();
  }
  for (const char* sz = "trailer"; *sz != '\0'; ++sz)
    if (stream.GetByte() != static_cast<unsigned char>(*sz))
      return false;
  return !IsRegular(stream.PeekByte());
}

bool CParser::ParseXRefTable(CXRefSink& sink, bool& bSplit)
{
  BSE::CBufferedInputStream& stream = m_scanner.GetStream();
  bSplit = false;
  const int nFirst = stream.PeekByte();
  int nLast = -1;
  const int nSpaces = SkipSpaceBytes(nLast);
  ReportStrict(IsEol(nFirst) && (nSpaces == 1 || (nSpaces == 2 && nFirst == '\r' && nLast == '\n')),
               g_nXRefEol);
  for (int nSections = 0; IsDigit(stream.PeekByte()); ++nSections)
  {
    std::int64_t nStart = 0;
    std::int64_t nCount = 0;
    bool bGood = ReadSubsectionHeader(stream.GetByte(), nStart, nCount);
    for (std::int64_t i = 0; bGood && i < nCount; ++i)
    {
      // A count that is too high ends where the entries do.
      if (!IsDigit(stream.PeekByte()) && stream.PeekByte() == 't')
        break;
      bGood = ReadXRefEntry(sink, static_cast<int>(nStart + i));
    }
    if (!bGood)
    {
      Report(g_nDamaged);
      return false;
    }
    bSplit = nSections > 0;
  }
  if (ReadKeywordTrailer())
    return true;
  Report(g_nDamaged);
  return false;
}

bool CParser::ReadXRefEntryTokens(CXRefSink& sink, int nObjNumber)
{
  const std::int64_t nOffset = m_scanner.GetInteger();
  m_scanner.ReadToken();
  if (m_scanner.GetToken() != eTokenInteger)
    return false;
  const std::int64_t nGeneration = m_scanner.GetInteger();
  m_scanner.ReadToken();
  const TToken nToken = m_scanner.GetToken();
  if (nToken < eTokenFirstOperator || nToken > eTokenLastOperator || m_scanner.GetTextLength() != 1 ||
      !EnterEntry(sink, nObjNumber, m_scanner.GetText()[0], nOffset, nGeneration))
    return false;
  m_scanner.ReadToken();
  return true;
}

bool CParser::ParseXRefTokens(CXRefSink& sink, bool& bSplit)
{
  bSplit = false;
  m_scanner.ReadToken();
  for (int nSections = 0; m_scanner.GetToken() == eTokenInteger; ++nSections)
  {
    const std::int64_t nStart = m_scanner.GetInteger();
    m_scanner.ReadToken();
    const std::int64_t nCount = m_scanner.GetInteger();
    bool bGood = m_scanner.GetToken() == eTokenInteger && nStart >= 0 && nCount >= 0 &&
                 nStart <= BSE::g_nMaxObjNumber && nCount <= std::int64_t{BSE::g_nMaxObjNumber} + 1 - nStart;
    m_scanner.ReadToken();
    for (std::int64_t i = 0; bGood && i < nCount && m_scanner.GetToken() == eTokenInteger; ++i)
      bGood = ReadXRefEntryTokens(sink, static_cast<int>(nStart + i));
    if (!bGood)
      break;
    bSplit = nSections > 0;
  }
  if (m_scanner.GetToken() == eTokenTrailer)
    return true;
  Report(g_nDamaged);
  return false;
}

}  // namespace PDF
