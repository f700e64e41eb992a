#pragma once

#include "images/color/ColorSpace.h"

namespace DOC
{

// Colours of a device (ISO 32000-1, 8.6.4). To their own family and from gray they are converted by formula,
// else by the default profiles, and by formula where the engine has no transform.
class CDeviceColorSpace : public CColorSpace
{
public:
  bool IsColor() const override { return !IsGray(); }

protected:
  CDeviceColorSpace(CCMS& cms, TProfileKind kind) : CColorSpace(cms), m_kind(kind) {}

  CColorProfile* OnGetProfile() override { return m_pCMS->GetDefaultProfile(m_kind); }

private:
  TProfileKind m_kind;
};

class CDeviceGrayColorSpace : public CDeviceColorSpace
{
public:
  explicit CDeviceGrayColorSpace(CCMS& cms) : CDeviceColorSpace(cms, eProfileGray) { SetKey("/DeviceGray"); }
  TColorSpaceType GetType() const override { return eDeviceGray; }
  const char* GetName() const override { return "DeviceGray"; }
  int GetComponentCount() const override { return 1; }
  bool ConvertColor(TTarget target, std::span<const double> color, std::span<double> result) override;

protected:
  bool OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;
};

class CDeviceRGBColorSpace : public CDeviceColorSpace
{
public:
  explicit CDeviceRGBColorSpace(CCMS& cms) : CDeviceColorSpace(cms, eProfileRGB) { SetKey("/DeviceRGB"); }
  TColorSpaceType GetType() const override { return eDeviceRGB; }
  const char* GetName() const override { return "DeviceRGB"; }
  int GetComponentCount() const override { return 3; }
  bool ConvertColor(TTarget target, std::span<const double> color, std::span<double> result) override;

protected:
  bool OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;
};

class CDeviceCMYKColorSpace : public CDeviceColorSpace
{
public:
  explicit CDeviceCMYKColorSpace(CCMS& cms) : CDeviceColorSpace(cms, eProfileCMYK) { SetKey("/DeviceCMYK"); }
  TColorSpaceType GetType() const override { return eDeviceCMYK; }
  const char* GetName() const override { return "DeviceCMYK"; }
  int GetComponentCount() const override { return 4; }

  // Black.
  void GetDefaultColor(std::span<double> color) const override;
  bool ConvertColor(TTarget target, std::span<const double> color, std::span<double> result) override;

protected:
  bool OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;
};

// Luminance and two colour differences, as JPEG 2000 data may have them: of RGB, in bytes around 128.
class CColorSpaceYCC : public CDeviceColorSpace
{
public:
  explicit CColorSpaceYCC(CCMS& cms)
      : CDeviceColorSpace(cms, eProfileRGB), m_pRGB(new CDeviceRGBColorSpace(cms))
  {
  }
  TColorSpaceType GetType() const override { return eYCC; }
  const char* GetName() const override { return "YCC"; }
  int GetComponentCount() const override { return 3; }

protected:
  bool OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;

private:
  BSE::CObjectPtr<CDeviceRGBColorSpace> m_pRGB;
};

}  // namespace DOC
