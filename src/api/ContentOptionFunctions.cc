// Options of colour, mixed raster content, features, fonts, structure and encryption.

#include "api/OptionAccess.h"

using API::Apply;
using API::GetDPI;
using API::GetFlag;
using API::GetNumber;
using API::SetDPI;
using API::SetFlag;
using API::SetNumber;
using PDF::TOptimizerOptions;

int BrevexGetColorConversion(TBrevexHandle* pHandle)
{
  return static_cast<int>(GetNumber(pHandle, &TOptimizerOptions::m_nColorConversion));
}

void BrevexSetColorConversion(TBrevexHandle* pHandle, int nValue)
{
  SetNumber(pHandle, &TOptimizerOptions::m_nColorConversion, static_cast<unsigned>(nValue));
}

int BrevexGetDitheringMode(TBrevexHandle* pHandle)
{
  return static_cast<int>(GetNumber(pHandle, &TOptimizerOptions::m_nDitheringMode));
}

void BrevexSetDitheringMode(TBrevexHandle* pHandle, int nValue)
{
  Apply(pHandle, &TOptimizerOptions::SetDitheringMode, static_cast<unsigned>(nValue));
}

int BrevexGetClipImages(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bClipImages);
}

void BrevexSetClipImages(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bClipImages, bValue);
}

int BrevexGetRemoveImages(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bRemoveImages);
}

void BrevexSetRemoveImages(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bRemoveImages, bValue);
}

int BrevexGetReduceColorComplexity(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bReduceColorComplexity);
}

void BrevexSetReduceColorComplexity(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bReduceColorComplexity, bValue);
}

int BrevexGetMrcMaskCompression(TBrevexHandle* pHandle)
{
  return static_cast<int>(GetNumber(pHandle, &TOptimizerOptions::m_nMrcMaskCompression));
}

void BrevexSetMrcMaskCompression(TBrevexHandle* pHandle, int nCompression)
{
  Apply(pHandle, &TOptimizerOptions::SetMrcMaskCompression, static_cast<unsigned>(nCompression));
}

int BrevexGetMrcLayerCompression(TBrevexHandle* pHandle)
{
  return static_cast<int>(GetNumber(pHandle, &TOptimizerOptions::m_nMrcLayerCompression));
}

void BrevexSetMrcLayerCompression(TBrevexHandle* pHandle, int nCompression)
{
  Apply(pHandle, &TOptimizerOptions::SetMrcLayerCompression, static_cast<unsigned>(nCompression));
}

int BrevexGetMrcLayerQuality(TBrevexHandle* pHandle)
{
  return GetNumber(pHandle, &TOptimizerOptions::m_nMrcLayerQuality);
}

void BrevexSetMrcLayerQuality(TBrevexHandle* pHandle, int nValue)
{
  SetNumber(pHandle, &TOptimizerOptions::m_nMrcLayerQuality, nValue);
}

float BrevexGetMrcLayerResolutionDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dMrcLayerResolution);
}

void BrevexSetMrcLayerResolutionDPI(TBrevexHandle* pHandle, float dValue)
{
  SetDPI(pHandle, &TOptimizerOptions::m_dMrcLayerResolution, dValue);
}

int BrevexGetMrcPictCompression(TBrevexHandle* pHandle)
{
  return static_cast<int>(GetNumber(pHandle, &TOptimizerOptions::m_nMrcPictCompression));
}

void BrevexSetMrcPictCompression(TBrevexHandle* pHandle, int nCompression)
{
  Apply(pHandle, &TOptimizerOptions::SetMrcPictCompression, static_cast<unsigned>(nCompression));
}

int BrevexGetMrcRecognizePictures(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bMrcRecognizePictures);
}

void BrevexSetMrcRecognizePictures(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bMrcRecognizePictures, bValue);
}

unsigned BrevexGetStrip(TBrevexHandle* pHandle)
{
  return GetNumber(pHandle, &TOptimizerOptions::m_nStrip);
}

void BrevexSetStrip(TBrevexHandle* pHandle, unsigned nFlags)
{
  SetNumber(pHandle, &TOptimizerOptions::m_nStrip, nFlags);
}

int BrevexGetFlattenSignatureFields(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bFlattenSignatureFields);
}

void BrevexSetFlattenSignatureFields(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bFlattenSignatureFields, bValue);
}

int BrevexGetRemoveStandardFonts(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bRemoveStandardFonts);
}

void BrevexSetRemoveStandardFonts(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bRemoveStandardFonts, bValue);
}

int BrevexGetRemoveNonSymbolicFonts(TBrevexHandle*)
{
  return 0;
}

void BrevexSetRemoveNonSymbolicFonts(TBrevexHandle*, int) {}

int BrevexGetSubsetFonts(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bSubsetFonts);
}

void BrevexSetSubsetFonts(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bSubsetFonts, bValue);
}

int BrevexGetMergeEmbeddedFonts(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bMergeEmbeddedFonts);
}

void BrevexSetMergeEmbeddedFonts(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bMergeEmbeddedFonts, bValue);
}

int BrevexGetConvertToCFF(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bConvertToCFF);
}

void BrevexSetConvertToCFF(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bConvertToCFF, bValue);
}

int BrevexGetRemoveRedundantObjects(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bRemoveRedundantObjects);
}

void BrevexSetRemoveRedundantObjects(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bRemoveRedundantObjects, bValue);
}

int BrevexGetOptimizeResources(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bOptimizeResources);
}

void BrevexSetOptimizeResources(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bOptimizeResources, bValue);
}

int BrevexGetMergeEqualObjects(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bMergeEqualObjects);
}

void BrevexSetMergeEqualObjects(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bMergeEqualObjects, bValue);
}

int BrevexGetRecompressStreams(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bRecompressStreams);
}

void BrevexSetRecompressStreams(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bRecompressStreams, bValue);
}

int BrevexGetEffort(TBrevexHandle* pHandle)
{
  return GetNumber(pHandle, &TOptimizerOptions::m_nEffort);
}

void BrevexSetEffort(TBrevexHandle* pHandle, int nValue)
{
  Apply(pHandle, &TOptimizerOptions::SetEffort, nValue);
}

int BrevexGetLinearize(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bLinearize);
}

void BrevexSetLinearize(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bLinearize, bValue);
}

int BrevexGetAutoLinearize(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bAutoLinearize);
}

void BrevexSetAutoLinearize(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bAutoLinearize, bValue);
}

int BrevexGetLenientOpening(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bLenientOpening);
}

void BrevexSetLenientOpening(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bLenientOpening, bValue);
}

int BrevexGetOutputCipher(TBrevexHandle* pHandle)
{
  return static_cast<int>(GetNumber(pHandle, &TOptimizerOptions::m_nOutputCipher));
}

void BrevexSetOutputCipher(TBrevexHandle* pHandle, int nCipher)
{
  Apply(pHandle, &TOptimizerOptions::SetOutputCipher, static_cast<unsigned>(nCipher));
}

int BrevexGetExtractImages(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bExtractImages);
}

void BrevexSetExtractImages(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bExtractImages, bValue);
}

int BrevexGetExtractFonts(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bExtractFonts);
}

void BrevexSetExtractFonts(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bExtractFonts, bValue);
}
