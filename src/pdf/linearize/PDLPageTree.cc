#include "pdf/linearize/PDLPageTree.h"

#include "base/Limits.h"

#include <algorithm>
#include <iterator>

namespace
{

// Bytes that writing inherited values on pages may add, beyond the length of the file.
constexpr std::int64_t g_nFreeInherited = std::int64_t{64} << 20;

constexpr int g_nMaxTexts = 1 << 30;

// Whether the node has entries besides those of the tree itself and what pages inherit.
bool HasForeignEntries(const PDObj& node)
{
  constexpr const char* keys[] = {"Type", "Kids", "Count", "Parent"};
  const int nEnd = node.GetNext(0);
  const auto isKey = [&node](int nKey)
  { return [&node, nKey](const char* szKey) { return node.IsName(nKey, szKey); }; };
  for (int nKey = 1; nKey < nEnd; nKey = node.GetNext(nKey + 1))
  {
    if (std::none_of(std::begin(keys), std::end(keys), isKey(nKey)) &&
        std::none_of(std::begin(g_pdInheritableKeys), std::end(g_pdInheritableKeys), isKey(nKey)))
      return true;
  }
  return false;
}

}  // namespace

bool PDLPageTree::Load(PDFile& file)
{
  PDObj catalogue;
  TPDStream stream;
  if (!file.ReadObject(file.GetRoot(), catalogue, stream))
    return Fail("The catalogue cannot be read.");
  const int nRoot = file.FindObject(catalogue.GetReference(catalogue.Find(0, "Pages")));
  if (nRoot < 0)
    return Fail("There is no page tree.");
  m_nBudget = g_nFreeInherited + file.GetFileLength();
  m_seen.SetSize(file.GetCount());
  TScope scope;
  std::fill(std::begin(scope.m_values), std::end(scope.m_values), -1);
  m_scopes.Add(scope);
  m_pending.Add({nRoot, -1, 0, 0});
  while (!m_pending.IsEmpty())
  {
    const TPending item = m_pending[m_pending.GetSize() - 1];
    m_pending.Truncate(m_pending.GetSize() - 1);
    if (!Visit(file, item))
      return false;
  }
  m_seen.RemoveAll();
  m_pending.RemoveAll();
  return !m_pages.IsEmpty() || Fail("There are no pages.");
}

bool PDLPageTree::Visit(PDFile& file, const TPending& item)
{
  if (item.m_nObject < 0 || m_seen[item.m_nObject] != 0)
    return Fail("The page tree holds an object twice, or one that is missing.");
  m_seen[item.m_nObject] = 1;
  PDObj object;
  TPDStream stream;
  if (!file.ReadObject(item.m_nObject, object, stream) || object.GetType(0) != ePDDictionary)
    return Fail("The page tree cannot be read.");
  const int nType = object.Find(0, "Type");
  const TPDType nKids = object.GetType(object.Find(0, "Kids"));
  const bool bNode = object.IsName(nType, "Pages") ||
                     (!object.IsName(nType, "Page") && (nKids == ePDArray || nKids == ePDReference));
  return bNode ? AddNode(file, item, object) : AddPage(file, item, object);
}

bool PDLPageTree::AddNode(PDFile& file, const TPending& item, const PDObj& node)
{
  if (item.m_nDepth >= BSE::g_nMaxTreeDepth)
    return Fail("The page tree is too deep.");
  m_nodes.Add({item.m_nObject, item.m_nParent});
  m_bForeignEntries = m_bForeignEntries || (item.m_nParent >= 0 && HasForeignEntries(node));
  TScope scope = m_scopes[item.m_nScope];
  for (int i = 0; i < ePDInheritableCount; ++i)
  {
    const std::span<const unsigned char> text = node.GetText(node.Find(0, g_pdInheritableKeys[i]));
    if (text.empty())
      continue;
    if (std::ssize(text) > g_nMaxTexts - m_texts.GetSize())
      return Fail("Inherited page values are too long.");
    scope.m_values[i] = m_values.Add({item.m_nObject, m_texts.GetSize(), static_cast<int>(text.size())});
    m_texts.Append(text);
  }
  const int nScope = m_scopes.Add(scope);
  const int nKids = node.Find(0, "Kids");
  PDObj array;
  TPDStream stream;
  if (node.GetType(nKids) != ePDReference)
    AddKids(file, node, nKids, item, nScope);
  else if (file.ReadObject(file.FindObject(node.GetReference(nKids)), array, stream))
    AddKids(file, array, 0, item, nScope);
  else
    return Fail("The page tree cannot be read.");
  return true;
}

void PDLPageTree::AddKids(const PDFile& file, const PDObj& object, int nKids, const TPending& node,
                          int nScope)
{
  if (object.GetType(nKids) != ePDArray)
    return;
  const int nFirst = m_pending.GetSize();
  const int nEnd = object.GetNext(nKids);
  for (int nKid = nKids + 1; nKid < nEnd; nKid = object.GetNext(nKid))
    m_pending.Add({file.FindObject(object.GetReference(nKid)), node.m_nObject, nScope, node.m_nDepth + 1});
  const std::span<TPending> kids = m_pending.GetSpan().subspan(static_cast<std::size_t>(nFirst));
  std::reverse(kids.begin(), kids.end());
}

bool PDLPageTree::AddPage(PDFile& file, const TPending& item, const PDObj& page)
{
  if (item.m_nParent < 0)
    return Fail("The page tree has no root.");
  TPDPage entry = {};
  entry.m_nObject = item.m_nObject;
  entry.m_nParent = item.m_nParent;
  entry.m_nMetadata = file.FindObject(page.GetReference(page.Find(0, "Metadata")));
  entry.m_nThumbnail = file.FindObject(page.GetReference(page.Find(0, "Thumb")));
  for (int i = 0; i < ePDInheritableCount; ++i)
  {
    const bool bOwn = page.Find(0, g_pdInheritableKeys[i]) >= 0;
    entry.m_inherited[i] = bOwn ? -1 : m_scopes[item.m_nScope].m_values[i];
    if (entry.m_inherited[i] >= 0)
      m_nBudget -= m_values[entry.m_inherited[i]].m_nLength;
  }
  m_pages.Add(entry);
  return m_nBudget >= 0 || Fail("Inherited page values are too long.");
}

std::span<const unsigned char> PDLPageTree::GetValueText(int nValue) const
{
  const TValue& value = m_values[nValue];
  return m_texts.GetSpan().subspan(static_cast<std::size_t>(value.m_nStart),
                                   static_cast<std::size_t>(value.m_nLength));
}
