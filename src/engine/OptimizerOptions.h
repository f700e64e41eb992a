#pragma once

#include "document/OutputCipher.h"
#include "engine/Compression.h"

namespace PDF
{

// Features that a save leaves out, in m_nStrip.
enum TStripFlag : unsigned
{
  eStripThreads = 0x001,
  eStripMetadata = 0x002,
  eStripPieceInfo = 0x004,
  eStripStructure = 0x008,
  eStripThumbnails = 0x010,
  eStripSpider = 0x020,
  eStripAlternates = 0x040,
  eStripForms = 0x080,
  eStripLinks = 0x100,
  eStripAnnots = 0x200,
  eStripOutputIntents = 0x400,
  eStripHiddenAnnots = 0x800
};

// Values of m_nColorConversion.
enum TColorConversion : unsigned
{
  eColorConversionNone = 0,
  eColorConversionRGB = 1,
  eColorConversionCMYK = 2,
  eColorConversionGray = 3
};

// Arguments of TOptimizerOptions::SetProfile.
enum TProfile : unsigned
{
  eProfileNone = 0,
  eProfileWeb = 1,
  eProfilePrint = 2,
  eProfileMax = 3,
  eProfileMRC = 4,
  eProfileArchive = 5,
  eProfileMergeFonts = 128
};

// What a caller can choose about a save. The passes read the fields. Fields without a rule are written
// directly, those with a rule through the operations; the initial values are those of the profile 0.
struct TOptimizerOptions
{
  // Resets every field down to m_nEffort to its initial value, then sets what the profile says. A number
  // without a profile only resets. The fields behind m_nEffort are left alone.
  void SetProfile(unsigned nProfile);

  // Clamped to 0 to 100.
  void SetImageQuality(int nQuality);

  // 0 or 1; other values are ignored.
  void SetDitheringMode(unsigned nMode);

  // Sets of TCompressionFlag; flags that the set does not know are dropped. With JBIG2 among the
  // bitonal ones the target version becomes 1.4, with JPEG 2000 among the continuous ones 1.5, unless it was
  // set to at least that; also where the input has a higher one, unless the target is a lower bound.
  void SetBitonalCompressions(unsigned nFlags);
  void SetContinuousCompressions(unsigned nFlags);
  void SetIndexedCompressions(unsigned nFlags);

  // The sets named by one TCompression: Unspecified and Invalid for the empty set, MRC for JPEG. Then as
  // above.
  void SetBitonalCompression(unsigned nCompression);
  void SetContinuousCompression(unsigned nCompression);

  // The number of the lowest flag; eCompressionUnspecified for an empty set and one with the MRC or the keep
  // flag.
  unsigned GetBitonalCompression() const;
  unsigned GetContinuousCompression() const;

  // The mask takes eCompressionRaw and eCompressionFlate to eCompressionJBIG2; layers and pictures take Raw,
  // JPEG, Flate, LZW and JPEG2000. Other numbers are ignored.
  void SetMrcMaskCompression(unsigned nCompression);
  void SetMrcLayerCompression(unsigned nCompression);
  void SetMrcPictCompression(unsigned nCompression);

  // Bitonal, monochrome and colour at once.
  void SetResolution(double dResolution);
  void SetThreshold(double dThreshold);

  // The target version from a text such as "1.7": two numbers with a point between, what follows is ignored.
  // Blanks may stand before a number. False, and nothing changes, for any other text.
  bool SetVersion(const char* szVersion);

  // A lower bound in its place, raised no further than an archival claim of the input allows. False, and
  // nothing changes, for numbers that make no version of PDF.
  bool SetMinimumVersion(int nMajor, int nMinor);

  // A TOutputCipher; other numbers are ignored.
  void SetOutputCipher(unsigned nCipher);

  // Clamped to 1 to 9.
  void SetEffort(int nEffort);

  // Dots per inch as the image stands on its page. Downsampling starts at the threshold, a negative one means
  // never.
  double m_dBitonalResolution = 200;
  double m_dBitonalThreshold = -1;
  double m_dMonochromeResolution = 150;
  double m_dMonochromeThreshold = -1;
  double m_dColorResolution = 150;
  double m_dColorThreshold = -1;

  int m_nImageQuality = 75;                // 0 to 100
  unsigned m_nBitonalCompressions = 0;     // TCompressionFlag
  unsigned m_nContinuousCompressions = 0;  // TCompressionFlag
  unsigned m_nIndexedCompressions = 0;     // TCompressionFlag
  bool m_bForceRecompression = false;      // accept a result that is larger
  bool m_bForceCompressionTypes = false;   // the same for images whose compression is not in their set
  bool m_bImageStratConserv = false;       // try nothing on images that need no other change
  unsigned m_nColorConversion = eColorConversionNone;
  unsigned m_nDitheringMode = 0;  // 0 threshold, 1 error diffusion
  bool m_bClipImages = false;
  bool m_bRemoveImages = false;
  bool m_bReduceColorComplexity = false;

  unsigned m_nMrcMaskCompression = eCompressionGroup4;
  unsigned m_nMrcLayerCompression = eCompressionJPEG2000;
  int m_nMrcLayerQuality = 20;
  double m_dMrcLayerResolution = 70;  // dots per inch
  unsigned m_nMrcPictCompression = eCompressionJPEG;
  bool m_bMrcRecognizePictures = true;

  unsigned m_nStrip = 0;  // TStripFlag
  bool m_bFlattenSignatureFields = false;
  bool m_bRemoveStandardFonts = false;
  bool m_bSubsetFonts = false;
  bool m_bMergeEmbeddedFonts = false;
  bool m_bMergeFonts = false;  // whole fonts, not only their programs; no setter
  bool m_bConvertToType1 = false;
  bool m_bConvertToCFF = false;
  bool m_bRemoveRedundantObjects = false;
  bool m_bOptimizeResources = false;
  bool m_bLinearize = false;
  bool m_bAutoLinearize = false;

  // Off in every profile.
  bool m_bMergeEqualObjects = false;  // merge equal objects of every kind, after m_bRemoveRedundantObjects
  bool m_bRecompressStreams = false;  // encode lossless streams anew where that is smaller
  int m_nEffort = 6;                  // of m_bRecompressStreams: 1 (fast) to 9 (small)

  unsigned m_nOutputCipher = eCipherUnspecified;  // TOutputCipher

  // Of the next open: also files without a header, without a trailer, or whose trailer names no catalogue, where
  // a catalogue or pages are found.
  bool m_bLenientOpening = false;

  bool m_bExtractImages = false;
  bool m_bExtractFonts = false;

  // The outer filter put around every JPEG candidate; eCompressionUnspecified for none.
  unsigned m_nFallbackCompression = eCompressionFlate;

  // Raised by the font edits.
  bool m_bRenameFonts = false;
  bool m_bUnembedFonts = false;
  bool m_bEmbedFonts = false;

  // The version of the output, used by the next open. Not set: that of the input. Raised only: an input
  // of a higher one keeps its own. Within the claim: an input
  // that claims PDF/A is raised no further than its part allows.
  bool m_bVersionSet = false;
  bool m_bVersionRaisedOnly = false;
  bool m_bVersionWithinClaim = false;
  unsigned m_nVersionMajor = 0;
  unsigned m_nVersionMinor = 0;
};

}  // namespace PDF
