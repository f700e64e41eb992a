#include "document/Page.h"

#include "document/NumberSet.h"
#include "pdf/ArrayObject.h"
#include "pdf/File.h"

#include <algorithm>

namespace PDF
{

int GetInheritedKey(const char* szKey)
{
  for (int i = 0; i < g_nInheritedKeys; ++i)
    if (KeyEquals(szKey, g_inheritedKeys[i]))
      return i;
  return -1;
}

bool IsAbsent(const CObjectPtr& value)
{
  if (!value.IsIndirect())
    return !value;
  return !value.GetValueObject() &&
         !(value.GetFile() && value.GetFile()->GetDamage(value.GetObjNumber()) != 0);
}

CPage::CPage(const CObjectPtr& object, const TInheritedValue (&inherited)[g_nInheritedKeys])
    : CTypedObject(object, "Page"), m_bListed(true)
{
  std::copy_n(inherited, g_nInheritedKeys, m_inherited);
}

CObjectPtr CPage::FindInherited(const char* szKey) const
{
  if (!m_bListed)
    return FindAlongParents(szKey);
  const int nKey = GetInheritedKey(szKey);
  if (nKey >= 0 && m_inherited[nKey].m_value)
    return m_inherited[nKey].m_value;
  // Whether it refers to null is known where a node above has a value: resources that all pages share are not
  // loaded again for each of them.
  return (*this)[szKey];
}

int CPage::GetHolder(const char* szKey) const
{
  const int nKey = GetInheritedKey(szKey);
  return nKey >= 0 ? m_inherited[nKey].m_nHolder : -1;
}

CObjectPtr CPage::FindAlongParents(const char* szKey) const
{
  const CObjectPtr root = GetFile() ? GetFile()->GetRoot()["Pages"] : CObjectPtr();
  CNumberSet visited;
  for (CObjectPtr node = *this; node.IsDictionary(); node = node["Parent"])
  {
    if (CObjectPtr value = node[szKey]; !IsAbsent(value))
      return value;
    if (node == root || (node.IsIndirect() && !visited.Add(node.GetObjNumber())))
      break;
  }
  return {};
}

bool CPage::FindMediaBox(TRectangle& rectangle) const
{
  rectangle = g_defaultMediaBox;
  return ReadRectangle(FindInherited("MediaBox"), rectangle);
}

bool CPage::GetMediaBox(TRectangle& rectangle) const
{
  if (FindMediaBox(rectangle))
    return true;
  BSE::ReportError(Get(), g_nPageMediaBoxInvalid);
  return false;
}

TRectangle CPage::GetCropBox() const
{
  TRectangle mediaBox;
  FindMediaBox(mediaBox);
  TRectangle cropBox;
  if (!ReadRectangle(FindInherited("CropBox"), cropBox) || !Intersect(cropBox, mediaBox))
    return mediaBox;
  return cropBox;
}

TRectangle CPage::GetBox(const char* szKey) const
{
  TRectangle box;
  return ReadRectangle((*this)[szKey], box) ? box : GetCropBox();
}

int CPage::GetRotate() const
{
  const std::int64_t nDegrees = GetIntegerOr(FindInherited("Rotate"), 0) % 360;
  return static_cast<int>((nDegrees + 360) % 360 / 90 * 90);
}

CResources CPage::GetResources() const
{
  CResources resources(FindInherited("Resources"));
  if (resources.IsDictionary())
    return resources;
  BSE::ReportError(Get(), g_nPageResourcesInvalid);
  return {};
}

int CPage_new::GetAnnotCount() const
{
  const CObjectPtr annots = m_object["Annots"];
  return annots.IsArray() ? annots.GetSize() : 0;
}

CObjectPtr CPage_new::GetAnnot(int nIndex) const
{
  return nIndex >= 0 && nIndex < GetAnnotCount() ? m_object["Annots"][nIndex] : CObjectPtr();
}

void CPage_new::Touch(const CObjectPtr& annots)
{
  const CObjectPtr& holder = annots.IsIndirect() ? annots : m_object;
  holder->SetDirty(true);
}

bool CPage_new::AddAnnot(PDF::CObject* pAnnot)
{
  if (!m_object.IsDictionary() || !pAnnot)
    return false;
  CObjectPtr annots = m_object["Annots"];
  if (!annots.IsArray())
  {
    annots = new CArrayObject;
    m_object.AddEntry("Annots", annots);
  }
  annots.Add(pAnnot);
  Touch(annots);
  return true;
}

bool CPage_new::RemoveAnnot(int nIndex)
{
  if (nIndex < 0 || nIndex >= GetAnnotCount())
    return false;
  const CObjectPtr annots = m_object["Annots"];
  annots->Delete(nIndex);
  Touch(annots);
  if (annots.GetSize() > 0)
    return true;
  m_object.DeleteEntry("Annots");
  m_object->SetDirty(true);
  return true;
}

}  // namespace PDF
