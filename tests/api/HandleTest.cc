// Parts of the handle that no exported function shows alone: rendering of kept codes, texts in both forms.

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "api/ApiString.h"
#include "api/Initializer.h"
#include "api/MessageTable.h"
#include "api/OptimizerHandle.h"
#include "api/TextArgument.h"
#include "tests/support/Samples.h"
#include "tests/support/Saver.h"

namespace
{

class Handle : public testing::Test
{
protected:
  static void SetUpTestSuite()
  {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    API::InstallMessageTable();
  }
};

TEST_F(Handle, TextsOfCodes)
{
  struct TCase
  {
    unsigned nCode;
    const char16_t* szText;  // null for none
  };
  const TCase cases[] = {
      {0, u"The operation was completed successfully."},
      {0x8030FFFF, u"Unknown fatal error."},
      {0x80300060, u"Failed to read from stream."},
      {0x80410408, u"The document contains no pages."},
      {0x00410115, nullptr},  // a placeholder
      {0x80410000, nullptr},  // no row
      {0xFFFFFFFF, nullptr},
      {13, u"Permission denied"},
      {32768, nullptr},
  };
  for (const TCase& c : cases)
  {
    API::COptimizerHandle handle;
    BSE::ReportError(&handle, c.nCode);
    EXPECT_EQ(handle.GetLastCode(), c.nCode);
    EXPECT_EQ(handle.GetLastError(), nullptr) << "codes are kept, error objects are not";
    const char16_t* szText = handle.GetErrorText();
    ASSERT_EQ(szText == nullptr, c.szText == nullptr) << std::hex << c.nCode;
    if (szText != nullptr)
    {
      EXPECT_EQ(std::u16string(szText), c.szText);
    }
  }
}

TEST_F(Handle, CodeIsThatOfTheLastReport)
{
  API::COptimizerHandle handle;
  BSE::ReportError(&handle, 0x80410113U);
  BSE::ReportError(&handle, 0x00418114U);
  EXPECT_EQ(handle.GetLastCode(), 0x00418114U);
  EXPECT_EQ(handle.GetAccumulated(), 0x80418117U);
  BSE::ReportError(&handle, 2U);
  EXPECT_EQ(handle.GetLastCode(), 2U);
  EXPECT_EQ(handle.GetAccumulated(), 0x80418117U);
  EXPECT_TRUE(handle.Close());
  EXPECT_EQ(handle.GetAccumulated(), 0U);
}

TEST_F(Handle, TextArguments)
{
  struct TCase
  {
    std::string sBytes;
    std::u16string sUnits;
  };
  // 255 units are the longest text that stays on the stack; a pair of units may cross that bound.
  for (const size_t nLength : {0U, 1U, 254U, 255U, 256U, 257U, 5000U})
  {
    const TCase cases[] = {
        {std::string(nLength, 'a'), std::u16string(nLength, u'a')},
        {std::string(nLength, 'a') + "\xF0\x9F\x98\x80", std::u16string(nLength, u'a') + u"\U0001F600"},
        {std::string(nLength, 'a') + "\xE2\x82\xAC", std::u16string(nLength, u'a') + u"\u20AC"},
    };
    for (const TCase& c : cases)
    {
      EXPECT_EQ(API::CLocaleArgument(c.sUnits.c_str()).Get(), c.sBytes) << nLength;
      EXPECT_EQ(API::CUtf16Argument(c.sBytes.c_str()).Get(), c.sUnits) << nLength;
      API::CApiString text;
      text.Set(c.sBytes.c_str());
      EXPECT_EQ(text.GetW(), c.sUnits);
      text.Set(c.sUnits.c_str());
      EXPECT_EQ(text.GetA(), c.sBytes);
    }
  }
  const char16_t unpaired[] = {u'a', 0xDC00, 0};
  EXPECT_STREQ(API::CLocaleArgument(unpaired).Get(), "");
  EXPECT_EQ(std::u16string(API::CUtf16Argument("a\xFF").Get()), u"");
  EXPECT_EQ(API::CLocaleArgument(nullptr).Get(), nullptr);
  EXPECT_EQ(API::CUtf16Argument(nullptr).Get(), nullptr);
}

TEST_F(Handle, TextsSetFromNull)
{
  API::CApiString text;
  EXPECT_EQ(text.GetA(), nullptr);
  text.Set("x");
  text.Set(static_cast<const char16_t*>(nullptr));
  EXPECT_EQ(text.GetA(), nullptr);
  EXPECT_EQ(text.GetW(), nullptr);
}

TEST_F(Handle, FontEditsAreKeptUntilTheDocumentIsClosed)
{
  Support::CSaver saver;
  TBrevexHandle* p = saver.Get();
  const PDF::CFontEdits& edits = p->GetOptimizer().GetFontEdits();
  EXPECT_TRUE(BrevexRenameFontA(p,
                                "Stra\xC3\x9F"
                                "e",
                                "Weg"));
  EXPECT_TRUE(BrevexUnembedFontW(p, u"Stra\u00DFe"));
  EXPECT_EQ(edits.GetCount(), 1);
  EXPECT_FALSE(BrevexUnembedFontW(p, std::u16string(129, u'\u00DF').c_str())) << "258 bytes";
  EXPECT_FALSE(BrevexUnembedFontA(p, "a\xFF"));
  EXPECT_FALSE(BrevexUnembedFontA(p, nullptr));
  EXPECT_TRUE(BrevexEmbedFontW(p, u"Stra\u00DFe", u"file"));
  EXPECT_TRUE(BrevexEmbedFontA(p, "Weg", nullptr));
  EXPECT_FALSE(BrevexEmbedFontW(p, u"a", u"\xD800")) << "no path";
  EXPECT_FALSE(BrevexEmbedFontA(p, nullptr, "file"));
  EXPECT_FALSE(BrevexRenameFontA(p, "Weg", nullptr));
  EXPECT_FALSE(BrevexRenameFontA(nullptr, "a", "b"));
  EXPECT_EQ(saver.GetCode(), 0U);
  BrevexSetProfile(p, BREVEX_PROFILE_WEB);
  EXPECT_TRUE(saver.Open(Support::MakePlainSample().sPdf));
  EXPECT_TRUE(saver.Save().has_value());
  const PDF::CFontEdit* pEdit = edits.Find(
      "Stra\xC3\x9F"
      "e");
  EXPECT_TRUE(pEdit != nullptr && pEdit->m_bRename && pEdit->m_bUnembed && pEdit->m_bEmbed);
  EXPECT_TRUE(BrevexClose(p));
  EXPECT_EQ(edits.GetCount(), 0);
}

TEST_F(Handle, ColourEngineIsCut)
{
  API::CInitializer& library = API::CInitializer::GetInstance();
  library.SetCMSEngine(std::string(3000, 'e').c_str());
  EXPECT_EQ(library.GetCMSEngine().GetLength(), 1023);
  library.SetCMSEngine("none");
  EXPECT_STREQ(library.GetCMSEngine().GetText(), "none");
}

}  // namespace
