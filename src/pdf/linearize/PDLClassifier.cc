// The order of a linearized file follows from who needs an object first (ISO 32000-1, annex F.3). The walks
// go from each page, page 1 before all others, then from the nodes of the page tree, the catalogue, and the
// information dictionary. An object takes the first walk that meets it as its owner and becomes shared when a
// second page meets it. No walk enters another page, or climbs by Parent or Prev, since either would soon
// hold the whole document. What no walk has met is found at the end, so that nothing of the plain file is
// missing. Walks keep a stack of their own, and what pages share is walked again within a bound only.

#include "pdf/linearize/PDLClassifier.h"

#include "pdf/linearize/PDParser.h"

#include <algorithm>

namespace
{

// What pages share is walked again for each of them, and listed for each of them. Up to these numbers for
// every object and for bytes of the file; real documents stay far below.
constexpr std::int64_t g_nRevisitsPerObject = 32;
constexpr std::int64_t g_nFreeRevisits = std::int64_t{4} << 20;
constexpr std::int64_t g_nBytesPerUse = 16;
constexpr std::int64_t g_nFreeUses = std::int64_t{1} << 21;

struct TCategoryKey
{
  const char* m_szKey;
  TPDCategory m_nCategory;
};

constexpr TCategoryKey g_categoryKeys[] = {
    {"Threads", ePDCategoryThreads},       {"Outlines", ePDCategoryOutlines},
    {"Names", ePDCategoryNames},           {"AcroForm", ePDCategoryAcroForm},
    {"PageLabels", ePDCategoryPageLabels}, {"StructTreeRoot", ePDCategoryStructure}};

}  // namespace

bool PDLClassifier::Classify()
{
  m_objects.SetSize(m_file.GetCount());
  m_nRevisits = g_nFreeRevisits + g_nRevisitsPerObject * m_file.GetCount();
  m_nMaxUses = g_nFreeUses + m_file.GetFileLength() / g_nBytesPerUse;
  if (!MarkRoles())
    return false;
  const int nPages = static_cast<int>(m_tree.GetPages().size());
  for (int nPage = 1; nPage <= nPages; ++nPage)
    WalkPage(nPage);
  m_pageStarts.Add(m_pageObjects.GetSize());
  m_nPage = 0;
  WalkNodes();
  if (!WalkCatalogue())
    return false;
  WalkInformation();
  WalkLeft();
  return true;
}

bool PDLClassifier::MarkRoles()
{
  for (const TPDPage& page : m_tree.GetPages())
  {
    if (page.m_nMetadata >= 0)
      m_objects[page.m_nMetadata].m_nRole = ePDRolePageMetadata;
  }
  for (const TPDPage& page : m_tree.GetPages())
    m_objects[page.m_nObject].m_nRole = ePDRolePage;
  for (const TPDTreeNode& node : m_tree.GetNodes())
    m_objects[node.m_nObject].m_nRole = ePDRoleNode;
  for (const int nObject : {m_file.GetRoot(), m_file.GetInfo(), m_file.GetEncrypt()})
  {
    if (nObject < 0)
      continue;
    const TPDRole nRole = m_objects[nObject].m_nRole;
    if (nRole == ePDRolePage || nRole == ePDRoleNode || nRole == ePDRoleSpecial)
      return Fail("An object has two roles.");
    m_objects[nObject].m_nRole = ePDRoleSpecial;
  }
  return true;
}

void PDLClassifier::WalkPage(int nPage)
{
  m_nPage = nPage;
  m_nWalk = nPage;
  m_pageStarts.Add(m_pageObjects.GetSize());
  const TPDPage& page = m_tree.GetPages()[static_cast<std::size_t>(nPage - 1)];
  TObject& object = m_objects[page.m_nObject];
  object.m_nOwner = nPage;
  object.m_nWalk = m_nWalk;
  if (nPage == 1)
    object.m_nFlags |= ePDFirstPage;
  m_pageObjects.Add(page.m_nObject);
  if (Parse(page.m_nObject))
    Push(GetEdges(page.m_nObject), ePDMarkerPage, false);
  WalkInherited(page);
}

// Goes on top of the page's own edges: resources come first. The page is then walked to its end.
void PDLClassifier::WalkInherited(const TPDPage& page)
{
  for (int i = 0; i < ePDInheritableCount; ++i)
  {
    if (page.m_inherited[i] >= 0)
      Push(ReadInherited(page.m_inherited[i]), i == ePDResources ? ePDMarkerFont : ePDMarkerPage, false);
  }
  Run();
}

