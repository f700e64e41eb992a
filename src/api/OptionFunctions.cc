// The profile, and the getter and setter of every option.

#include "api/OptionAccess.h"

using PDF::TOptimizerOptions;

// The rows of the table of options, as functions. Booleans and choices cross as int, sets as unsigned.
#define FLAG_OPTION(name, field)                                     \
  int BrevexGet##name(TBrevexHandle* pHandle)                        \
  {                                                                  \
    return API::GetOption<int>(pHandle, &TOptimizerOptions::field);  \
  }                                                                  \
  void BrevexSet##name(TBrevexHandle* pHandle, int bValue)           \
  {                                                                  \
    API::SetOption(pHandle, &TOptimizerOptions::field, bValue != 0); \
  }

#define DPI_OPTION(name, field)                                       \
  float BrevexGet##name(TBrevexHandle* pHandle)                       \
  {                                                                   \
    return API::GetOption<float>(pHandle, &TOptimizerOptions::field); \
  }                                                                   \
  void BrevexSet##name(TBrevexHandle* pHandle, float dValue)          \
  {                                                                   \
    API::SetOption(pHandle, &TOptimizerOptions::field, dValue);       \
  }

#define NUMBER_OPTION(type, name, field)                             \
  type BrevexGet##name(TBrevexHandle* pHandle)                       \
  {                                                                  \
    return API::GetOption<type>(pHandle, &TOptimizerOptions::field); \
  }                                                                  \
  void BrevexSet##name(TBrevexHandle* pHandle, type nValue)          \
  {                                                                  \
    API::SetOption(pHandle, &TOptimizerOptions::field, nValue);      \
  }

#define RULED_OPTION(type, name, field, rule)                        \
  type BrevexGet##name(TBrevexHandle* pHandle)                       \
  {                                                                  \
    return API::GetOption<type>(pHandle, &TOptimizerOptions::field); \
  }                                                                  \
  void BrevexSet##name(TBrevexHandle* pHandle, type nValue)          \
  {                                                                  \
    API::ApplyOption(pHandle, &TOptimizerOptions::rule, nValue);     \
  }

#include "api/OptionFunctions.inc"

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

float BrevexGetResolutionDPI(TBrevexHandle* pHandle)
{
  return BrevexGetColorResolutionDPI(pHandle);
}

void BrevexSetResolutionDPI(TBrevexHandle* pHandle, float dValue)
{
  API::ApplyOption(pHandle, &TOptimizerOptions::SetResolution, dValue);
}

float BrevexGetThresholdDPI(TBrevexHandle* pHandle)
{
  return BrevexGetColorThresholdDPI(pHandle);
}

void BrevexSetThresholdDPI(TBrevexHandle* pHandle, float dValue)
{
  API::ApplyOption(pHandle, &TOptimizerOptions::SetThreshold, dValue);
}

int BrevexGetBitonalCompression(TBrevexHandle* pHandle)
{
  return GetChosen(pHandle, &TOptimizerOptions::GetBitonalCompression);
}

void BrevexSetBitonalCompression(TBrevexHandle* pHandle, int nCompression)
{
  API::ApplyOption(pHandle, &TOptimizerOptions::SetBitonalCompression, nCompression);
}

int BrevexGetMonochromeCompression(TBrevexHandle* pHandle)
{
  return GetChosen(pHandle, &TOptimizerOptions::GetContinuousCompression);
}

void BrevexSetMonochromeCompression(TBrevexHandle* pHandle, int nCompression)
{
  API::ApplyOption(pHandle, &TOptimizerOptions::SetContinuousCompression, nCompression);
}

int BrevexGetColorCompression(TBrevexHandle* pHandle)
{
  return BrevexGetMonochromeCompression(pHandle);
}

void BrevexSetColorCompression(TBrevexHandle* pHandle, int nCompression)
{
  BrevexSetMonochromeCompression(pHandle, nCompression);
}

int BrevexGetRemoveNonSymbolicFonts(TBrevexHandle*)
{
  return 0;
}

void BrevexSetRemoveNonSymbolicFonts(TBrevexHandle*, int) {}
