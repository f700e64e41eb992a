// A space with an object number is made once. While it is being made it is null in the list, and so it is for
// itself where a file nests it in itself; depth is bounded besides. Two objects with the same key are one
// space, so that what a space keeps, such as a profile and its transforms, exists once. Names of resources
// count only in what is written out at the place of use: inside an object that several places share, a name
// would mean what the first of them happens to call so.

#include "images/color/ColorSpaceFactory.h"

#include "base/ScopedValue.h"
#include "images/color/CalibratedColorSpaces.h"
#include "images/color/DeviceColorSpaces.h"
#include "images/color/ICCBasedColorSpace.h"
#include "images/color/IndexedColorSpace.h"
#include "images/color/StatusCodes.h"
#include "images/color/TintColorSpaces.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace PDF
{

namespace
{

// Bytes that a space takes besides what it accounts for itself.
constexpr std::int64_t g_nSpaceMemory = 1024;

// A pattern, and the space of those that have no colours of their own (ISO 32000-1, 8.6.6.2).
class CPatternColorSpace : public CColorSpace
{
public:
  CPatternColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace* pBase)
      : CColorSpace(object, cms), m_pBase(pBase)
  {
    if (!pBase)
      SetKey("/Pattern");
  }
  DOC::TColorSpaceType GetType() const override { return DOC::ePattern; }
  const char* GetName() const override { return "Pattern"; }
  int GetComponentCount() const override { return m_pBase ? m_pBase->GetComponentCount() : 0; }
  DOC::TRange GetRange(int nComponent) const override
  {
    return m_pBase ? m_pBase->GetRange(nComponent) : DOC::TRange{};
  }
  DOC::IColorSpace* GetAlternate() const override { return m_pBase.Get(); }
  bool IsGray() const override { return false; }
  bool IsColor() const override { return false; }

protected:
  bool OnConvertRow(DOC::TTarget, const unsigned char*, unsigned char*, int) override { return false; }

private:
  BSE::CObjectPtr<DOC::IColorSpace> m_pBase;
};

template <std::size_t n>
bool IsOneOf(const char* szName, const char* const (&names)[n])
{
  return std::any_of(names, names + n, [szName](const char* szOther) { return KeyEquals(szName, szOther); });
}

// Whether colours of other spaces may go through it.
bool IsPlain(const DOC::IColorSpace* pSpace)
{
  return pSpace && pSpace->GetType() != DOC::ePattern && pSpace->GetType() != DOC::eIndexed &&
         pSpace->GetType() != DOC::eSeparation && pSpace->GetType() != DOC::eDeviceN;
}

}  // namespace

CColorSpaceFactory::CColorSpaceFactory(DOC::CCMS& cms)
    : m_pCMS(&cms),
      m_functions(cms.GetAccount()),
      m_pGray(new DOC::CDeviceGrayColorSpace(cms)),
      m_pRGB(new DOC::CDeviceRGBColorSpace(cms)),
      m_pCMYK(new DOC::CDeviceCMYKColorSpace(cms)),
      m_pPattern(new CPatternColorSpace(nullptr, cms, nullptr))
{
}

DOC::IColorSpace* CColorSpaceFactory::GetDevice(int nComponents) const
{
  return nComponents == 1   ? m_pGray.Get()
         : nComponents == 3 ? m_pRGB.Get()
         : nComponents == 4 ? m_pCMYK.Get()
                            : nullptr;
}

BSE::CObjectPtr<DOC::IColorSpace> CColorSpaceFactory::Create(const CObjectPtr& object,
                                                             const CObjectPtr& resources)
{
  CSpacePtr pSpace;
  {
    const BSE::CScopedValue<CObjectPtr> names(m_names, resources["ColorSpace"]);
    pSpace = CreateInner(object);
  }
  if (!pSpace)
    BSE::ReportError(GetContext(object, m_pCMS->GetAccount()), g_nInvalidColorSpace);
  return pSpace;
}

