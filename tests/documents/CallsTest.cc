// The frame around a save: handles, wrong order of calls, results that are fetched once, streams that fail.

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/Samples.h"
#include "tests/support/Saver.h"
#include "tests/support/TempFolder.h"

namespace
{

using Support::CByteStream;
using Support::CSaver;
using Support::CTempFolder;
using Support::TRoad;

const std::string& GetPdf()
{
  static const std::string g_sPdf = Support::MakePlainSample().sPdf;
  return g_sPdf;
}

TEST(Calls, NullHandle)
{
  CByteStream bytes(GetPdf());
  const TBrevexStreamDescriptor stream = bytes.GetDescriptor();
  EXPECT_EQ(BrevexGetErrorCode(nullptr), BREVEX_STATUS_FATAL);
  EXPECT_EQ(BrevexGetErrorMessageA(nullptr), nullptr);
  EXPECT_FALSE(BrevexOpenA(nullptr, "in.pdf", nullptr));
  EXPECT_FALSE(BrevexOpenMemA(nullptr, GetPdf().data(), GetPdf().size(), nullptr));
  EXPECT_FALSE(BrevexOpenStreamA(nullptr, &stream, nullptr));
  EXPECT_FALSE(BrevexSaveAsA(nullptr, "out.pdf", nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_FALSE(BrevexSaveAsStreamA(nullptr, &stream, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_FALSE(BrevexSaveInMemory(nullptr));
  EXPECT_EQ(BrevexGetPdf(nullptr), nullptr);
  EXPECT_FALSE(BrevexClose(nullptr));
  EXPECT_EQ(BrevexGetPageCount(nullptr), 0);
  EXPECT_FALSE(BrevexSetInfoEntryA(nullptr, "Title", "x"));
  EXPECT_EQ(BrevexGetInfoEntryA(nullptr, "Title"), nullptr);
  EXPECT_EQ(BrevexGetColorThresholdDPI(nullptr), 0.0F);
  BrevexSetProfile(nullptr, BREVEX_PROFILE_WEB);
  BrevexDestroyObject(nullptr);
}

TEST(Calls, FreshHandle)
{
  CSaver saver;
  EXPECT_EQ(saver.GetCode(), BREVEX_STATUS_SUCCESS);
  EXPECT_EQ(BrevexGetPageCount(saver.Get()), 0);
  EXPECT_EQ(BrevexGetPdf(saver.Get()), nullptr);
  EXPECT_TRUE(BrevexClose(saver.Get()));
  for (const TRoad road : {TRoad::File, TRoad::Memory, TRoad::Stream})
  {
    EXPECT_FALSE(saver.Save(road));
    EXPECT_EQ(saver.GetCode(), BREVEX_STATUS_INVALID_OPERATION);
  }
}

TEST(Calls, InputThatIsNone)
{
  const CTempFolder folder;
  CSaver saver;
  EXPECT_FALSE(BrevexOpenA(saver.Get(), (folder / "absent.pdf").c_str(), nullptr));
  EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
  EXPECT_FALSE(BrevexOpenA(saver.Get(), folder.GetPath().c_str(), nullptr));
  for (const TRoad road : {TRoad::File, TRoad::Memory, TRoad::Stream})
  {
    for (const char* szBytes : {"", "x", "%PDF-1.7\n", "no document, only text"})
    {
      EXPECT_FALSE(saver.Open(szBytes, road)) << szBytes;
      EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
      EXPECT_EQ(BrevexGetPageCount(saver.Get()), 0);
    }
  }
  EXPECT_FALSE(BrevexOpenMemA(saver.Get(), nullptr, 0, nullptr));
  EXPECT_TRUE(saver.Open(GetPdf()));
}

TEST(Calls, FailedOpenClosesWhatWasOpen)
{
  CSaver saver;
  ASSERT_TRUE(saver.Open(GetPdf()));
  EXPECT_FALSE(saver.Open("no document"));
  EXPECT_EQ(BrevexGetPageCount(saver.Get()), 0);
  EXPECT_FALSE(saver.Save());
}

TEST(Calls, MemoryOfTheCallerMayGo)
{
  CSaver saver;
  std::string sPdf = GetPdf();
  ASSERT_TRUE(BrevexOpenMemA(saver.Get(), sPdf.data(), sPdf.size(), nullptr));
  sPdf.assign(sPdf.size(), 'x');
  EXPECT_TRUE(saver.Save());
}

TEST(Calls, ResultIsFetchedOnce)
{
  CSaver saver;
  ASSERT_TRUE(saver.Open(GetPdf()));
  ASSERT_TRUE(BrevexSaveInMemory(saver.Get()));
  EXPECT_TRUE(BrevexClose(saver.Get()));
  const TByteBuffer* pBuffer = BrevexGetPdf(saver.Get());
  ASSERT_NE(pBuffer, nullptr);
  const unsigned char* pData = pBuffer->pData;
  EXPECT_EQ(BrevexGetPdf(saver.Get()), nullptr);
  EXPECT_EQ(pBuffer->pData, pData);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(pData), 5), "%PDF-");

  ASSERT_TRUE(saver.Open(GetPdf()));
  ASSERT_TRUE(BrevexSaveInMemory(saver.Get()));
  EXPECT_TRUE(saver.Save(TRoad::File));
  EXPECT_EQ(BrevexGetPdf(saver.Get()), nullptr);
}

TEST(Calls, UnwritableTarget)
{
  const CTempFolder folder;
  CSaver saver;
  ASSERT_TRUE(saver.Open(GetPdf()));
  for (const std::string& sName :
       {folder.GetPath().string(), (folder / "none/out.pdf").string(), std::string()})
  {
    EXPECT_FALSE(BrevexSaveAsA(saver.Get(), sName.c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN))
        << sName;
    EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
  }
  EXPECT_FALSE(BrevexSaveAsA(saver.Get(), nullptr, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  EXPECT_TRUE(saver.Save()) << "a failed save must not stand in the way of the next";
}

TEST(Calls, OutputStreamThatFails)
{
  for (const std::int64_t nBytes : {0, 1, 100, 1000})
  {
    SCOPED_TRACE(nBytes);
    CByteStream output;
    output.FailAfter(nBytes);
    const TBrevexStreamDescriptor stream = output.GetDescriptor();
    CSaver saver;
    ASSERT_TRUE(saver.Open(GetPdf()));
    EXPECT_FALSE(BrevexSaveAsStreamA(saver.Get(), &stream, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
    EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
    EXPECT_EQ(output.GetReleaseCount(), 1);
    EXPECT_TRUE(saver.Save());
  }
}

TEST(Calls, InputStreamThatFails)
{
  for (std::int64_t nBytes = 0; nBytes < 30000; nBytes = nBytes * 2 + 100)
  {
    SCOPED_TRACE(nBytes);
    CByteStream input(GetPdf());
    input.FailAfter(nBytes);
    const TBrevexStreamDescriptor stream = input.GetDescriptor();
    {
      CSaver saver;
      if (BrevexOpenStreamA(saver.Get(), &stream, nullptr) != 0)
        saver.Save();
      else
        EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
    }
    EXPECT_EQ(input.GetReleaseCount(), 1);
  }
}

TEST(Calls, StreamsAreReleasedOnce)
{
  CByteStream input(GetPdf());
  CByteStream output;
  {
    CSaver saver;
    const TBrevexStreamDescriptor in = input.GetDescriptor();
    const TBrevexStreamDescriptor out = output.GetDescriptor();
    ASSERT_TRUE(BrevexOpenStreamA(saver.Get(), &in, nullptr));
    ASSERT_TRUE(BrevexSaveAsStreamA(saver.Get(), &out, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
    EXPECT_TRUE(BrevexClose(saver.Get()));
  }
  EXPECT_EQ(input.GetReleaseCount(), 1);
  EXPECT_EQ(output.GetReleaseCount(), 1);
}

TEST(Calls, InformationIsReadAndSet)
{
  CSaver saver;
  ASSERT_TRUE(saver.Open(GetPdf()));
  EXPECT_STREQ(BrevexGetInfoEntryA(saver.Get(), "Title"), "A sample");
  EXPECT_EQ(BrevexGetInfoEntryA(saver.Get(), "Subject"), nullptr);
  EXPECT_TRUE(BrevexSetInfoEntryW(saver.Get(), u"Title", u"\u00DCber \u4E2D \U0001F600"));
  EXPECT_FALSE(BrevexSetInfoEntryA(saver.Get(), "Title", nullptr));
  const std::string sOut = saver.Save().value_or("");
  CSaver second;
  ASSERT_TRUE(second.Open(sOut));
  const char16_t* szTitle = BrevexGetInfoEntryW(second.Get(), u"Title");
  EXPECT_EQ(szTitle != nullptr ? std::u16string(szTitle) : u"", u"\u00DCber \u4E2D \U0001F600");
}

}  // namespace
