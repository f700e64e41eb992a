#include "engine/OptimizerOptions.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>

namespace PDF
{
namespace
{

constexpr unsigned g_nBitonalMask = eCompressionFlagRaw | eCompressionFlagFlate | eCompressionFlagLZW |
                                    eCompressionFlagGroup31D | eCompressionFlagGroup4 |
                                    eCompressionFlagJBIG2 | eCompressionFlagKeep;
constexpr unsigned g_nContinuousMask = eCompressionFlagRaw | eCompressionFlagJPEG | eCompressionFlagFlate |
                                       eCompressionFlagJPEG2000 | eCompressionFlagMRC | eCompressionFlagKeep;
constexpr unsigned g_nIndexedMask =
    eCompressionFlagRaw | eCompressionFlagFlate | eCompressionFlagLZW | eCompressionFlagKeep;

constexpr unsigned g_nMrcMaskSet = eCompressionFlagRaw | eCompressionFlagFlate | eCompressionFlagLZW |
                                   eCompressionFlagGroup31D | eCompressionFlagGroup3 |
                                   eCompressionFlagGroup4 | eCompressionFlagJBIG2;
constexpr unsigned g_nMrcLayerSet = eCompressionFlagRaw | eCompressionFlagJPEG | eCompressionFlagFlate |
                                    eCompressionFlagLZW | eCompressionFlagJPEG2000;

constexpr unsigned g_nKeepSmallest = eCompressionFlagKeep | eCompressionFlagFlate;
constexpr unsigned g_nKeepOrJPEG = g_nKeepSmallest | eCompressionFlagJPEG;
constexpr unsigned g_nKeepOrGroup4 = eCompressionFlagKeep | eCompressionFlagGroup4;

constexpr unsigned g_nStripPrivate =
    eStripThreads | eStripPieceInfo | eStripStructure | eStripThumbnails | eStripSpider;

bool IsMember(unsigned nCompression, unsigned nSet)
{
  return nCompression <= eCompressionJPEG2000 && (nSet >> nCompression & 1U) != 0;
}

unsigned FlagsOf(unsigned nCompression)
{
  if (nCompression == eCompressionUnspecified || nCompression == eCompressionInvalid)
    return 0;
  if (nCompression == eCompressionMRC)
    return eCompressionFlagJPEG;
  return 1U << (nCompression & 31U);
}

unsigned LowestNumber(unsigned nFlags)
{
  if (nFlags == 0 || nFlags >= eCompressionFlagMRC)
    return eCompressionUnspecified;
  return static_cast<unsigned>(std::countr_zero(nFlags));
}

// What most profiles share.
void SetCommon(TOptimizerOptions& options)
{
  options.m_bClipImages = true;
  options.m_bSubsetFonts = true;
  options.m_bMergeEmbeddedFonts = true;
  options.m_bRemoveRedundantObjects = true;
  options.m_bOptimizeResources = true;
}

void SetRecompression(TOptimizerOptions& options)
{
  SetCommon(options);
  options.m_nBitonalCompressions = g_nKeepOrGroup4 | eCompressionFlagJBIG2;
  options.m_nContinuousCompressions = g_nKeepOrJPEG | eCompressionFlagJPEG2000;
  options.m_nIndexedCompressions = g_nKeepSmallest;
  options.m_bReduceColorComplexity = true;
  options.m_bConvertToCFF = true;
}

void SetWeb(TOptimizerOptions& options)
{
  SetRecompression(options);
  options.m_dBitonalThreshold = 280;
  options.m_dMonochromeThreshold = 210;
  options.m_dColorThreshold = 210;
  options.m_nColorConversion = eColorConversionRGB;
  options.m_nStrip = g_nStripPrivate | eStripMetadata | eStripAlternates;
  options.m_bAutoLinearize = true;
}

void SetPrint(TOptimizerOptions& options)
{
  SetRecompression(options);
  options.m_nImageQuality = 80;
  options.m_nBitonalCompressions = g_nKeepOrGroup4;
  options.m_nContinuousCompressions = g_nKeepOrJPEG;
  options.m_nColorConversion = eColorConversionCMYK;
  options.m_nStrip = g_nStripPrivate;
}

void SetMax(TOptimizerOptions& options)
{
  SetRecompression(options);
  options.m_nImageQuality = 70;
  options.m_nIndexedCompressions = g_nKeepSmallest | eCompressionFlagLZW;
  options.m_dBitonalResolution = 160;
  options.m_dBitonalThreshold = 220;
  options.m_dMonochromeResolution = 130;
  options.m_dMonochromeThreshold = 180;
  options.m_dColorResolution = 130;
  options.m_dColorThreshold = 180;
  options.m_nColorConversion = eColorConversionRGB;
  options.m_nStrip =
      g_nStripPrivate | eStripMetadata | eStripAlternates | eStripForms | eStripAnnots | eStripOutputIntents;
  options.m_bRemoveStandardFonts = true;
}

void SetMRC(TOptimizerOptions& options)
{
  SetCommon(options);
  options.m_nContinuousCompressions = eCompressionFlagMRC;
  options.m_nColorConversion = eColorConversionRGB;
  options.m_nStrip = g_nStripPrivate;
}

void SetArchive(TOptimizerOptions& options)
{
  SetRecompression(options);
  options.m_nImageQuality = 80;
  options.m_nStrip = eStripThumbnails | eStripAlternates;
}

void SetMergeFonts(TOptimizerOptions& options)
{
  options.m_bMergeEmbeddedFonts = true;
  options.m_bMergeFonts = true;
}

// The version of the images' encoding, 1.nMinor, becomes the target version unless that is as high. A lower
// bound stays one.
void RaiseVersion(TOptimizerOptions& options, unsigned nMinor)
{
  const unsigned nMajor = options.m_nVersionMajor;
  const bool bEnough = nMajor > 1 || (nMajor == 1 && options.m_nVersionMinor >= nMinor);
  if (options.m_bVersionSet && bEnough)
    return;
  options.m_bVersionSet = true;
  options.m_nVersionMajor = 1;
  options.m_nVersionMinor = nMinor;
}

// Reads a number after blanks and moves after it; null when there is none or it is too large.
const char* ReadNumber(const char* szText, unsigned& nValue)
{
  szText += std::strspn(szText, " \t\n\v\f\r");
  const auto [pEnd, error] = std::from_chars(szText, szText + std::strlen(szText), nValue);
  return error == std::errc() ? pEnd : nullptr;
}

}  // namespace

void TOptimizerOptions::SetProfile(unsigned nProfile)
{
  TOptimizerOptions reset;
#define KEPT(field) reset.field = field;
#include "engine/OptimizerOptionsKept.inc"
#undef KEPT
  *this = reset;

  switch (nProfile)
  {
  case eProfileWeb:
    return SetWeb(*this);
  case eProfilePrint:
    return SetPrint(*this);
  case eProfileMax:
    return SetMax(*this);
  case eProfileMRC:
    return SetMRC(*this);
  case eProfileArchive:
    return SetArchive(*this);
  case eProfileMergeFonts:
    return SetMergeFonts(*this);
  default:
    return;
  }
}

void TOptimizerOptions::SetImageQuality(int nQuality)
{
  m_nImageQuality = std::clamp(nQuality, 0, 100);
}

void TOptimizerOptions::SetDitheringMode(unsigned nMode)
{
  if (nMode <= eDitheringErrorDiffusion)
    m_nDitheringMode = static_cast<TDitheringMode>(nMode);
}

void TOptimizerOptions::SetBitonalCompressions(unsigned nFlags)
{
  m_nBitonalCompressions = nFlags & g_nBitonalMask;
  if ((m_nBitonalCompressions & eCompressionFlagJBIG2) != 0)
    RaiseVersion(*this, 4);
}

void TOptimizerOptions::SetContinuousCompressions(unsigned nFlags)
{
  m_nContinuousCompressions = nFlags & g_nContinuousMask;
  if ((m_nContinuousCompressions & eCompressionFlagJPEG2000) != 0)
    RaiseVersion(*this, 5);
}

void TOptimizerOptions::SetIndexedCompressions(unsigned nFlags)
{
  m_nIndexedCompressions = nFlags & g_nIndexedMask;
}

void TOptimizerOptions::SetBitonalCompression(unsigned nCompression)
{
  SetBitonalCompressions(FlagsOf(nCompression));
}

void TOptimizerOptions::SetContinuousCompression(unsigned nCompression)
{
  SetContinuousCompressions(FlagsOf(nCompression));
}

unsigned TOptimizerOptions::GetBitonalCompression() const
{
  return LowestNumber(m_nBitonalCompressions);
}

unsigned TOptimizerOptions::GetContinuousCompression() const
{
  return LowestNumber(m_nContinuousCompressions);
}

void TOptimizerOptions::SetMrcMaskCompression(unsigned nCompression)
{
  if (IsMember(nCompression, g_nMrcMaskSet))
    m_nMrcMaskCompression = static_cast<TCompression>(nCompression);
}

void TOptimizerOptions::SetMrcLayerCompression(unsigned nCompression)
{
  if (IsMember(nCompression, g_nMrcLayerSet))
    m_nMrcLayerCompression = static_cast<TCompression>(nCompression);
}

void TOptimizerOptions::SetMrcPictCompression(unsigned nCompression)
{
  if (IsMember(nCompression, g_nMrcLayerSet))
    m_nMrcPictCompression = static_cast<TCompression>(nCompression);
}

void TOptimizerOptions::SetResolution(double dResolution)
{
  m_dBitonalResolution = dResolution;
  m_dMonochromeResolution = dResolution;
  m_dColorResolution = dResolution;
}

void TOptimizerOptions::SetThreshold(double dThreshold)
{
  m_dBitonalThreshold = dThreshold;
  m_dMonochromeThreshold = dThreshold;
  m_dColorThreshold = dThreshold;
}

bool TOptimizerOptions::SetVersion(const char* szVersion)
{
  unsigned nMajor = 0;
  unsigned nMinor = 0;
  const char* szRest = szVersion == nullptr ? nullptr : ReadNumber(szVersion, nMajor);
  if (szRest == nullptr || *szRest != '.' || ReadNumber(szRest + 1, nMinor) == nullptr)
    return false;
  m_bVersionSet = true;
  m_bVersionRaisedOnly = false;
  m_bVersionWithinClaim = false;
  m_nVersionMajor = nMajor;
  m_nVersionMinor = nMinor;
  return true;
}

bool TOptimizerOptions::SetMinimumVersion(int nMajor, int nMinor)
{
  if (nMajor < 1 || nMajor > 2 || nMinor < 0 || nMinor > 9)
    return false;
  m_bVersionSet = true;
  m_bVersionRaisedOnly = true;
  m_bVersionWithinClaim = true;
  m_nVersionMajor = static_cast<unsigned>(nMajor);
  m_nVersionMinor = static_cast<unsigned>(nMinor);
  return true;
}

void TOptimizerOptions::SetOutputCipher(unsigned nCipher)
{
  if (nCipher <= eCipherInput)
    m_nOutputCipher = static_cast<TOutputCipher>(nCipher);
}

void TOptimizerOptions::SetEffort(int nEffort)
{
  m_nEffort = std::clamp(nEffort, 1, 9);
}

}  // namespace PDF
