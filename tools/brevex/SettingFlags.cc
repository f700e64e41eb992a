#include "SettingFlags.h"

namespace Tool
{
namespace
{

constexpr const char* g_szResolution = "Image resolution";
constexpr const char* g_szCompression = "Image compression";
constexpr const char* g_szImages = "Images and colour";
constexpr const char* g_szMrc = "Mixed raster content";
constexpr const char* g_szFeatures = "Features";
constexpr const char* g_szFonts = "Fonts";
constexpr const char* g_szStructure = "Objects and structure";

constexpr unsigned g_nAll = 0xFFFFFFFF;
constexpr unsigned g_nBitonal = 0x4DD;
constexpr unsigned g_nContinuous = 0x707;
constexpr unsigned g_nIndexed = 0x40D;

constexpr unsigned Bit(int nValue)
{
  return 1U << nValue;
}
constexpr unsigned g_nBitonalNumbers = (g_nBitonal & 0x1FF) | Bit(BREVEX_COMPRESSION_UNSPECIFIED);
constexpr unsigned g_nContinuousNumbers = (g_nContinuous & 0x1FF) | Bit(BREVEX_COMPRESSION_UNSPECIFIED);
constexpr unsigned g_nMaskNumbers = Bit(BREVEX_COMPRESSION_RAW) | Bit(BREVEX_COMPRESSION_FLATE) |
                                    Bit(BREVEX_COMPRESSION_LZW) | Bit(BREVEX_COMPRESSION_GROUP3_1D) |
                                    Bit(BREVEX_COMPRESSION_GROUP3) | Bit(BREVEX_COMPRESSION_GROUP4) |
                                    Bit(BREVEX_COMPRESSION_JBIG2);
constexpr unsigned g_nLayerNumbers = Bit(BREVEX_COMPRESSION_RAW) | Bit(BREVEX_COMPRESSION_JPEG) |
                                     Bit(BREVEX_COMPRESSION_FLATE) | Bit(BREVEX_COMPRESSION_LZW) |
                                     Bit(BREVEX_COMPRESSION_JPEG2000);

// Who asks for it wants it, whatever a profile would decide.
void SetLinearize(TBrevexHandle* pHandle, int bLinearize)
{
  BrevexSetLinearize(pHandle, bLinearize);
  if (bLinearize != 0)
  {
    BrevexSetAutoLinearize(pHandle, 0);
  }
}

const TSettingFlag g_flags[] = {
#include "SettingFlags.inc"
};

}  // namespace

std::span<const TSettingFlag> GetSettingFlags()
{
  return g_flags;
}

}  // namespace Tool
