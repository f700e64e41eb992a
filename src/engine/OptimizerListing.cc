// Listings: what the analysis finds, whether a save needs it or not.

#include "engine/ContentAnalysis.h"
#include "engine/FontExtractor.h"
#include "engine/ImageExtractor.h"
#include "engine/Optimizer.h"
#include "engine/ResourceLister.h"

namespace PDF
{

void COptimizer::ReadContent(bool bImages, bool bFonts)
{
  bImages = bImages && !m_bImagesRead;
  bFonts = bFonts && !m_pFonts;
  const bool bUse = m_options.m_bOptimizeResources && !m_bAnalyzed;
  if (!bImages && !bFonts && !bUse)
    return;
  if (bUse)
    m_use.Begin(m_input.GetFile().GetObjectCount());
  CImageRecords others;  // read once more, for the fonts alone
  if (bFonts)
    m_pFonts = CreateFontRegistry();
  CContentAnalysis analysis(m_input, m_standIns, bImages ? m_images : others,
                            bFonts ? m_pFonts.Get() : nullptr, bUse ? &m_use : nullptr);
  m_bContentUnread = !analysis.Run() || m_bContentUnread;
  m_bImagesRead = m_bImagesRead || bImages;
  if (bImages && m_options.m_bRemoveImages)
    m_images.RemoveAll();
  if (bImages && m_options.m_bExtractImages)
    CImageExtractor(m_input.GetFile()).Run(m_images);
  if (bFonts && m_options.m_bExtractFonts)
    CFontExtractor(m_input.GetFile()).Run(*m_pFonts);
}

bool COptimizer::ListImages(const char* szPath)
{
  return RunListing(szPath, true, false, [this](CResourceLister& lister) { lister.ListImages(m_images); });
}

bool COptimizer::ListFonts(const char* szPath)
{
  return RunListing(szPath, false, true, [this](CResourceLister& lister) { lister.ListFonts(*m_pFonts); });
}

template <class F>
bool COptimizer::RunListing(const char* szPath, bool bImages, bool bFonts, F fnList)
{
  const auto run = [&]
  {
    if (!Analyze())
      return false;
    ReadContent(bImages, bFonts);
    if (m_bContentUnread)
      BSE::ReportLoss(m_pErrorContext, g_nNotRepairable);
    CListing listing(szPath, m_input.GetFile(), m_pErrorContext);
    if (!listing.IsOpen())
      return false;
    CResourceLister lister(m_input.GetFile(), listing);
    fnList(lister);
    // What could not be read may be missing, or have been taken for damaged.
    return listing.Close() && CheckInput();
  };
  return BSE::CatchExhaustion(m_pErrorContext, run);
}

}  // namespace PDF
