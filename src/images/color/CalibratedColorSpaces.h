#pragma once

#include "images/color/ColorSpaceObject.h"

namespace PDF
{

// The CIE-based spaces other than ICCBased (ISO 32000-1, 8.6.5.2 to 8.6.5.4). Entries that are missing or
// make no sense have the defaults of PDF, a white point that of D65. Where the engine has no transform, gray
// and RGB are taken for those of the device.
class CCalGrayColorSpace : public CColorSpace
{
public:
  CCalGrayColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& device);
  DOC::TColorSpaceType GetType() const override { return DOC::eCalGray; }
  const char* GetName() const override { return "CalGray"; }
  int GetComponentCount() const override { return 1; }

protected:
  bool OnConvertRow(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;
  DOC::CColorProfile* OnGetProfile() override { return m_pProfile.Get(); }

private:
  BSE::CObjectPtr<DOC::CColorProfile> m_pProfile;
  BSE::CObjectPtr<DOC::IColorSpace> m_pDevice;
};

class CCalRGBColorSpace : public CColorSpace
{
public:
  CCalRGBColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& device);
  DOC::TColorSpaceType GetType() const override { return DOC::eCalRGB; }
  const char* GetName() const override { return "CalRGB"; }
  int GetComponentCount() const override { return 3; }

protected:
  bool OnConvertRow(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;
  DOC::CColorProfile* OnGetProfile() override { return m_pProfile.Get(); }

private:
  BSE::CObjectPtr<DOC::CColorProfile> m_pProfile;
  BSE::CObjectPtr<DOC::IColorSpace> m_pDevice;
};

class CLabColorSpace : public CColorSpace
{
public:
  CLabColorSpace(const CObjectPtr& object, DOC::CCMS& cms);
  DOC::TColorSpaceType GetType() const override { return DOC::eLab; }
  const char* GetName() const override { return "Lab"; }
  int GetComponentCount() const override { return 3; }
  DOC::TRange GetRange(int nComponent) const override
  {
    return nComponent >= 0 && nComponent < 3 ? m_ranges[nComponent] : DOC::TRange{};
  }

  // "L*", "a*" and "b*"; null for others.
  static const char* GetAxisName(int nComponent);

protected:
  bool OnConvertRow(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;
  DOC::CColorProfile* OnGetProfile() override { return m_pProfile.Get(); }
  DOC::TSampleForm OnGetSampleForm() const override { return DOC::eLab16; }

private:
  BSE::CObjectPtr<DOC::CColorProfile> m_pProfile;
  DOC::TRange m_ranges[3];
  std::uint16_t m_words[3][256];  // what a byte is in 16-bit Lab
};

}  // namespace PDF
