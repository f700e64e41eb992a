#pragma once

#include <cstdint>
#include <span>

namespace XMP
{

// A point in time as PDF (ISO 32000-1, 7.9.4) and XMP (ISO 16684-1, 8.2.1.2) write it. Parts after the last
// one that was given have their least values.
struct TDate
{
  int m_nYear = 0;
  int m_nMonth = 1;
  int m_nDay = 1;
  int m_nHour = 0;
  int m_nMinute = 0;
  int m_nSecond = 0;
  int m_nParts = 0;          // 1 the year alone, to 6 with seconds
  bool m_bZone = false;      // the offset from UTC is known
  int m_nOffsetMinutes = 0;  // local time minus UTC

  // The same time, to the second, in whatever zone. A time without a zone equals only one without.
  friend bool operator==(const TDate& a, const TDate& b);

  // Seconds since 1970; in UTC if the zone is known, else in the unknown one.
  std::int64_t GetSeconds() const;
};

// Room for either text with its end.
inline constexpr int g_nDateText = 32;

TDate GetPresentTime();

// "D:20240131120000+01'00'". The "D:", parts after the year, apostrophes may be missing. False, with the
// date undefined, for anything else and for parts out of range.
bool ParsePdfDate(std::span<const char> text, TDate& date);

// "2024-01-31T12:00:00.5+01:00"; parts after the year may be missing; fractions are dropped.
bool ParseXmpDate(std::span<const char> text, TDate& date);

void FormatPdfDate(const TDate& date, char (&szText)[g_nDateText]);
void FormatXmpDate(const TDate& date, char (&szText)[g_nDateText]);

}  // namespace XMP
