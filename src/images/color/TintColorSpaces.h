#pragma once

#include "base/ObjectBuffer.h"
#include "images/color/ColorSpaceObject.h"
#include "images/color/Function.h"
#include "images/color/RowMemo.h"

namespace PDF
{

// Colours as amounts of colorants (ISO 32000-1, 8.6.6.4 and 8.6.6.5): a function makes colours of the
// alternate space of them. Without one that fits, inks are made of the names: those of process colours are
// themselves, all others are black; the first conversion reports that as a loss.
class CTintColorSpace : public CColorSpace, public DOC::ITintColorSpace
{
public:
  int GetComponentCount() const override { return static_cast<int>(m_colorants.GetSize()); }
  DOC::IColorSpace* GetAlternate() const override { return m_pAlternate.Get(); }

  // 1 for each: full ink.
  void GetDefaultColor(std::span<double> color) const override;
  bool IsGray() const override { return m_pAlternate->IsGray(); }
  bool IsColor() const override { return m_pAlternate->IsColor(); }
  const DOC::ITintColorSpace* GetTint() const override { return this; }

  const char* GetColorant(int nIndex) const override;
  bool IsNone() const override { return m_bNone; }
  bool IsGuessed() const override { return m_bGuessed || m_pAlternate->IsGuessed(); }

protected:
  // The inks are those of the device; the function may be null.
  CTintColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& inks,
                  DOC::IColorSpace& alternate, CFunction* pFunction)
      : CColorSpace(object, cms), m_pInks(&inks), m_pAlternate(&alternate), m_pFunction(pFunction)
  {
  }

  void AddColorant(const CObjectPtr& name);

  // To be called when all colorants are known: finds out whether the function fits. False if there is none.
  bool Prepare();

  // Text for the key: that of the alternate, and the number of the function; false if there is none.
  bool GetKeyParts(const char*& szAlternate, int& nFunction) const;

  bool OnConvertRow(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;

private:
  static constexpr int g_nTargets = DOC::eToLab + 1;
  static constexpr int g_nBlock = 256;

  bool ConvertPixels(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult, int nCount);
  bool ConvertByTable(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult, int nCount);
  bool ConvertWithMemo(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult, int nCount);
  bool ConvertByNames(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult, int nCount);

  BSE::CObjectPtr<DOC::IColorSpace> m_pInks;
  BSE::CObjectPtr<DOC::IColorSpace> m_pAlternate;
  BSE::CObjectPtr<CFunction> m_pFunction;
  BSE::CObjectBuffer<CName, true, 4> m_colorants;
  BSE::CBasicArray<TRange> m_inputs;
  BSE::CBasicArray<TRange> m_outputs;
  BSE::CBasicArray<unsigned char> m_buffer;                 // colours of the alternate
  BSE::CBasicArray<unsigned char> m_converted[g_nTargets];  // for all 256 amounts of one colorant
  CRowMemo m_memo;
  bool m_bNone = false;
  bool m_bGuessed = false;
  bool m_bReported = false;
};

class CSeparationColorSpace : public CTintColorSpace
{
public:
  CSeparationColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& inks,
                        DOC::IColorSpace& alternate, CFunction* pFunction);
  DOC::TColorSpaceType GetType() const override { return DOC::eSeparation; }
  const char* GetName() const override { return "Separation"; }
};

class CDeviceNColorSpace : public CTintColorSpace
{
public:
  // The names of the object are an array of 1 to g_nMaxFunctionValues elements.
  CDeviceNColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& inks,
                     DOC::IColorSpace& alternate, CFunction* pFunction);
  DOC::TColorSpaceType GetType() const override { return DOC::eDeviceN; }
  const char* GetName() const override { return "DeviceN"; }

private:
  void MakeKey();
};

// A DeviceN space whose attributes say what each colorant is.
class CNChannelColorSpace : public CDeviceNColorSpace
{
public:
  using CDeviceNColorSpace::CDeviceNColorSpace;

  // The process space that some colorants are components of; null if there is none.
  CObjectPtr GetProcessSpace() const { return m_object[4]["Process"]["ColorSpace"]; }

  // Whether a colorant is a component of the process space, by the list of those or by its name.
  bool IsProcess(int nIndex) const;

  // The space of a spot colorant; null if none is given.
  CObjectPtr GetSpotSpace(int nIndex) const { return m_object[4]["Colorants"][GetColorant(nIndex)]; }
};

}  // namespace PDF
