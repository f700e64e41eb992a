#include "engine/OptimizerOptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <utility>

namespace PDF
{
namespace
{

// Every field by its name, so that a fault names itself.
std::map<std::string, double> Fields(const TOptimizerOptions& options)
{
  std::map<std::string, double> fields;
#define FIELD(name) fields[#name] = static_cast<double>(options.name);
#include "tests/engine/OptionFields.inc"
#undef FIELD
  return fields;
}

const std::set<std::string> g_kept = {
#define KEPT(name) #name,
#include "engine/OptimizerOptionsKept.inc"
#undef KEPT
};

// No field has the value of any profile.
TOptimizerOptions Disturbed()
{
  TOptimizerOptions options;
  options.SetResolution(33);
  options.SetThreshold(44);
  options.m_nImageQuality = 1;
  options.m_nBitonalCompressions = options.m_nContinuousCompressions = options.m_nIndexedCompressions = 1;
  options.m_nColorConversion = eColorConversionGray;
  options.m_nDitheringMode = eDitheringErrorDiffusion;
  options.m_nMrcMaskCompression = options.m_nMrcLayerCompression = options.m_nMrcPictCompression =
      eCompressionRaw;
  options.m_nMrcLayerQuality = 1;
  options.m_dMrcLayerResolution = 1;
  options.m_nStrip = eStripHiddenAnnots;
  options.m_nEffort = 9;
  options.m_nOutputCipher = eCipherAES256;
  options.m_nFallbackCompression = eCompressionUnspecified;
  options.m_nVersionMajor = 2;
  options.m_nVersionMinor = 3;
  const auto raise = [](auto& field)
  {
    if constexpr (std::is_same_v<decltype(field), bool&>)
      field = true;
  };
#define FIELD(name) raise(options.name);
#include "tests/engine/OptionFields.inc"
#undef FIELD
  options.m_bMrcRecognizePictures = false;
  return options;
}

using CChanges = std::map<std::string, double>;

const CChanges g_defaults = {
    {"m_dBitonalResolution", 200},    {"m_dBitonalThreshold", -1},
    {"m_dMonochromeResolution", 150}, {"m_dMonochromeThreshold", -1},
    {"m_dColorResolution", 150},      {"m_dColorThreshold", -1},
    {"m_nImageQuality", 75},          {"m_nMrcMaskCompression", 6},
    {"m_nMrcLayerCompression", 8},    {"m_nMrcLayerQuality", 20},
    {"m_dMrcLayerResolution", 70},    {"m_nMrcPictCompression", 1},
    {"m_bMrcRecognizePictures", 1},   {"m_nEffort", 6},
    {"m_nFallbackCompression", 2},
};

// All that a profile sets; every other field is at its default.
const std::map<unsigned, CChanges> g_profiles = {
    {0, {}},
    {1,
     {{"m_nBitonalCompressions", 0x4C0},
      {"m_nContinuousCompressions", 0x506},
      {"m_nIndexedCompressions", 0x404},
      {"m_dBitonalThreshold", 280},
      {"m_dMonochromeThreshold", 210},
      {"m_dColorThreshold", 210},
      {"m_nColorConversion", 1},
      {"m_bClipImages", 1},
      {"m_bReduceColorComplexity", 1},
      {"m_nStrip", 0x07F},
      {"m_bSubsetFonts", 1},
      {"m_bMergeEmbeddedFonts", 1},
      {"m_bConvertToCFF", 1},
      {"m_bRemoveRedundantObjects", 1},
      {"m_bOptimizeResources", 1},
      {"m_bAutoLinearize", 1}}},
    {2,
     {{"m_nImageQuality", 80},
      {"m_nBitonalCompressions", 0x440},
      {"m_nContinuousCompressions", 0x406},
      {"m_nIndexedCompressions", 0x404},
      {"m_nColorConversion", 2},
      {"m_bClipImages", 1},
      {"m_bReduceColorComplexity", 1},
      {"m_nStrip", 0x03D},
      {"m_bSubsetFonts", 1},
      {"m_bMergeEmbeddedFonts", 1},
      {"m_bConvertToCFF", 1},
      {"m_bRemoveRedundantObjects", 1},
      {"m_bOptimizeResources", 1}}},
    {3,
     {{"m_nImageQuality", 70},
      {"m_nBitonalCompressions", 0x4C0},
      {"m_nContinuousCompressions", 0x506},
      {"m_nIndexedCompressions", 0x40C},
      {"m_dBitonalResolution", 160},
      {"m_dBitonalThreshold", 220},
      {"m_dMonochromeResolution", 130},
      {"m_dMonochromeThreshold", 180},
      {"m_dColorResolution", 130},
      {"m_dColorThreshold", 180},
      {"m_nColorConversion", 1},
      {"m_bClipImages", 1},
      {"m_bReduceColorComplexity", 1},
      {"m_nStrip", 0x6FF},
      {"m_bSubsetFonts", 1},
      {"m_bMergeEmbeddedFonts", 1},
      {"m_bConvertToCFF", 1},
      {"m_bRemoveRedundantObjects", 1},
      {"m_bOptimizeResources", 1},
      {"m_bRemoveStandardFonts", 1}}},
    {4,
     {{"m_nContinuousCompressions", 0x200},
      {"m_nColorConversion", 1},
      {"m_bClipImages", 1},
      {"m_nStrip", 0x03D},
      {"m_bSubsetFonts", 1},
      {"m_bMergeEmbeddedFonts", 1},
      {"m_bRemoveRedundantObjects", 1},
      {"m_bOptimizeResources", 1}}},
    {5,
     {{"m_nImageQuality", 80},
      {"m_nBitonalCompressions", 0x4C0},
      {"m_nContinuousCompressions", 0x506},
      {"m_nIndexedCompressions", 0x404},
      {"m_bClipImages", 1},
      {"m_bReduceColorComplexity", 1},
      {"m_nStrip", 0x050},
      {"m_bSubsetFonts", 1},
      {"m_bMergeEmbeddedFonts", 1},
      {"m_bConvertToCFF", 1},
      {"m_bRemoveRedundantObjects", 1},
      {"m_bOptimizeResources", 1}}},
    {6, {}},
    {99, {}},
    {127, {}},
    {128, {{"m_bMergeEmbeddedFonts", 1}, {"m_bMergeFonts", 1}}},
    {129, {}},
};

void ExpectFields(const TOptimizerOptions& options, const CChanges& changes, const TOptimizerOptions& kept)
{
  const auto keptFields = Fields(kept);
  for (const auto& [sName, dValue] : Fields(options))
  {
    double dExpected = 0;
    if (g_kept.contains(sName))
      dExpected = keptFields.at(sName);
    else if (changes.contains(sName))
      dExpected = changes.at(sName);
    else if (g_defaults.contains(sName))
      dExpected = g_defaults.at(sName);
    EXPECT_EQ(dValue, dExpected) << sName;
  }
}

TEST(OptimizerOptions, DefaultsAreThoseOfProfileZero)
{
  TOptimizerOptions options;
  for (const auto& [sName, dValue] : Fields(options))
    EXPECT_EQ(dValue, g_defaults.contains(sName) ? g_defaults.at(sName) : 0) << sName;
}

TEST(OptimizerOptions, ProfileSetsItsFieldsResetsTheOthersAndKeepsSome)
{
  for (const auto& [nProfile, changes] : g_profiles)
  {
    SCOPED_TRACE(nProfile);
    TOptimizerOptions options = Disturbed();
    options.SetProfile(nProfile);
    ExpectFields(options, changes, Disturbed());
  }
}

TEST(OptimizerOptions, RangesClampOrKeep)
{
  TOptimizerOptions options;
  for (const auto& [nGiven, nStored] : std::map<int, int>{{-5, 0}, {0, 0}, {42, 42}, {100, 100}, {200, 100}})
  {
    options.SetImageQuality(nGiven);
    EXPECT_EQ(options.m_nImageQuality, nStored) << nGiven;
  }
  for (const auto& [nGiven, nStored] : std::map<int, int>{{0, 1}, {1, 1}, {9, 9}, {10, 9}})
  {
    options.SetEffort(nGiven);
    EXPECT_EQ(options.m_nEffort, nStored) << nGiven;
  }
  options.SetDitheringMode(1);
  options.SetDitheringMode(2);
  EXPECT_EQ(options.m_nDitheringMode, 1U);
}

TEST(OptimizerOptions, MrcSettersIgnoreCompressionsOutsideTheirSets)
{
  const std::set<unsigned> mask = {0, 2, 3, 4, 5, 6, 7};
  const std::set<unsigned> layer = {0, 1, 2, 3, 8};
  for (unsigned nCompression : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U, 32U, 64U, 0xFFFFFFFFU})
  {
    TOptimizerOptions options;
    options.SetMrcMaskCompression(nCompression);
    options.SetMrcLayerCompression(nCompression);
    options.SetMrcPictCompression(nCompression);
    EXPECT_EQ(options.m_nMrcMaskCompression, mask.contains(nCompression) ? nCompression : 6) << nCompression;
    EXPECT_EQ(options.m_nMrcLayerCompression, layer.contains(nCompression) ? nCompression : 8)
        << nCompression;
    EXPECT_EQ(options.m_nMrcPictCompression, layer.contains(nCompression) ? nCompression : 1) << nCompression;
  }
}

TEST(OptimizerOptions, SetsDropUnknownFlags)
{
  TOptimizerOptions options;
  options.SetBitonalCompressions(0xFFFFFFFF);
  options.SetContinuousCompressions(0xFFFFFFFF);
  options.SetIndexedCompressions(0xFFFFFFFF);
  EXPECT_EQ(options.m_nBitonalCompressions, 0x4DDU);
  EXPECT_EQ(options.m_nContinuousCompressions, 0x707U);
  EXPECT_EQ(options.m_nIndexedCompressions, 0x40DU);
}

TEST(OptimizerOptions, SingleCompressionStandsForASet)
{
  struct TCase
  {
    unsigned m_nGiven;
    unsigned m_nBitonal;
    unsigned m_nBitonalAnswer;
    unsigned m_nContinuous;
    unsigned m_nContinuousAnswer;
  };
  const TCase cases[] = {
      {0, 0x001, 0, 0x001, 0}, {1, 0, 10, 0x002, 1},     {2, 0x004, 2, 0x004, 2}, {3, 0x008, 3, 0, 10},
      {4, 0x010, 4, 0, 10},    {5, 0, 10, 0, 10},        {6, 0x040, 6, 0, 10},    {7, 0x080, 7, 0, 10},
      {8, 0, 10, 0x100, 8},    {9, 0, 10, 0x002, 1},     {10, 0, 10, 0, 10},      {11, 0, 10, 0, 10},
      {12, 0, 10, 0, 10},      {34, 0x004, 2, 0x004, 2},
  };
  for (const TCase& c : cases)
  {
    TOptimizerOptions options;
    options.SetBitonalCompression(c.m_nGiven);
    options.SetContinuousCompression(c.m_nGiven);
    EXPECT_EQ(options.m_nBitonalCompressions, c.m_nBitonal) << c.m_nGiven;
    EXPECT_EQ(options.GetBitonalCompression(), c.m_nBitonalAnswer) << c.m_nGiven;
    EXPECT_EQ(options.m_nContinuousCompressions, c.m_nContinuous) << c.m_nGiven;
    EXPECT_EQ(options.GetContinuousCompression(), c.m_nContinuousAnswer) << c.m_nGiven;
  }
}

TEST(OptimizerOptions, SingleCompressionOfASetIsItsLowestFlagUnlessItKeepsOrSplits)
{
  TOptimizerOptions options;
  for (const auto& [nSet, nAnswer] : std::map<unsigned, unsigned>{
           {0x0C0, 6}, {0x00C, 2}, {0x4C0, 10}, {0x400, 10}, {0x200, 10}, {0x106, 1}})
  {
    options.m_nBitonalCompressions = options.m_nContinuousCompressions = nSet;
    EXPECT_EQ(options.GetBitonalCompression(), nAnswer) << nSet;
    EXPECT_EQ(options.GetContinuousCompression(), nAnswer) << nSet;
  }
}

TEST(OptimizerOptions, EncodingsRaiseTheTargetVersion)
{
  using CVersion = std::pair<unsigned, unsigned>;
  struct TCase
  {
    const char* m_szBefore;
    unsigned m_nBitonal;
    unsigned m_nContinuous;
    CVersion m_after;
  };
  const TCase cases[] = {
      {nullptr, 0x440, 0x206, {0, 0}}, {nullptr, 0x080, 0, {1, 4}},   {nullptr, 0, 0x100, {1, 5}},
      {nullptr, 0x080, 0x100, {1, 5}}, {"1.3", 0x080, 0, {1, 4}},     {"1.4", 0x080, 0, {1, 4}},
      {"1.4", 0, 0x100, {1, 5}},       {"1.7", 0x080, 0x100, {1, 7}}, {"2.0", 0x080, 0x100, {2, 0}},
      {"0.9", 0x080, 0, {1, 4}},
  };
  for (const TCase& c : cases)
  {
    TOptimizerOptions options;
    if (c.m_szBefore != nullptr)
    {
      EXPECT_TRUE(options.SetVersion(c.m_szBefore));
    }
    options.SetBitonalCompressions(c.m_nBitonal);
    options.SetContinuousCompressions(c.m_nContinuous);
    EXPECT_EQ(CVersion(options.m_nVersionMajor, options.m_nVersionMinor), c.m_after)
        << (c.m_szBefore != nullptr ? c.m_szBefore : "unset") << " " << c.m_nBitonal << " "
        << c.m_nContinuous;
    EXPECT_EQ(options.m_bVersionSet, c.m_after.first != 0);
  }
  TOptimizerOptions options;
  options.SetContinuousCompression(eCompressionJPEG2000);
  EXPECT_EQ(options.m_nVersionMinor, 5U);
  EXPECT_FALSE(options.m_bVersionRaisedOnly);
  // A lower bound stays one.
  EXPECT_TRUE(options.SetMinimumVersion(1, 3));
  options.SetBitonalCompressions(eCompressionFlagJBIG2);
  EXPECT_EQ(options.m_nVersionMinor, 4U);
  EXPECT_TRUE(options.m_bVersionRaisedOnly);
}

TEST(OptimizerOptions, VersionNeedsTwoNumbers)
{
  for (const char* szText : {"1.7", "1.7x", " 1. 7", "01.07"})
  {
    TOptimizerOptions options;
    EXPECT_TRUE(options.SetVersion(szText)) << szText;
    EXPECT_EQ(options.m_nVersionMajor, 1U) << szText;
    EXPECT_EQ(options.m_nVersionMinor, 7U) << szText;
  }
  for (const char* szText : {"", "1", "1.", ".7", "1 .7", "x", "1,7", "-1.7", "99999999999.1"})
  {
    TOptimizerOptions options;
    EXPECT_FALSE(options.SetVersion(szText)) << szText;
    EXPECT_FALSE(options.m_bVersionSet) << szText;
  }
  TOptimizerOptions options;
  EXPECT_FALSE(options.SetVersion(nullptr));
}

}  // namespace
}  // namespace PDF
