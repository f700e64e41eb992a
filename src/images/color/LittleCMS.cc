// Profiles of calibrated spaces and device colours are built in memory, so that the library converts
// everything by one way. Profiles of files have been checked before the library sees them (ProfileCheck.cc).
// A conversion is compiled by the library into a table, which takes far longer than a small image: that is
// charged to the account of the document first. The built-in model of inks is sampled into the two tables of
// a profile when one is needed. The library knows Lab under D50 only, so Lab under another white is adapted
// pixel by pixel.

#include "images/color/LittleCMS.h"

#include "base/FileStream.h"
#include "base/Limits.h"
#include "base/Tracer.h"
#include "images/color/Neugebauer.h"
#include "images/color/ProfileCheck.h"

#include <lcms2_plugin.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace DOC
{

namespace
{

constexpr int g_nDescription = 256;

// Bytes of the largest block that the library takes.
constexpr cmsUInt32Number g_nMaxBlock = 512U << 20;

// Points in each direction of the tables for inks. Odd, so that neutral colours lie on points.
constexpr unsigned g_nInkPoints = 9;
constexpr unsigned g_nLabPoints = 21;

// Units of work for the table that a conversion builds, by the components of its source.
constexpr std::int64_t g_nWorkOfInks = 1 << 25;
constexpr std::int64_t g_nWorkOfTables = 1 << 24;
constexpr std::int64_t g_nWorkOfCurves = 1 << 18;
constexpr std::int64_t g_nMemoryOfInks = 1 << 20;
constexpr std::int64_t g_nMemoryOfTables = 1 << 18;
constexpr std::int64_t g_nMemoryOfCurves = 1 << 16;

void TraceError(cmsContext, cmsUInt32Number nCode, const char* szText)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("W", "lcms", "%u: %s", nCode, szText);
}

// Before each block that the library takes.
struct alignas(std::max_align_t) TBlockHead : TLittleCMSBlock
{
  std::size_t m_nSize = 0;
  bool m_bReserved = false;
};

void Link(TBlockHead& block, TLittleCMSMemory& memory)
{
  block.m_pPrevious = &memory.m_blocks;
  block.m_pNext = memory.m_blocks.m_pNext;
  block.m_pNext->m_pPrevious = block.m_pPrevious->m_pNext = &block;
}

void Unlink(TLittleCMSBlock& block)
{
  block.m_pNext->m_pPrevious = block.m_pPrevious;
  block.m_pPrevious->m_pNext = block.m_pNext;
}

// Where memory runs out, the library is told of that for large blocks, and small ones come from the reserve:
// it does not look at all of those. Its own limit is no lack of memory.
void* Allocate(cmsContext context, cmsUInt32Number nSize)
{
  if (nSize > g_nMaxBlock)
    return nullptr;
  const std::size_t nWhole =
      sizeof(TBlockHead) + (nSize + alignof(TBlockHead) - 1) / alignof(TBlockHead) * alignof(TBlockHead);
  void* pBlock = std::malloc(nWhole);
  const bool bReserved = !pBlock;
  auto* const pMemory = static_cast<TLittleCMSMemory*>(cmsGetContextUserData(context));
  if (pMemory && bReserved)
  {
    pMemory->m_bExhausted = true;
    if (nWhole <= sizeof(pMemory->m_reserve) - pMemory->m_nReserveUsed)
    {
      pBlock = pMemory->m_reserve + pMemory->m_nReserveUsed;
      pMemory->m_nReserveUsed += nWhole;
    }
  }
  if (!pBlock)
    return nullptr;
  auto* const pHead = new (pBlock) TBlockHead;
  pHead->m_nSize = nSize;
  pHead->m_bReserved = bReserved;
  if (pMemory)
    Link(*pHead, *pMemory);
  return pHead + 1;
}

void Free(cmsContext, void* pBlock)
{
  TBlockHead* const pHead = pBlock ? static_cast<TBlockHead*>(pBlock) - 1 : nullptr;
  if (!pHead)
    return;
  Unlink(*pHead);
  if (!pHead->m_bReserved)
    std::free(pHead);
}

void* Reallocate(cmsContext context, void* pBlock, cmsUInt32Number nSize)
{
  void* const pNew = Allocate(context, nSize);
  if (pNew && pBlock)
    std::memcpy(pNew, pBlock, std::min<std::size_t>(nSize, (static_cast<TBlockHead*>(pBlock) - 1)->m_nSize));
  if (pNew)
    Free(context, pBlock);
  return pNew;
}

cmsContext CreateContext(TLittleCMSMemory& library)
{
  constexpr cmsUInt32Number nLeastVersion = 2000;
  cmsPluginMemHandler memory = {};
  memory.base = {cmsPluginMagicNumber, nLeastVersion, cmsPluginMemHandlerSig, nullptr};
  memory.MallocPtr = Allocate;
  memory.FreePtr = Free;
  memory.ReallocPtr = Reallocate;
  const cmsContext context = cmsCreateContext(&memory, &library);
  if (!context)
    throw std::bad_alloc();
  return context;
}

cmsCIExyY MakeWhite(const TXYZ& white)
{
  const double dSum = white.m_dX + white.m_dY + white.m_dZ;
  return {white.m_dX / dSum, white.m_dY / dSum, 1.0};
}

bool SetDescription(cmsContext context, cmsHPROFILE hProfile, const char* szText)
{
  cmsMLU* pText = cmsMLUalloc(context, 1);
  const bool bDone = pText && cmsMLUsetASCII(pText, "en", "US", szText) &&
                     cmsWriteTag(hProfile, cmsSigProfileDescriptionTag, pText);
  cmsMLUfree(pText);
  return bDone;
}

bool WriteColorant(cmsHPROFILE hProfile, cmsTagSignature nTag, const CMatrix3& matrix, int nColumn)
{
  cmsCIEXYZ color = {matrix.m_values[0][nColumn], matrix.m_values[1][nColumn], matrix.m_values[2][nColumn]};
  return cmsWriteTag(hProfile, nTag, &color);
}

bool WriteCurve(cmsContext context, cmsHPROFILE hProfile, cmsTagSignature nTag, double dGamma)
{
  cmsToneCurve* pCurve = cmsBuildGamma(context, dGamma);
  const bool bDone = pCurve && cmsWriteTag(hProfile, nTag, pCurve);
  cmsFreeToneCurve(pCurve);
  return bDone;
}

bool IsGamma(double d)
{
  return d > 0 && d < 100;
}

bool IsD50(const TXYZ& white)
{
  constexpr double dNear = 0.002;
  return std::fabs(white.m_dX - g_d50.m_dX) < dNear && std::fabs(white.m_dY - g_d50.m_dY) < dNear &&
         std::fabs(white.m_dZ - g_d50.m_dZ) < dNear;
}

cmsUInt16Number ToWord(double d)
{
  return static_cast<cmsUInt16Number>(std::lround(std::clamp(d, 0.0, 1.0) * 65535));
}

// The curve of sRGB and its inverse (IEC 61966-2-1).
double ToLinear(double d)
{
  return d <= 0.04045 ? d / 12.92 : std::pow((d + 0.055) / 1.055, 2.4);
}

double FromLinear(double d)
{
  return d <= 0.0031308 ? d * 12.92 : 1.055 * std::pow(d, 1 / 2.4) - 0.055;
}

// Fills a table of Lab for inks: the color of the screen under the white of Lab.
cmsInt32Number SampleInks(const cmsUInt16Number* pIn, cmsUInt16Number* pOut, void* pModel)
{
  static const CMatrix3 toXYZ = GetAdaptation(g_d65, g_d50) * g_sRGB;
  const double inks[4] = {pIn[0] / 65535.0, pIn[1] / 65535.0, pIn[2] / 65535.0, pIn[3] / 65535.0};
  double color[3];
  double xyz[3];
  double lab[3];
  static_cast<const CNeugebauer*>(pModel)->Mix(inks, color);
  for (double& d : color)
    d = ToLinear(d);
  toXYZ.Apply(color, xyz);
  XYZToLab(xyz, g_d50, lab);
  pOut[0] = ToWord(lab[0] / 100);
  pOut[1] = ToWord((lab[1] + 128) / 255);
  pOut[2] = ToWord((lab[2] + 128) / 255);
  return 1;
}

// The other way; a* and b* have been scaled by 255/256, so that 0 is a point of the table, in its middle.
cmsInt32Number SampleLab(const cmsUInt16Number* pIn, cmsUInt16Number* pOut, void* pModel)
{
  constexpr double dScale = 256.0 / 65535.0;
  static const CMatrix3 fromXYZ = []
  {
    CMatrix3 result;
    (GetAdaptation(g_d65, g_d50) * g_sRGB).Invert(result);
    return result;
  }();
  const double lab[3] = {pIn[0] / 655.35, pIn[1] * dScale - 128, pIn[2] * dScale - 128};
  double xyz[3];
  double color[3];
  double inks[4];
  LabToXYZ(lab, g_d50, xyz);
  fromXYZ.Apply(xyz, color);
  for (double& d : color)
    d = FromLinear(std::clamp(d, 0.0, 1.0));
  static_cast<const CNeugebauer*>(pModel)->Separate(color, inks);
  for (int i = 0; i < 4; ++i)
    pOut[i] = ToWord(inks[i]);
  return 1;
}

// A grid of colours after curves that are straight but for the factor of the second and third component.
cmsPipeline* MakeTable(cmsContext context, unsigned nInputs, unsigned nOutputs, unsigned nPoints,
                       double dFactor, cmsSAMPLER16 pfSample, CNeugebauer& model)
{
  cmsToneCurve* curves[4] = {};
  bool bDone = true;
  for (unsigned i = 0; i < nInputs; ++i)
  {
    const cmsFloat64Number parameters[3] = {1.0, i == 1 || i == 2 ? dFactor : 1.0, 0.0};
    curves[i] = cmsBuildParametricToneCurve(context, 2, parameters);
    bDone = bDone && curves[i];
  }
  cmsPipeline* pTable = cmsPipelineAlloc(context, nInputs, nOutputs);
  cmsStage* pGrid = cmsStageAllocCLut16bit(context, nPoints, nInputs, nOutputs, nullptr);
  bDone = bDone && pTable && pGrid && cmsStageSampleCLut16bit(pGrid, pfSample, &model, 0);
  // The last curves are straight, and have to be there for a whole tag.
  cmsStage* pFirst = bDone ? cmsStageAllocToneCurves(context, nInputs, curves) : nullptr;
  cmsStage* pLast = bDone ? cmsStageAllocToneCurves(context, nOutputs, nullptr) : nullptr;
  for (cmsStage* pStage : {pFirst, pGrid, pLast})
  {
    bDone = bDone && pStage && cmsPipelineInsertStage(pTable, cmsAT_END, pStage);
    if (!bDone && pStage)
      cmsStageFree(pStage);
  }
  for (cmsToneCurve* pCurve : curves)
    if (pCurve)
      cmsFreeToneCurve(pCurve);
  if (bDone)
    return pTable;
  if (pTable)
    cmsPipelineFree(pTable);
  return nullptr;
}

bool WriteTable(cmsHPROFILE hProfile, cmsTagSignature nTag, cmsPipeline* pTable)
{
  const bool bDone = pTable && cmsWriteTag(hProfile, nTag, pTable);
  if (pTable)
    cmsPipelineFree(pTable);
  return bDone;
}

cmsUInt32Number GetFormat(TProfileKind kind, TSampleForm form)
{
  const auto nBytes = static_cast<cmsUInt32Number>(form == eLab16 ? 2 : 1);
  const auto nChannels = static_cast<cmsUInt32Number>(GetProfileComponents(kind));
  const cmsUInt32Number nSpace = kind == eProfileGray   ? PT_GRAY
                                 : kind == eProfileRGB  ? PT_RGB
                                 : kind == eProfileCMYK ? PT_CMYK
                                 : kind == eProfileLab  ? PT_Lab
                                                        : PT_ANY;
  return COLORSPACE_SH(nSpace) | CHANNELS_SH(nChannels) | BYTES_SH(nBytes);
}

}  // namespace

