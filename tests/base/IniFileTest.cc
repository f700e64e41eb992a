#include "base/IniFile.h"

#include "base/BufferedInputStream.h"
#include "base/MemoryStream.h"
#include "tests/base/TestStreams.h"

#include <gtest/gtest.h>

#include <string_view>

namespace test
{

namespace
{

bool ReadText(BSE::CIniFile& file, std::string_view text)
{
  BSE::CMemoryInputStream stream(text.data(), std::ssize(text));
  return file.Read(stream);
}

std::string WriteText(const BSE::CIniFile& file)
{
  BSE::CMemoryStream stream;
  EXPECT_TRUE(file.Write(stream));
  EXPECT_TRUE(stream.Rewind());
  const TBytes bytes = ReadRest(stream);
  return {bytes.begin(), bytes.end()};
}

TEST(IniFile, ReadsLinesOfAnyShape)
{
  struct TCase
  {
    std::string_view m_in;
    std::string_view m_out;
  };
  for (const TCase& c :
       {TCase{"", ""}, TCase{"[s]", "[s]\n"}, TCase{"\xEF\xBB\xBF[s]\nk=v", "[s]\nk=v\n"},
        TCase{" [ s ] x\r\n k = v w \r\n", "[s]\nk=v w\n"}, TCase{"k=1\nk=2\nl=\n", "k=2\nl=\n"},
        TCase{"[s]\na=1\n[t]\n[s]\nb=2", "[s]\na=1\nb=2\n[t]\n"},
        TCase{"[s]\nk=1\n[]\nu=2\n", "u=2\n[s]\nk=1\n"},
        TCase{"; c=1\n#d=2\nalone\n=v\n[open\nk=a=b", "k=a=b\n"},
        TCase{"[\xC3\xA9]\nk=\xF0\x9F\x98\x80\xFF", "[\xC3\xA9]\nk=\xF0\x9F\x98\x80\xEF\xBF\xBD\n"}})
  {
    BSE::CIniFile file;
    EXPECT_TRUE(ReadText(file, c.m_in));
    EXPECT_EQ(WriteText(file), c.m_out) << c.m_in;
  }
}

TEST(IniFile, StoresOnlyWhatComesBack)
{
  BSE::CIniFile file;
  BSE::CIniFile::CSection* pSection = file.GetOrCreateSection(u"Colors");
  ASSERT_NE(pSection, nullptr);
  EXPECT_TRUE(pSection->SetValue(u"Red", u"old"));
  EXPECT_TRUE(pSection->SetBool(u"On", true));
  EXPECT_TRUE(pSection->SetBool(u"Off", false));
  EXPECT_TRUE(pSection->SetValue(u"Red", u"#F00"));
  EXPECT_TRUE(pSection->SetValue(u"Gone", u"1"));
  EXPECT_TRUE(pSection->RemoveValue(u"Gone"));
  EXPECT_FALSE(pSection->RemoveValue(u"Gone"));
  for (const char16_t* szBad : {u"", u"a=b", u"a\nb", u" a", u"a\t", u"[a", u";a", u"#a"})
    EXPECT_FALSE(pSection->SetValue(szBad, u"1"));
  for (const char16_t* szBad : {u"a\rb", u" a", u"a "})
    EXPECT_FALSE(pSection->SetValue(u"Red", szBad));
  for (const char16_t* szBad : {u"a]", u" a", u"a\nb"})
    EXPECT_EQ(file.GetOrCreateSection(szBad), nullptr);

  const std::string text = WriteText(file);
  EXPECT_EQ(text, "[Colors]\nRed=#F00\nOn=TRUE\nOff=FALSE\n");
  ASSERT_TRUE(ReadText(file, text));
  pSection = file.FindSection(u"Colors");
  ASSERT_NE(pSection, nullptr);
  EXPECT_TRUE(pSection->GetBool(u"On", false));
  EXPECT_FALSE(pSection->GetBool(u"Off", true));
  EXPECT_TRUE(pSection->GetBool(u"Red", true));
  EXPECT_EQ(pSection->FindValue(u"red"), nullptr);
  EXPECT_EQ(file.FindSection(u""), nullptr);
}

TEST(IniFile, RefusesWhatItCannotReadWhole)
{
  BSE::CIniFile file;
  ASSERT_TRUE(ReadText(file, "k=v"));
  EXPECT_FALSE(ReadText(file, std::string((1 << 20) + 1, '\n')));
  EXPECT_EQ(file.GetSectionCount(), 0);
  CFaultyStream source(TBytes(100, 'k'));
  source.m_nFailFrom = 50;
  EXPECT_FALSE(file.Read(source));
  CFaultyStream target;
  target.m_nFailFrom = 3;
  ASSERT_TRUE(ReadText(file, "key=value"));
  EXPECT_FALSE(file.Write(target));
}

}  // namespace

}  // namespace test
