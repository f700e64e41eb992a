#include "metadata/XmpDate.h"

#include <cstdio>
#include <ctime>

namespace XMP
{

namespace
{

// Reads over the text; every operation leaves the position alone when it fails.
class CDateReader
{
public:
  explicit CDateReader(std::span<const char> text) : m_rest(text)
  {
    while (!m_rest.empty() && IsBlank(m_rest.front()))
      m_rest = m_rest.subspan(1);
    while (!m_rest.empty() && IsBlank(m_rest.back()))
      m_rest = m_rest.first(m_rest.size() - 1);
  }

  bool IsAtEnd() const { return m_rest.empty(); }

  bool Skip(char c)
  {
    if (m_rest.empty() || m_rest.front() != c)
      return false;
    m_rest = m_rest.subspan(1);
    return true;
  }

  bool Number(int nDigits, int nMin, int nMax, int& nValue)
  {
    if (m_rest.size() < static_cast<std::size_t>(nDigits))
      return false;
    int nResult = 0;
    for (int i = 0; i < nDigits; ++i)
    {
      if (!IsDigit(m_rest[static_cast<std::size_t>(i)]))
        return false;
      nResult = nResult * 10 + (m_rest[static_cast<std::size_t>(i)] - '0');
    }
    if (nResult < nMin || nResult > nMax)
      return false;
    nValue = nResult;
    m_rest = m_rest.subspan(static_cast<std::size_t>(nDigits));
    return true;
  }

  void SkipDigits()
  {
    while (!m_rest.empty() && IsDigit(m_rest.front()))
      m_rest = m_rest.subspan(1);
  }

private:
  static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == 0; }
  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

  std::span<const char> m_rest;
};

int GetDaysOfMonth(int nYear, int nMonth)
{
  constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool bLeap = (nYear % 4 == 0 && nYear % 100 != 0) || nYear % 400 == 0;
  return nMonth == 2 && bLeap ? 29 : days[nMonth - 1];
}

// Days since 1970-01-01 in the Gregorian calendar. Years begin in March, so that the leap day is the last
// one: 400 of them have 146097 days, and 1970-01-01 is 719468 days after 0000-03-01. Months from March on
// have 30.6 days on average, which the division rounds to their true lengths.
std::int64_t GetDays(int nYear, int nMonth, int nDay)
{
  const std::int64_t nY = nMonth <= 2 ? nYear - 1 : nYear;
  const std::int64_t nEra = (nY >= 0 ? nY : nY - 399) / 400;
  const std::int64_t nYearOfEra = nY - nEra * 400;
  const std::int64_t nDayOfYear = (153 * ((nMonth + 9) % 12) + 2) / 5 + nDay - 1;
  return nEra * 146097 + nYearOfEra * 365 + nYearOfEra / 4 - nYearOfEra / 100 + nDayOfYear - 719468;
}

bool IsValidDay(const TDate& date)
{
  return date.m_nDay <= GetDaysOfMonth(date.m_nYear, date.m_nMonth);
}

// "Z", or a sign, hours and minutes with the separators; the minutes may be missing. In PDF some writers put
// zeros after the "Z".
bool ReadZone(CDateReader& reader, char nSeparator, TDate& date)
{
  int nHours = 0;
  int nMinutes = 0;
  const bool bNegative = reader.Skip('-');
  if (bNegative || reader.Skip('+'))
  {
    if (!reader.Number(2, 0, 23, nHours))
      return false;
    if (reader.Skip(nSeparator) || nSeparator == '\'')
      reader.Number(2, 0, 59, nMinutes);
  }
  else if (!reader.Skip('Z'))
    return reader.IsAtEnd();
  else if (nSeparator == '\'' && reader.Number(2, 0, 0, nHours) && reader.Skip(nSeparator))
    reader.Number(2, 0, 0, nMinutes);
  if (nSeparator == '\'')
    reader.Skip(nSeparator);
  date.m_bZone = true;
  date.m_nOffsetMinutes = (nHours * 60 + nMinutes) * (bNegative ? -1 : 1);
  return reader.IsAtEnd();
}

void FormatZone(const TDate& date, const char* szFormat, std::span<char> text)
{
  const int nOffset = date.m_nOffsetMinutes;
  const int nAbsolute = (nOffset < 0 ? -nOffset : nOffset) % (24 * 60);
  if (nOffset == 0)
    std::snprintf(text.data(), text.size(), "Z");
  else
    std::snprintf(text.data(), text.size(), szFormat, nOffset < 0 ? '-' : '+', nAbsolute / 60,
                  nAbsolute % 60);
}

}  // namespace

