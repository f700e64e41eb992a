#pragma once

#include "base/BasicMap.h"
#include "content/ContentEnvironment.h"
#include "content/Matrix.h"
#include "document/NumberSet.h"
#include "engine/ImageRecord.h"
#include "engine/ResourceUse.h"
#include "fonts/pdf/FontRegistry.h"

namespace PDF
{

// Gives content the fonts of a registry. Of colours nothing is known, and nothing is wrong with them.
class CAnalysisResources : public CFontResources
{
public:
  explicit CAnalysisResources(CFontRegistry& registry);
  BSE::CObjectPtr<IContentColorSpace> CreateColorSpace(const CObjectPtr&) override { return m_pSpace; }

private:
  BSE::CObjectPtr<IContentColorSpace> m_pSpace;
};

// The pass that looks at a document before anything of it is written: reads the content of every page, with
// all forms, patterns and soft masks in it, fills a record for each image that is painted, and marks the
// characters of fonts that are shown.
//
// What it cannot follow is on the safe side: images of glyph procedures and of content that could not be read
// to its end are noted as such that have to stay as they are, and all characters of the fonts there as used.
// So are images of appearances, and fonts of text that a form may change. Reports go to the document's error
// context and mean no loss. Holds the content of one page at a time.
class CContentAnalysis
{
public:
  // All are borrowed. Stand-ins are those of the document's file; records and fonts are added to. Without a
  // registry fonts play no part, and without a use of resources nobody asks which of them are named.
  CContentAnalysis(CDocument& document, const CStandIns& standIns, CImageRecords& images,
                   CFontRegistry* pFonts, CResourceUse* pUse = nullptr);
  CContentAnalysis(const CContentAnalysis&) = delete;
  CContentAnalysis& operator=(const CContentAnalysis&) = delete;

  // False if some content was too much work to read: images and fonts may be missing then.
  bool Run();

  // --- For the analyzers of content

  // A use of an image. The matrix takes its unit square to points on the page, where the clip is. Nothing
  // about the image may change where the smallest error may become a large one, as through a transfer
  // function.
  void AddImage(const CObjectPtr& image, const TMatrix& matrix, const TRectangle& clip, bool bSteep);

  // Notes of all images that they must stay as they are, of all fonts that any glyph may be shown, and of all
  // entries that they are used, that a resource dictionary leads to, through forms, patterns, fonts of
  // procedures and soft masks.
  void KeepResources(const CObjectPtr& resources);

  // Takes note of the fonts of a resource dictionary, whether text is shown in them or not: who changes a
  // program has to know all fonts that have it.
  void ListFonts(const CObjectPtr& resources);

  // What KeepResources does with a single font.
  void KeepFont(const CObjectPtr& font);

  // Whether the procedures of a Type 3 font use resources that it has not; also where nobody knows.
  bool NeedsResources(const CObjectPtr& font);

  // Content that finds things in the resources around its own may find others in another place. The count of
  // such finds tells whether any was made while a form was read: then the form is a borrower.
  void NoteBorrowing() { ++m_nBorrowings; }
  std::int64_t GetBorrowings() const { return m_nBorrowings; }
  void AddBorrower(const CObjectPtr& form) { m_borrowers.Add(form.GetObjNumber()); }
  bool IsBorrower(const CObjectPtr& form) const { return m_borrowers.Contains(form.GetObjNumber()); }

  // Null if nobody asks.
  CResourceUse* GetUse() const { return m_pUse; }

  // A text that is shown.
  void AddText(CFont& font, std::span<const unsigned char> text);

  // False if that has been analyzed with the same matrix, clip, font around it, resources of its own and
  // way of AddImage before: it would tell nothing new.
  bool AddPlace(const CObjectPtr& form, const TMatrix& matrix, const TRectangle& clip,
                const IContentFont* pFont, bool bSteep);

private:
  struct TUse;

  void AnalyzePage(int nPage);
  bool IsSpent();
  void KeepAll();
  void KeepHidden();
  void KeepNames(const CObjectPtr& defaultAppearance);
  void KeepNamed();
  void KeepUnread(const CObjectPtr& content);
  void KeepImages(const CObjectPtr& resources) { KeepEntries(resources, false); }
  void KeepEntries(const CObjectPtr& resources, bool bFonts);

  // --- Annotations
  // With bHidden nobody knows what they show.
  void LookAtAppearances(const CObjectPtr& annots, const CObjectPtr& resources, bool bHidden);
  void LookAtAnnotation(const CObjectPtr& annotation, const CObjectPtr& resources, bool bHidden);
  void LookAtAppearance(const CObjectPtr& appearance, const CObjectPtr& resources, bool bKeep);
  void LookAtForm(const CObjectPtr& form, const CObjectPtr& resources, bool bKeep);

  // Whether there are fields but those of signatures.
  bool HasTypedFields(const CObjectPtr& form);

  // Keeps the resources of a field's text, and tells whether the text can change. Takes note of text that a
  // viewer makes from the resources of the form, whether the form lists it or not.
  bool KeepDefaults(const CObjectPtr& field);
  void KeepImage(const CObjectPtr& image);
  CObjectPtr GetStandIn(const CObjectPtr& object) const;
  CImageRecord* FindOrAdd(const CObjectPtr& image, TImageRole nRole);
  void AddMasks(const CObjectPtr& image, const CImageRecord& record, const TUse& use);

  CDocument& m_document;
  const CStandIns& m_standIns;
  CImageRecords& m_images;
  CFontRegistry* m_pFonts;
  CResourceUse* m_pUse;
  BSE::CScopedPtr<CAnalysisResources> m_pResources;  // null without fonts
  CContentEnvironment m_environment;
  CNumberSet m_listed;      // resources, or their dictionaries of fonts, that ListFonts has been through
  CNumberSet m_kept;        // holders of resources that KeepResources has been through
  CNumberSet m_keptImages;  // those that KeepImages has been through
  CNumberSet m_needyFonts;  // Type 3 fonts whose procedures use resources, and the others
  CNumberSet m_plainFonts;
  CNumberSet m_appearances;      // annotations, and arrays of them
  CNumberSet m_readAppearances;  // streams whose text has been read
  CNumberSet m_borrowers;        // forms, patterns, annotations and arrays of them
  std::int64_t m_nBorrowings = 0;
  bool m_bDefaultText = false;  // an annotation may show text in a font of the form's resources
  BSE::CBasicMap m_places;
  double m_dUserUnit = 1;
  int m_nPage = 0;
};

}  // namespace PDF
