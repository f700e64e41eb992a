#pragma once

#include "images/color/CMS.h"
#include "images/color/Matrix.h"
#include "images/color/Neugebauer.h"

namespace DOC
{

// A plain record of chromaticities. Gray, RGB and Lab are tied to XYZ; CMYK is known by what its inks look
// like.
class CDefaultProfile : public CColorProfile
{
public:
  CDefaultProfile(TProfileKind kind, const TXYZ& white) : CColorProfile(kind, eIntentRelative), m_white(white)
  {
  }

  TXYZ m_white;
  double m_gamma[3] = {g_dDeviceGamma, g_dDeviceGamma, g_dDeviceGamma};
  CMatrix3 m_matrix;       // linear components to XYZ under the white; gray and RGB
  bool m_bDevice = false;  // the profile of device colours of its kind

private:
  static constexpr double g_dDeviceGamma = 2.2;
};

// The built-in engine. Device colours are those of a screen with the primaries of sRGB and a gamma of 2.2.
// CMYK is converted by the model of a table, or without one by formula. Reads no ICC profiles. The intent
// makes no difference: colours are adapted to the white of the target.
class CDefaultCMS : public CCMS
{
public:
  // A null table: none.
  CDefaultCMS(CColorAccount& account, const CNeugebauer* pTable);

  BSE::CObjectPtr<CColorProfile> CreateGrayProfile(const TXYZ& white, double dGamma) override;
  BSE::CObjectPtr<CColorProfile> CreateRGBProfile(const TXYZ& white, std::span<const double> gamma,
                                                  std::span<const double> matrix) override;
  BSE::CObjectPtr<CColorProfile> CreateLabProfile(const TXYZ& white) override;
  bool ReadsProfiles() const override { return false; }
  BSE::CObjectPtr<CColorProfile> OpenProfile(std::span<const unsigned char>) override { return nullptr; }

  // RGB and gray as target need a matrix that can be inverted.
  BSE::CObjectPtr<CColorTransform> CreateTransform(CColorProfile& source, CColorProfile& target,
                                                   TSampleForm sourceForm, TIntent intent) override;

protected:
  BSE::CObjectPtr<CColorProfile> OnCreateDefaultProfile(TProfileKind kind) override;

private:
  CNeugebauer m_table;
  bool m_bTable;
};

}  // namespace DOC
