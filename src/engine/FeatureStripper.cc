#include "engine/FeatureStripper.h"

namespace PDF
{

bool CFeatureStripper::IsEntryDropped(const char* szKey) const
{
  // Every key of every dictionary comes here: the first letter rules nearly all of them out.
  switch (szKey ? *szKey : '\0')
  {
  case 'A':
    return Has(eStripAlternates) && KeyEquals(szKey, "Alternates");
  case 'C':
    return KeyEquals(szKey, "CREO");
  case 'H':
    return KeyEquals(szKey, "HDAG");
  case 'M':
    return Has(eStripMetadata) && KeyEquals(szKey, "Metadata");
  case 'S':
    return Has(eStripStructure) && (KeyEquals(szKey, "StructParent") || KeyEquals(szKey, "StructParents"));
  default:
    return false;
  }
}

bool CFeatureStripper::IsPageEntryDropped(const char* szKey, const CObjectPtr& value) const
{
  if (KeyEquals(szKey, "B"))
    return Has(eStripThreads);
  if (KeyEquals(szKey, "PieceInfo"))
    return Has(eStripPieceInfo);
  if (KeyEquals(szKey, "Thumb"))
    return Has(eStripThumbnails);
  // Any other order of tabs does without the structure.
  if (KeyEquals(szKey, "Tabs"))
    return Has(eStripStructure) && value.IsName("S");
  return IsEntryDropped(szKey);
}

bool CFeatureStripper::IsCatalogEntryDropped(const char* szKey) const
{
  // "Treads" stands for no feature, and "Threads", which does, stays: the articles of a document are read
  // from the catalogue by programs that never look at the beads of a page, so only those are stripped.
  if (KeyEquals(szKey, "Treads"))
    return Has(eStripThreads);
  if (KeyEquals(szKey, "PieceInfo"))
    return Has(eStripPieceInfo);
  if (KeyEquals(szKey, "OutputIntents"))
    return Has(eStripOutputIntents);
  if (KeyEquals(szKey, "StructTreeRoot") || KeyEquals(szKey, "MarkInfo"))
    return Has(eStripStructure);
  if (KeyEquals(szKey, "Spider"))
    return Has(eStripSpider);
  if (KeyEquals(szKey, "AcroForm"))
    return Has(eStripForms);
  return KeyEquals(szKey, "CREO") || KeyEquals(szKey, "HDAG") || KeyEquals(szKey, "Perms");
}

}  // namespace PDF
