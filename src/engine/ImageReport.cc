#include "engine/ImageReport.h"

#include "images/Image.h"
#include "images/ImageDictionary.h"
#include "pdf/FilterFactory.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

void Describe(const CObjectPtr& image, int nWhen, CImageReport& report)
{
  const CImageDictionary dictionary(image.Get());
  report.m_aWidth[nWhen] = dictionary.GetWidth();
  report.m_aHeight[nWhen] = dictionary.GetHeight();
  report.m_aCodec[nWhen] = GetCodec(image);
  const CObjectPtr part = image.GetStreamObject();
  if (auto* pPart = dynamic_cast<CStreamPart*>(part.Get()); pPart && pPart->IsEncoded())
    report.m_aSize[nWhen] = pPart->GetDataLength();
}

double GetKnown(double dResolution)
{
  return std::isfinite(dResolution) ? dResolution : 0;
}

}  // namespace

TCompression GetCodec(const CObjectPtr& image)
{
  const int nLast = GetFilterCount(image.Get()) - 1;
  if (nLast < 0)
    return image["Filter"] ? eCompressionUnspecified : eCompressionRaw;
  const std::int64_t nK = GetIntegerOr(GetFilterParameters(image.Get(), nLast)["K"], 0);
  return GetFilterCompression(GetFilterName(image.Get(), nLast), nK);
}

void BeginReport(const CObjectPtr& source, CImageReport& report)
{
  report.m_nObjNumber = source.GetObjNumber();
  Describe(source, 0, report);
  std::fill(std::begin(report.m_aTried), std::end(report.m_aTried), std::int64_t{-1});
}

void EndReport(const CObjectPtr& target, const CImageRecord* pRecord, CImageReport& report)
{
  Describe(target, 1, report);
  if (pRecord)
  {
    report.m_nPage = pRecord->m_nPage;
    report.m_nRoles = pRecord->m_nRoles;
    report.m_nClass = pRecord->m_nClass;
    report.m_dResolutionX = GetKnown(pRecord->m_dResolutionX);
    report.m_dResolutionY = GetKnown(pRecord->m_dResolutionY);
    report.m_nChanges = pRecord->m_nChanges;
    report.m_nOutcome = pRecord->m_bKeepAsIs ? eImageKeptAsIs : pRecord->m_nOutcome;
    std::copy(std::begin(pRecord->m_aTried), std::end(pRecord->m_aTried), std::begin(report.m_aTried));
  }
  // Those that change no sample have had the last word.
  const bool bOther = report.m_aSize[1] >= 0 && report.m_aSize[1] != report.m_aSize[0];
  if (!bOther)
    return;
  report.m_nOutcome = eImageReplaced;
  if (report.m_aCodec[1] < g_nTriedCompressions)
    report.m_aTried[report.m_aCodec[1]] = report.m_aSize[1];
}

}  // namespace PDF
