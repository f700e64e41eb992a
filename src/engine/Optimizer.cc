#include "engine/Optimizer.h"

#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "document/BTree.h"
#include "engine/BitonalStreamRecoder.h"
#include "engine/ContentAnalysis.h"
#include "engine/DefaultSpaces.h"
#include "engine/EqualObjectMerger.h"
#include "engine/FontOptimizer.h"
#include "engine/ImageOptimizer.h"
#include "engine/JPEGStreamRecoder.h"
#include "engine/RedundantObjectOptimizer.h"
#include "engine/SampleRecoder.h"
#include "engine/StatusCodes.h"
#include "engine/StreamRecompressor.h"
#include "fonts/pdf/FontRegistry.h"
#include "images/ImageFilters.h"
#include "pdf/StreamObjects.h"
#include "pdf/linearize/Linearizer.h"

#include <algorithm>
#include <limits>

namespace PDF
{
namespace
{

// Object numbers for which the search for equal objects may take memory in any file.
constexpr int g_nFreeNumbers = 1 << 20;

// What describes the program that wrote the input, not its contents.
constexpr const char* g_writerKeys[] = {"Producer", "ModDate", nullptr};

int ToVersionNumber(unsigned nNumber)
{
  return static_cast<int>(std::min<unsigned>(nNumber, std::numeric_limits<int>::max()));
}

// A conformance of level a without the structure that it asks for: the next lower level of its part.
CConformance WithoutStructure(CConformance conformance)
{
  switch (conformance.GetPart())
  {
  case 1:
    return CConformance(0x1401);
  case 2:
    return CConformance(0x1702);
  default:
    return CConformance(0x1712);
  }
}

// ISO 19005-1, 6.1.1, rests on PDF 1.4, and parts 2 and 3 on PDF 1.7.
bool IsVersionAllowed(CConformance claim, int nMajor, int nMinor)
{
  if (!claim.IsArchival())
    return true;
  return claim.GetPart() > 1 && nMajor == 1 && nMinor <= 7;
}

// Whether images are to be changed or encoded anew: each class of them has a set, and is left alone without.
bool WorksOnImages(const TOptimizerOptions& options)
{
  return (options.m_nBitonalCompressions | options.m_nContinuousCompressions |
          options.m_nIndexedCompressions) != 0;
}

// Whether fonts are to be changed, and it has to be known what text shows of them.
bool WorksOnFonts(const TOptimizerOptions& options, const CFontEdits& edits)
{
  return options.m_bSubsetFonts || options.m_bMergeEmbeddedFonts || options.m_bMergeFonts ||
         options.m_bRemoveStandardFonts || options.m_bConvertToCFF || options.m_bConvertToType1 ||
         edits.m_bRenameFonts || edits.m_bUnembedFonts || edits.m_bEmbedFonts;
}

// The fonts of the input as the copy will have them, without duplicates.
class COptFontRegistry : public CFontRegistry
{
public:
  COptFontRegistry(CDocument& document, const CStandIns& standIns)
      : CFontRegistry(document), m_file(document.GetFile()), m_standIns(standIns)
  {
  }
  CObjectPtr GetStandIn(const CObjectPtr& object) const override { return m_standIns.Get(m_file, object); }

private:
  CFile& m_file;
  const CStandIns& m_standIns;
};

// What happens to the streams of one save: each pass leaves to the next what it does not handle. Lent to the
// copier, for the streams that it copies, and to the output file, for those that it makes itself.
class CStreamPasses : public IStreamStep
{
public:
  // With bJBIG2 the version of the output knows that filter, with bDefaultSpaces colours of devices may be
  // others. The pass for images may be null.
  CStreamPasses(CCopyBase& copier, CFile& file, const TOptimizerOptions& options, bool bJBIG2,
                bool bDefaultSpaces, CDecodedStreams& decoded, CImageOptimizer* pImages,
                const CImageRecords& records, CImageReports& reports, const int& nPage)
      : m_copier(copier),
        m_file(file),
        m_pImages(pImages),
        m_records(records),
        m_reports(reports),
        m_nPage(nPage)
  {
    if (options.m_bRecodeJPEG)
      m_pRecoder.Reset(new CJPEGStreamRecoder);
    if (options.m_bRecodeSamples)
      m_pSamples.Reset(new CSampleRecoder(options.m_nEffort, bDefaultSpaces));
    if (options.m_bRecodeBitonal)
      m_pBitonal.Reset(new CBitonalStreamRecoder(bJBIG2));
    if (options.m_bRecompressStreams)
      m_pRecompressor.Reset(new CStreamRecompressor(options.m_nEffort, decoded));
    m_copier.SetStreamStep(m_pImages || m_pRecoder || m_pSamples || m_pBitonal || m_pRecompressor ? this
                                                                                                  : nullptr);
    m_file.SetStreamDeflater(m_pRecompressor.Get());
  }
  CStreamPasses(const CStreamPasses&) = delete;
  CStreamPasses& operator=(const CStreamPasses&) = delete;
  ~CStreamPasses()
  {
    m_copier.SetStreamStep(nullptr);
    m_file.SetStreamDeflater(nullptr);
  }

