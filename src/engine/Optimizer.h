#pragma once

#include "document/DocumentCopier.h"
#include "document/ObjectCopier.h"
#include "engine/DecodedStreams.h"
#include "engine/FontEdits.h"
#include "engine/ImageReport.h"
#include "engine/ObjectStripper.h"
#include "engine/OptimizerOptions.h"
#include "engine/ResourceUse.h"

namespace PDF
{

class CFontRegistry;
class CImageOptimizer;

// The engine behind a handle: an input document, an output document, and a save that copies the one into the
// other, object by object, with what the options ask for done on the way.
//
// A save is one fixed sequence:
//
//   1. Analysis, once for an open document, whatever is set later: all that the other steps have to know of
//      pages, images and fonts before the first object is copied.
//   2. Fonts, rewritten from what the analysis has seen of them.
//   3. Conformance: the claim that the result can keep. After the fonts, which may cost it, and before the
//      copy, which writes it.
//   4. The copy: metadata, pages, catalogue. Duplicates are redirected and images replaced where an object is
//      reached through a reference, in VisitIndirect; page content is rewritten in CopyPage.
//
// A pass is a class of its own that one of these steps calls. The first step that fails ends the save, and
// nothing is rolled back. Belongs to one thread.
class COptimizer : public CDocumentCopierT<CObjectCopier>
{
public:
  // All reports go to the context, which has to outlive the optimizer. The options are those of the profile
  // eProfileNone.
  explicit COptimizer(BSE::IErrorContext* pErrorContext);
  ~COptimizer() override;

  // Written directly. Those that the analysis reads have no effect any more once it is done.
  TOptimizerOptions& GetOptions() { return m_options; }
  const TOptimizerOptions& GetOptions() const { return m_options; }
  void SetProfile(unsigned nProfile) { m_options.SetProfile(nProfile); }

  // Requests for single fonts. They go when a document is closed.
  CFontEdits& GetFontEdits() { return m_fontEdits; }

  // Closes what is open, then opens the input. The output starts with its conformance and version, or with
  // the version of the options where one is set. A null password is the empty one. False, reported and
  // closed, on failure; closed also when exhausted memory is thrown.
  bool Open(BSE::IByteStream* pStream, const CString* pPassword);

  // The sequence above. May be repeated while a document is open. False, reported, on failure; the stream
  // keeps what was written up to then, and is released. Exhausted memory and every other exception end here.
  bool Save(BSE::IByteStream* pStream, const TEncryption& encryption);

  // Forgets the analysis and closes both documents. True if nothing is open.
  bool Close();

  // The analysis alone; true at once when it is done. False, reported, if no document is open or the version
  // set for the output does not go with the input's conformance.
  bool Analyze();

  // The analysis, with all content read even where no option asks for it; then a listing of the images or
  // fonts as text into a file, or to standard output for a null or empty path. False, reported, on failure.
  bool ListImages(const char* szPath);
  bool ListFonts(const char* szPath);

  // Back to the state before the analysis: nothing known, no claim lost, no conformance for the output.
  void ResetState();

  // What the analysis knows of the images, and the last save has made of them. None before an analysis that
  // an option for images asked for.
  const CImageRecords& GetImages() const { return m_images; }

  // What the last save has made of the images that it copied. None of those that options leave alone
  // altogether.
  const CImageReports& GetImageReports() const { return m_imageReports; }

  // The fonts that the analysis has met, in the order of their first use; null before one that an option for
  // fonts asked for.
  CFontRegistry* GetFonts() const { return m_pFonts.Get(); }

  // The object of the input that stands for this one and all its duplicates; itself for most, and for an
  // object of another file.
  CObjectPtr GetStandIn(const CObjectPtr& object);

  // A duplicate is replaced by the object that stands for it; what is dropped gives null.
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

  // What the strip flags keep, with the masks of images as simple as they can be. Inside the form, signed
  // signature fields and "SigFlags" go; the widget of a signature that is flattened becomes a stamp. A list
  // of references closes up where an object is dropped.
  CObjectPtr VisitDictionary(const CObjectPtr& object) override;
  CObjectPtr VisitArray(const CObjectPtr& object) override;

  // Null for an entry that the strip flags take out of every dictionary.
  CObjectPtr VisitEntry(const char* szKey, const CObjectPtr& value) override;

  // The page's resources lose what no content uses, where the options ask for that; so do those of forms.
  void LookAtContent(TPageCopy& page) override
  {
    m_pageResources = DropsResources() ? page.m_resources.m_value : CObjectPtr();
  }

