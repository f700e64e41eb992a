#include "metadata/XmpDate.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using XMP::TDate;

std::string ToXmp(const std::string& text)
{
  TDate date;
  char szText[XMP::g_nDateText] = "";
  if (XMP::ParsePdfDate(text, date))
    XMP::FormatXmpDate(date, szText);
  return szText;
}

std::string ToPdf(const std::string& text)
{
  TDate date;
  char szText[XMP::g_nDateText] = "";
  if (XMP::ParseXmpDate(text, date))
    XMP::FormatPdfDate(date, szText);
  return szText;
}

TEST(DateTest, FromPdfToXmp)
{
  const struct
  {
    const char* m_szPdf;
    const char* m_szXmp;
  } cases[] = {
      {"D:20240131120509+01'30'", "2024-01-31T12:05:09+01:30"},
      {"D:20240131120509-08'00", "2024-01-31T12:05:09-08:00"},
      {"D:20240131120509+0100", "2024-01-31T12:05:09+01:00"},
      {"D:20240131120509+05", "2024-01-31T12:05:09+05:00"},
      {"D:20240131120509Z", "2024-01-31T12:05:09Z"},
      {"D:20240131120509Z00'00'", "2024-01-31T12:05:09Z"},
      {"D:20240131120509", "2024-01-31T12:05:09"},
      {" 202401311205 ", "2024-01-31T12:05"},
      {"D:2024013112", "2024-01-31T12:00"},
      {"D:20240229", "2024-02-29"},
      {"D:202401", "2024-01"},
      {"2024", "2024"},
      {"D:20230229", ""},
      {"D:20241301", ""},
      {"D:20240131120509+24'00'", ""},
      {"D:20240131x", ""},
      {"Mon Jan 1 2024", ""},
      {"D:", ""},
      {"", ""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ToXmp(c.m_szPdf), c.m_szXmp) << c.m_szPdf;
}

TEST(DateTest, FromXmpToPdf)
{
  const struct
  {
    const char* m_szXmp;
    const char* m_szPdf;
  } cases[] = {
      {"2024-01-31T12:05:09.123+01:30", "D:20240131120509+01'30'"},
      {"2024-01-31T12:05:09-08:00", "D:20240131120509-08'00'"},
      {"2024-01-31T12:05Z", "D:202401311205Z"},
      {"2024-01-31 12:05:09", "D:20240131120509"},
      {"2024-01-31", "D:20240131"},
      {"2024", "D:2024"},
      {"2024-1-31", ""},
      {"2024-01-31T12", ""},
      {"2024-01-31T12:05:09+01:30x", ""},
      {"2023-02-29", ""},
      {"", ""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ToPdf(c.m_szXmp), c.m_szPdf) << c.m_szXmp;
}

TEST(DateTest, ComparesAcrossZones)
{
  const auto same = [](const char* szA, const char* szB)
  {
    TDate a;
    TDate b;
    EXPECT_TRUE(XMP::ParseXmpDate(std::string(szA), a) && XMP::ParseXmpDate(std::string(szB), b));
    return a == b;
  };
  EXPECT_TRUE(same("2024-01-01T00:30:00+01:00", "2023-12-31T23:30:00Z"));
  EXPECT_TRUE(same("2024-03-01T01:00:00+02:00", "2024-02-29T18:00:00-05:00"));
  EXPECT_FALSE(same("2024-01-01T00:30:00", "2024-01-01T00:30:00Z"));
  EXPECT_FALSE(same("2024-01-01T00:30:00Z", "2024-01-01T00:30:01Z"));
}

}  // namespace
