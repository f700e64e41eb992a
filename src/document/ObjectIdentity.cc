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
  return IsOneOf(szKey, {"Parent", "P", "Prev", "Kids", "First", "Last", "FT", "Fields", "ByteRange", "Names",
                         "Nums", "Limits", "StructParent", "StructParents", "TransformMethod"});
}

}  // namespace

bool HasIdentity(const CObjectPtr& object)
{
  if (object.IsArray())
    return IsDestination(object);
  if (!object.IsDictionary())
    return false;
  const CObjectPtr value = object.GetValueObject() ? object.GetValueObject() : object;
  if (IsNamed(value["Type"], g_types))
    return true;
  for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
    if (IsLinkKey(value.GetKey(i)))
      return true;
  const auto has = [&](const char* szKey) { return value.GetIndex(szKey) >= 0; };
  if (has("Rect") && has("Subtype"))
    return true;
  return (has("N") && has("V")) || (has("D") && !has("S")) || value["T"].IsString();
}

}  // namespace PDF