CColorSpaceFactory::CSpacePtr CColorSpaceFactory::CreateInner(const CObjectPtr& object)
{
  if (m_nDepth >= BSE::g_nMaxColorSpaceNesting)
    return nullptr;
  const BSE::CScopedValue<int> depth(m_nDepth, m_nDepth + 1);
  const int nNumber = object.GetObjNumber();
  if (object.IsName())
    return CreateNamed(object.GetNameValue());
  if (!object.IsArray())
    return nullptr;
  if (nNumber <= 0)
    return CreateArray(object);
  if (m_byNumber.Contains(nNumber))
    return m_byNumber.Find(nNumber);
  // What is shared cannot depend on where it is used first.
  const BSE::CScopedValue<CObjectPtr> names(m_names, CObjectPtr());
  m_byNumber.SetAt(nNumber, nullptr);
  CSpacePtr pSpace = CreateArray(object);
  m_byNumber.SetAt(nNumber, pSpace.Get());
  return pSpace;
}

CColorSpaceFactory::CSpacePtr CColorSpaceFactory::CreateNamed(const char* szName)
{
  static constexpr const char* gray[] = {"DeviceGray", "G", "CalGray"};
  static constexpr const char* rgb[] = {"DeviceRGB", "RGB", "CalRGB"};
  static constexpr const char* cmyk[] = {"DeviceCMYK", "CMYK", "CalCMYK"};
  if (!szName)
    return nullptr;
  // A space of the resources does not hide a device space of its name, and is not looked up through another.
  if (IsOneOf(szName, gray))
    return m_pGray;
  if (IsOneOf(szName, rgb))
    return m_pRGB;
  if (IsOneOf(szName, cmyk))
    return m_pCMYK;
  if (KeyEquals(szName, "Pattern"))
    return m_pPattern;
  const CObjectPtr named = m_names[szName];
  const BSE::CScopedValue<CObjectPtr> names(m_names, CObjectPtr());
  return named.IsNull() ? nullptr : CreateInner(named);
}

CColorSpaceFactory::CSpacePtr CColorSpaceFactory::CreateArray(const CObjectPtr& object)
{
  const CObjectPtr family = object[0];
  const char* szFamily = family.GetNameValue();
  if (!family.IsName() || !m_pCMS->GetAccount().SpendMemory(g_nSpaceMemory))
    return nullptr;
  if (object.GetSize() == 1)
    return CreateNamed(szFamily);
  if (KeyEquals(szFamily, "CalGray"))
    return Share(object, new CCalGrayColorSpace(object, *m_pCMS, *m_pGray));
  if (KeyEquals(szFamily, "CalRGB"))
    return Share(object, new CCalRGBColorSpace(object, *m_pCMS, *m_pRGB));
  if (KeyEquals(szFamily, "Lab"))
    return Share(object, new CLabColorSpace(object, *m_pCMS));
  if (KeyEquals(szFamily, "ICCBased"))
    return CreateICCBased(object);
  if (KeyEquals(szFamily, "Indexed") || KeyEquals(szFamily, "I"))
    return CreateIndexed(object);
  if (KeyEquals(szFamily, "Separation"))
    return CreateTint(object, false);
  if (KeyEquals(szFamily, "DeviceN"))
    return CreateTint(object, true);
  if (KeyEquals(szFamily, "Pattern"))
    return CreatePattern(object);
  return CreateNamed(szFamily);
}

