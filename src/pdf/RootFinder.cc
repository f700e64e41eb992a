#include "pdf/RootFinder.h"

#include "base/ErrorHandler.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>

namespace PDF
{

bool CRootFinder::IsBefore(const TPlace& left, const TPlace& right)
{
  return left.m_nOffset != right.m_nOffset ? left.m_nOffset < right.m_nOffset
                                           : left.m_nIndex < right.m_nIndex;
}

void CRootFinder::TakeLater(TPlace& last, const TPlace& place)
{
  if (IsBefore(last, place))
    last = place;
}

CRootFinder::TPlace CRootFinder::GetPlace(int nObjNumber) const
{
  const TXRefEntry& entry = m_file.GetXRef().GetEntry(nObjNumber);
  if (entry.m_nType != eXRefCompressed)
    return {entry.m_nOffset, 0, nObjNumber};
  return {m_file.GetTableOffset(static_cast<int>(entry.m_nOffset)), entry.m_nGeneration, nObjNumber};
}

void CRootFinder::Visit(int nObjNumber)
{
  const CObjectPtr object = m_file.GetObject(nObjNumber, -1);
  if (!object.IsDictionary() || object.IsStream())
    return;
  const CObjectPtr type = object["Type"];
  if (type.IsName("Catalog"))
    TakeLater(m_catalogue, GetPlace(nObjNumber));
  else if (type.IsName("Pages") && object["Kids"].IsArray() && !object["Parent"].IsDictionary())
    TakeLater(m_tree, GetPlace(nObjNumber));
  else if (type.IsName("Page"))
    m_pages.Add(GetPlace(nObjNumber));
  else if (!type && object["Producer"].IsString())
    TakeLater(m_info, GetPlace(nObjNumber));
}

CObjectPtr CRootFinder::Find()
{
  {
    // What is damaged is reported when it is wanted.
    const BSE::CErrorSuppressor quiet(m_file.OnGetErrorHandler());
    CXRefTable& table = m_file.GetXRef();
    for (int i = table.GetNextNumber(0); i < table.GetSize(); ++i)
    {
      if (table.GetEntry(i).m_nType != eXRefFree)
        Visit(i);
      table.ReleaseObject(i);
      i = std::max(i, table.GetNextNumber(i) - 1);
    }
  }
  return m_catalogue.m_nObjNumber > 0 ? m_file.GetObject(m_catalogue.m_nObjNumber, -1) : AssumeCatalogue();
}

CObjectPtr CRootFinder::FindInfo() const
{
  return m_info.m_nObjNumber > 0 ? m_file.GetObject(m_info.m_nObjNumber, -1) : CObjectPtr();
}

// As if it had been read: the file stays as it is.
CObjectPtr CRootFinder::AddAssumed(const CObjectPtr& value)
{
  CObjectPtr object = m_file.NewObject(0, 0, g_nGroupDirect);
  if (object)
    static_cast<CIndirectObject*>(object.Get())->SetParsed(value.Get(), nullptr);
  return object;
}

CObjectPtr CRootFinder::AssumeTree()
{
  if (m_tree.m_nObjNumber > 0)
    return m_file.GetObject(m_tree.m_nObjNumber, -1);
  if (m_pages.IsEmpty())
    return nullptr;
  std::ranges::sort(m_pages.GetSpan(), IsBefore);
  const CObjectPtr kids(new CArrayObject);
  for (const TPlace& place : m_pages.GetSpan())
    kids.Add(m_file.GetObject(place.m_nObjNumber, -1));
  const CObjectPtr node(new CDictionaryObject);
  node.AddEntry("Type", new CNameObject("Pages"));
  node.AddEntry("Count", new CIntegerObject(m_pages.GetSize()));
  node.AddEntry("Kids", kids);
  return AddAssumed(node);
}

CObjectPtr CRootFinder::AssumeCatalogue()
{
  const CObjectPtr tree = AssumeTree();
  if (!tree)
    return nullptr;
  const CObjectPtr catalogue(new CDictionaryObject);
  catalogue.AddEntry("Type", new CNameObject("Catalog"));
  catalogue.AddEntry("Pages", tree);
  return AddAssumed(catalogue);
}

}  // namespace PDF
