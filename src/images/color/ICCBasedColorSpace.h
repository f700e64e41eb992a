#pragma once

#include "images/color/ColorSpaceObject.h"

namespace PDF
{

// Colours by an ICC profile (ISO 32000-1, 8.6.5.5), which is read with the first conversion, or by Prepare.
// Where it cannot be used, colours are those of the alternate, or of the device with as many components; with
// an engine that reads profiles that is reported once as a loss, at the profile's stream.
class CICCBasedColorSpace : public CColorSpace
{
public:
  // The fallback has nComponents as well.
  CICCBasedColorSpace(const CObjectPtr& object, DOC::CCMS& cms, int nComponents, DOC::IColorSpace& fallback);
  DOC::TColorSpaceType GetType() const override { return DOC::eICCBased; }
  const char* GetName() const override { return "ICCBased"; }
  int GetComponentCount() const override { return m_nComponents; }
  DOC::TRange GetRange(int nComponent) const override;
  DOC::IColorSpace* GetAlternate() const override { return m_pFallback.Get(); }
  // A profile for another number of components: some readers go by it all the same.
  bool IsGuessed() const override { return m_bMismatch; }

protected:
  bool OnConvertRow(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;
  DOC::CColorProfile* OnGetProfile() override;
  void OnNoTransform(DOC::TTarget target) override;

private:
  void OpenProfile();

  CObjectPtr m_stream;
  BSE::CBasicArray<TRange> m_ranges;
  BSE::CObjectPtr<DOC::IColorSpace> m_pFallback;
  BSE::CObjectPtr<DOC::CColorProfile> m_pProfile;
  int m_nComponents;
  bool m_bOpened = false;
  bool m_bReported = false;
  bool m_bMismatch = false;
};

}  // namespace PDF