bool operator==(const TDate& a, const TDate& b)
{
  return a.m_bZone == b.m_bZone && a.GetSeconds() == b.GetSeconds();
}

std::int64_t TDate::GetSeconds() const
{
  const std::int64_t nMinutes =
      (GetDays(m_nYear, m_nMonth, m_nDay) * 24 + m_nHour) * 60 + m_nMinute - m_nOffsetMinutes;
  return nMinutes * 60 + m_nSecond;
}

TDate GetPresentTime()
{
  const std::time_t nNow = std::time(nullptr);
  std::tm time = {};
  gmtime_r(&nNow, &time);
  TDate date;
  date.m_nYear = time.tm_year + 1900;
  date.m_nMonth = time.tm_mon + 1;
  date.m_nDay = time.tm_mday;
  date.m_nHour = time.tm_hour;
  date.m_nMinute = time.tm_min;
  date.m_nSecond = time.tm_sec;
  date.m_nParts = 6;
  date.m_bZone = true;
  return date;
}

bool ParsePdfDate(std::span<const char> text, TDate& date)
{
  date = TDate();
  CDateReader reader(text);
  if (reader.Skip('D'))
    reader.Skip(':');
  if (!reader.Number(4, 0, 9999, date.m_nYear))
    return false;
  date.m_nParts = 1;
  struct TPart
  {
    int& m_nValue;
    int m_nMin;
    int m_nMax;
  };
  const TPart parts[] = {{date.m_nMonth, 1, 12},
                         {date.m_nDay, 1, 31},
                         {date.m_nHour, 0, 23},
                         {date.m_nMinute, 0, 59},
                         {date.m_nSecond, 0, 59}};
  for (const TPart& part : parts)
  {
    if (!reader.Number(2, part.m_nMin, part.m_nMax, part.m_nValue))
      break;
    ++date.m_nParts;
  }
  return IsValidDay(date) && ReadZone(reader, '\'', date);
}

bool ParseXmpDate(std::span<const char> text, TDate& date)
{
  date = TDate();
  CDateReader reader(text);
  if (!reader.Number(4, 0, 9999, date.m_nYear))
    return false;
  date.m_nParts = 1;
  if (!reader.Skip('-'))
    return reader.IsAtEnd();
  if (!reader.Number(2, 1, 12, date.m_nMonth))
    return false;
  date.m_nParts = 2;
  if (!reader.Skip('-'))
    return reader.IsAtEnd();
  if (!reader.Number(2, 1, 31, date.m_nDay) || !IsValidDay(date))
    return false;
  date.m_nParts = 3;
  if (!reader.Skip('T') && !reader.Skip(' '))
    return reader.IsAtEnd();
  if (!reader.Number(2, 0, 23, date.m_nHour) || !reader.Skip(':') || !reader.Number(2, 0, 59, date.m_nMinute))
    return false;
  date.m_nParts = 5;
  if (reader.Skip(':'))
  {
    if (!reader.Number(2, 0, 59, date.m_nSecond))
      return false;
    date.m_nParts = 6;
    if (reader.Skip('.'))
      reader.SkipDigits();
  }
  return ReadZone(reader, ':', date);
}

void FormatPdfDate(const TDate& date, char (&szText)[g_nDateText])
{
  constexpr int lengths[] = {0, 6, 8, 10, 12, 14, 16};
  std::snprintf(szText, sizeof szText, "D:%04d%02d%02d%02d%02d%02d", date.m_nYear % 10000,
                date.m_nMonth % 100, date.m_nDay % 100, date.m_nHour % 100, date.m_nMinute % 100,
                date.m_nSecond % 100);
  const int nEnd = lengths[date.m_nParts];
  szText[nEnd] = 0;
  if (date.m_bZone)
    FormatZone(date, "%c%02d'%02d'", std::span(szText).subspan(static_cast<std::size_t>(nEnd)));
}

void FormatXmpDate(const TDate& date, char (&szText)[g_nDateText])
{
  // By parts. An hour is never without minutes (ISO 16684-1, 8.2.1.2).
  constexpr int lengths[] = {0, 4, 7, 10, 16, 16, 19};
  std::snprintf(szText, sizeof szText, "%04d-%02d-%02dT%02d:%02d:%02d", date.m_nYear % 10000,
                date.m_nMonth % 100, date.m_nDay % 100, date.m_nHour % 100, date.m_nMinute % 100,
                date.m_nSecond % 100);
  const int nEnd = lengths[date.m_nParts];
  szText[nEnd] = 0;
  if (date.m_bZone && date.m_nParts >= 4)
    FormatZone(date, "%c%02d:%02d", std::span(szText).subspan(static_cast<std::size_t>(nEnd)));
}

}  // namespace XMP
