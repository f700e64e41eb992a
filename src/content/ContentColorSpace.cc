#include "content/ContentColorSpace.h"

#include "base/Limits.h"

namespace PDF
{

static_assert(g_nMaxColorComponents >= BSE::g_nMaxFunctionValues);

BSE::CObjectPtr<IContentColorSpace> CContentColorResources::CreateColorSpace(const CObjectPtr& space)
{
  const BSE::CObjectPtr<DOC::IColorSpace> pSpace = m_spaces.Create(space);
  return pSpace ? new CContentColorSpace(*pSpace) : nullptr;
}

DOC::IColorSpace* CContentColorResources::GetSpace(const TColorState& state) const
{
  switch (state.m_nFamily)
  {
  case eFamilyGray:
    return m_spaces.GetDevice(1);
  case eFamilyRGB:
    return m_spaces.GetDevice(3);
  case eFamilyCMYK:
    return m_spaces.GetDevice(4);
  default:
    break;
  }
  const auto* pMade = dynamic_cast<const CContentColorSpace*>(state.m_pSpace.Get());
  if (!pMade)
    return nullptr;
  return pMade->IsPattern() ? pMade->GetSpace().GetAlternate() : &pMade->GetSpace();
}

}  // namespace PDF
