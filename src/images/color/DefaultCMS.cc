#include "images/color/DefaultCMS.h"

#include "images/color/DefaultTransform.h"

#include <algorithm>

namespace DOC
{

CDefaultCMS::CDefaultCMS(CColorAccount& account, const CNeugebauer* pTable)
    : CCMS(account), m_bTable(pTable != nullptr)
{
  if (pTable)
    m_table = *pTable;
}

BSE::CObjectPtr<CColorProfile> CDefaultCMS::CreateGrayProfile(const TXYZ& white, double dGamma)
{
  if (!IsWhite(white) || !(dGamma > 0))
    return nullptr;
  const BSE::CObjectPtr<CDefaultProfile> pProfile(new CDefaultProfile(eProfileGray, white));
  std::fill_n(pProfile->m_gamma, 3, dGamma);
  // Each of three equal components has a third of the light.
  const double values[3] = {white.m_dX, white.m_dY, white.m_dZ};
  for (int i = 0; i < 3; ++i)
    std::fill_n(pProfile->m_matrix.m_values[i], 3, values[i] / 3);
  return pProfile;
}

BSE::CObjectPtr<CColorProfile> CDefaultCMS::CreateRGBProfile(const TXYZ& white, std::span<const double> gamma,
                                                             std::span<const double> matrix)
{
  if (!IsWhite(white) || gamma.size() < 3 || matrix.size() < 9 ||
      std::any_of(gamma.begin(), gamma.begin() + 3, [](double d) { return !(d > 0); }))
    return nullptr;
  const BSE::CObjectPtr<CDefaultProfile> pProfile(new CDefaultProfile(eProfileRGB, white));
  std::copy_n(gamma.begin(), 3, pProfile->m_gamma);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      pProfile->m_matrix.m_values[i][j] =
          matrix[3 * static_cast<std::size_t>(j) + static_cast<std::size_t>(i)];
  return pProfile;
}

BSE::CObjectPtr<CColorProfile> CDefaultCMS::CreateLabProfile(const TXYZ& white)
{
  return IsWhite(white) ? new CDefaultProfile(eProfileLab, white) : nullptr;
}

BSE::CObjectPtr<CColorProfile> CDefaultCMS::OnCreateDefaultProfile(TProfileKind kind)
{
  BSE::CObjectPtr<CColorProfile> pProfile;
  if (kind == eProfileGray)
    pProfile = CreateGrayProfile(g_d65, 2.2);
  else
  {
    const BSE::CObjectPtr<CDefaultProfile> pNew(
        new CDefaultProfile(kind, kind == eProfileLab ? g_d50 : g_d65));
    pNew->m_matrix = g_sRGB;
    pProfile = pNew;
  }
  static_cast<CDefaultProfile*>(pProfile.Get())->m_bDevice = true;
  return pProfile;
}

BSE::CObjectPtr<CColorTransform> CDefaultCMS::CreateTransform(CColorProfile& source, CColorProfile& target,
                                                              TSampleForm sourceForm, TIntent)
{
  const BSE::CObjectPtr<CDefaultTransform> pTransform(
      new CDefaultTransform(static_cast<CDefaultProfile&>(source), static_cast<CDefaultProfile&>(target),
                            sourceForm, m_bTable ? &m_table : nullptr));
  if (!GetAccount().SpendWork(1 << 20) || !GetAccount().SpendMemory(1 << 17) || !pTransform->Prepare())
    return nullptr;
  return pTransform;
}

}  // namespace DOC
