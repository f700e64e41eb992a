#pragma once

#include "document/Rectangle.h"
#include "document/Resources.h"
#include "document/SemanticObject.h"
#include "document/StatusCodes.h"

namespace PDF
{

// What pages inherit from the nodes above them (ISO 32000-1, Table 30).
inline constexpr const char* g_inheritedKeys[] = {"CropBox", "MediaBox", "Resources", "Rotate"};
inline constexpr int g_nInheritedKeys = 4;

// The index of a key among them, -1 for another one.
int GetInheritedKey(const char* szKey);

// A value that a page has from a node above it.
struct TInheritedValue
{
  CObjectPtr m_value;
  int m_nHolder = -1;  // the node, as its tree counts them
};

// A page (ISO 32000-1, 7.7.3.3) by value: a page object, or null.
class CPage : public CTypedObject
{
public:
  CPage() : CTypedObject("Page") {}

  // A page that no tree has handed out inherits along its "Parent".
  CPage(const CObjectPtr& object) : CTypedObject(object, "Page") {}

  // A page that a tree lists: null where it has a value of its own, or none.
  CPage(const CObjectPtr& object, const TInheritedValue (&inherited)[g_nInheritedKeys]);

  // The value of a key that the page has or inherits; null if there is none. A reference to null does not
  // hide what is above it.
  CObjectPtr FindInherited(const char* szKey) const;

  // The node of its tree that a page has the value from; -1 where the value is the page's own.
  int GetHolder(const char* szKey) const;

  // False, reported, without a valid box; the rectangle is then 612 by 792.
  bool GetMediaBox(TRectangle& rectangle) const;

  // The effective boxes: the crop box is clipped by the media box and defaults to it, the others default to
  // the crop box.
  TRectangle GetCropBox() const;
  TRectangle GetTrimBox() const { return GetBox("TrimBox"); }
  TRectangle GetBleedBox() const { return GetBox("BleedBox"); }
  TRectangle GetArtBox() const { return GetBox("ArtBox"); }

  // 0, 90, 180 or 270 degrees clockwise.
  int GetRotate() const;

  // Inherited resources; null, reported, if neither page nor ancestors have a dictionary.
  CResources GetResources() const;

private:
  CObjectPtr FindAlongParents(const char* szKey) const;
  TRectangle GetBox(const char* szKey) const;
  bool FindMediaBox(TRectangle& rectangle) const;

  TInheritedValue m_inherited[g_nInheritedKeys];
  bool m_bListed = false;
};

// True for null and for a reference to it. What cannot be read is not null: it is there, and damaged.
bool IsAbsent(const CObjectPtr& value);

// A counted page with its annotations (ISO 32000-1, 12.5). Annotation indices are 0-based.
class CPage_new : public CSemanticObject
{
public:
  explicit CPage_new(PDF::CObject* pPage) : CSemanticObject(pPage) {}

  CPage GetPage() const { return CPage(m_object); }

  // 0 without an array in "Annots".
  int GetAnnotCount() const;

  // Null out of range.
  CObjectPtr GetAnnot(int nIndex) const;

  // Appends, making "Annots" where it is missing; the page becomes dirty. False for an invalid page.
  bool AddAnnot(PDF::CObject* pAnnot);

  // Removes the annotation, and "Annots" with the last one. False out of range.
  bool RemoveAnnot(int nIndex);

private:
  // Marks what holds the array as changed.
  void Touch(const CObjectPtr& annots);
};

}  // namespace PDF
