#include "content/ParserContext.h"

#include <cstdio>

namespace PDF
{

namespace
{

constexpr const char* g_categories[] = {"Font",    "XObject", "ExtGState",  "ColorSpace",
                                        "Pattern", "Shading", "Properties", "ProcSet"};

}  // namespace

CParserContext::CParserContext(CContentEnvironment& environment, const CResources& resources,
                               CParserContext* pParent)
    : m_environment(environment), m_resources(resources), m_pParent(pParent)
{
  static_assert(std::size(g_categories) == std::extent_v<decltype(m_categories)>);
}

CParserContext::~CParserContext()
{
  ReleaseMade(m_fonts);
  ReleaseMade(m_fontObjects);
  ReleaseMade(m_colorSpaces);
}

void CParserContext::PinCategory(const char* szCategory)
{
  for (std::size_t i = 0; i < std::size(g_categories); ++i)
    if (!m_categories[i] && KeyEquals(szCategory, g_categories[i]))
      m_categories[i] = m_resources.GetCategory(szCategory);
}

CObjectPtr CParserContext::FindResource(const char* szCategory, const char* szName)
{
  PinCategory(szCategory);
  return m_resources.FindResource(szCategory, szName);
}

BSE::IObject* CParserContext::FindMade(const BSE::CBasicMap& map, const char* szName)
{
  return static_cast<BSE::IObject*>(map.GetValue(map.Lookup(szName, std::strlen(szName))));
}

void CParserContext::KeepMade(BSE::CBasicMap& map, const char* szName, BSE::IObject* pObject)
{
  const BSE::CObjectPtr<BSE::IObject> pHold(pObject);
  map.SetAt(szName, std::strlen(szName), pObject);
  pObject->AddRef();
}

void CParserContext::ReleaseMade(BSE::CBasicMap& map)
{
  for (int i = map.GetBegin(); i != map.GetEnd(); i = map.GetNext(i))
    static_cast<BSE::IObject*>(map.GetValue(i))->Release();
}

BSE::CObjectPtr<IContentFont> CParserContext::FindFont(const char* szName, CObjectPtr& font)
{
  font = FindResource("Font", szName);
  if (!font.IsDictionary())
    font.Reset();
  IContentResources* pMaker = m_environment.GetResources();
  if (!font || !pMaker)
    return nullptr;
  if (BSE::IObject* pMade = FindMade(m_fonts, szName))
    return dynamic_cast<IContentFont*>(pMade);
  // What cannot be made is tried again, and costs each time.
  m_environment.GetAccount().Charge(BSE::g_nFormWork);
  BSE::CObjectPtr<IContentFont> pFont = pMaker->CreateFont(font);
  if (pFont)
    KeepMade(m_fonts, szName, pFont.Get());
  return pFont;
}

BSE::CObjectPtr<IContentFont> CParserContext::FindFontObject(const CObjectPtr& font)
{
  IContentResources* pMaker = m_environment.GetResources();
  if (!pMaker)
    return nullptr;
  char szNumber[16];
  std::snprintf(szNumber, sizeof(szNumber), "%d", font.GetObjNumber());
  BSE::IObject* pMade = font.GetObjNumber() > 0 ? FindMade(m_fontObjects, szNumber) : nullptr;
  if (pMade)
    return dynamic_cast<IContentFont*>(pMade);
  m_environment.GetAccount().Charge(BSE::g_nFormWork);
  BSE::CObjectPtr<IContentFont> pFont = pMaker->CreateFont(font);
  if (pFont && font.GetObjNumber() > 0)
    KeepMade(m_fontObjects, szNumber, pFont.Get());
  return pFont;
}

bool CParserContext::FindColorSpace(const char* szName, TColorFamily& nFamily, CObjectPtr& space,
                                    BSE::CObjectPtr<IContentColorSpace>& pSpace)
{
  static constexpr const char* aDevice[] = {"DeviceGray", "DeviceRGB", "DeviceCMYK", "Pattern"};
  for (int i = 0; i < 4; ++i)
    if (KeyEquals(szName, aDevice[i]))
    {
      nFamily = static_cast<TColorFamily>(eFamilyGray + i);
      return true;
    }
  space = FindResource("ColorSpace", szName);
  if (!space.IsName() && !space.IsArray())
    return false;
  nFamily = space.IsArray() && space[0].IsName("Pattern") ? eFamilyPattern : eFamilyOther;
  IContentResources* pMaker = m_environment.GetResources();
  if (!pMaker)
    return true;
  if (BSE::IObject* pMade = FindMade(m_colorSpaces, szName))
    pSpace = dynamic_cast<IContentColorSpace*>(pMade);
  else
  {
    m_environment.GetAccount().Charge(BSE::g_nFormWork);
    pSpace = pMaker->CreateColorSpace(space);
    if (pSpace)
      KeepMade(m_colorSpaces, szName, pSpace.Get());
  }
  if (pSpace && pSpace->IsPattern())
    nFamily = eFamilyPattern;
  return static_cast<bool>(pSpace);
}

}  // namespace PDF
