// Damaged documents: what a tolerant reader can save is saved, and nothing crashes or hangs.

#include <gtest/gtest.h>

#include "tests/documents/Judges.h"
#include "tests/support/PdfDamager.h"
#include "tests/support/Samples.h"
#include "tests/support/Saver.h"

namespace
{

using Support::CSaver;
using Support::TDamage;
using Support::TDamageEffect;

class Damages : public testing::TestWithParam<TDamage>
{
};

std::string GetName(const testing::TestParamInfo<TDamage>& info)
{
  return info.param.szName;
}

INSTANTIATE_TEST_SUITE_P(All, Damages,
                         testing::ValuesIn(Support::GetDamages().begin(), Support::GetDamages().end()),
                         GetName);

TEST_P(Damages, AreSurvived)
{
  const Support::TSample sample = Support::MakePlainSample();
  const std::string sDamaged = GetParam().pfApply(sample.sPdf);
  ASSERT_NE(sDamaged, sample.sPdf) << "the damage does nothing";
  const bool bHarmless = GetParam().effect == TDamageEffect::Harmless;

  CSaver saver;
  const bool bOpen = saver.Open(sDamaged);
  EXPECT_TRUE(bOpen || !bHarmless) << std::hex << saver.GetCode();
  if (!bOpen)
  {
    EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
    return;
  }
  const int nPages = BrevexGetPageCount(saver.Get());
  const std::optional<std::string> sOut = saver.Save();
  EXPECT_TRUE(sOut || !bHarmless) << std::hex << saver.GetCode();
  if (bHarmless)
  {
    EXPECT_EQ(nPages, sample.nPages);
  }
  if (sOut && nPages > 0)
  {
    EXPECT_TRUE(Documents::Reopens(*sOut, bHarmless ? nPages : BrevexGetPageCount(saver.Get())));
  }
}

// The passes of a profile look into more of the document than a plain copy does.
TEST_P(Damages, AreSurvivedByEveryPass)
{
  CSaver saver;
  BrevexSetProfile(saver.Get(), BREVEX_PROFILE_MAX);
  BrevexSetLinearize(saver.Get(), 1);
  if (saver.Open(GetParam().pfApply(Support::MakePlainSample().sPdf)))
  {
    saver.Save();
  }
}

TEST(Damage, FlippedBytes)
{
  for (const Support::TSample& sample : Support::MakeSamples())
  {
    for (unsigned nSeed = 0; nSeed < 40; ++nSeed)
    {
      SCOPED_TRACE(sample.sName + ", seed " + std::to_string(nSeed));
      CSaver saver;
      BrevexSetProfile(saver.Get(), nSeed % 2 == 0 ? BREVEX_PROFILE_NONE : BREVEX_PROFILE_MAX);
      if (saver.Open(Support::FlipBytes(sample.sPdf, nSeed, 1 + static_cast<int>(nSeed) / 4)))
      {
        saver.Save();
      }
    }
  }
}

TEST(Damage, CutAnywhere)
{
  for (const Support::TSample& sample : Support::MakeSamples())
  {
    for (size_t nPart = 1; nPart < 24; ++nPart)
    {
      SCOPED_TRACE(sample.sName + ", part " + std::to_string(nPart));
      CSaver saver;
      if (saver.Open(sample.sPdf.substr(0, sample.sPdf.size() * nPart / 24)))
      {
        saver.Save();
      }
    }
  }
}

}  // namespace
