#pragma once

#include "pdf/File.h"

namespace PDF
{

// Finds the root of a file whose trailer is lost or names none, among the objects of its table. Loads each of
// them once.
class CRootFinder
{
public:
  explicit CRootFinder(CFile& file) : m_file(file) {}

  // The last catalogue of the file. Where there is none, one that is assumed in memory: over the last page
  // node without a parent, or over the pages as they follow each other in the file. Null without a page.
  CObjectPtr Find();

  // True if what Find gave is assumed.
  bool HasAssumed() const { return m_catalogue.m_nObjNumber == 0; }

  // The last object that looks like the document information. After Find.
  CObjectPtr FindInfo() const;

private:
  // Where an object is in the file, or the object stream that holds it; then its index in that stream.
  struct TPlace
  {
    std::int64_t m_nOffset;
    int m_nIndex;
    int m_nObjNumber;
  };

  TPlace GetPlace(int nObjNumber) const;
  void Visit(int nObjNumber);
  CObjectPtr AssumeCatalogue();
  CObjectPtr AddAssumed(const CObjectPtr& value);
  CObjectPtr AssumeTree();

  static bool IsBefore(const TPlace& left, const TPlace& right);
  static void TakeLater(TPlace& last, const TPlace& place);

  CFile& m_file;
  TPlace m_catalogue = {-1, 0, 0};
  TPlace m_tree = {-1, 0, 0};
  TPlace m_info = {-1, 0, 0};
  BSE::CBasicArray<TPlace> m_pages;
};

}  // namespace PDF
