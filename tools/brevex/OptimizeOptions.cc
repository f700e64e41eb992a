#include "OptimizeOptions.h"

namespace Tool
{
namespace
{

// Every reduction that changes no sample, glyph or feature: the profile for archives less what it may lose.
// Images are left to the passes that encode them anew without a change, which the sets of compressions are
// not about: those also bring samples, colours and arrays of values into another form.
void SetLossless(TBrevexHandle* pHandle)
{
  BrevexSetProfile(pHandle, BREVEX_PROFILE_ARCHIVE);
  BrevexSetBitonalCompressions(pHandle, 0);
  BrevexSetContinuousCompressions(pHandle, 0);
  BrevexSetIndexedCompressions(pHandle, 0);
  BrevexSetClipImages(pHandle, 0);
  BrevexSetReduceColorComplexity(pHandle, 0);
  BrevexSetStrip(pHandle, 0);
}

bool IsSmallest(unsigned nProfile)
{
  return nProfile == g_nProfileLossless || nProfile == BREVEX_PROFILE_WEB || nProfile == BREVEX_PROFILE_MAX ||
         nProfile == BREVEX_PROFILE_ARCHIVE;
}

}  // namespace

void ApplyOptions(TBrevexHandle* pHandle, const TOptimizeOptions& options)
{
  if (options.nProfile == g_nProfileLossless)
  {
    SetLossless(pHandle);
  }
  else
  {
    BrevexSetProfile(pHandle, options.nProfile);
  }
  // A signature cannot hold for a file that is written anew. What it shows belongs to the page, and stays.
  BrevexSetFlattenSignedFields(pHandle, 1);
  BrevexSetLenientOpening(pHandle, 1);
  BrevexSetLinearizeObjectStreams(pHandle, 1);
  if (IsSmallest(options.nProfile))
  {
    BrevexSetMergeEqualObjects(pHandle, 1);
    BrevexSetRecompressStreams(pHandle, 1);
    BrevexSetRecodeJPEG(pHandle, 1);
    BrevexSetRecodeBitonal(pHandle, 1);
    BrevexSetRecodeSamples(pHandle, 1);
  }
  if (options.nProfile == BREVEX_PROFILE_MAX)
  {
    BrevexSetEffort(pHandle, 9);
  }
  for (const auto& setting : options.settings)
  {
    setting(pHandle);
  }
}

std::vector<std::string> GetLosses(TBrevexHandle* pHandle)
{
  std::vector<std::string> losses;
  for (const std::string& sName : GetNamesOfSet(GetStripNames(), BrevexGetStrip(pHandle)))
  {
    losses.push_back("strip-" + sName);
  }
  return losses;
}

}  // namespace Tool
