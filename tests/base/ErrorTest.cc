#include "base/Error.h"

#include "base/MessageTable.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace BSE
{
namespace
{

std::u16string Render(const char16_t* szTemplate, CErrorProperties& properties, int nLength = 512)
{
  std::vector<char16_t> buffer(static_cast<std::size_t>(nLength), u'?');
  const int nWritten = RenderTemplate(szTemplate, &properties, buffer.data(), nLength);
  EXPECT_EQ(buffer[static_cast<std::size_t>(nWritten) - 1], 0);
  return std::u16string(buffer.data());
}

TEST(Error, RendersTemplates)
{
  CErrorProperties properties;
  properties.Set("n1", 5);
  properties.Set("n1", 6);
  properties.Set("szText", u"caf\u00e9");
  properties.Set("bOn", true);
  properties.Set("aaaaaaaaaaaaaaaaaaaa", 20);
  const struct
  {
    const char16_t* m_szTemplate;
    const char16_t* m_szText;
  } cases[] = {
      {u"%n1% of %szText%: %bOn%", u"5 of caf\u00e9: true"},
      {u"%name% %n1%", u"%name% 5"},
      {u"100% of %n1%", u"100% of 5"},
      {u"%n1", u"%n1"},
      {u"%%n1%%", u"%5%"},
      {u"%aaaaaaaaaaaaaaaaaaaa%", u"20"},
      {u"%aaaaaaaaaaaaaaaaaaaaa%", u"%aaaaaaaaaaaaaaaaaaaaa%"},
      {u"%", u"%"},
      {u"", u""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Render(c.m_szTemplate, properties), c.m_szText);
  EXPECT_TRUE(properties.Find("n1")->m_bUsed);

  CErrorProperties fresh;
  fresh.Set("n1", 5);
  Render(u"%n2%", fresh);
  EXPECT_FALSE(fresh.Find("n1")->m_bUsed);
}

TEST(Error, CutsAndTerminates)
{
  CErrorProperties properties;
  properties.Set("t", u"abcdef");
  EXPECT_EQ(Render(u"12%t%", properties, 6), u"12abc");
  EXPECT_EQ(Render(u"12%t%", properties, 1), u"");
  EXPECT_EQ(RenderTemplate(u"12%t%", &properties, nullptr, 0), 5 + 1 + 6);
}

TEST(Error, KnowsSystemAndStatusTexts)
{
  char16_t szText[512];
  CFileError file(ENOENT, "missing.pdf");
  EXPECT_GT(file.GetMessage(szText, 512), 1);
  EXPECT_EQ(std::u16string(szText), u"No such file or directory");
  EXPECT_EQ(file.GetSeverity(), 2);
  EXPECT_EQ(std::u16string(file.GetProperties()->Find("File")->GetText()), u"missing.pdf");

  CAPIError(22).GetMessage(szText, 512);
  EXPECT_EQ(std::u16string(szText), u"The item already exists");
  CAPIError(12).GetMessage(szText, 512);
  EXPECT_EQ(std::u16string(szText), u"Unknown error");
  CAPIError(12, u"own").GetMessage(szText, 512);
  EXPECT_EQ(std::u16string(szText), u"own");
}

TEST(Error, ClonesWithProperties)
{
  CError error(0x80410101);
  error.Set("Object No.", 7).Set("r", 1.5).Set("p", static_cast<const char16_t*>(nullptr));
  CScopedPtr<IError> pCopy(error.Clone());
  const CErrorProperties* pProperties = pCopy->GetProperties();
  EXPECT_EQ(pProperties->Find("Object No.")->GetValue(), 7);
  EXPECT_EQ(std::u16string(pProperties->Find("r")->GetText()), u"1.5");
  EXPECT_EQ(std::u16string(pProperties->Find("p")->GetText()), u"(null)");
}

}  // namespace
}  // namespace BSE