void CLittleCMSLabTransform::Adapt(cmsUInt16Number* pLab) const
{
  const double lab[3] = {pLab[0] / 655.35, pLab[1] / 257.0 - 128, pLab[2] / 257.0 - 128};
  double xyz[3];
  double adapted[3];
  double result[3];
  LabToXYZ(lab, m_white, xyz);
  m_adaptation.Apply(xyz, adapted);
  XYZToLab(adapted, g_d50, result);
  pLab[0] = ToWord(result[0] / 100);
  pLab[1] = ToWord((result[1] + 128) / 255);
  pLab[2] = ToWord((result[2] + 128) / 255);
}

void CLittleCMSLabTransform::Apply(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  for (; nCount > 0; --nCount, pSource += 3 * sizeof(cmsUInt16Number))
  {
    cmsUInt16Number lab[3];
    std::memcpy(lab, pSource, sizeof(lab));
    Adapt(lab);
    CLittleCMSTransform::Apply(reinterpret_cast<const unsigned char*>(lab), pTarget, 1);
    pTarget += m_nTargetSize;
  }
}

CLittleCMS::CLittleCMS(CColorAccount& account, const char* szProfileFolder)
    : CCMS(account),
      m_context(CreateContext(m_memory)),
      m_folder(szProfileFolder && *szProfileFolder ? szProfileFolder : ".")
{
  cmsSetLogErrorHandlerTHR(m_context, TraceError);
}

