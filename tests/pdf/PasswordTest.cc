// Passwords from what a caller gives to what a file key is made of.

#include "pdf/StandardSecurityHandler.h"
#include "pdf/StringPreparation.h"
#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace PDF
{
namespace
{

const char* const g_szId = "0123456789abcdef";

TEST(Password, TakesUnicodeAndLongPasswords)
{
  const std::u16string longText(200, u'p');
  const struct
  {
    const char16_t* m_szWritten;
    const char16_t* m_szTyped;
    bool m_bOpensOld;
    bool m_bOpensNew;
  } cases[] = {{u"\u00fc\u20ac", u"\u00fc\u20ac", true, true},
               {u"\u0416\U0001F600", u"\u0416\U0001F600", true, true},
               {u"e\u0301\ufb01", u"\u00e9fi", false, true},
               {longText.c_str(), longText.c_str(), true, true},
               {u"", u"", true, true},
               {u"\u0416", u"\u0417", false, false}};
  for (const auto& c : cases)
    for (const bool bNew : {false, true})
    {
      TEncryption encryption;
      encryption.m_userPassword = CTextString(c.m_szWritten);
      encryption.m_nKeyLength = bNew ? 256 : 128;
      const auto pWriter = CStandardSecurityHandler::Create(encryption, CString(g_szId), nullptr);
      ASSERT_TRUE(pWriter);
      const CObjectPtr encrypt(MakeDictionary({}));
      pWriter->Write(*encrypt);
      const auto pReader = CStandardSecurityHandler::Open(encrypt, CString(g_szId), nullptr);
      ASSERT_TRUE(pReader);
      const CTextString typed(c.m_szTyped);
      EXPECT_EQ(pReader->Authenticate(&typed), bNew ? c.m_bOpensNew : c.m_bOpensOld);
      EXPECT_EQ(pReader->GetPermissions(), -1);
      EXPECT_EQ(pReader->GetKeyLength(), encryption.m_nKeyLength);
    }
}

// However it is spelled, a password opens what it closed; bytes that are no text are taken as they are.
TEST(Password, TakesEverySpellingOfAPassword)
{
  const CTextString spellings[] = {CTextString(u"\u0416\u00E4"), CTextString("\xEF\xBB\xBF\xD0\x96\xC3\xA4"),
                                   CTextString(CString("\xFE\xFF\x04\x16\x00\xE4", 6))};
  const CTextString bytes("\xD0\x96\xC3\x9F");
  for (const int nKeyLength : {40, 128, 256})
  {
    const auto opens = [nKeyLength](const CTextString& written, const CTextString& typed)
    {
      TEncryption encryption;
      encryption.m_userPassword = written;
      encryption.m_nKeyLength = nKeyLength;
      const CObjectPtr encrypt(MakeDictionary({}));
      CStandardSecurityHandler::Create(encryption, CString(g_szId), nullptr)->Write(*encrypt);
      return CStandardSecurityHandler::Open(encrypt, CString(g_szId), nullptr)->Authenticate(&typed);
    };
    for (const CTextString& written : spellings)
      for (const CTextString& typed : spellings)
        EXPECT_TRUE(opens(written, typed)) << nKeyLength;
    EXPECT_TRUE(opens(bytes, bytes)) << nKeyLength;
    EXPECT_TRUE(opens(spellings[0], CTextString("\xD0\x96\xC3\xA4"))) << "UTF-8 without its mark";
    EXPECT_TRUE(opens(CTextString(u"\u00E4"), CTextString("\xC3\xA4"))) << nKeyLength;
    EXPECT_FALSE(opens(CTextString(u"\u00E4"), CTextString("\xC3\xA5"))) << nKeyLength;
  }
}

// The examples of RFC 4013, and one for each step of the normalization.
TEST(StringPreparation, MapsAndNormalizes)
{
  const std::pair<const char16_t*, const char16_t*> cases[] = {
      {u"I\u00ADX", u"IX"},
      {u"user", u"user"},
      {u"USER", u"USER"},
      {u"\u00AA", u"a"},
      {u"\u2168", u"IX"},
      {u"a\u3000b\u00A0", u"a b "},
      {u"a\u0302\u0323", u"\u1EAD"},
      {u"\u1112\u1161\u11AB\uD55C", u"\uD55C\uD55C"},
      {u"\uAC00\u11A7\u11A8", u"\uAC00\u11A7\u11A8"},
      {u"\u0958", u"\u0915\u093C"},
      {u"\u0344", u"\u0308\u0301"},
      {u"\U0001D400\U0002F800", u"A\u4E3D"},
      {u"\uFB01\uFF21\u2460", u"fiA1"},
  };
  for (const auto& [szText, szExpected] : cases)
  {
    BSE::CStr16 result;
    EXPECT_TRUE(PrepareString(BSE::CStr16(szText), result));
    EXPECT_EQ(std::u16string(result.GetText()), szExpected);
  }
  BSE::CStr16 result;
  EXPECT_FALSE(PrepareString(BSE::CStr16(u"\xD800", 1), result));
}

}  // namespace
}  // namespace PDF
