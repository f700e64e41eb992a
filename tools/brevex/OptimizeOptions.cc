#include "OptimizeOptions.h"

namespace Tool
{
namespace
{

// Every reduction that changes no sample, glyph or feature: the profile for archives less what it may lose.
// The sets for images that may be stored with loss lack KEEP, with which an image would be encoded anew in
// the compression it has. A profile sets no target version, as the setter of the bitonal set would do.
void SetLossless(TBrevexHandle* pHandle)
{
  BrevexSetProfile(pHandle, BREVEX_PROFILE_ARCHIVE);
  BrevexSetContinuousCompressions(pHandle, BREVEX_COMPRESSION_FLAG_FLATE);
  BrevexSetIndexedCompressions(pHandle, BREVEX_COMPRESSION_FLAG_FLATE);
  BrevexSetClipImages(pHandle, 0);
  BrevexSetReduceColorComplexity(pHandle, 0);
  BrevexSetConvertToCFF(pHandle, 0);
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
  if (IsSmallest(options.nProfile))
  {
    BrevexSetMergeEqualObjects(pHandle, 1);
    BrevexSetRecompressStreams(pHandle, 1);
    BrevexSetRecodeJPEG(pHandle, 1);
    BrevexSetRecodeBitonal(pHandle, 1);
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
