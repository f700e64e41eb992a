// What every call does before and after its work: handles, error codes, texts and their two forms.

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/support/PdfBuilder.h"
#include "tests/support/Samples.h"
#include "tests/support/Saver.h"
#include "tests/support/TempFolder.h"

namespace
{

using Support::CByteStream;
using Support::CSaver;
using Support::CTempFolder;

std::string GetPdf()
{
  return Support::MakePlainSample().sPdf;
}

std::u16string Widen(const std::string& sText)
{
  return std::u16string(sText.begin(), sText.end());
}

class CallFrame : public testing::Test
{
protected:
  static void SetUpTestSuite() { std::setlocale(LC_CTYPE, "C.UTF-8"); }

  // Leaves a code that only a call that clears or reports can change.
  void LeaveCode()
  {
    EXPECT_FALSE(BrevexOpenA(m_saver.Get(), (m_folder / "absent").c_str(), nullptr));
    ASSERT_EQ(m_saver.GetCode(), static_cast<std::uint32_t>(ENOENT));
  }

  CTempFolder m_folder;
  CSaver m_saver;
};

TEST_F(CallFrame, NullHandleOfWideForms)
{
  CByteStream bytes(GetPdf());
  const TBrevexStreamDescriptor stream = bytes.GetDescriptor();
  const std::u16string sTarget = Widen((m_folder / "out.pdf").string());
  EXPECT_FALSE(BrevexOpenW(nullptr, u"in.pdf", nullptr));
  EXPECT_FALSE(BrevexOpenMemW(nullptr, "x", 1, nullptr));
  EXPECT_FALSE(BrevexOpenStreamW(nullptr, &stream, nullptr));
  EXPECT_FALSE(BrevexSaveAsW(nullptr, sTarget.c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_FALSE(BrevexSaveAsStreamW(nullptr, &stream, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_EQ(BrevexGetErrorMessageW(nullptr), nullptr);
  EXPECT_FALSE(BrevexSetInfoEntryW(nullptr, u"Title", u"x"));
  EXPECT_EQ(BrevexGetInfoEntryW(nullptr, u"Title"), nullptr);
  EXPECT_FALSE(BrevexSetVersionA(nullptr, "1.7"));
  EXPECT_FALSE(BrevexSetVersionW(nullptr, u"1.7"));
  EXPECT_FALSE(BrevexSetMinimumVersion(nullptr, 1, 7));
  EXPECT_EQ(m_folder.CountEntries(), 0);
  EXPECT_EQ(bytes.GetReleaseCount(), 0) << "a stream that was not taken is not released";
}

TEST_F(CallFrame, CallsThatClearTheCode)
{
  const std::string sPdf = GetPdf();
  const std::string sIn = m_folder / "in.pdf";
  const std::string sOut = m_folder / "out.pdf";
  Support::WriteFile(sIn, sPdf);
  TBrevexHandle* p = m_saver.Get();

  LeaveCode();
  EXPECT_TRUE(BrevexClose(p));
  EXPECT_EQ(m_saver.GetCode(), BREVEX_STATUS_SUCCESS);
  LeaveCode();
  EXPECT_EQ(BrevexGetPdf(p), nullptr);
  EXPECT_EQ(m_saver.GetCode(), BREVEX_STATUS_SUCCESS);
  LeaveCode();
  EXPECT_TRUE(BrevexOpenW(p, Widen(sIn).c_str(), u""));
  EXPECT_EQ(m_saver.GetCode(), BREVEX_STATUS_SUCCESS);
  EXPECT_FALSE(
      BrevexSaveAsA(p, (m_folder / "no/out.pdf").c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_EQ(m_saver.GetCode(), static_cast<std::uint32_t>(ENOENT));
  EXPECT_TRUE(BrevexSaveAsW(p, Widen(sOut).c_str(), u"", nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_EQ(m_saver.GetCode(), BREVEX_STATUS_SUCCESS);
  LeaveCode();
  EXPECT_TRUE(BrevexOpenMemW(p, sPdf.data(), sPdf.size(), nullptr));
  EXPECT_EQ(m_saver.GetCode(), BREVEX_STATUS_SUCCESS);
}

// The input would be empty before it is read.
TEST_F(CallFrame, TheOpenFileIsNoTarget)
{
  const std::string sIn = m_folder / "in.pdf";
  const std::string sLink = m_folder / "link.pdf";
  Support::WriteFile(sIn, GetPdf());
  std::filesystem::create_hard_link(sIn, sLink);
  TBrevexHandle* p = m_saver.Get();
  ASSERT_TRUE(BrevexOpenA(p, sIn.c_str(), nullptr));
  for (const std::string& sTarget : {sIn, sLink})
  {
    EXPECT_FALSE(BrevexSaveAsA(p, sTarget.c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
    EXPECT_EQ(m_saver.GetCode(), BREVEX_STATUS_INVALID_OPERATION);
  }
  EXPECT_TRUE(BrevexSaveAsA(p, (m_folder / "out.pdf").c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  const std::string sPdf = GetPdf();
  EXPECT_TRUE(BrevexOpenMemA(p, sPdf.data(), sPdf.size(), nullptr));
  EXPECT_TRUE(BrevexSaveAsA(p, sIn.c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN)) << "free again";
}

TEST_F(CallFrame, CallsThatLeaveTheCode)
{
  TBrevexHandle* p = m_saver.Get();
  ASSERT_TRUE(m_saver.Open(GetPdf()));
  EXPECT_FALSE(
      BrevexSaveAsA(p, (m_folder / "no/out.pdf").c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_EQ(BrevexGetPageCount(p), 3);
  EXPECT_TRUE(BrevexSetInfoEntryA(p, "Title", "x"));
  EXPECT_FALSE(BrevexSetInfoEntryA(p, "Title", nullptr));
  EXPECT_NE(BrevexGetInfoEntryA(p, "Author"), nullptr);
  EXPECT_EQ(BrevexGetInfoEntryA(p, "Nothing"), nullptr);
  EXPECT_NE(BrevexGetErrorMessageA(p), nullptr);
  EXPECT_EQ(m_saver.GetCode(), static_cast<std::uint32_t>(ENOENT));

  // Counting finds that there are no pages, which is no business of the caller of an option.
  ASSERT_TRUE(m_saver.Open(Support::CPdfBuilder().Build()));
  const std::uint32_t nCode = m_saver.GetCode();
  EXPECT_EQ(BrevexGetPageCount(p), 0);
  EXPECT_EQ(m_saver.GetCode(), nCode);
}

TEST_F(CallFrame, NamesThatAreNone)
{
  TBrevexHandle* p = m_saver.Get();
  ASSERT_TRUE(m_saver.Open(GetPdf()));
  const TBrevexChar unpaired[] = {0xD800, 0};
  EXPECT_FALSE(BrevexSaveAsW(p, unpaired, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_EQ(m_saver.GetCode(), static_cast<std::uint32_t>(ENOENT));
  EXPECT_FALSE(BrevexSaveAsA(p, "/", nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_EQ(m_saver.GetCode(), static_cast<std::uint32_t>(EISDIR));
  EXPECT_EQ(BrevexGetPageCount(p), 3);
  EXPECT_FALSE(BrevexOpenW(p, unpaired, nullptr));
  EXPECT_EQ(BrevexGetPageCount(p), 0) << "an open closes, even if it fails";
  EXPECT_FALSE(BrevexOpenA(p, nullptr, nullptr));
  EXPECT_EQ(m_saver.GetCode(), static_cast<std::uint32_t>(ENOENT));
}

TEST_F(CallFrame, WideFileNames)
{
  const std::u16string sName = Widen(m_folder.GetPath().string()) + u"/\u00fcber \U0001F600.pdf";
  TBrevexHandle* p = m_saver.Get();
  ASSERT_TRUE(m_saver.Open(GetPdf()));
  ASSERT_TRUE(BrevexSaveAsW(p, sName.c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  const std::string sBytes = (m_folder /
                              "\xC3\xBC"
                              "ber \xF0\x9F\x98\x80.pdf")
                                 .string();
  EXPECT_EQ(Support::ReadFile(sBytes).substr(0, 5), "%PDF-");
  EXPECT_TRUE(BrevexOpenW(p, sName.c_str(), nullptr));
  EXPECT_TRUE(BrevexOpenA(p, sBytes.c_str(), nullptr));
}

TEST_F(CallFrame, Messages)
{
  TBrevexHandle* p = m_saver.Get();
  EXPECT_STREQ(BrevexGetErrorMessageA(p), "The operation was completed successfully.");
  EXPECT_FALSE(BrevexSaveInMemory(p));
  EXPECT_STREQ(BrevexGetErrorMessageA(p), "Invalid operation.");
  EXPECT_EQ(std::u16string(BrevexGetErrorMessageW(p)), u"Invalid operation.");
  LeaveCode();
  EXPECT_STREQ(BrevexGetErrorMessageA(p), std::strerror(ENOENT));
}

TEST_F(CallFrame, InfoEntriesInBothForms)
{
  TBrevexHandle* p = m_saver.Get();
  EXPECT_EQ(BrevexGetInfoEntryW(p, u"Title"), nullptr);
  EXPECT_EQ(BrevexGetInfoEntryA(p, nullptr), nullptr);
  EXPECT_FALSE(BrevexSetInfoEntryW(p, nullptr, u"x"));
  const std::string sLong(1000, 'l');
  EXPECT_TRUE(BrevexSetInfoEntryA(p, "Title",
                                  ("\xC3\xBC"
                                   "ber \xF0\x9F\x98\x80" +
                                   sLong)
                                      .c_str()));
  EXPECT_EQ(std::u16string(BrevexGetInfoEntryW(p, u"Title")), u"\u00fcber \U0001F600" + Widen(sLong));
  EXPECT_TRUE(BrevexSetInfoEntryW(p, u"Title", u"\u00fcber"));
  EXPECT_STREQ(BrevexGetInfoEntryA(p, "Title"),
               "\xC3\xBC"
               "ber");
  EXPECT_FALSE(BrevexSetInfoEntryW(p, u"Title", nullptr));
  EXPECT_STREQ(BrevexGetInfoEntryA(p, "Title"),
               "\xC3\xBC"
               "ber")
      << "a refused value changes nothing";

  // The set value comes before that of the document and reaches the output of every later save.
  ASSERT_TRUE(m_saver.Open(GetPdf()));
  EXPECT_STREQ(BrevexGetInfoEntryA(p, "Title"),
               "\xC3\xBC"
               "ber");
  EXPECT_STREQ(BrevexGetInfoEntryA(p, "Author"), "Nobody");
  EXPECT_TRUE(BrevexSetInfoEntryA(p, "Mine", "own"));
  const std::string sSaved = m_saver.Save().value_or("");
  CSaver reader;
  ASSERT_TRUE(reader.Open(sSaved));
  EXPECT_EQ(std::u16string(BrevexGetInfoEntryW(reader.Get(), u"Title")), u"\u00fcber");
  EXPECT_STREQ(BrevexGetInfoEntryA(reader.Get(), "Author"), "Nobody");
  EXPECT_STREQ(BrevexGetInfoEntryA(reader.Get(), "Mine"), "own");
}

TEST_F(CallFrame, VersionOfTheOutput)
{
  TBrevexHandle* p = m_saver.Get();
  ASSERT_TRUE(m_saver.Open(GetPdf()));
  EXPECT_FALSE(BrevexSetVersionA(p, "1"));
  EXPECT_FALSE(BrevexSetVersionA(p, nullptr));
  EXPECT_TRUE(BrevexSetVersionW(p, u"1.6x"));
  EXPECT_EQ(m_saver.Save().value_or("").substr(0, 8), "%PDF-1.7") << "a version waits for the next open";
  ASSERT_TRUE(m_saver.Open(GetPdf()));
  EXPECT_EQ(m_saver.Save().value_or("").substr(0, 8), "%PDF-1.6");
  for (const char* szVersion : {"4294967295.4294967295", "0.0"})
  {
    EXPECT_TRUE(BrevexSetVersionA(p, szVersion));
    ASSERT_TRUE(m_saver.Open(GetPdf()));
    m_saver.Save();
  }
}

TEST_F(CallFrame, EncryptionArguments)
{
  TBrevexHandle* p = m_saver.Get();
  ASSERT_TRUE(m_saver.Open(GetPdf()));
  const std::string sOut = m_folder / "out.pdf";
  EXPECT_TRUE(BrevexSaveAsA(p, sOut.c_str(), "", "", BREVEX_PERMISSIONS_AS_INPUT))
      << "an input without encryption gives an output without";
  EXPECT_EQ(Support::ReadFile(sOut).find("/Encrypt"), std::string::npos);
}

TEST(Library, StartsAndVersion)
{
  BrevexInitialize();
  BrevexInitialize();
  BrevexUnInitialize();
  EXPECT_STREQ(BrevexGetProductVersionA(), "6.27.17.0");
  EXPECT_EQ(std::u16string(BrevexGetProductVersionW()), u"6.27.17.0");
  BrevexUnInitialize();
  BrevexUnInitialize();
  BrevexInitialize();
  EXPECT_STREQ(BrevexGetProductVersionA(), "6.27.17.0");
  BrevexUnInitialize();
}

TEST(Library, ColourEngine)
{
  EXPECT_FALSE(BrevexSetCMSEngineA(nullptr));
  EXPECT_FALSE(BrevexSetCMSEngineW(nullptr));
  EXPECT_TRUE(BrevexSetCMSEngineW(u"none"));
  EXPECT_TRUE(BrevexSetCMSEngineA(std::string(5000, 'x').c_str()));
  EXPECT_TRUE(BrevexSetCMSEngineA("lcms"));
}

}  // namespace
