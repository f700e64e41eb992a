// Handles on different threads do not disturb one another. Meant to be run under ThreadSanitizer as well.

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/PdfDamager.h"
#include "tests/support/Samples.h"
#include "tests/support/Saver.h"

namespace
{

using Support::CSaver;

// Names what came of every sample and damage under one profile: sizes and codes, which do not depend on time.
std::vector<std::string> SaveAll(unsigned nProfile)
{
  std::vector<std::string> results;
  const auto save = [&](const std::string& sPdf)
  {
    CSaver saver;
    BrevexSetProfile(saver.Get(), nProfile);
    const bool bOpen = saver.Open(sPdf);
    std::string sResult = std::to_string(saver.GetCode());
    if (bOpen)
    {
      sResult += " " + std::to_string(BrevexGetPageCount(saver.Get()));
      sResult += saver.Save() ? " saved " : " failed ";
      sResult += std::to_string(saver.GetCode());
      const char* szMessage = BrevexGetErrorMessageA(saver.Get());
      sResult += szMessage != nullptr ? szMessage : "";
    }
    results.push_back(sResult);
  };
  for (const Support::TSample& sample : Support::MakeSamples())
    save(sample.sPdf);
  const std::string sPlain = Support::MakePlainSample().sPdf;
  for (const Support::TDamage& damage : Support::GetDamages())
    save(damage.pfApply(sPlain));
  return results;
}

TEST(Threads, TwoHandlesOnTwoThreads)
{
  const std::vector<std::string> alone[] = {SaveAll(BREVEX_PROFILE_NONE), SaveAll(BREVEX_PROFILE_WEB)};
  std::vector<std::string> together[2];
  std::thread first([&] { together[0] = SaveAll(BREVEX_PROFILE_NONE); });
  std::thread second([&] { together[1] = SaveAll(BREVEX_PROFILE_WEB); });
  first.join();
  second.join();
  EXPECT_EQ(together[0], alone[0]);
  EXPECT_EQ(together[1], alone[1]);
}

TEST(Threads, HandleMayMoveBetweenThreads)
{
  CSaver saver;
  const Support::TSample sample = Support::MakePlainSample();
  std::thread([&] { EXPECT_TRUE(saver.Open(sample.sPdf)); }).join();
  std::thread([&] { EXPECT_TRUE(saver.Save()); }).join();
  EXPECT_EQ(BrevexGetPageCount(saver.Get()), sample.nPages);
}

TEST(Threads, StartAndEndFromAnyThread)
{
  const CSaver keepsLibraryAlive;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
  {
    threads.emplace_back(
        []
        {
          for (int n = 0; n < 100; ++n)
          {
            BrevexInitialize();
            EXPECT_STREQ(BrevexGetProductVersionA(), "6.27.17.0");
            BrevexUnInitialize();
          }
        });
  }
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace
