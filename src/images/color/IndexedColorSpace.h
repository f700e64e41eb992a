#pragma once

#include "images/color/ColorSpaceObject.h"

namespace PDF
{

// Colours by their number in a table (ISO 32000-1, 8.6.6.3). Numbers above the highest one are taken for it.
class CIndexedColorSpace : public CColorSpace, public DOC::IIndexedColorSpace
{
public:
  CIndexedColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& base)
      : CColorSpace(object, cms), m_pBase(&base)
  {
  }

  // False, with a trace line, if there is no table. One that is too short is traced as well; colours that it
  // lacks are 0 in all components, which a conversion reports as a loss.
  bool Load();

  DOC::TColorSpaceType GetType() const override { return DOC::eIndexed; }
  const char* GetName() const override { return "Indexed"; }
  int GetComponentCount() const override { return 1; }
  DOC::TRange GetRange(int) const override { return {0, 255}; }
  DOC::IColorSpace* GetAlternate() const override { return m_pBase.Get(); }
  bool IsGray() const override { return m_pBase->IsGray(); }
  bool IsColor() const override { return m_pBase->IsColor(); }
  const DOC::IIndexedColorSpace* GetIndexed() const override { return this; }
  bool IsGuessed() const override { return m_pBase->IsGuessed(); }

  const DOC::IColorSpace& GetBase() const override { return *m_pBase; }
  int GetHighIndex() const override { return m_nHigh; }
  std::span<const unsigned char> GetTable() const override { return m_table.GetSpan(); }

protected:
  bool OnConvertRow(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                    int nCount) override;

private:
  static constexpr int g_nTargets = DOC::eToLab + 1;

  bool ConvertTable(DOC::TTarget target);
  void MakeKey(const CObjectPtr& table);

  BSE::CObjectPtr<DOC::IColorSpace> m_pBase;
  BSE::CBasicArray<unsigned char> m_table;
  BSE::CBasicArray<unsigned char> m_converted[g_nTargets];  // for all 256 bytes; empty before it is needed
  int m_nHigh = 0;
  bool m_bShort = false;
};

}  // namespace PDF
