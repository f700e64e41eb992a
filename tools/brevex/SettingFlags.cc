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
    {"resolution", g_szResolution, "Resolution of all kinds of images after downsampling", TEffect::None,
     TDpiSetting{BrevexSetResolutionDPI, false}},
    {"threshold", g_szResolution, "Downsample all kinds of images from this resolution on; -1 for never",
     TEffect::None, TDpiSetting{BrevexSetThresholdDPI, true}},
    {"bitonal-resolution", g_szResolution, "Resolution of images with one bit per sample", TEffect::None,
     TDpiSetting{BrevexSetBitonalResolutionDPI, false}},
    {"bitonal-threshold", g_szResolution, "Threshold of images with one bit per sample", TEffect::None,
     TDpiSetting{BrevexSetBitonalThresholdDPI, true}},
    {"monochrome-resolution", g_szResolution, "Resolution of images with one colour channel", TEffect::None,
     TDpiSetting{BrevexSetMonochromeResolutionDPI, false}},
    {"monochrome-threshold", g_szResolution, "Threshold of images with one colour channel", TEffect::None,
     TDpiSetting{BrevexSetMonochromeThresholdDPI, true}},
    {"color-resolution", g_szResolution, "Resolution of images with several colour channels", TEffect::None,
     TDpiSetting{BrevexSetColorResolutionDPI, false}},
    {"color-threshold", g_szResolution, "Threshold of images with several colour channels", TEffect::None,
     TDpiSetting{BrevexSetColorThresholdDPI, true}},

    {"image-quality", g_szCompression, "Quality of lossy compressions, 0 (small) to 100 (good)",
     TEffect::None, TRangeSetting{BrevexSetImageQuality, 0, 100}},
    {"bitonal-compressions", g_szCompression, "Compressions to try for images with one bit per sample",
     TEffect::Version, TSetSetting{BrevexSetBitonalCompressions, GetCompressionFlagNames, g_nBitonal}},
    {"continuous-compressions", g_szCompression, "Compressions to try for images of continuous tone",
     TEffect::Version, TSetSetting{BrevexSetContinuousCompressions, GetCompressionFlagNames, g_nContinuous}},
    {"indexed-compressions", g_szCompression, "Compressions to try for images with a palette", TEffect::None,
     TSetSetting{BrevexSetIndexedCompressions, GetCompressionFlagNames, g_nIndexed}},
    {"bitonal-compression", g_szCompression, "One compression in place of --bitonal-compressions",
     TEffect::Version, TNameSetting{BrevexSetBitonalCompression, GetCompressionNames, g_nBitonalNumbers}},
    {"monochrome-compression", g_szCompression, "One compression in place of --continuous-compressions",
     TEffect::Version,
     TNameSetting{BrevexSetMonochromeCompression, GetCompressionNames, g_nContinuousNumbers}},
    {"color-compression", g_szCompression, "The same as --monochrome-compression", TEffect::Version,
     TNameSetting{BrevexSetColorCompression, GetCompressionNames, g_nContinuousNumbers}},
    {"force-recompression", g_szCompression, "Compress images anew even if they grow", TEffect::Content,
     TBoolSetting{BrevexSetForceRecompression}},
    {"force-compression-types", g_szCompression,
     "Give every image a compression of its set, even if it grows", TEffect::Content,
     TBoolSetting{BrevexSetForceCompressionTypes}},
    {"image-strat-conserv", g_szCompression, "Leave images alone that need no change but compression",
     TEffect::None, TBoolSetting{BrevexSetImageStratConserv}},

    {"color-conversion", g_szImages, "Colour space to convert to", TEffect::Content,
     TNameSetting{BrevexSetColorConversion, GetColorConversionNames, g_nAll}},
    {"dithering-mode", g_szImages, "How images are reduced to one bit", TEffect::None,
     TNameSetting{BrevexSetDitheringMode, GetDitheringNames, g_nAll}},
    {"clip-images", g_szImages, "Cut away parts of images that are never visible", TEffect::None,
     TBoolSetting{BrevexSetClipImages}},
    {"remove-images", g_szImages, "Remove all images", TEffect::Content, TBoolSetting{BrevexSetRemoveImages}},
    {"reduce-color-complexity", g_szImages, "Store colours in simpler colour spaces where they fit",
     TEffect::None, TBoolSetting{BrevexSetReduceColorComplexity}},

    {"mrc-mask-compression", g_szMrc, "Compression of the mask", TEffect::None,
     TNameSetting{BrevexSetMrcMaskCompression, GetCompressionNames, g_nMaskNumbers}},
    {"mrc-layer-compression", g_szMrc, "Compression of the layers", TEffect::None,
     TNameSetting{BrevexSetMrcLayerCompression, GetCompressionNames, g_nLayerNumbers}},
    {"mrc-layer-quality", g_szMrc, "Quality of the layers, 0 to 100", TEffect::None,
     TRangeSetting{BrevexSetMrcLayerQuality, 0, 100}},
    {"mrc-layer-resolution", g_szMrc, "Resolution of the layers", TEffect::None,
     TDpiSetting{BrevexSetMrcLayerResolutionDPI, false}},
    {"mrc-pict-compression", g_szMrc, "Compression of pictures found on the page", TEffect::None,
     TNameSetting{BrevexSetMrcPictCompression, GetCompressionNames, g_nLayerNumbers}},
    {"mrc-recognize-pictures", g_szMrc, "Find pictures on the page and cut them out", TEffect::None,
     TBoolSetting{BrevexSetMrcRecognizePictures}},

    {"strip", g_szFeatures, "Features to remove, in place of those of the profile", TEffect::Content,
     TSetSetting{BrevexSetStrip, GetStripNames, g_nAll}},
    {"flatten-signature-fields", g_szFeatures, "Remove signature fields, keep what they show (the default)",
     TEffect::Content, TBoolSetting{BrevexSetFlattenSignatureFields}},

    {"remove-standard-fonts", g_szFonts, "Replace fonts that match a standard font by it, not embedded",
     TEffect::None, TBoolSetting{BrevexSetRemoveStandardFonts}},
    {"remove-non-symbolic-fonts", g_szFonts, "Without effect, for callers of old", TEffect::None,
     TBoolSetting{BrevexSetRemoveNonSymbolicFonts}},
    {"subset-fonts", g_szFonts, "Reduce embedded fonts to the glyphs that are used", TEffect::None,
     TBoolSetting{BrevexSetSubsetFonts}},
    {"merge-embedded-fonts", g_szFonts, "Merge embedded programs of the same font", TEffect::None,
     TBoolSetting{BrevexSetMergeEmbeddedFonts}},
    {"convert-to-cff", g_szFonts, "Convert Type 1 font programs to the compact font format", TEffect::None,
     TBoolSetting{BrevexSetConvertToCFF}},

    {"lenient-opening", g_szStructure,
     "Open files without a header, trailer or catalogue where pages are found (the default)", TEffect::None,
     TBoolSetting{BrevexSetLenientOpening}},
    {"remove-redundant-objects", g_szStructure, "Merge equal objects", TEffect::None,
     TBoolSetting{BrevexSetRemoveRedundantObjects}},
    {"merge-equal", g_szStructure, "Merge equal objects of every kind that a reader cannot tell apart",
     TEffect::None, TBoolSetting{BrevexSetMergeEqualObjects}},
    {"recompress-streams", g_szStructure, "Compress streams anew where that makes them smaller",
     TEffect::None, TBoolSetting{BrevexSetRecompressStreams}},
    {"effort", g_szStructure, "How hard to try with --recompress-streams, 1 (fast) to 9 (small)",
     TEffect::None, TRangeSetting{BrevexSetEffort, 1, 9}},
    {"optimize-resources", g_szStructure, "Drop resources that pages do not use", TEffect::None,
     TBoolSetting{BrevexSetOptimizeResources}},
    {"auto-linearize", g_szStructure,
     "Order the file for fast first display over a network unless that would enlarge it much",
     TEffect::Content, TBoolSetting{BrevexSetAutoLinearize}},
    {"linearize", g_szStructure, "The same in any case", TEffect::Content, TBoolSetting{SetLinearize}},
    {"extract-images", g_szStructure, "Also write the images to files in the working folder", TEffect::None,
     TBoolSetting{BrevexSetExtractImages}},
    {"extract-fonts", g_szStructure, "Also write the embedded fonts to files in the working folder",
     TEffect::None, TBoolSetting{BrevexSetExtractFonts}},
};

}  // namespace

std::span<const TSettingFlag> GetSettingFlags()
{
  return g_flags;
}

}  // namespace Tool
