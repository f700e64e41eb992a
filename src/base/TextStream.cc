#include "base/TextStream.h"

#include "base/CharsetReader.h"
#include "base/Tracer.h"
#include "base/Unicode.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace BSE
{

namespace
{

constexpr char32_t g_nByteOrderMark = 0xFEFF;

// What the decoders give at the end of the text.
constexpr char32_t g_nNoCharacter = 0xFFFFFFFDU;

struct TMark
{
  TTextEncoding m_nEncoding;
  int m_nLength;
  unsigned char m_bytes[3];
};
constexpr TMark g_marks[] = {{eTextUtf8, 3, {0xEF, 0xBB, 0xBF}},
                             {eTextUtf16LittleEndian, 2, {0xFF, 0xFE, 0}},
                             {eTextUtf16BigEndian, 2, {0xFE, 0xFF, 0}}};

unsigned GetFailureCode(TTextEncoding nEncoding)
{
  if (nEncoding == eTextUtf8)
    return g_nInvalidUtf8;
  return nEncoding == eTextLocale ? g_nInvalidCodePage : g_nInvalidUtf16;
}

TTextEncoding CheckEncoding(int nEncoding)
{
  if (nEncoding == eTextLocale || nEncoding == eTextUtf16LittleEndian || nEncoding == eTextUtf8 ||
      nEncoding == eTextUtf16BigEndian)
    return static_cast<TTextEncoding>(nEncoding);
  if (CTracer::IsOn())
    CTracer::Trace("E", "Text Output Stream", "Encoding not supported.");
  return eTextUtf8;
}

}  // namespace

CTextInputStream::CTextInputStream(IByteStream* pSource, TTextEncoding nDefault, IErrorContext* pErrorContext)
    : CBufferedDecodeFilter(pSource, pErrorContext), m_nDefault(nDefault), m_nEncoding(nDefault)
{
}

void CTextInputStream::ResetState()
{
  m_nEncoding = m_nDefault;
  m_bStarted = m_bNullSeen = false;
  m_nAhead = m_nPending = m_nPendingPos = 0;
  m_state = {};
}

int CTextInputStream::DecodeBlock(std::span<unsigned char> block)
{
  if (!m_bStarted)
    DetectEncoding();
  std::size_t nFilled = 0;
  while (nFilled < block.size())
  {
    if (m_nPendingPos < m_nPending)
    {
      block[nFilled++] = m_pending[m_nPendingPos++];
      continue;
    }
    const char32_t nCharacter = NextCharacter();
    if (nCharacter == g_nNoCharacter)
    {
      m_bEnd = true;
      break;
    }
    m_nPendingPos = 0;
    m_nPending = EncodeCharacter(nCharacter, m_pending);
    if (m_nPending == 0)
    {
      ReportError(m_pErrorContext, GetFailureCode(m_nEncoding));
      m_bEnd = true;
      break;
    }
    if (nCharacter == 0 && !m_bNullSeen)
    {
      m_bNullSeen = true;
      if (CTracer::IsOn())
        CTracer::Trace("D", "Text input stream", "Text input contains null characters.");
    }
  }
  return static_cast<int>(nFilled);
}

void CTextInputStream::DetectEncoding()
{
  m_bStarted = true;
  while (m_nAhead < 3)
  {
    const int nByte = m_pInput->GetByte();
    if (nByte < 0)
      break;
    m_ahead[m_nAhead++] = static_cast<unsigned char>(nByte);
  }
  for (const TMark& mark : g_marks)
  {
    if (m_nAhead < mark.m_nLength || !std::equal(mark.m_bytes, mark.m_bytes + mark.m_nLength, m_ahead))
      continue;
    m_nEncoding = mark.m_nEncoding;
    m_nAhead -= mark.m_nLength;
    std::memmove(m_ahead, m_ahead + mark.m_nLength, static_cast<std::size_t>(m_nAhead));
    return;
  }
}

int CTextInputStream::NextRaw()
{
  if (m_nAhead == 0)
    return m_pInput->GetByte();
  const int nByte = m_ahead[0];
  std::memmove(m_ahead, m_ahead + 1, static_cast<std::size_t>(--m_nAhead));
  return nByte;
}

char32_t CTextInputStream::NextCharacter()
{
  switch (m_nEncoding)
  {
  case eTextUtf8:
    return NextUtf8();
  case eTextLocale:
    return NextLocale();
  default:
    return NextUtf16();
  }
}

char32_t CTextInputStream::NextUtf8()
{
  unsigned char bytes[4];
  std::size_t nBytes = 0;
  char32_t nCharacter = g_nIncompleteCharacter;
  while (nCharacter == g_nIncompleteCharacter)
  {
    const int nByte = NextRaw();
    if (nByte < 0)
      return nBytes == 0 ? g_nNoCharacter : g_nInvalidCharacter;
    bytes[nBytes++] = static_cast<unsigned char>(nByte);
    int nUnits = 0;
    nCharacter = DecodeCharacter(std::span<const unsigned char>(bytes, nBytes), nUnits);
  }
  return nCharacter;
}

// -1 at the end, -2 for half a unit.
int CTextInputStream::NextUnit()
{
  const int nFirst = NextRaw();
  if (nFirst < 0)
    return -1;
  const int nSecond = NextRaw();
  if (nSecond < 0)
    return -2;
  return m_nEncoding == eTextUtf16BigEndian ? nFirst << 8 | nSecond : nSecond << 8 | nFirst;
}

char32_t CTextInputStream::NextUtf16()
{
  char16_t units[2];
  std::size_t nUnits = 0;
  char32_t nCharacter = g_nIncompleteCharacter;
  while (nCharacter == g_nIncompleteCharacter)
  {
    const int nUnit = NextUnit();
    if (nUnit < 0)
      return nUnit == -1 && nUnits == 0 ? g_nNoCharacter : g_nInvalidCharacter;
    units[nUnits++] = static_cast<char16_t>(nUnit);
    int nTaken = 0;
    nCharacter = DecodeCharacter(std::span<const char16_t>(units, nUnits), nTaken);
  }
  return nCharacter;
}

char32_t CTextInputStream::NextLocale()
{
  for (bool bFirst = true;; bFirst = false)
  {
    const int nByte = NextRaw();
    if (nByte < 0)
      return bFirst ? g_nNoCharacter : g_nInvalidCharacter;
    const char cByte = static_cast<char>(nByte);
    wchar_t nWide = 0;
    const std::size_t nResult = std::mbrtowc(&nWide, &cByte, 1, &m_state);
    if (nResult == static_cast<std::size_t>(-1))
      return g_nInvalidCharacter;
    if (nResult != static_cast<std::size_t>(-2))
      return static_cast<char32_t>(nWide);
  }
}

CTextOutputStream::CTextOutputStream(IByteStream* pSink, int nEncoding, bool bByteOrderMark,
                                     IErrorContext* pErrorContext)
    : CBufferedEncodeFilter(pSink, pErrorContext),
      m_nEncoding(CheckEncoding(nEncoding)),
      m_bMark(bByteOrderMark && m_nEncoding != eTextLocale)
{
}

CTextOutputStream::~CTextOutputStream()
{
  CloseOnRelease();
}

bool CTextOutputStream::WriteText(const char* szUtf8)
{
  const int nLength = CStr8::Length(szUtf8);
  return nLength == 0 || Write(reinterpret_cast<const unsigned char*>(szUtf8), nLength) == nLength;
}

bool CTextOutputStream::WriteText(const char16_t* szText)
{
  CStr8 text;
  return ConvertText(szText, text) ? WriteText(text.GetText()) : Fail(g_nInvalidUtf16);
}

bool CTextOutputStream::EncodeBlock(std::span<const unsigned char> block)
{
  if (m_bMark)
  {
    m_bMark = false;
    if (!PutCharacter(g_nByteOrderMark))
      return false;
  }
  while (m_nPartial > 0 && !block.empty())
  {
    m_partial[m_nPartial++] = block.front();
    block = block.subspan(1);
    std::size_t nTaken = 0;
    if (!Encode({m_partial, m_nPartial}, nTaken))
      return false;
    if (nTaken > 0)
      m_nPartial = 0;
  }
  std::size_t nTaken = 0;
  if (!Encode(block, nTaken))
    return false;
  for (const unsigned char nByte : block.subspan(nTaken))
    m_partial[m_nPartial++] = nByte;
  return true;
}

// Stops before a character that is not complete.
bool CTextOutputStream::Encode(std::span<const unsigned char> text, std::size_t& nTaken)
{
  while (nTaken < text.size())
  {
    int nUnits = 0;
    const char32_t nCharacter = DecodeCharacter(text.subspan(nTaken), nUnits);
    if (nCharacter == g_nIncompleteCharacter)
      return true;
    if (nCharacter == g_nInvalidCharacter)
      return Fail(g_nInvalidUtf8);
    if (!PutCharacter(nCharacter))
      return false;
    nTaken += static_cast<std::size_t>(nUnits);
  }
  return true;
}

bool CTextOutputStream::PutCharacter(char32_t nCharacter)
{
  if (m_nEncoding == eTextUtf16LittleEndian || m_nEncoding == eTextUtf16BigEndian)
  {
    char16_t units[2];
    const int nUnits = EncodeCharacter(nCharacter, units);
    return PutUnit(units[0]) && (nUnits < 2 || PutUnit(units[1]));
  }
  char bytes[std::max(MB_LEN_MAX, 4)];
  std::size_t nLength = 0;
  if (m_nEncoding == eTextUtf8)
    nLength = static_cast<std::size_t>(EncodeCharacter(nCharacter, bytes));
  else
    nLength = std::wcrtomb(bytes, static_cast<wchar_t>(nCharacter), &m_state);
  if (nLength == static_cast<std::size_t>(-1))
    return Fail(g_nInvalidCodePage);
  for (std::size_t i = 0; i < nLength; ++i)
    if (!m_pOutput->PutByte(static_cast<unsigned char>(bytes[i])))
      return false;
  return true;
}

bool CTextOutputStream::PutUnit(char16_t nUnit)
{
  const auto nHigh = static_cast<unsigned char>(nUnit >> 8);
  const auto nLow = static_cast<unsigned char>(nUnit & 0xFF);
  const bool bBigEndian = m_nEncoding == eTextUtf16BigEndian;
  return m_pOutput->PutByte(bBigEndian ? nHigh : nLow) && m_pOutput->PutByte(bBigEndian ? nLow : nHigh);
}

bool CTextOutputStream::Fail(unsigned nCode)
{
  ReportError(m_pErrorContext, nCode);
  return false;
}

bool CTextOutputStream::FinishBuffered()
{
  return m_nPartial == 0 || Fail(g_nInvalidUtf8);
}

}  // namespace BSE
