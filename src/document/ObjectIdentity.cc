#include "document/ObjectIdentity.h"

#include <initializer_list>

namespace PDF
{

namespace
{

constexpr const char* g_types[] = {"Page",
                                   "Pages",
                                   "Catalog",
                                   "Template",
                                   "Annot",
                                   "OCG",
                                   "OCMD",
                                   "StructElem",
                                   "StructTreeRoot",
                                   "MCR",
                                   "OBJR",
                                   "Sig",
                                   "DocTimeStamp",
                                   "SigRef",
                                   "Thread",
                                   "Bead",
                                   "Outlines",
                                   "Filespec",
                                   "F",
                                   "3D",
                                   "3DRef",
                                   "3DNode",
                                   "Rendition",
                                   "MediaClip",
                                   "RichMediaContent",
                                   "RichMediaConfiguration",
                                   "RichMediaInstance",
                                   "SpiderContentSet",
                                   "Collection",
                                   "CollectionItem",
                                   "CollectionSubitem",
                                   "Namespace"};

constexpr const char* g_fits[] = {"XYZ", "Fit", "FitH", "FitV", "FitR", "FitB", "FitBH", "FitBV"};

// A dictionary with a destination has a "D", perhaps an "SD", and little else.
constexpr int g_nMaxDestinationEntries = 3;

bool IsSmall(const CObjectPtr& value)
{
  int nCount = 0;
  for (int i = value.GetBegin(); i != value.GetEnd() && nCount <= g_nMaxDestinationEntries;
       i = value.GetNext(i))
    ++nCount;
  return nCount <= g_nMaxDestinationEntries;
}

bool IsOneOf(const char* szName, std::initializer_list<const char*> names)
{
  for (const char* szOther : names)
    if (KeyEquals(szName, szOther))
      return true;
  return false;
}

template <std::size_t n>
bool IsNamed(const CObjectPtr& name, const char* const (&names)[n])
{
  if (name.IsName())
    for (const char* szOther : names)
      if (name.IsName(szOther))
        return true;
  return false;
}

bool IsDestination(const CObjectPtr& array)
{
  return array.GetSize() >= 2 && IsNamed(array[1], g_fits);
}

// Keys that link an object to others of its kind, name its place, or make it what it is.
bool IsLinkKey(const char* szKey)
{
  return IsOneOf(szKey, {"Parent", "Prev", "Kids", "First", "Last", "FT", "Fields", "ByteRange", "Names",
                         "Nums", "Limits", "StructParent", "TransformMethod", "SubFilter", "EF"});
}

// The dash pattern of a graphics state (ISO 32000-1, Table 58), whose "Type" is optional: an array and a
// number. Nothing else of that key begins with an array.
bool IsDash(const CObjectPtr& value)
{
  return !value.IsIndirect() && value.IsArray() && value.GetSize() == 2 && !value[0].IsIndirect() &&
         value[0].IsArray() && !value[1].IsIndirect() && value[1].IsNumber();
}

// Short keys are also names of glyphs and resources, and of entries of graphics states; what else there is
// says which.
bool IsLinkedByShortKeys(const CObjectPtr& value)
{
  const auto has = [&](const char* szKey) { return value.GetIndex(szKey) >= 0; };
  // Structure elements, beads, annotations, dictionaries with a destination.
  if (has("P") && value["S"].IsName())
    return true;
  if (has("N") && has("V") && has("R"))
    return true;
  if (has("Rect") && has("Subtype"))
    return true;
  if (has("D") && !has("S") && IsSmall(value) && !value["Type"].IsName("ExtGState") && !IsDash(value["D"]))
    return true;
  // Fields and outline items; groups and configurations of layers.
  return value["T"].IsString() || value["Title"].IsString() || value["Name"].IsString();
}

// A font whose glyphs, or a pattern whose cell take their resources from the page that shows them (ISO
// 32000-1, Table 112). Readers keep what they have drawn for one page, and would show it on another.
bool DependsOnPage(const CObjectPtr& value)
{
  return (value["Subtype"].IsName("Type3") || value["PatternType"].GetIntegerValue() == 1) &&
         value.GetIndex("Resources") < 0;
}

bool HasLinkKey(const CObjectPtr& value)
{
  for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
    if (IsLinkKey(value.GetKey(i)))
      return true;
  return false;
}

}  // namespace

bool HasIdentity(const CObjectPtr& object)
{
  if (object.IsArray())
    return IsDestination(object);
  if (!object.IsDictionary())
    return false;
  const CObjectPtr value = object.GetValueObject() ? object.GetValueObject() : object;
  return IsNamed(value["Type"], g_types) || HasLinkKey(value) || IsLinkedByShortKeys(value) ||
         DependsOnPage(value);
}

}  // namespace PDF
