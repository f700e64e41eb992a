// Candidates are the resources of pages, appearances and the form, and what they lead to. They are told apart
// in three steps, each dearer and on fewer objects than the one before: a digest of the dictionary and the
// length of the data, a digest of the data, and a comparison in depth. The result is a table from each object
// to the one that stands for it; the copy asks it for every reference.

#include "engine/RedundantObjectOptimizer.h"

#include "base/ScopedValue.h"
#include "engine/ObjectComparer.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"

#include <algorithm>

namespace PDF
{

namespace
{

// Merges the candidates of a table in an order in which everything is decided before what refers to it. A
// candidate whose digest no other one has is left alone; of the others a second digest finds the one that it
// may be equal to.
class CMerger
{
public:
  CMerger(CFile& file, CObjectTable& table, COptObjectDigestComputer& computer, CStreamDigester& streams)
      : m_file(file), m_table(table), m_computer(computer), m_comparer(table, streams)
  {
  }

  void Run()
  {
    FindShared();
    for (const int nNumber : m_computer.GetOrder())
      if (m_shared.Contains(nNumber))
        Place(nNumber);
  }

private:
  // The candidates whose digest is that of another one too.
  void FindShared()
  {
    BSE::CBasicArray<int> sorted;
    sorted.Append(m_computer.GetOrder());
    const std::span<int> numbers = sorted.GetSpan();
    const auto digest = [&](int nNumber) { return m_table.Provide(nNumber).m_nDigest; };
    std::sort(numbers.begin(), numbers.end(), [&](int nA, int nB) { return digest(nA) < digest(nB); });
    for (std::size_t i = 1; i < numbers.size(); ++i)
      if (digest(numbers[i - 1]) == digest(numbers[i]))
      {
        m_shared.Add(numbers[i - 1]);
        m_shared.Add(numbers[i]);
      }
  }

  void Place(int nNumber)
  {
    const CObjectPtr object = m_file.GetObject(nNumber, -1);
    const int nHead = m_heads.FindOrAdd(m_computer.ComputeWholeDigest(object), nNumber);
    if (nHead != nNumber)
      Compare(nHead, nNumber, object);
    object->Unload();
  }

  void Compare(int nHead, int nNumber, const CObjectPtr& object)
  {
    // Duplicates of one object often follow each other.
    if (!m_head || m_head.GetObjNumber() != nHead)
    {
      if (m_head)
        m_head->Unload();
      m_head = m_file.GetObject(nHead, -1);
    }
    if (!m_comparer.Equal(m_head, object))
      return;
    // They hang after their head, the last one first.
    TObjectTableEntry& head = m_table.Provide(nHead);
    TObjectTableEntry& entry = m_table.Provide(nNumber);
    entry.m_nCanonical = nHead;
    entry.m_nNext = head.m_nNext;
    head.m_nNext = nNumber;
  }

