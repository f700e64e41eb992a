#include "base/TraceFormat.h"

#include "base/Unicode.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

// The format is parsed here, and the C library prints one value at a time, widened to the largest type of its
// kind. No conversion reaches it that is not in the header's list, above all not %n, and it never sees the
// argument list.
namespace BSE
{

namespace
{

constexpr int g_nMaxWidth = 1023;

enum class TLength
{
  Plain,
  Char,
  Short,
  Long,
  LongLong,
  LongDouble,
  Size
};

struct TConversion
{
  bool m_bFlag[5] = {};  // in the order of g_szFlags
  int m_nWidth = 0;
  int m_nPrecision = -1;
  TLength m_length = TLength::Plain;
  char m_nKind = 0;
};

constexpr char g_szFlags[] = "-+ #0";

// In a structure, since va_list may be an array type: as a parameter of its own it would be passed by
// pointer.
struct TArguments
{
  va_list m_list;
};

class CTraceFormatter
{
public:
  CTraceFormatter(char* pBuffer, int nSize) : m_pBuffer(pBuffer), m_nSize(nSize) { m_pBuffer[0] = 0; }

  int Run(const char* szFormat, TArguments& arguments);

private:
  void Add(char nByte)
  {
    if (m_nUsed < m_nSize - 1)
      m_pBuffer[m_nUsed++] = nByte;
  }
  const char* AddEscape(const char* p);
  const char* Parse(const char* p, TConversion& conversion, TArguments& arguments) const;
  bool Convert(const TConversion& conversion, TArguments& arguments);
  void AddWide(const wchar_t* szText);

  // Prints with the C library; szSuffix is the size and kind of the conversion.
  template <class T>
  void Print(const TConversion& conversion, const char* szSuffix, T value);

