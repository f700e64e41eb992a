#include "base/BufferedInputStream.h"
#include "pdf/PdfDocReader.h"
#include "pdf/TextString.h"

#include <gtest/gtest.h>

#include <string>

namespace PDF
{
namespace
{

std::u16string GetText(const CTextString& value)
{
  return std::u16string(value.GetText().GetText(), static_cast<std::size_t>(value.GetText().GetLength()));
}

std::string GetBytesOf(const CString& value)
{
  return std::string(reinterpret_cast<const char*>(value.GetData()),
                     static_cast<std::size_t>(value.GetLength()));
}

CTextString FromBytes(const std::string& bytes)
{
  return CTextString(CString(bytes.data(), static_cast<int>(bytes.size())));
}

TEST(TextString, DecodesTheThreeForms)
{
  EXPECT_EQ(GetText(FromBytes("A\xA0\x80\x18\xE4\n")), u"A\u20AC\u2022\u02D8\u00E4\n");
  EXPECT_EQ(GetText(FromBytes(std::string("\xFE\xFF\x00"
                                          "A\xD8\x3D\xDE\x00",
                                          8))),
            u"A\U0001F600");
  EXPECT_EQ(GetText(FromBytes("\xEF\xBB\xBF"
                              "a\xC3\xA4")),
            u"a\u00E4");
  // Half a pair and half a unit.
  EXPECT_EQ(GetText(FromBytes(std::string("\xFE\xFF\xD8\x3D\x00"
                                          "A\x01",
                                          7))),
            u"\uFFFDA");
  EXPECT_EQ(GetText(FromBytes("\xEF\xBB\xBF\xFFz")), u"\uFFFDz");
}

// The reader and the string read the same encoding, across the edges of small reads.
TEST(TextString, ReaderAgreesWithString)
{
  std::string bytes;
  for (int i = 0; i < 1000; ++i)
    bytes += static_cast<char>(i % 250 == 0 ? 'A' : 1 + i % 127 + i % 2 * 128);
  CPdfDocDecodeReader reader(
      new BSE::CMemoryInputStream(bytes.data(), static_cast<std::int64_t>(bytes.size())));
  std::u16string read;
  wchar_t buffer[7];
  for (std::int64_t n = reader.Read(buffer, 7); n > 0; n = reader.Read(buffer, 7))
    read.append(buffer, buffer + n);
  EXPECT_EQ(read, GetText(FromBytes(bytes)));
}

TEST(TextString, EncodesAsShortAsPossible)
{
  EXPECT_EQ(GetBytesOf(CTextString(u"\u20AC \u2022\u02DC\u00FF")), "\xA0 \x80\x1F\xFF");
  EXPECT_EQ(GetBytesOf(CTextString(u"\u0416")), "\xFE\xFF\x04\x16");
  EXPECT_EQ(GetBytesOf(CTextString(u"\u00FE\u00FFx")), std::string("\xFE\xFF\x00\xFE\x00\xFF\x00x", 8));
  EXPECT_EQ(GetBytesOf(CTextString(static_cast<const char16_t*>(nullptr))), "");
}

// Whatever is encoded reads back, for every character of the basic plane that is no surrogate.
TEST(TextString, RoundTrips)
{
  for (char32_t n = 1; n < 0x10000; ++n)
  {
    if (n >= 0xD800 && n < 0xE000)
      continue;
    const char16_t text[] = {u'x', static_cast<char16_t>(n), 0};
    ASSERT_EQ(GetText(CTextString(static_cast<const CString&>(CTextString(text)))), text)
        << static_cast<unsigned>(n);
  }
}

}  // namespace
}  // namespace PDF