  void HandleStream(const CObjectPtr& source, const CObjectPtr& target) override
  {
    if (!source || !target["Subtype"].IsName("Image"))
    {
      Work(source, target);
      return;
    }
    const BSE::CObjectPtr<CImageReport> pReport(new CImageReport);
    pReport->m_nPage = m_nPage;
    BeginReport(source, *pReport);
    Work(source, target);
    EndReport(target, m_records.Find(pReport->m_nObjNumber), *pReport);
    m_reports.Add(pReport.Get());
  }

private:
  void Work(const CObjectPtr& source, const CObjectPtr& target)
  {
    // What an image has become is as short as it can be. One that stays is next for those passes that change
    // no sample.
    if (m_pImages)
      m_pImages->Optimize(source, target);
    if (static_cast<CStreamPart*>(target.GetStreamObject().Get())->IsEncodingFinal())
      return;
    if (m_pRecoder && m_pRecoder->Recode(*target))
      return;
    if ((!m_pSamples || !m_pSamples->Recode(source, *target)) && m_pRecompressor)
      m_pRecompressor->HandleStream(source, target);
    // Last, against whatever form is the shortest of the others.
    if (m_pBitonal)
      m_pBitonal->Recode(*target);
  }

  CCopyBase& m_copier;
  CFile& m_file;
  CImageOptimizer* m_pImages;
  const CImageRecords& m_records;
  CImageReports& m_reports;
  const int& m_nPage;  // that is being copied
  BSE::CScopedPtr<CJPEGStreamRecoder> m_pRecoder;
  BSE::CScopedPtr<CSampleRecoder> m_pSamples;
  BSE::CScopedPtr<CBitonalStreamRecoder> m_pBitonal;
  BSE::CScopedPtr<CStreamRecompressor> m_pRecompressor;
};

}  // namespace

COptimizer::COptimizer(BSE::IErrorContext* pErrorContext)
    : CDocumentCopierT<CObjectCopier>(pErrorContext), m_stripper(m_options, pErrorContext)
{
  m_bKeepFileId = true;
  m_input.GetFile().SetImageFilters(GetImageFilters());
  m_output.GetFile().SetImageFilters(GetImageFilters());
}

COptimizer::~COptimizer()
{
  Close();
}

bool COptimizer::Open(BSE::IByteStream* pStream, const CString* pPassword)
{
  Close();
  m_input.SetLenient(m_options.m_bLenientOpening);
  try
  {
    if (!OpenInput(pStream, pPassword))
      return false;
  }
  catch (...)
  {
    // The stream is let go of at once, as after every other failure.
    m_input.Abandon();
    throw;
  }
  ApplyVersion();
  return true;
}

void COptimizer::ApplyVersion()
{
  if (!m_options.m_bVersionSet)
    return;
  const int nMajor = ToVersionNumber(m_options.m_nVersionMajor);
  const int nMinor = ToVersionNumber(m_options.m_nVersionMinor);
  const int nMajorNow = m_output.GetMajorVersion();
  const bool bEnough = nMajorNow > nMajor || (nMajorNow == nMajor && m_output.GetMinorVersion() >= nMinor);
  if (m_options.m_bVersionRaisedOnly && bEnough)
    return;
  if (m_options.m_bVersionWithinClaim && !IsVersionAllowed(m_input.GetConformance(), nMajor, nMinor))
    return;
  m_output.SetVersion(nMajor, nMinor);
}

bool COptimizer::Close()
{
  if (m_input.IsOpened())
  {
    ResetState();
    m_fontEdits.RemoveAll();
    m_input.GetFile().BeginRelease();
  }
  m_pFonts.Reset();
  m_standIns.RemoveAll();
  m_decoded.RemoveAll();
  m_images.RemoveAll();
  m_imageReports.RemoveAll();
  return CloseDocuments();
}

void COptimizer::ResetState()
{
  m_bAnalyzed = false;
  m_bConformanceLost = false;
  m_output.SetConformance(CConformance());
}

bool COptimizer::Save(BSE::IByteStream* pStream, const TEncryption& encryption)
{
  bool bEnded = false;
  bool bSaved = false;
  try
  {
    bEnded = BSE::CatchExhaustion(m_pErrorContext,
                                  [&]
                                  {
                                    bSaved = RunSave(pStream, encryption);
                                    return true;
                                  });
  }
  catch (...)
  {
    BSE::ReportExhaustion(m_pErrorContext, BSE::g_nUnknownFatalError);
  }
  if (!bEnded)
    AbandonOutput();
  return bSaved;
}

bool COptimizer::RunSave(BSE::IByteStream* pStream, const TEncryption& encryption)
{
  if (!Analyze())
    return false;
  if (m_bContentUnread && (m_options.m_bExtractImages || m_options.m_bExtractFonts))
    BSE::ReportLoss(m_pErrorContext, g_nNotRepairable);
  OptimizeFonts();
  if (m_input.GetConformance().IsArchival())
    DecideConformance();
  m_bLinearize = m_options.m_bLinearize;
  m_bAutoLinearize = m_options.m_bAutoLinearize;
  m_pLinearizer = GetLinearizer(m_options.m_bLinearizeObjectStreams);
  m_nOutputCipher = m_options.m_nOutputCipher;
  m_stripper.Reset();
  m_annotArrays.RemoveAll();
  m_emptyAnnotArrays.RemoveAll();
  return CopyDocument(pStream, encryption);
}

bool COptimizer::CopyDocument(BSE::IByteStream* pStream, const TEncryption& encryption)
{
  const bool bJBIG2 = m_output.GetMajorVersion() > 1 || m_output.GetMinorVersion() >= 4;
  for (int i = m_images.GetBegin(); i != m_images.GetEnd(); i = m_images.GetNext(i))
    m_images.GetAt(i)->ForgetSave();
  BSE::CScopedPtr<CImageOptimizer> pImages;
  if ((m_images.GetCount() > 0 && WorksOnImages(m_options)) || m_options.m_bRecodeSamples)
    pImages.Reset(new CImageOptimizer(m_input.GetFile(), m_options, m_standIns, m_images,
                                      m_output.GetMajorVersion(), m_output.GetMinorVersion(),
                                      m_bDefaultSpaces));
  m_imageReports.RemoveAll();
  m_use.Settle(m_standIns);
  const BSE::CScopedValue<CImageOptimizer*> images(m_pImages, pImages.Get());
  const CStreamPasses passes(*this, m_output.GetFile(), m_options, bJBIG2, m_bDefaultSpaces, m_decoded,
                             pImages.Get(), m_images, m_imageReports, m_nCopiedPage);
  return CDocumentCopierT<CObjectCopier>::Save(pStream, encryption);
}

void COptimizer::AbandonOutput()
{
  // The stream may be the caller's, who expects it back when the save has failed.
  m_output.Abandon();
  ForgetPending();
}

bool COptimizer::Analyze()
{
  if (!m_input.IsOpened())
  {
    BSE::ReportError(m_pErrorContext, BSE::g_nInvalidOperation);
    return false;
  }
  if (m_bAnalyzed)
    return true;
  const CConformance claim = m_input.GetConformance();
  if (!claim.IsNone() && !m_output.GetConformance().IsNone() &&
      m_output.GetMajorVersion() != claim.GetMajor())
  {
    BSE::ReportError(m_pErrorContext, g_nInvalidCompliance);
    return false;
  }
  FindDuplicates();
  // Objects that have been changed must not be read again: now, or never.
  if (!m_options.m_bMergeEqualObjects)
    m_bDefaultSpaces =
        !(WorksOnImages(m_options) || m_options.m_bRecodeSamples) || HasDefaultColorSpaces(m_input.GetFile());
  AnalyzeContent();
  m_bAnalyzed = true;
  return true;
}

void COptimizer::AnalyzeContent()
{
  m_images.RemoveAll();
  m_pFonts.Reset();
  m_bFontsDone = false;
  m_bImagesRead = false;
  m_use.Forget();
  m_bContentUnread = false;
  ReadContent(WorksOnImages(m_options) || m_options.m_bExtractImages,
              WorksOnFonts(m_options, m_fontEdits) || m_options.m_bExtractFonts);
}

BSE::CScopedPtr<CFontRegistry> COptimizer::CreateFontRegistry()
{
  return BSE::CScopedPtr<CFontRegistry>(new COptFontRegistry(m_input, m_standIns));
}

// Once for an open document, since the fonts of the input are changed.
void COptimizer::OptimizeFonts()
{
  if (!m_pFonts || !WorksOnFonts(m_options, m_fontEdits) || std::exchange(m_bFontsDone, true))
    return;
  CFontEditor editor(m_input, *m_pFonts, m_options, m_standIns, m_decoded);
  CFontOptimizer optimizer(editor, m_fontEdits);
  optimizer.Run();
  m_bConformanceLost = m_bConformanceLost || optimizer.IsClaimLost();
}

void COptimizer::FindDuplicates()
{
  m_standIns.RemoveAll();
  m_decoded.RemoveAll();
  m_bDefaultSpaces = true;
  // The tables have a place for each number up to the highest one, which a file of a few bytes may choose.
  CFile& file = m_input.GetFile();
  const int nNumbers = file.GetObjectCount();
  if (nNumbers > g_nFreeNumbers && nNumbers > file.GetInput()->GetLength())
  {
    BSE::CTracer::Trace("I", "PDF Optimizer", "Object numbers are too sparse to find equal objects.");
    return;
  }
  CRedundantObjectOptimizer redundant;
  if (m_options.m_bRemoveRedundantObjects)
    redundant.Run(m_input, eResourceAll);
  else if (m_options.m_bMergeFonts)
    redundant.Run(m_input, eResourceFont);
  m_standIns.Add(redundant.GetTable());
  if (!m_options.m_bMergeEqualObjects)
    return;
  MergeEqualObjects(file, m_options.m_bRecompressStreams, m_standIns, m_decoded, &m_bDefaultSpaces);
}

CObjectPtr COptimizer::GetStandIn(const CObjectPtr& object)
{
  return m_standIns.Get(m_input.GetFile(), object);
}

CObjectPtr COptimizer::VisitIndirect(const CObjectPtr& object)
{
  if (object.GetFile() != &m_input.GetFile())
    return CDocumentCopierT<CObjectCopier>::VisitIndirect(object);
  const CObjectPtr source = GetStandIn(object);
  if (source != object)
    TellDamage(object);
  // What has a copy was let in, and pages are: they need not be loaded here.
  if (const CObjectPtr copy = GetCopy(source))
    return copy;
  if (IsInTree(source) || (!m_stripper.WasDropped(object) && !m_stripper.IsDropped(source)))
    return CDocumentCopierT<CObjectCopier>::VisitIndirect(source);
  source->Unload();
  return {};
}

void COptimizer::DecideConformance()
{
  const CConformance claim = m_input.GetConformance();
  m_bConformanceLost = m_bConformanceLost || IsClaimLost(claim);
  if (m_bConformanceLost)
  {
    const unsigned nVersion = static_cast<unsigned>(m_input.GetMajorVersion() & 0xF) << 12 |
                              static_cast<unsigned>(m_input.GetMinorVersion() & 0xF) << 8;
    m_output.SetConformance(CConformance(nVersion));
  }
  else if (claim.GetLevel() == 3 && (m_options.m_nStrip & eStripStructure) != 0)
    m_output.SetConformance(WithoutStructure(claim));
}

bool COptimizer::IsClaimLost(CConformance conformance)
{
  const TColorModel nModel = m_input.GetOutputIntentModel();
  if (HasColorConversionLostClaim(nModel))
    return true;
  if ((m_options.m_nStrip & eStripOutputIntents) != 0 && nModel != eModelNone)
    return true;
  if (m_options.m_bReduceColorComplexity && nModel == eModelNone)
    return true;
  return conformance.GetPart() == 1 && WritesJPEG2000();
}

bool COptimizer::HasColorConversionLostClaim(TColorModel nModel) const
{
  switch (m_options.m_nColorConversion)
  {
  case eColorConversionRGB:
    return nModel != eModelRgb;
  case eColorConversionCMYK:
    return nModel != eModelCmyk;
  case eColorConversionGray:
    return nModel != eModelGray;
  default:
    return false;
  }
}

bool COptimizer::WritesJPEG2000() const
{
  const unsigned nFlags = m_options.m_nContinuousCompressions;
  if ((nFlags & eCompressionFlagJPEG2000) != 0)
    return true;
  return (nFlags & eCompressionFlagMRC) != 0 && (m_options.m_nMrcLayerCompression == eCompressionJPEG2000 ||
                                                 m_options.m_nMrcPictCompression == eCompressionJPEG2000);
}

bool COptimizer::CopyMetadata()
{
  if ((m_options.m_nStrip & eStripMetadata) == 0)
  {
    m_output.AddHistoryEvent("optimized", nullptr);
    return CopyDocumentMetadata();
  }
  const CObjectPtr info = CopyInfo(g_writerKeys);
  if (!info)
    return false;
  ApplyInfoEntries(*info);
  return true;
}

}  // namespace PDF
