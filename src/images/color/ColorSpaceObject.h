#pragma once

#include "images/color/ColorNumbers.h"
#include "images/color/ColorSpace.h"
#include "images/color/StatusCodes.h"
#include "pdf/Object.h"

namespace PDF
{

// Base of the spaces that are made from an object, on which it keeps a reference.
class CColorSpace : public DOC::CColorSpace
{
public:
  const CObjectPtr& GetObject() const { return m_object; }

protected:
  CColorSpace(const CObjectPtr& object, DOC::CCMS& cms) : DOC::CColorSpace(cms), m_object(object) {}

  // Reports that colours come out different from what they should be.
  void ReportLoss(const CObjectPtr& object, unsigned nCode) const
  {
    BSE::ReportLoss(GetContext(object, m_pCMS->GetAccount()), nCode);
  }

  void OnNoTransform(DOC::TTarget) override { ReportLoss(m_object, g_nInvalidColorSpace); }

  // Formats the key; a text that does not fit makes none.
  void FormatKey(const char* szFormat, ...) __attribute__((format(printf, 2, 3)));

  CObjectPtr m_object;
};

// Rows by way of another space, which has as many components.
inline bool ConvertBy(DOC::IColorSpace& space, DOC::TTarget target, const unsigned char* pSource,
                      unsigned char* pResult, int nCount)
{
  const auto nPixels = static_cast<std::size_t>(nCount);
  return space.ConvertRow(target, {pSource, nPixels * static_cast<std::size_t>(space.GetComponentCount())},
                          {pResult, nPixels * static_cast<std::size_t>(DOC::GetTargetComponents(target))},
                          nCount);
}

}  // namespace PDF
