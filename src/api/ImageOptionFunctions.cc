// Profile, and the options of resolution and compression.

#include "api/OptionAccess.h"

using API::Apply;
using API::GetDPI;
using API::GetFlag;
using API::GetNumber;
using API::SetDPI;
using API::SetFlag;
using API::SetNumber;
using PDF::TOptimizerOptions;

namespace
{

int GetChosen(TBrevexHandle* pHandle, unsigned (TOptimizerOptions::*pGetter)() const)
{
  return pHandle != nullptr ? static_cast<int>((pHandle->GetOptimizer().GetOptions().*pGetter)()) : 0;
}

}  // namespace

void BrevexSetProfile(TBrevexHandle* pHandle, unsigned nProfile)
{
  if (pHandle != nullptr)
    pHandle->GetOptimizer().SetProfile(nProfile);
}

float BrevexGetBitonalResolutionDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dBitonalResolution);
}

void BrevexSetBitonalResolutionDPI(TBrevexHandle* pHandle, float dValue)
{
  SetDPI(pHandle, &TOptimizerOptions::m_dBitonalResolution, dValue);
}

float BrevexGetBitonalThresholdDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dBitonalThreshold);
}

void BrevexSetBitonalThresholdDPI(TBrevexHandle* pHandle, float dValue)
{
  SetDPI(pHandle, &TOptimizerOptions::m_dBitonalThreshold, dValue);
}

float BrevexGetMonochromeResolutionDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dMonochromeResolution);
}

void BrevexSetMonochromeResolutionDPI(TBrevexHandle* pHandle, float dValue)
{
  SetDPI(pHandle, &TOptimizerOptions::m_dMonochromeResolution, dValue);
}

float BrevexGetMonochromeThresholdDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dMonochromeThreshold);
}

void BrevexSetMonochromeThresholdDPI(TBrevexHandle* pHandle, float dValue)
{
  SetDPI(pHandle, &TOptimizerOptions::m_dMonochromeThreshold, dValue);
}

float BrevexGetColorResolutionDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dColorResolution);
}

void BrevexSetColorResolutionDPI(TBrevexHandle* pHandle, float dValue)
{
  SetDPI(pHandle, &TOptimizerOptions::m_dColorResolution, dValue);
}

float BrevexGetColorThresholdDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dColorThreshold);
}

void BrevexSetColorThresholdDPI(TBrevexHandle* pHandle, float dValue)
{
  SetDPI(pHandle, &TOptimizerOptions::m_dColorThreshold, dValue);
}

float BrevexGetResolutionDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dColorResolution);
}

void BrevexSetResolutionDPI(TBrevexHandle* pHandle, float dValue)
{
  Apply(pHandle, &TOptimizerOptions::SetResolution, static_cast<double>(dValue));
}

float BrevexGetThresholdDPI(TBrevexHandle* pHandle)
{
  return GetDPI(pHandle, &TOptimizerOptions::m_dColorThreshold);
}

void BrevexSetThresholdDPI(TBrevexHandle* pHandle, float dValue)
{
  Apply(pHandle, &TOptimizerOptions::SetThreshold, static_cast<double>(dValue));
}

int BrevexGetImageQuality(TBrevexHandle* pHandle)
{
  return GetNumber(pHandle, &TOptimizerOptions::m_nImageQuality);
}

void BrevexSetImageQuality(TBrevexHandle* pHandle, int nValue)
{
  Apply(pHandle, &TOptimizerOptions::SetImageQuality, nValue);
}

unsigned BrevexGetBitonalCompressions(TBrevexHandle* pHandle)
{
  return GetNumber(pHandle, &TOptimizerOptions::m_nBitonalCompressions);
}

void BrevexSetBitonalCompressions(TBrevexHandle* pHandle, unsigned nFlags)
{
  Apply(pHandle, &TOptimizerOptions::SetBitonalCompressions, nFlags);
}

unsigned BrevexGetContinuousCompressions(TBrevexHandle* pHandle)
{
  return GetNumber(pHandle, &TOptimizerOptions::m_nContinuousCompressions);
}

void BrevexSetContinuousCompressions(TBrevexHandle* pHandle, unsigned nFlags)
{
  Apply(pHandle, &TOptimizerOptions::SetContinuousCompressions, nFlags);
}

unsigned BrevexGetIndexedCompressions(TBrevexHandle* pHandle)
{
  return GetNumber(pHandle, &TOptimizerOptions::m_nIndexedCompressions);
}

void BrevexSetIndexedCompressions(TBrevexHandle* pHandle, unsigned nFlags)
{
  Apply(pHandle, &TOptimizerOptions::SetIndexedCompressions, nFlags);
}

int BrevexGetBitonalCompression(TBrevexHandle* pHandle)
{
  return GetChosen(pHandle, &TOptimizerOptions::GetBitonalCompression);
}

void BrevexSetBitonalCompression(TBrevexHandle* pHandle, int nCompression)
{
  Apply(pHandle, &TOptimizerOptions::SetBitonalCompression, static_cast<unsigned>(nCompression));
}

int BrevexGetMonochromeCompression(TBrevexHandle* pHandle)
{
  return GetChosen(pHandle, &TOptimizerOptions::GetContinuousCompression);
}

void BrevexSetMonochromeCompression(TBrevexHandle* pHandle, int nCompression)
{
  Apply(pHandle, &TOptimizerOptions::SetContinuousCompression, static_cast<unsigned>(nCompression));
}

int BrevexGetColorCompression(TBrevexHandle* pHandle)
{
  return GetChosen(pHandle, &TOptimizerOptions::GetContinuousCompression);
}

void BrevexSetColorCompression(TBrevexHandle* pHandle, int nCompression)
{
  Apply(pHandle, &TOptimizerOptions::SetContinuousCompression, static_cast<unsigned>(nCompression));
}

int BrevexGetForceRecompression(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bForceRecompression);
}

void BrevexSetForceRecompression(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bForceRecompression, bValue);
}

int BrevexGetForceCompressionTypes(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bForceCompressionTypes);
}

void BrevexSetForceCompressionTypes(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bForceCompressionTypes, bValue);
}

int BrevexGetImageStratConserv(TBrevexHandle* pHandle)
{
  return GetFlag(pHandle, &TOptimizerOptions::m_bImageStratConserv);
}

void BrevexSetImageStratConserv(TBrevexHandle* pHandle, int bValue)
{
  SetFlag(pHandle, &TOptimizerOptions::m_bImageStratConserv, bValue);
}