TLittleCMSMemory::~TLittleCMSMemory()
{
  while (m_blocks.m_pNext != &m_blocks)
    Free(nullptr, static_cast<TBlockHead*>(m_blocks.m_pNext) + 1);
}

// Profiles of others that are still held would need the context: spaces hold their CMS longer than them.
CLittleCMS::~CLittleCMS()
{
  ReleaseDefaultProfiles();
  cmsDeleteContext(m_context);
}

template <class T>
BSE::CObjectPtr<T> CLittleCMS::Check(BSE::CObjectPtr<T> pMade)
{
  if (std::exchange(m_memory.m_bExhausted, false))
    throw std::bad_alloc();
  return pMade;
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::CreateGrayProfile(const TXYZ& white, double dGamma)
{
  return Check(MakeGrayProfile(white, dGamma));
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::CreateRGBProfile(const TXYZ& white, std::span<const double> gamma,
                                                            std::span<const double> matrix)
{
  return Check(MakeRGBProfile(white, gamma, matrix));
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::CreateLabProfile(const TXYZ& white)
{
  return Check(MakeLabProfile(white));
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::CreateCMYKProfile(const char* szDescription)
{
  return Check(MakeCMYKProfile(szDescription));
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::OnCreateDefaultProfile(TProfileKind kind)
{
  return Check(MakeDefaultProfile(kind));
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::OpenProfile(std::span<const unsigned char> data)
{
  return Check(ReadProfile(data));
}

BSE::CObjectPtr<CColorTransform> CLittleCMS::CreateTransform(CColorProfile& source, CColorProfile& target,
                                                             TSampleForm sourceForm, TIntent intent)
{
  return Check(MakeTransform(source, target, sourceForm, intent));
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::MakeProfile(cmsHPROFILE hProfile, TProfileKind kind, bool bTables,
                                                       const char* szDescription)
{
  if (!hProfile)
    return nullptr;
  BSE::CObjectPtr<CColorProfile> pProfile(new CLittleCMSProfile(hProfile, kind, eIntentRelative, bTables));
  cmsSetHeaderRenderingIntent(hProfile, INTENT_RELATIVE_COLORIMETRIC);
  return SetDescription(m_context, hProfile, szDescription) ? pProfile : nullptr;
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::MakeGrayProfile(const TXYZ& white, double dGamma)
{
  if (!IsWhite(white) || !IsGamma(dGamma))
    return nullptr;
  const cmsCIExyY point = MakeWhite(white);
  cmsToneCurve* pCurve = cmsBuildGamma(m_context, dGamma);
  cmsHPROFILE hProfile = pCurve ? cmsCreateGrayProfileTHR(m_context, &point, pCurve) : nullptr;
  cmsFreeToneCurve(pCurve);
  char szText[g_nDescription];
  std::snprintf(szText, sizeof(szText), "CalGray: WhitePoint [%5.3lf, %5.3lf, %5.3lf], Gamma %5.3lf",
                white.m_dX, white.m_dY, white.m_dZ, dGamma);
  return MakeProfile(hProfile, eProfileGray, false, szText);
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::MakeRGBProfile(const TXYZ& white, std::span<const double> gamma,
                                                          std::span<const double> matrix)
{
  if (!IsWhite(white) || gamma.size() < 3 || matrix.size() < 9 || !IsGamma(gamma[0]) || !IsGamma(gamma[1]) ||
      !IsGamma(gamma[2]))
    return nullptr;
  cmsHPROFILE hProfile = cmsCreateProfilePlaceholder(m_context);
  if (!hProfile)
    return nullptr;
  char szText[g_nDescription] = "CalRGB: Matrix [";
  int nLength = static_cast<int>(std::strlen(szText));
  for (int i = 0; i < 9 && nLength < g_nDescription; ++i)
    nLength += std::snprintf(szText + nLength, static_cast<std::size_t>(g_nDescription - nLength), "%5.3lf%s",
                             matrix[static_cast<std::size_t>(i)], i < 8 ? ", " : "]");
  cmsSetProfileVersion(hProfile, 4.3);
  cmsSetDeviceClass(hProfile, cmsSigDisplayClass);
  cmsSetColorSpace(hProfile, cmsSigRgbData);
  cmsSetPCS(hProfile, cmsSigXYZData);
  BSE::CObjectPtr<CColorProfile> pProfile = MakeProfile(hProfile, eProfileRGB, false, szText);
  if (!pProfile)
    return nullptr;
  CMatrix3 colorants;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      colorants.m_values[i][j] = matrix[3 * static_cast<std::size_t>(j) + static_cast<std::size_t>(i)];
  colorants = GetAdaptation(white, g_d50) * colorants;
  cmsCIEXYZ point = {g_d50.m_dX, g_d50.m_dY, g_d50.m_dZ};
  const bool bDone = cmsWriteTag(hProfile, cmsSigMediaWhitePointTag, &point) &&
                     WriteColorant(hProfile, cmsSigRedColorantTag, colorants, 0) &&
                     WriteColorant(hProfile, cmsSigGreenColorantTag, colorants, 1) &&
                     WriteColorant(hProfile, cmsSigBlueColorantTag, colorants, 2) &&
                     WriteCurve(m_context, hProfile, cmsSigRedTRCTag, gamma[0]) &&
                     WriteCurve(m_context, hProfile, cmsSigGreenTRCTag, gamma[1]) &&
                     WriteCurve(m_context, hProfile, cmsSigBlueTRCTag, gamma[2]);
  return bDone ? pProfile : nullptr;
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::MakeLabProfile(const TXYZ& white)
{
  if (!IsWhite(white))
    return nullptr;
  const cmsCIExyY point = MakeWhite(white);
  char szText[g_nDescription];
  std::snprintf(szText, sizeof(szText), "Lab: WhitePoint [%5.3lf, %5.3lf, %5.3lf]", white.m_dX, white.m_dY,
                white.m_dZ);
  BSE::CObjectPtr<CColorProfile> pProfile =
      MakeProfile(cmsCreateLab4ProfileTHR(m_context, &point), eProfileLab, false, szText);
  if (pProfile)
    static_cast<CLittleCMSProfile&>(*pProfile).SetLabWhite(white);
  return pProfile;
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::MakeCMYKProfile(const char* szDescription)
{
  cmsHPROFILE hProfile = cmsCreateProfilePlaceholder(m_context);
  if (!hProfile)
    return nullptr;
  cmsSetProfileVersion(hProfile, 4.3);
  cmsSetDeviceClass(hProfile, cmsSigOutputClass);
  cmsSetColorSpace(hProfile, cmsSigCmykData);
  cmsSetPCS(hProfile, cmsSigLabData);
  BSE::CObjectPtr<CColorProfile> pProfile = MakeProfile(hProfile, eProfileCMYK, true, szDescription);
  cmsCIEXYZ point = {g_d50.m_dX, g_d50.m_dY, g_d50.m_dZ};
  if (!pProfile || !cmsWriteTag(hProfile, cmsSigMediaWhitePointTag, &point))
    return nullptr;
  static_cast<CLittleCMSProfile&>(*pProfile).SetInkModel();
  return pProfile;
}

bool CLittleCMS::MakeTables(CLittleCMSProfile& source, CLittleCMSProfile& target)
{
  CNeugebauer model;
  bool bDone = true;
  if (source.TakeFromInks())
    bDone = WriteTable(source.GetHandle(), cmsSigAToB0Tag,
                       MakeTable(m_context, 4, 3, g_nInkPoints, 1.0, SampleInks, model));
  if (target.TakeToInks())
    bDone = WriteTable(target.GetHandle(), cmsSigBToA0Tag,
                       MakeTable(m_context, 3, 4, g_nLabPoints, 255.0 / 256.0, SampleLab, model)) &&
            bDone;
  return bDone;
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::ReadProfile(std::span<const unsigned char> data)
{
  TProfileHeader header;
  BSE::CBasicArray<unsigned char> copy;
  if (!CheckProfile(data, header, copy) || !GetAccount().SpendMemory(copy.GetSize()))
    return nullptr;
  cmsHPROFILE hProfile =
      cmsOpenProfileFromMemTHR(m_context, copy.GetData(), static_cast<cmsUInt32Number>(copy.GetSize()));
  if (!hProfile)
    return nullptr;
  return new CLittleCMSProfile(hProfile, header.m_kind, header.m_intent, header.m_bTables);
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::OpenFile(const char* szName, TProfileKind kind)
{
  const BSE::CFile file(m_folder.GetText(), szName);
  if (!file.Exists())
    return nullptr;
  const BSE::CObjectPtr<BSE::CFileStream> pFile(new BSE::CFileStream(file.GetPath(), BSE::eFileRead));
  BSE::CBasicArray<unsigned char> data;
  if (!pFile->IsValid() || !pFile->ReadToArray(data, BSE::g_nMaxProfile))
    return nullptr;
  BSE::CObjectPtr<CColorProfile> pProfile = ReadProfile(data.GetSpan());
  return pProfile && pProfile->GetKind() == kind ? pProfile : nullptr;
}

BSE::CObjectPtr<CColorProfile> CLittleCMS::MakeDefaultProfile(TProfileKind kind)
{
  BSE::CObjectPtr<CColorProfile> pProfile;
  switch (kind)
  {
  case eProfileRGB:
    pProfile = OpenFile("sRGB.icc", kind);
    return pProfile ? pProfile
                    : MakeProfile(cmsCreate_sRGBProfileTHR(m_context), kind, false, "sRGB IEC61966-2.1");
  case eProfileCMYK:
    pProfile = OpenFile("CMYK.icc", kind);
    return pProfile ? pProfile : MakeCMYKProfile("CMYK built-in profile");
  case eProfileGray:
  {
    // The curve of sRGB.
    const cmsFloat64Number parameters[5] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    cmsToneCurve* pCurve = cmsBuildParametricToneCurve(m_context, 4, parameters);
    cmsHPROFILE hProfile = pCurve ? cmsCreateGrayProfileTHR(m_context, cmsD50_xyY(), pCurve) : nullptr;
    cmsFreeToneCurve(pCurve);
    return MakeProfile(hProfile, kind, false, "sGray IEC 61966-2.1");
  }
  default:
    return MakeLabProfile(g_d50);
  }
}

BSE::CObjectPtr<CColorTransform> CLittleCMS::MakeTransform(CColorProfile& source, CColorProfile& target,
                                                           TSampleForm sourceForm, TIntent intent)
{
  auto& from = static_cast<CLittleCMSProfile&>(source);
  auto& to = static_cast<CLittleCMSProfile&>(target);
  const bool bInks = source.GetComponentCount() == 4;
  const bool bTables = from.HasTables() || to.HasTables();
  if (!GetAccount().SpendWork(bInks     ? g_nWorkOfInks
                              : bTables ? g_nWorkOfTables
                                        : g_nWorkOfCurves) ||
      !GetAccount().SpendMemory(bInks     ? g_nMemoryOfInks
                                : bTables ? g_nMemoryOfTables
                                          : g_nMemoryOfCurves))
    return nullptr;
  if (!MakeTables(from, to))
    return nullptr;
  // A table of Lab has a point for neither white nor black: Lab is rare, and goes the exact way.
  const cmsUInt32Number nFlags = source.GetKind() == eProfileLab ? cmsFLAGS_NOOPTIMIZE : 0;
  const TIntent used = intent == eIntentOfProfile ? source.GetIntent() : intent;
  cmsHTRANSFORM hTransform = cmsCreateTransformTHR(
      m_context, from.GetHandle(), GetFormat(source.GetKind(), sourceForm), to.GetHandle(),
      GetFormat(target.GetKind(), eBytes), static_cast<cmsUInt32Number>(used), nFlags);
  if (!hTransform)
    return nullptr;
  const bool bAdapted = source.GetKind() == eProfileLab && sourceForm == eLab16 && !IsD50(from.GetLabWhite());
  return bAdapted ? new CLittleCMSLabTransform(hTransform, from.GetLabWhite(), target.GetComponentCount())
                  : new CLittleCMSTransform(hTransform);
}

}  // namespace DOC
