#include "tests/images/color/Profiles.h"

#include <lcms2.h>

namespace ColorTest
{

namespace
{

std::string Save(cmsHPROFILE hProfile)
{
  cmsUInt32Number nSize = 0;
  cmsSaveProfileToMem(hProfile, nullptr, &nSize);
  std::string data(nSize, '\0');
  cmsSaveProfileToMem(hProfile, data.data(), &nSize);
  cmsCloseProfile(hProfile);
  return data;
}

// Lightness falls with each ink; the hue follows cyan and yellow.
cmsInt32Number SampleInks(const cmsUInt16Number* pIn, cmsUInt16Number* pOut, void*)
{
  const double dLight = (1 - pIn[0] / 131070.0) * (1 - pIn[1] / 131070.0) * (1 - pIn[3] / 65535.0);
  pOut[0] = static_cast<cmsUInt16Number>(dLight * 65280);
  pOut[1] = static_cast<cmsUInt16Number>(32768 - pIn[0] / 8);
  pOut[2] = static_cast<cmsUInt16Number>(32768 + pIn[2] / 8);
  return 1;
}

void AddTable(cmsHPROFILE hProfile, cmsTagSignature nTag, unsigned nInputs, unsigned nOutputs, bool bBytes)
{
  cmsPipeline* pTable = cmsPipelineAlloc(nullptr, nInputs, nOutputs);
  cmsStage* pGrid = cmsStageAllocCLut16bit(nullptr, 3, nInputs, nOutputs, nullptr);
  if (nInputs == 4)
    cmsStageSampleCLut16bit(pGrid, SampleInks, nullptr, 0);
  cmsPipelineInsertStage(pTable, cmsAT_END, cmsStageAllocToneCurves(nullptr, nInputs, nullptr));
  cmsPipelineInsertStage(pTable, cmsAT_END, pGrid);
  cmsPipelineInsertStage(pTable, cmsAT_END, cmsStageAllocToneCurves(nullptr, nOutputs, nullptr));
  cmsPipelineSetSaveAs8bitsFlag(pTable, bBytes);
  cmsWriteTag(hProfile, nTag, pTable);
  cmsPipelineFree(pTable);
}

}  // namespace

std::string MakeRGBProfile()
{
  return Save(cmsCreate_sRGBProfile());
}

std::string MakeGrayProfile()
{
  cmsToneCurve* pCurve = cmsBuildGamma(nullptr, 1.8);
  cmsHPROFILE hProfile = cmsCreateGrayProfile(cmsD50_xyY(), pCurve);
  cmsFreeToneCurve(pCurve);
  cmsSetProfileVersion(hProfile, 2.1);
  return Save(hProfile);
}

std::string MakeInkProfile(double dVersion, bool bBytes)
{
  cmsHPROFILE hProfile = cmsCreateProfilePlaceholder(nullptr);
  cmsSetProfileVersion(hProfile, dVersion);
  cmsSetDeviceClass(hProfile, cmsSigOutputClass);
  cmsSetColorSpace(hProfile, cmsSigCmykData);
  cmsSetPCS(hProfile, cmsSigLabData);
  AddTable(hProfile, cmsSigAToB0Tag, 4, 3, bBytes);
  AddTable(hProfile, cmsSigBToA0Tag, 3, 4, bBytes);
  return Save(hProfile);
}

}  // namespace ColorTest
