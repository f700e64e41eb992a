#include "images/ImageDictionary.h"

#include "base/Checked.h"
#include "pdf/File.h"
#include "pdf/FilterTable.h"

#include <algorithm>

namespace PDF
{

namespace
{

struct TFamily
{
  const char* m_szName;
  int m_nColors;
};

constexpr TFamily g_families[] = {{"DeviceGray", 1}, {"G", 1},       {"CalGray", 1}, {"DeviceRGB", 3},
                                  {"RGB", 3},        {"CalRGB", 3},  {"Lab", 3},     {"DeviceCMYK", 4},
                                  {"CMYK", 4},       {"Indexed", 1}, {"I", 1},       {"Separation", 1}};

bool IsFamily(const CObjectPtr& space, const char* szName)
{
  return space.IsArray() && space[0].IsName(szName);
}

}  // namespace

CObjectPtr CImageDictionary::GetEither(const char* szKey, const char* szShort) const
{
  if (!m_pImage)
    return nullptr;
  CObjectPtr value = m_pImage->GetEntry(szKey);
  return value ? value : m_pImage->GetEntry(szShort);
}

int CImageDictionary::GetNumber(const char* szKey, const char* szShort) const
{
  return BSE::ClampTo<int>(GetIntegerOr(GetEither(szKey, szShort), 0));
}

bool CImageDictionary::IsStencil() const
{
  return GetEither("ImageMask", "IM").GetBooleanValue();
}

int CImageDictionary::GetBitsPerComponent() const
{
  return IsStencil() ? 1 : GetNumber("BitsPerComponent", "BPC");
}

int CImageDictionary::GetComponentCount() const
{
  return IsStencil() ? 1 : GetColorCount(GetColorSpace());
}

bool CanChange(CObject* pObject)
{
  const CFile* pFile = pObject ? pObject->GetFile() : nullptr;
  return pObject && (!pFile || pFile->IsWritable());
}

int GetColorCount(const CObjectPtr& space)
{
  const CObjectPtr family = space.IsArray() ? space[0] : space;
  if (family.IsName("ICCBased") && space.IsArray())
    return BSE::ClampTo<int>(GetIntegerOr(space[1]["N"], 0));
  if (family.IsName("DeviceN") && space.IsArray())
    return space[1].GetSize();
  for (const TFamily& row : g_families)
  {
    if (family.IsName(row.m_szName))
      return row.m_nColors;
  }
  return 0;
}

bool IsIndexedSpace(const CObjectPtr& space)
{
  return IsFamily(space, "Indexed") || IsFamily(space, "I");
}

bool IsLabSpace(const CObjectPtr& space)
{
  return IsFamily(space, "Lab");
}

bool GetFilterFlag(const CObjectPtr& parameters, const char* szKey, bool bDefault)
{
  const CObjectPtr value = parameters[szKey];
  if (value.IsBoolean())
    return value.GetBooleanValue();
  return value.IsInteger() ? value.GetIntegerValue() != 0 : bDefault;
}

int TakeParameter(CObjectPtr& parameters, const char* szKey, int nDefault)
{
  const int nValue = GetFilterParameter(parameters, szKey, nDefault);
  parameters.DeleteEntry(szKey);
  if (parameters && parameters.GetBegin() == parameters.GetEnd())
    parameters.Reset();
  return nValue;
}

int TakeQuality(CObjectPtr& parameters, int nDefault)
{
  return std::clamp(TakeParameter(parameters, "Quality", nDefault), 1, 100);
}

}  // namespace PDF
