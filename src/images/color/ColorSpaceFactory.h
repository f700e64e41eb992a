#pragma once

#include "base/BasicMap.h"
#include "images/color/ColorSpace.h"
#include "images/color/FunctionFactory.h"

namespace PDF
{

// Makes the colour spaces of one document (ISO 32000-1, 8.6). What is the same by its key is one space, which
// lives as long as the factory at least.
class CColorSpaceFactory
{
public:
  explicit CColorSpaceFactory(DOC::CCMS& cms);
  ~CColorSpaceFactory() = default;
  CColorSpaceFactory(const CColorSpaceFactory&) = delete;
  CColorSpaceFactory& operator=(const CColorSpaceFactory&) = delete;

  // The space of a name or array, of families full or abbreviated. Other names are looked up in the
  // "ColorSpace" of the resources, which may be null. Empty, with a report (the colour space is invalid) at
  // the object, for anything else: unknown families and names, missing parts, spaces inside themselves, too
  // deep or where they may not be. Loads objects, so it must not be called while one is being loaded.
  BSE::CObjectPtr<DOC::IColorSpace> Create(const CObjectPtr& object, const CObjectPtr& resources = {});

  // The device space of 1, 3 or 4 components; null for other numbers. Borrowed.
  DOC::IColorSpace* GetDevice(int nComponents) const;

  CFunctionFactory& GetFunctions() { return m_functions; }

private:
  using CSpacePtr = BSE::CObjectPtr<DOC::IColorSpace>;

  CSpacePtr CreateInner(const CObjectPtr& object);
  CSpacePtr CreateNamed(const char* szName);
  CSpacePtr CreateArray(const CObjectPtr& object);
  CSpacePtr CreateICCBased(const CObjectPtr& object);
  CSpacePtr CreateIndexed(const CObjectPtr& object);
  CSpacePtr CreateTint(const CObjectPtr& object, bool bDeviceN);
  CSpacePtr CreatePattern(const CObjectPtr& object);

  // The space with the same key, which is this one if there was none.
  CSpacePtr Share(const CObjectPtr& object, const BSE::CObjectPtr<DOC::CColorSpace>& pSpace);

  BSE::CObjectPtr<DOC::CCMS> m_pCMS;  // before the spaces that use it
  CFunctionFactory m_functions;
  CSpacePtr m_pGray;
  CSpacePtr m_pRGB;
  CSpacePtr m_pCMYK;
  CSpacePtr m_pPattern;
  BSE::CValueKeyObjectMap<int, DOC::IColorSpace> m_byNumber;  // null while it is made, or if it is not valid
  BSE::CObjectArray<DOC::IColorSpace> m_keyed;
  BSE::CBasicMap m_byKey;  // to elements of m_keyed
  CObjectPtr m_names;      // the named spaces of the call
  int m_nDepth = 0;
};

}  // namespace PDF
