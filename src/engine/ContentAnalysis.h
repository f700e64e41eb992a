#pragma once

#include "base/BasicMap.h"
#include "content/ContentEnvironment.h"
#include "content/Matrix.h"
#include "document/NumberSet.h"
#include "engine/ImageRecord.h"
#include "engine/StandIns.h"

namespace PDF
{

// The pass that looks at a document before anything of it is written: reads the content of every page, with
// all forms, patterns and soft masks in it, and fills a record for each image that is painted.
//
// What it cannot follow is on the safe side: images of glyph procedures and appearances, and those of content
// that could not be read to its end, are noted as such that have to stay as they are. Reports go to the
// document's error context and mean no loss. Holds the content of one page at a time.
class CContentAnalysis
{
public:
  // All are borrowed. Stand-ins are those of the document's file; records are added to.
  CContentAnalysis(CDocument& document, const CStandIns& standIns, CImageRecords& images);
  CContentAnalysis(const CContentAnalysis&) = delete;
  CContentAnalysis& operator=(const CContentAnalysis&) = delete;

  void Run();

  // --- For the analyzers of content

  // A use of an image. The matrix takes its unit square to points on the page, where the clip is.
  void AddImage(const CObjectPtr& image, const TMatrix& matrix, const TRectangle& clip);

  // Notes that all images must stay as they are that a resource dictionary leads to, through forms, patterns,
  // fonts of procedures and soft masks.
  void KeepImages(const CObjectPtr& resources);

  // False if that has been analyzed with the same matrix, clip and resources of its own before: it would
  // tell nothing new.
  bool AddPlace(const CObjectPtr& form, const TMatrix& matrix, const TRectangle& clip);

private:
  struct TUse;

  void AnalyzePage(int nPage);
  void KeepAppearances(const CObjectPtr& annots);
  void KeepAppearance(const CObjectPtr& appearance);
  void KeepImage(const CObjectPtr& image);
  CObjectPtr GetStandIn(const CObjectPtr& object) const;
  CImageRecord* FindOrAdd(const CObjectPtr& image, TImageRole nRole);
  void AddMasks(const CObjectPtr& image, const CImageRecord& record, const TUse& use);

  CDocument& m_document;
  const CStandIns& m_standIns;
  CImageRecords& m_images;
  CContentEnvironment m_environment;
  CNumberSet m_kept;  // holders of resources that KeepImages has been through
  CNumberSet m_appearances;
  BSE::CBasicMap m_places;
  double m_dUserUnit = 1;
  int m_nPage = 0;
};

}  // namespace PDF
