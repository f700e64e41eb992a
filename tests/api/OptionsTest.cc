// Every option through its exported functions: null handle, default, storing, and no effect on the error
// code.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/Saver.h"

namespace
{

using Support::CSaver;

// One option with its values as real numbers, which hold every integer and every DPI value exactly.
struct TOption
{
  const char* szName;
  double dDefault;
  double dStored;
  std::function<double(TBrevexHandle*)> fnGet;
  std::function<void(TBrevexHandle*, double)> fnSet;
};

template <class TValue>
TOption MakeOption(const char* szName, TValue (*pfGet)(TBrevexHandle*), void (*pfSet)(TBrevexHandle*, TValue),
                   double dDefault, double dStored)
{
  return {szName, dDefault, dStored, [pfGet](TBrevexHandle* p) { return static_cast<double>(pfGet(p)); },
          [pfSet](TBrevexHandle* p, double dValue) { pfSet(p, static_cast<TValue>(dValue)); }};
}

const std::vector<TOption>& GetOptions()
{
  static const std::vector<TOption> g_options = {
#define OPTION(name, dDefault, dStored) \
  MakeOption(#name, BrevexGet##name, BrevexSet##name, dDefault, dStored),
#include "tests/api/OptionRows.inc"
#undef OPTION
  };
  return g_options;
}

// Options that share one field with the one named.
bool Shares(const std::string& sA, const std::string& sB)
{
  for (const char* szFamily : {"ResolutionDPI", "ThresholdDPI"})
  {
    const bool bLayer = sA.rfind("MrcLayer", 0) == 0 || sB.rfind("MrcLayer", 0) == 0;
    const auto ends = [&](const std::string& s)
    { return s.size() >= strlen(szFamily) && s.compare(s.size() - strlen(szFamily), s.npos, szFamily) == 0; };
    if (!bLayer && ends(sA) && ends(sB) && (sA == szFamily || sB == szFamily))
      return true;
  }
  const auto in = [](const std::string& s, std::initializer_list<const char*> set)
  { return std::find(set.begin(), set.end(), s) != set.end(); };
  const std::initializer_list<const char*> bitonal = {"BitonalCompression", "BitonalCompressions"};
  const std::initializer_list<const char*> continuous = {"MonochromeCompression", "ColorCompression",
                                                         "ContinuousCompressions"};
  return (in(sA, bitonal) && in(sB, bitonal)) || (in(sA, continuous) && in(sB, continuous));
}

TEST(Options, NullHandle)
{
  for (const TOption& option : GetOptions())
  {
    option.fnSet(nullptr, option.dStored);
    EXPECT_EQ(option.fnGet(nullptr), 0) << option.szName;
  }
  BrevexSetProfile(nullptr, BREVEX_PROFILE_MAX);
}

// Finds a function that reads or writes the field of another option.
TEST(Options, EachHasAFieldOfItsOwn)
{
  for (const TOption& changed : GetOptions())
  {
    CSaver saver;
    changed.fnSet(saver.Get(), changed.dStored);
    EXPECT_EQ(changed.fnGet(saver.Get()), changed.dStored) << changed.szName;
    for (const TOption& other : GetOptions())
    {
      if (&other != &changed && !Shares(changed.szName, other.szName))
      {
        EXPECT_EQ(other.fnGet(saver.Get()), other.dDefault)
            << "setting " << changed.szName << " changed " << other.szName;
      }
    }
    BrevexSetProfile(saver.Get(), 99);
    const std::string sName = changed.szName;
    const bool bKept = sName.rfind("Extract", 0) == 0 || sName == "OutputCipher" || sName == "LenientOpening";
    EXPECT_EQ(changed.fnGet(saver.Get()), bKept ? changed.dStored : changed.dDefault) << changed.szName;
  }
}

TEST(Options, LeaveTheErrorCodeAlone)
{
  CSaver saver;
  ASSERT_FALSE(saver.Save());
  for (const TOption& option : GetOptions())
  {
    option.fnSet(saver.Get(), option.fnGet(saver.Get()));
    ASSERT_EQ(saver.GetCode(), BREVEX_STATUS_INVALID_OPERATION) << option.szName;
  }
  BrevexSetProfile(saver.Get(), BREVEX_PROFILE_WEB);
  EXPECT_TRUE(BrevexSetVersionA(saver.Get(), "1.7"));
  EXPECT_FALSE(BrevexSetVersionW(saver.Get(), u"seven"));
  EXPECT_EQ(saver.GetCode(), BREVEX_STATUS_INVALID_OPERATION);
}

TEST(Options, ValuesOutOfRange)
{
  CSaver saver;
  TBrevexHandle* p = saver.Get();
  BrevexSetImageQuality(p, -5);
  EXPECT_EQ(BrevexGetImageQuality(p), 0);
  BrevexSetImageQuality(p, 200);
  EXPECT_EQ(BrevexGetImageQuality(p), 100);
  BrevexSetEffort(p, 0);
  EXPECT_EQ(BrevexGetEffort(p), 1);
  BrevexSetEffort(p, 10);
  EXPECT_EQ(BrevexGetEffort(p), 9);
  for (const int nValue : {2, -1, 4096})
  {
    BrevexSetDitheringMode(p, nValue);
    EXPECT_EQ(BrevexGetDitheringMode(p), 0) << nValue;
    BrevexSetOutputCipher(p, nValue == 2 ? BREVEX_CIPHER_AS_INPUT + 1 : nValue);
    EXPECT_EQ(BrevexGetOutputCipher(p), BREVEX_CIPHER_UNSPECIFIED) << nValue;
    BrevexSetMrcLayerCompression(p, nValue == 2 ? BREVEX_COMPRESSION_GROUP3_1D : nValue);
    EXPECT_EQ(BrevexGetMrcLayerCompression(p), BREVEX_COMPRESSION_JPEG2000) << nValue;
  }
  BrevexSetClipImages(p, -7);
  EXPECT_EQ(BrevexGetClipImages(p), 1);
  BrevexSetColorResolutionDPI(p, 72.1F);
  EXPECT_EQ(BrevexGetColorResolutionDPI(p), 72.1F);
  BrevexSetResolutionDPI(p, 99);
  EXPECT_EQ(BrevexGetBitonalResolutionDPI(p), 99);
  BrevexSetBitonalResolutionDPI(p, 300);
  EXPECT_EQ(BrevexGetResolutionDPI(p), 99);
  BrevexSetBitonalCompression(p, BREVEX_COMPRESSION_JPEG);
  EXPECT_EQ(BrevexGetBitonalCompressions(p), 0U);
  EXPECT_EQ(BrevexGetBitonalCompression(p), BREVEX_COMPRESSION_UNSPECIFIED);
}

}  // namespace