  // Annotations are chosen one by one; of a signature that cannot hold for the copy the widget is reported
  // and goes.
  bool CopyPage(int nPage) override;

  // With eStripMetadata only the information dictionary, without the keys that describe the last writer.
  bool CopyMetadata() override;

private:
  void ApplyVersion();
  bool RunSave(BSE::IByteStream* pStream, const TEncryption& encryption);
  bool CopyDocument(BSE::IByteStream* pStream, const TEncryption& encryption);
  void FindDuplicates();
  void AnalyzeContent();
  void OptimizeFonts();

  // Adds what is not known yet of images and fonts, and extracts those that are new.
  void ReadContent(bool bImages, bool bFonts);
  BSE::CScopedPtr<CFontRegistry> CreateFontRegistry();
  template <class F>
  bool RunListing(const char* szPath, bool bImages, bool bFonts, F fnList);
  bool CopyMask(const CObjectPtr& image, const char* szKey, const CObjectPtr& mask, const CObjectPtr& copy);
  void DecideConformance();
  bool IsClaimLost(CConformance conformance);
  bool HasColorConversionLostClaim(TColorModel nModel) const;
  bool WritesJPEG2000() const;
  void AbandonOutput();
  bool IsPageEntryKept(const char* szKey, const CObjectPtr& value) override;
  CObjectPtr CopyPageEntry(const char* szKey, const CObjectPtr& value) override;
  bool IsCatalogEntryKept(const char* szKey, const CObjectPtr& value) override;

  // A form of nothing but signed signature fields is reported and left out, unless it has an XFA part.
  CObjectPtr CopyCatalogEntry(const char* szKey, const CObjectPtr& value) override;
  BSE::CScopedPtr<CListCopier> CreateListCopier() override;
  BSE::CScopedPtr<CStructTreeCopier> CreateStructTreeCopier() override;
  BSE::CScopedPtr<CTreeCopier> CreateOutlinesCopier() override;
  bool DropsResources() const { return m_options.m_bOptimizeResources && m_use.IsActive(); }
  CObjectPtr CopyResources(const CObjectPtr& resources);
  CObjectPtr CopyUsedResources(const CObjectPtr& resources);
  CObjectPtr CopyCategory(const char* szCategory, const CObjectPtr& entries);
  CObjectPtr CopyUsedEntries(const char* szCategory, const CObjectPtr& entries);
  template <class F>
  CObjectPtr CopyShortened(const CObjectPtr& object, F fnCopy);
  CObjectPtr CopyAnnots(const CObjectPtr& annots);
  CObjectPtr CopyAnnotations(const CObjectPtr& annots);
  bool HasOnlyLostFields(const CObjectPtr& form);
  static bool HasSignature(const CObjectPtr& fields);
  CObjectPtr CopyLook(const CObjectPtr& widget);
  CObjectPtr CopyForm(const CObjectPtr& form);
  CObjectPtr CloseUp(const CObjectPtr& source, const CObjectPtr& copy) const;

  TOptimizerOptions m_options;
  CFontEdits m_fontEdits;
  CStandIns m_standIns;
  CResourceUse m_use;         // not active unless an option asked for it before the analysis
  CDecodedStreams m_decoded;  // by the analysis, and not yet copied
  CImageRecords m_images;
  CImageReports m_imageReports;
  int m_nCopiedPage = 0;  // from 1; 0 outside of pages
  BSE::CScopedPtr<CFontRegistry> m_pFonts;
  CImageOptimizer* m_pImages = nullptr;  // during the copy, where there is such work
  bool m_bAnalyzed = false;
  bool m_bFontsDone = false;
  bool m_bImagesRead = false;
  bool m_bContentUnread = false;  // some was too much work
  bool m_bConformanceLost = false;
  bool m_bDefaultSpaces = true;  // colours of devices may be others in the input; also if nobody has looked
  bool m_bFilterSignedFields = false;  // inside the form
  bool m_bInFieldsArray = false;       // the next array is the form's list of fields
  bool m_bReadContent = false;         // in the dictionary of a form or pattern that the analysis has read
  CObjectPtr m_pageResources;          // of the page that is copied, until they are
  CObjectStripper m_stripper;
  CNumberSet m_annotArrays;       // met during this save
  CNumberSet m_emptyAnnotArrays;  // those of them of which nothing is kept
};

}  // namespace PDF