  CFile& m_file;
  CObjectTable& m_table;
  COptObjectDigestComputer& m_computer;
  CObjectComparer m_comparer;
  CNumberSet m_shared;
  CDigestTable m_heads;
  CObjectPtr m_head;  // the last one that was compared with
};

}  // namespace

void CRedundantObjectOptimizer::Run(CDocument& document, unsigned nMask)
{
  CFile& file = document.GetFile();
  RemoveAll();
  CStreamDigester streams(true);
  COptObjectDigestComputer computer(file, m_table, streams);
  m_nMask = nMask;
  m_seen.RemoveAll();
  m_met.RemoveAll();
  m_owners.RemoveAll();
  m_holders.RemoveAll();
  const BSE::CScopedValue<COptObjectDigestComputer*> current(m_pComputer, &computer);
  VisitDocument(document);
  m_seen.RemoveAll();
  m_met.RemoveAll();
  m_owners.RemoveAll();
  m_holders.RemoveAll();
  CMerger(file, m_table, computer, streams).Run();
  for (int i = m_table.GetNext(-1); i >= 0; i = m_table.GetNext(i))
    if (m_table[i].m_nCanonical != 0)
      file.GetXRef().ReleaseObject(i);
}

int CRedundantObjectOptimizer::GetCanonical(int nNumber) const
{
  const int nCanonical = m_table[nNumber].m_nCanonical;
  return nCanonical != 0 ? nCanonical : nNumber;
}

CObjectPtr CRedundantObjectOptimizer::ResolveCanonical(const CObjectPtr& value) const
{
  switch (value.GetType())
  {
  case eIndirect:
  {
    const int nCanonical = GetCanonical(value.GetObjNumber());
    return nCanonical == value.GetObjNumber() ? value : value.GetFile()->GetObject(nCanonical, -1);
  }
  case eArray:
  {
    const CObjectPtr copy(new CArrayObject);
    for (int i = 0; i < value.GetSize(); ++i)
      copy.Add(ResolveCanonical(value[i]));
    return copy;
  }
  case eDictionary:
  {
    const CObjectPtr copy(new CDictionaryObject);
    for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
      copy.AddEntry(value.GetKey(i), ResolveCanonical(value.GetValue(i)));
    return copy;
  }
  default:
    return value;
  }
}

void CRedundantObjectOptimizer::VisitDocument(CDocument& document)
{
  VisitResources(document.GetAcroForm()["DR"]);
  const int nPages = document.GetPageCount();
  for (int nPage = 0; nPage < nPages; ++nPage)
  {
    const int nRepeated = document.GetPageTree().GetRepeatedNumber(nPage);
    if (nRepeated > 0 && !m_owners.Add(nRepeated))
      continue;
    const CPage page = document.GetPage(nPage);
    // Nodes are counted from 0.
    const int nHolder = page.GetHolder("Resources");
    if (nHolder < 0 || m_holders.Add(nHolder + 1))
      VisitResources(page.FindInherited("Resources"));
    const CObjectPtr annotations = page["Annots"];
    if (!WasSeen(annotations))
    {
      for (int i = 0; annotations.IsArray() && i < annotations.GetSize(); ++i)
        VisitAnnotation(annotations[i]);
      if (annotations.IsIndirect())
        annotations->Unload();
    }
    WorkOff();
    page->Unload();
  }
  WorkOff();
}

// What was seen is not loaded again: pages share their resources, and may share all else.
bool CRedundantObjectOptimizer::WasSeen(const CObjectPtr& object)
{
  return object.GetObjNumber() > 0 && !m_seen.Add(object.GetObjNumber());
}

void CRedundantObjectOptimizer::VisitAnnotation(const CObjectPtr& annotation)
{
  if (WasSeen(annotation))
    return;
  const CObjectPtr appearances = annotation["AP"];
  if (WasSeen(appearances))
    return VisitResources(annotation["DR"]);
  for (int i = appearances.GetBegin(); i != appearances.GetEnd(); i = appearances.GetNext(i))
  {
    const CObjectPtr appearance = appearances.GetValue(i);
    if (WasSeen(appearance))
      continue;
    if (appearance.IsStream())
    {
      if (appearance["Subtype"].IsName("Form") && appearance["BBox"].IsArray())
        VisitResources(appearance["Resources"]);
      continue;
    }
    if (!appearance.IsDictionary())
      continue;
    for (int k = appearance.GetBegin(); k != appearance.GetEnd(); k = appearance.GetNext(k))
      if (const CObjectPtr state = appearance.GetValue(k); !WasSeen(state) && state.IsStream())
        VisitResources(state["Resources"]);
  }
  VisitResources(annotation["DR"]);
}

void CRedundantObjectOptimizer::VisitResources(const CObjectPtr& resources)
{
  if (WasSeen(resources) || !resources.IsDictionary())
    return;
  const int nNumber = resources.GetObjNumber();
  if (m_table[nNumber].m_nCanonical != 0)
    return;
  VisitSection(resources, "ColorSpace", eResourceColorSpace);
  VisitSection(resources, "Pattern", eResourcePattern);
  VisitSection(resources, "Shading", eResourceShading);
  VisitXObjects(resources["XObject"]);
  VisitSection(resources, "Font", eResourceFont);
  VisitSection(resources, "ExtGState", eResourceExtGState);
}

void CRedundantObjectOptimizer::VisitSection(const CObjectPtr& resources, const char* szSection,
                                             unsigned nKinds)
{
  const CObjectPtr section = resources[szSection];
  if (WasSeen(section) || !section.IsDictionary())
    return;
  for (int i = section.GetBegin(); i != section.GetEnd(); i = section.GetNext(i))
  {
    const CObjectPtr value = section.GetValue(i);
    if (WasMet(value))
      continue;
    if ((nKinds == eResourcePattern && value["PatternType"].GetIntegerValue() == 1) ||
        (nKinds == eResourceFont && value["Subtype"].IsName("Type3")))
      VisitInner(value);
    if ((m_nMask & nKinds) != 0)
      m_pComputer->Visit(value);
    else if (value)
      value->Unload();
  }
}

void CRedundantObjectOptimizer::VisitXObjects(const CObjectPtr& xobjects)
{
  constexpr unsigned nBoth = eResourceImage | eResourceForm;
  if (WasSeen(xobjects) || !xobjects.IsDictionary())
    return;
  for (int i = xobjects.GetBegin(); i != xobjects.GetEnd(); i = xobjects.GetNext(i))
  {
    const CObjectPtr value = xobjects.GetValue(i);
    if (WasMet(value))
      continue;
    VisitInner(value);
    if ((m_nMask & nBoth) == nBoth || ((m_nMask & eResourceImage) != 0 && value["Subtype"].IsName("Image")) ||
        ((m_nMask & eResourceForm) != 0 && value["Subtype"].IsName("Form")))
      m_pComputer->Visit(value);
    else if (value)
      value->Unload();
  }
}

bool CRedundantObjectOptimizer::WasMet(const CObjectPtr& value)
{
  return value.IsIndirect() && value.GetObjNumber() > 0 && !m_met.Add(value.GetObjNumber());
}

// The list is worked off by a loop: forms in forms need no stack. An owner is entered once, so that direct
// resources are.
void CRedundantObjectOptimizer::VisitInner(const CObjectPtr& owner)
{
  if (owner.GetObjNumber() > 0 && !m_owners.Add(owner.GetObjNumber()))
    return;
  if (const CObjectPtr resources = owner["Resources"])
    m_waiting.Add(resources.Get());
}

void CRedundantObjectOptimizer::WorkOff()
{
  while (!m_waiting.IsEmpty())
  {
    const int nLast = m_waiting.GetSize() - 1;
    const CObjectPtr resources(m_waiting[nLast]);
    m_waiting.SetSize(nLast);
    VisitResources(resources);
  }
}

}  // namespace PDF
