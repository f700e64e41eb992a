#include "engine/ImageExtractor.h"

#include "base/Limits.h"
#include "engine/ExtractedFile.h"
#include "engine/StatusCodes.h"
#include "images/TiffExport.h"

#include <cmath>
#include <cstdio>

namespace PDF
{

namespace
{

constexpr int g_nMaxName = 32;

CObjectPtr GetMask(const CObjectPtr& image)
{
  const CObjectPtr soft = image["SMask"];
  return soft ? soft : image["Mask"];
}

// Infinite where nobody knows it.
double GetKnownResolution(double d)
{
  return std::isfinite(d) ? d : 0;
}

}  // namespace

CImageExtractor::CImageExtractor(CFile& input)
    : m_input(input),
      m_pAccount(new DOC::CColorAccount(input.GetInput()->GetLength())),
      m_pCMS(DOC::CreateCMS("", "", *m_pAccount)),
      m_spaces(*m_pCMS),
      m_nMaxBytes(BSE::g_nFreeExtracted + BSE::g_nMaxDecodeRatio * input.GetInput()->GetLength())
{
}

void CImageExtractor::Run(const CImageRecords& images)
{
  for (int i = images.GetBegin(); i != images.GetEnd(); i = images.GetNext(i))
  {
    const CImageRecord& record = *images.GetAt(i);
    if (!record.IsPainted())
      continue;
    const CObjectPtr image = m_input.GetObject(record.m_nObjNumber, -1);
    Extract(image, record);
    if (image)
      image->Unload();
  }
}

void CImageExtractor::Extract(const CObjectPtr& image, const CImageRecord& record)
{
  const bool bJPEG = image["Filter"].IsName("DCTDecode");
  char szName[g_nMaxName];
  std::snprintf(szName, sizeof szName, bJPEG ? "img%d.jpg" : "img%d.tif", record.m_nObjNumber);
  CExtractedFile target(szName, m_input);
  if (!target.GetStream())
    target.ReportFault(image.Get());
  else if (bJPEG)
    WriteJPEG(image, target);
  else
    WriteTIFF(image, record, target);
}

void CImageExtractor::WriteJPEG(const CObjectPtr& image, CExtractedFile& target)
{
  BSE::CFileStream& stream = *target.GetStream();
  const BSE::CObjectPtr<BSE::IByteStream> pData = image.GetStream();
  const bool bCopied = pData && stream.CopyFrom(pData.Get(), -1, false);
  if (bCopied && stream.Tell() > 0 && target.Keep())
    return;
  if (target.HasFault())
    target.ReportFault(image.Get());
  else
    BSE::ReportLoss(image.Get(), g_nImageUnreadable);
}

void CImageExtractor::WriteTIFF(const CObjectPtr& image, const CImageRecord& record, CExtractedFile& target)
{
  CImage view(image, m_spaces);
  view.SetResolutionX(GetKnownResolution(record.m_dResolutionX));
  view.SetResolutionY(GetKnownResolution(record.m_dResolutionY));
  const unsigned nOutcome =
      CTiffExport(view, *m_pAccount, image.Get()).Write(*target.GetStream(), m_nMaxBytes);
  const bool bReadable = (nOutcome & eTiffNotReadable) == 0;
  if ((nOutcome & eTiffNotWritten) != 0 || (bReadable && !target.Keep()))
    return target.ReportFault(image.Get());
  if ((nOutcome & (eTiffNotReadable | eTiffDamaged | eTiffTooMuch)) != 0)
    BSE::ReportLoss(image.Get(), g_nImageUnreadable);
  if ((nOutcome & eTiffOtherColors) != 0 && bReadable)
    BSE::ReportError(image.Get(),
                     BSE::MakeError(g_nColorSpaceSubstituted, "cs", view.GetColorSpace()->GetName()));
  if (GetMask(image) && bReadable)
    BSE::ReportError(image.Get(), g_nMaskRemoved);
}

}  // namespace PDF
