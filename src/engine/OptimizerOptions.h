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

// Values of m_nDitheringMode: how images are reduced to one bit.
enum TDitheringMode : unsigned
{
  eDitheringThreshold = 0,
  eDitheringErrorDiffusion = 1
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
  // Resets every field to its initial value but those that the table of options keeps, then sets what the
  // profile says. A number without a profile only resets.
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
  // Blanks may be before a number. False, and nothing changes, for any other text.
  bool SetVersion(const char* szVersion);

  // A lower bound in its place, raised no further than an archival claim of the input allows. False, and
  // nothing changes, for numbers that make no version of PDF.
  bool SetMinimumVersion(int nMajor, int nMinor);

  // A TOutputCipher; other numbers are ignored.
  void SetOutputCipher(unsigned nCipher);

  // Clamped to 1 to 9.
  void SetEffort(int nEffort);

  // One row of the table of options each; sets hold flags of the enumeration that is named.
#include "engine/OptimizerOptionFields.inc"
};

}  // namespace PDF