  char* m_pBuffer;
  int m_nSize;
  int m_nUsed = 0;
  bool m_bFailed = false;
};

bool IsOctal(char nByte)
{
  return nByte >= '0' && nByte <= '7';
}

// A number of the format; '*' takes it from the arguments.
const char* ParseNumber(const char* p, int& nNumber, TArguments& arguments)
{
  if (*p == '*')
  {
    nNumber = va_arg(arguments.m_list, int);
    return p + 1;
  }
  nNumber = 0;
  for (; *p >= '0' && *p <= '9'; ++p)
    nNumber = std::min(nNumber * 10 + (*p - '0'), g_nMaxWidth);
  return p;
}

const char* ParseLength(const char* p, TLength& length)
{
  switch (*p)
  {
  case 'h':
    length = p[1] == 'h' ? TLength::Char : TLength::Short;
    return p + (p[1] == 'h' ? 2 : 1);
  case 'l':
    length = p[1] == 'l' ? TLength::LongLong : TLength::Long;
    return p + (p[1] == 'l' ? 2 : 1);
  case 'L':
    length = TLength::LongDouble;
    return p + 1;
  case 'z':
    length = TLength::Size;
    return p + 1;
  default:
    return p;
  }
}

long long TakeSigned(TLength length, TArguments& arguments)
{
  switch (length)
  {
  case TLength::Char:
    return static_cast<signed char>(va_arg(arguments.m_list, int));
  case TLength::Short:
    return static_cast<short>(va_arg(arguments.m_list, int));
  case TLength::Long:
    return va_arg(arguments.m_list, long);
  case TLength::LongLong:
  case TLength::LongDouble:
    return va_arg(arguments.m_list, long long);
  case TLength::Size:
    return va_arg(arguments.m_list, std::ptrdiff_t);
  default:
    return va_arg(arguments.m_list, int);
  }
}

unsigned long long TakeUnsigned(TLength length, TArguments& arguments)
{
  switch (length)
  {
  case TLength::Char:
    return static_cast<unsigned char>(va_arg(arguments.m_list, unsigned));
  case TLength::Short:
    return static_cast<unsigned short>(va_arg(arguments.m_list, unsigned));
  case TLength::Long:
    return va_arg(arguments.m_list, unsigned long);
  case TLength::LongLong:
  case TLength::LongDouble:
    return va_arg(arguments.m_list, unsigned long long);
  case TLength::Size:
    return va_arg(arguments.m_list, std::size_t);
  default:
    return va_arg(arguments.m_list, unsigned);
  }
}

const char* CTraceFormatter::AddEscape(const char* p)
{
  constexpr char szNames[] = "ntrfb\\";
  constexpr char szBytes[] = "\n\t\r\f\b\\";
  if (IsOctal(p[1]))
  {
    int nByte = 0;
    int nDigits = 1;
    for (; nDigits <= 3 && IsOctal(p[nDigits]); ++nDigits)
      nByte = nByte * 8 + (p[nDigits] - '0');
    Add(static_cast<char>(nByte));
    return p + nDigits;
  }
  const char* pName = p[1] ? std::strchr(szNames, p[1]) : nullptr;
  Add(pName ? szBytes[pName - szNames] : '\\');
  return p + (pName ? 2 : 1);
}

// p is after the percent sign.
const char* CTraceFormatter::Parse(const char* p, TConversion& conversion, TArguments& arguments) const
{
  for (const char* pFlag; *p && (pFlag = std::strchr(g_szFlags, *p)) != nullptr; ++p)
    conversion.m_bFlag[pFlag - g_szFlags] = true;
  p = ParseNumber(p, conversion.m_nWidth, arguments);
  if (*p == '.')
    p = ParseNumber(p + 1, conversion.m_nPrecision, arguments);
  conversion.m_nWidth = std::clamp(conversion.m_nWidth, -g_nMaxWidth, g_nMaxWidth);
  p = ParseLength(p, conversion.m_length);
  conversion.m_nKind = *p;
  return *p ? p + 1 : p;
}

template <class T>
void CTraceFormatter::Print(const TConversion& conversion, const char* szSuffix, T value)
{
  // Texts, characters and addresses know no flag but the first.
  const int nFlags = std::strchr("scp", conversion.m_nKind) ? 1 : 5;
  char szFormat[16] = "%";
  char* pEnd = szFormat + 1;
  for (int i = 0; i < nFlags; ++i)
    if (conversion.m_bFlag[i])
      *pEnd++ = g_szFlags[i];
  std::strcpy(pEnd, szSuffix);
  const auto nRoom = static_cast<std::size_t>(m_nSize - m_nUsed);
  const bool bPrecision = std::strchr(szSuffix, '.') != nullptr;
  const int nLength = bPrecision
                          ? std::snprintf(m_pBuffer + m_nUsed, nRoom, szFormat, conversion.m_nWidth,
                                          conversion.m_nPrecision, value)
                          : std::snprintf(m_pBuffer + m_nUsed, nRoom, szFormat, conversion.m_nWidth, value);
  if (nLength < 0)
    m_bFailed = true;
  else
    m_nUsed = std::min(m_nUsed + std::min(nLength, m_nSize), m_nSize - 1);
}

void CTraceFormatter::AddWide(const wchar_t* szText)
{
  if (!szText)
    szText = L"(null)";
  const auto nLength = static_cast<std::size_t>(CBasicString<wchar_t>::Length(szText));
  m_nUsed += ConvertText<char, wchar_t>({szText, nLength}, m_pBuffer + m_nUsed, m_nSize - m_nUsed,
                                        TInvalidText::Replace) -
             1;
}

bool CTraceFormatter::Convert(const TConversion& conversion, TArguments& arguments)
{
  const char nKind = conversion.m_nKind;
  switch (nKind)
  {
  case 'd':
  case 'i':
    Print(conversion, "*.*lld", TakeSigned(conversion.m_length, arguments));
    return true;
  case 'u':
  case 'x':
  case 'X':
  case 'o':
  {
    const char szSuffix[] = {'*', '.', '*', 'l', 'l', nKind, 0};
    Print(conversion, szSuffix, TakeUnsigned(conversion.m_length, arguments));
    return true;
  }
  case 'f':
  case 'e':
  case 'g':
  {
    const bool bLong = conversion.m_length == TLength::LongDouble;
    const char szSuffix[] = {'*', '.', '*', 'L', nKind, 0};
    Print(conversion, szSuffix,
          bLong ? va_arg(arguments.m_list, long double)
                : static_cast<long double>(va_arg(arguments.m_list, double)));
    return true;
  }
  case 'c':
    Print(conversion, "*c", va_arg(arguments.m_list, int));
    return true;
  case 's':
  {
    const char* szText = va_arg(arguments.m_list, const char*);
    Print(conversion, "*.*s", szText ? szText : "(null)");
    return true;
  }
  case 'p':
    Print(conversion, "*p", va_arg(arguments.m_list, void*));
    return true;
  case 'S':
    AddWide(va_arg(arguments.m_list, const wchar_t*));
    return true;
  case '%':
    Add('%');
    return true;
  default:
    return false;
  }
}

int CTraceFormatter::Run(const char* p, TArguments& arguments)
{
  while (*p && !m_bFailed)
  {
    if (*p == '\\')
    {
      p = AddEscape(p);
      continue;
    }
    if (*p != '%')
    {
      Add(*p++);
      continue;
    }
    TConversion conversion;
    const char* pNext = Parse(p + 1, conversion, arguments);
    if (!Convert(conversion, arguments))
      for (; p != pNext; ++p)
        Add(*p);
    p = pNext;
  }
  if (m_bFailed)
    m_nUsed = std::min<int>(std::snprintf(m_pBuffer, static_cast<std::size_t>(m_nSize),
                                          "Exception while formatting trace message."),
                            m_nSize - 1);
  m_pBuffer[m_nUsed] = 0;
  return m_nUsed;
}

}  // namespace

int FormatTraceMessage(char* pBuffer, int nSize, const char* szFormat, va_list arguments)
{
  TArguments copy;
  va_copy(copy.m_list, arguments);
  const int nLength = CTraceFormatter(pBuffer, nSize).Run(szFormat, copy);
  va_end(copy.m_list);
  return nLength;
}

}  // namespace BSE