CColorSpaceFactory::CSpacePtr CColorSpaceFactory::CreateICCBased(const CObjectPtr& object)
{
  const CObjectPtr stream = object[1];
  if (!stream.IsStream())
    return nullptr;
  const CObjectPtr alternate = stream["Alternate"];
  CSpacePtr pAlternate = alternate.IsNull() ? nullptr : CreateInner(alternate);
  const int nComponents = static_cast<int>(std::clamp<std::int64_t>(GetIntegerOr(stream["N"], 0), 0, 99));
  CSpacePtr pDevice = GetDevice(nComponents);
  if (!IsPlain(pAlternate.Get()))
    pAlternate.Reset();
  // Without a number of components there are only those of the alternate.
  if (!pDevice)
    return pAlternate;
  if (!pAlternate || pAlternate->GetComponentCount() != nComponents)
    pAlternate = pDevice;
  return Share(object, new CICCBasedColorSpace(object, *m_pCMS, nComponents, *pAlternate));
}

CColorSpaceFactory::CSpacePtr CColorSpaceFactory::CreateIndexed(const CObjectPtr& object)
{
  const CSpacePtr pBase = CreateInner(object[1]);
  if (!pBase || pBase->GetType() == DOC::ePattern || pBase->GetType() == DOC::eIndexed)
    return nullptr;
  const BSE::CObjectPtr<CIndexedColorSpace> pSpace(new CIndexedColorSpace(object, *m_pCMS, *pBase));
  return pSpace->Load() ? Share(object, pSpace) : nullptr;
}

CColorSpaceFactory::CSpacePtr CColorSpaceFactory::CreateTint(const CObjectPtr& object, bool bDeviceN)
{
  const CObjectPtr names = object[1];
  const int nNames = bDeviceN ? names.GetSize() : 1;
  if (nNames > BSE::g_nMaxFunctionValues)
    BSE::ReportError(GetContext(object, m_pCMS->GetAccount()),
                     BSE::MakeError(g_nTooManyColorants, "n", nNames, "nmax", BSE::g_nMaxFunctionValues));
  if (bDeviceN ? !names.IsArray() || nNames < 1 || nNames > BSE::g_nMaxFunctionValues : !names.IsName())
    return nullptr;
  const CSpacePtr pAlternate = CreateInner(object[2]);
  if (!IsPlain(pAlternate.Get()))
    return nullptr;
  const BSE::CObjectPtr<CFunction> pFunction = m_functions.Create(object[3]);
  if (!bDeviceN)
    return Share(object, new CSeparationColorSpace(object, *m_pCMS, *m_pCMYK, *pAlternate, pFunction.Get()));
  if (object[4]["Subtype"].IsName("NChannel"))
    return Share(object, new CNChannelColorSpace(object, *m_pCMS, *m_pCMYK, *pAlternate, pFunction.Get()));
  return Share(object, new CDeviceNColorSpace(object, *m_pCMS, *m_pCMYK, *pAlternate, pFunction.Get()));
}

CColorSpaceFactory::CSpacePtr CColorSpaceFactory::CreatePattern(const CObjectPtr& object)
{
  const CSpacePtr pBase = CreateInner(object[1]);
  if (!pBase || pBase->GetType() == DOC::ePattern)
    return nullptr;
  return Share(object, new CPatternColorSpace(object, *m_pCMS, pBase.Get()));
}

CColorSpaceFactory::CSpacePtr CColorSpaceFactory::Share(const CObjectPtr& object,
                                                        const BSE::CObjectPtr<DOC::CColorSpace>& pSpace)
{
  if (!*pSpace->GetKey() && object.GetObjNumber() > 0)
  {
    char szKey[16];
    std::snprintf(szKey, sizeof(szKey), "R_%d", object.GetObjNumber());
    pSpace->SetKey(szKey);
  }
  const char* szKey = pSpace->GetKey();
  if (!*szKey)
    return pSpace;
  const int nKnown = m_byKey.Lookup(szKey, std::strlen(szKey));
  if (nKnown >= 0)
    return static_cast<DOC::IColorSpace*>(m_byKey.GetValue(nKnown));
  m_keyed.Add(pSpace.Get());
  m_byKey.SetAt(szKey, std::strlen(szKey), static_cast<DOC::IColorSpace*>(pSpace.Get()));
  return pSpace;
}

}  // namespace PDF
