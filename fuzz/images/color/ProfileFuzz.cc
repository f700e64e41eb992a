// An ICC profile from arbitrary bytes, with conversions to and from it.

#include "images/color/CMS.h"

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount);
  const BSE::CObjectPtr<DOC::CCMS> pCMS = DOC::CreateCMS("lcms", "/", *pAccount);
  const BSE::CObjectPtr<DOC::CColorProfile> pProfile = pCMS->OpenProfile({pData, nSize});
  if (!pProfile)
    return 0;
  const std::vector<unsigned char> source(400, static_cast<unsigned char>(nSize));
  std::vector<unsigned char> result(400);
  DOC::CColorProfile& screen = *pCMS->GetDefaultProfile(DOC::eProfileRGB);
  const BSE::CObjectPtr<DOC::CColorTransform> pFrom =
      pCMS->CreateTransform(*pProfile, screen, DOC::eBytes, DOC::eIntentOfProfile);
  if (pFrom)
    pFrom->Apply(source.data(), result.data(), 100);
  const BSE::CObjectPtr<DOC::CColorTransform> pTo =
      pCMS->CreateTransform(screen, *pProfile, DOC::eBytes, DOC::eIntentRelative);
  if (pTo)
    pTo->Apply(source.data(), result.data(), 100);
  return 0;
}
