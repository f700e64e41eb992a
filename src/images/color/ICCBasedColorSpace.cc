#include "images/color/ICCBasedColorSpace.h"

#include "base/Limits.h"
#include "base/Tracer.h"
#include "images/color/StatusCodes.h"

namespace PDF
{

CICCBasedColorSpace::CICCBasedColorSpace(const CObjectPtr& object, DOC::CCMS& cms, int nComponents,
                                         DOC::IColorSpace& fallback)
    : CColorSpace(object, cms), m_stream(object[1]), m_pFallback(&fallback), m_nComponents(nComponents)
{
  if (!ReadRanges(m_stream["Range"], nComponents, nComponents, m_ranges))
    m_ranges.RemoveAll();
  if (m_stream.GetObjNumber() > 0)
    FormatKey("icc_%d", m_stream.GetObjNumber());
}

DOC::TRange CICCBasedColorSpace::GetRange(int nComponent) const
{
  const TRange range = nComponent < m_ranges.GetSize() ? m_ranges[nComponent] : TRange{};
  return range.m_dMin < range.m_dMax ? range : TRange{};
}

void CICCBasedColorSpace::OpenProfile()
{
  m_bOpened = true;
  BSE::CBasicArray<unsigned char> data;
  if (!m_pCMS->ReadsProfiles() || !ReadData(m_stream, BSE::g_nMaxProfile, m_pCMS->GetAccount(), data))
    return;
  m_pProfile = m_pCMS->OpenProfile(data.GetSpan());
  if (!m_pProfile || m_pProfile->GetComponentCount() == m_nComponents)
    return;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "CICCBasedColorSpace",
                        "N = %d is not equal to no. of color components %d in profile.", m_nComponents,
                        m_pProfile->GetComponentCount());
  m_pProfile.Reset();
  m_bMismatch = true;
}

DOC::CColorProfile* CICCBasedColorSpace::OnGetProfile()
{
  if (!m_bOpened)
    OpenProfile();
  return m_pProfile.Get();
}

void CICCBasedColorSpace::OnNoTransform(DOC::TTarget)
{
  if (m_bReported || !m_pCMS->ReadsProfiles())
    return;
  m_bReported = true;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "CICCBasedColorSpace", "Unable to create color transform using profile.");
  ReportLoss(m_stream, g_nUnreadableProfile);
}

bool CICCBasedColorSpace::OnConvertRow(DOC::TTarget target, const unsigned char* pSource,
                                       unsigned char* pResult, int nCount)
{
  return CColorSpace::OnConvertRow(target, pSource, pResult, nCount) ||
         ConvertBy(*m_pFallback, target, pSource, pResult, nCount);
}

}  // namespace PDF
