// Every way into the library and out of it, on every layout of a sound file.

#include <ctime>

#include "tests/documents/Judges.h"
#include "tests/support/Samples.h"
#include "tests/support/Saver.h"

namespace
{

using Support::CSaver;
using Support::TRoad;
using Support::TSample;

constexpr TRoad g_roads[] = {TRoad::File, TRoad::Memory, TRoad::Stream};

class Layouts : public testing::TestWithParam<TSample>
{
};

std::string GetName(const testing::TestParamInfo<TSample>& info)
{
  return info.param.sName;
}

INSTANTIATE_TEST_SUITE_P(Samples, Layouts, testing::ValuesIn(Support::MakeSamples()), GetName);

// Time stamps in compressed streams cannot be masked, so all saves have to fall into one second.
std::vector<std::string> SaveOnAllRoads(const std::string& sPdf)
{
  std::vector<std::string> results;
  for (int i = 0; i < 10; ++i)
  {
    results.clear();
    const std::time_t nStart = std::time(nullptr);
    for (const TRoad in : g_roads)
    {
      CSaver saver;
      EXPECT_TRUE(saver.Open(sPdf, in));
      for (const TRoad out : g_roads)
        results.push_back(Support::MaskVariable(saver.Save(out).value_or("failed")));
    }
    if (std::time(nullptr) == nStart)
      break;
  }
  return results;
}

TEST_P(Layouts, AllRoadsGiveTheSameBytes)
{
  const std::vector<std::string> results = SaveOnAllRoads(GetParam().sPdf);
  EXPECT_NE(results.front(), "failed");
  for (size_t i = 1; i < results.size(); ++i)
    EXPECT_TRUE(results[i] == results.front()) << "in " << i / 3 << ", out " << i % 3;
}

// What cannot be read must not pass for damage: a save that answers success has all pages.
TEST_P(Layouts, InputThatFailsIsNoDamage)
{
  const TSample& sample = GetParam();
  const auto nSize = static_cast<std::int64_t>(sample.sPdf.size());
  for (std::int64_t nBytes = 0; nBytes < 4 * nSize; nBytes += nSize / 8 + 1)
  {
    Support::CByteStream input(sample.sPdf);
    input.FailAfter(nBytes);
    TBrevexStreamDescriptor descriptor = input.GetDescriptor();
    CSaver saver;
    if (BrevexOpenStreamA(saver.Get(), &descriptor, nullptr) == 0)
      continue;
    const auto sOut = saver.Save();
    EXPECT_TRUE(!sOut || Documents::HasTextOfPages(*sOut, sample.nPages)) << nBytes;
    BrevexClose(saver.Get());
  }
}

TEST_P(Layouts, SavedDocumentIsSound)
{
  const TSample& sample = GetParam();
  CSaver saver;
  ASSERT_TRUE(saver.Open(sample.sPdf));
  EXPECT_EQ(saver.GetCode(), 0U);
  EXPECT_EQ(BrevexGetPageCount(saver.Get()), sample.nPages);
  const std::optional<std::string> sOut = saver.Save();
  ASSERT_TRUE(sOut) << std::hex << saver.GetCode();
  EXPECT_TRUE(Documents::Reopens(*sOut, sample.nPages));
  EXPECT_TRUE(Documents::IsSound(*sOut));
  EXPECT_TRUE(Documents::HasTextOfPages(*sOut, sample.nPages));
  EXPECT_EQ(sOut->substr(0, 8), "%PDF-" + sample.sVersion);
}

TEST_P(Layouts, SavedTwiceChangesNothingMore)
{
  CSaver first;
  ASSERT_TRUE(first.Open(GetParam().sPdf));
  const std::string sOnce = first.Save().value_or("");
  CSaver second;
  ASSERT_TRUE(second.Open(sOnce));
  const std::string sTwice = second.Save().value_or("");
  // Metadata may note the second save, and a packet that the first one has made is compressed by the second.
  EXPECT_LE(sTwice.size(), sOnce.size() + 500);
  EXPECT_GE(sTwice.size() + 1500, sOnce.size());
  EXPECT_TRUE(Documents::HasTextOfPages(sTwice, GetParam().nPages));
}

TEST_P(Layouts, ProfilesGiveSoundDocuments)
{
  const unsigned profiles[] = {BREVEX_PROFILE_WEB, BREVEX_PROFILE_PRINT,   BREVEX_PROFILE_MAX,
                               BREVEX_PROFILE_MRC, BREVEX_PROFILE_ARCHIVE, BREVEX_PROFILE_MERGE_FONTS};
  for (const unsigned nProfile : profiles)
  {
    SCOPED_TRACE(nProfile);
    CSaver saver;
    BrevexSetProfile(saver.Get(), nProfile);
    ASSERT_TRUE(saver.Open(GetParam().sPdf));
    const std::optional<std::string> sOut = saver.Save();
    ASSERT_TRUE(sOut) << std::hex << saver.GetCode();
    EXPECT_TRUE(Documents::Reopens(*sOut, GetParam().nPages));
    EXPECT_TRUE(Documents::IsSound(*sOut));
  }
}

TEST_P(Layouts, VersionOfTheOutput)
{
  for (const char* szVersion : {"1.4", "1.5", "1.7", "2.0"})
  {
    SCOPED_TRACE(szVersion);
    CSaver saver;
    ASSERT_TRUE(BrevexSetVersionA(saver.Get(), szVersion));
    ASSERT_TRUE(saver.Open(GetParam().sPdf));
    const std::string sOut = saver.Save().value_or("failed");
    EXPECT_EQ(sOut.substr(0, 8), std::string("%PDF-") + szVersion);
    EXPECT_TRUE(Documents::Reopens(sOut, GetParam().nPages));
    EXPECT_TRUE(Documents::IsSound(sOut));
  }
}

// Linearizing may be impossible for a version or a document, but then the plain file stays.
TEST_P(Layouts, LinearizedDocumentIsSound)
{
  CSaver saver;
  BrevexSetLinearize(saver.Get(), 1);
  ASSERT_TRUE(saver.Open(GetParam().sPdf));
  const std::optional<std::string> sOut = saver.Save();
  ASSERT_TRUE(sOut) << std::hex << saver.GetCode();
  EXPECT_TRUE(Documents::Reopens(*sOut, GetParam().nPages));
  EXPECT_TRUE(Documents::IsSound(*sOut));
}

}  // namespace
