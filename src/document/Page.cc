#include "document/Page.h"

#include "base/Limits.h"
#include "pdf/ArrayObject.h"
#include "pdf/File.h"

namespace PDF
{

CObjectPtr CPage::FindInherited(const char* szKey) const
{
  const CObjectPtr root = GetFile() ? GetFile()->GetRoot()["Pages"] : CObjectPtr();
  CObjectPtr node = *this;
  for (int i = 0; i <= BSE::g_nMaxTreeDepth && node.IsDictionary(); ++i)
  {
    if (CObjectPtr value = node[szKey])
      return value;
    if (node == root)
      break;
    node = node["Parent"];
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