std::span<const TPDEdge> PDLClassifier::ReadInherited(int nValue)
{
  PDParser parser(m_tree.GetValueText(nValue), true);
  m_scratch.Truncate(0);
  if (parser.ParseValue(m_object) == TPDResult::Complete)
    m_reader.Read(m_object, 0, ePDInside, m_scratch);
  return m_scratch.GetSpan();
}

void PDLClassifier::WalkNodes()
{
  m_nCurrentGroup = ePDCategoryPages;
  for (const TPDTreeNode& node : m_tree.GetNodes())
    m_groups[ePDCategoryPages].Add(node.m_nObject);
  for (const TPDTreeNode& node : m_tree.GetNodes())
  {
    if (Parse(node.m_nObject))
      Push(GetEdges(node.m_nObject), ePDMarkerPages, false);
    Run();
  }
}

// All entries are read before the first is walked: the catalogue's text is gone by then.
bool PDLClassifier::WalkCatalogue()
{
  struct TEntry
  {
    TPDCategory m_nCategory;
    int m_nFirstEdge;
  };
  TPDStream stream;
  if (!m_file.ReadObject(m_file.GetRoot(), m_object, stream) || m_object.GetType(0) != ePDDictionary)
    return Fail("The catalogue cannot be read.");
  BSE::CBasicArray<TEntry> entries;
  BSE::CBasicArray<TPDEdge> edges;
  int nPageMode = -1;
  const int nEnd = m_object.GetNext(0);
  for (int nKey = 1; nKey < nEnd; nKey = m_object.GetNext(nKey + 1))
  {
    const auto found =
        std::find_if(std::begin(g_categoryKeys), std::end(g_categoryKeys),
                     [this, nKey](const TCategoryKey& key) { return m_object.IsName(nKey, key.m_szKey); });
    entries.Add({found != std::end(g_categoryKeys) ? found->m_nCategory : ePDCategoryOther, edges.GetSize()});
    if (m_object.IsName(nKey, "PageMode"))
    {
      m_bOutlinesFirst = m_object.IsName(nKey + 1, "UseOutlines");
      nPageMode = m_file.FindObject(m_object.GetReference(nKey + 1));
    }
    if (!m_object.IsName(nKey, "Pages"))
      m_reader.Read(m_object, nKey + 1, ePDInside, edges);
  }
  if (m_file.ReadObject(nPageMode, m_object, stream))
    m_bOutlinesFirst = m_object.IsName(0, "UseOutlines");
  for (int i = 0; i < entries.GetSize(); ++i)
  {
    const int nFirst = entries[i].m_nFirstEdge;
    const int nNext = i + 1 < entries.GetSize() ? entries[i + 1].m_nFirstEdge : edges.GetSize();
    WalkEntry(entries[i].m_nCategory, edges.GetSpan().subspan(static_cast<std::size_t>(nFirst),
                                                              static_cast<std::size_t>(nNext - nFirst)));
  }
  return true;
}

void PDLClassifier::WalkEntry(TPDCategory nCategory, std::span<const TPDEdge> edges)
{
  m_nCurrentGroup = nCategory;
  if (nCategory == ePDCategoryOutlines && edges.size() == 1)
    m_stack.Add(MakePDEdge(GetPDEdgeTarget(edges[0]), ePDChainItem));
  else
    Push(edges, ePDMarkerOther, false);
  Run();
}

void PDLClassifier::WalkInformation()
{
  m_nCurrentGroup = ePDCategoryOther;
  if (m_file.GetInfo() >= 0 && Parse(m_file.GetInfo()))
    Push(GetEdges(m_file.GetInfo()), ePDMarkerOther, false);
  Run();
}

BSE::CBasicArray<int> PDLClassifier::GetPageObjects(int nPage) const
{
  BSE::CBasicArray<int> objects;
  for (int i = m_pageStarts[nPage]; i < m_pageStarts[nPage + 1]; ++i)
  {
    const unsigned nFlags = m_objects[m_pageObjects[i]].m_nFlags;
    if ((nFlags & ePDShared) == 0 || (nFlags & ePDFirstPage) != 0)
      objects.Add(m_pageObjects[i]);
  }
  return objects;
}
