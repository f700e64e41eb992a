#include "pdf/linearize/PDLDirectValues.h"

#include "base/ByteOrder.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{

// What a value must have to be worth a reference, and what one must have that several pages share.
constexpr std::size_t g_nMinSize = 40;
constexpr std::size_t g_nMinSharedSize = 16;
constexpr std::size_t g_nMinUses = 3;

using CKeys = std::span<const char* const>;

// Readers that know linearized files look for what a page needs first at once.
constexpr const char* g_keptPageKeys[] = {"Type", "Parent", "Contents", "MediaBox", "CropBox", "Thumb", "AA"};

// Lists that belong to one page alone, such as annotations, stay apart: an editor changes them in place.
constexpr const char* g_sharableKeys[] = {"Resources", "Group", "TrimBox", "BleedBox", "ArtBox"};

// Extensions have to be direct (ISO 32000-2, 7.12); what is short and asked for first gains nothing.
constexpr const char* g_keptCatalogueKeys[] = {"Type", "Pages", "Version",    "Extensions",
                                               "AA",   "Perms", "OpenAction", "ViewerPreferences"};

// What a viewer asks for before it shows a page.
constexpr const char* g_earlyKeys[] = {"AcroForm", "OCProperties", "MarkInfo"};

bool IsOneOf(const PDObj& object, int nKey, CKeys keys)
{
  return std::any_of(keys.begin(), keys.end(),
                     [&object, nKey](const char* szKey) { return object.IsName(nKey, szKey); });
}

// Signatures have a string that is never encrypted, and so are in no object stream.
bool IsMovable(const PDObj& object, int nKey, CKeys kept)
{
  return object.IsContainer(nKey + 1) && !object.HoldsName(nKey + 1, "ByteRange") &&
         !IsOneOf(object, nKey, kept);
}

}  // namespace

void PDLDirectValues::Collect(PDFile& file, const PDLPageTree& tree)
{
  const int nPages = static_cast<int>(tree.GetPages().size());
  for (int nPage = 0; nPage < nPages; ++nPage)
    CollectPage(file, tree, nPage);
  CollectCatalogue(file, nPages);
  Share();
  AddUses(nPages + 1);
  m_sharables.RemoveAll();
  m_candidates.RemoveAll();
}

void PDLDirectValues::CollectPage(PDFile& file, const PDLPageTree& tree, int nPage)
{
  const TPDPage& page = tree.GetPages()[static_cast<std::size_t>(nPage)];
  TPDStream stream;
  if (!file.ReadObject(page.m_nObject, m_object, stream) || stream.m_bStream ||
      m_object.GetType(0) != ePDDictionary)
    return;
  const int nEnd = m_object.GetNext(0);
  for (int nKey = 1; nKey < nEnd; nKey = m_object.GetNext(nKey + 1))
  {
    if (!IsMovable(m_object, nKey, g_keptPageKeys))
      continue;
    // Equal bytes of an encrypted string are another string in another object.
    const bool bSharable = IsOneOf(m_object, nKey, g_sharableKeys) &&
                           !(file.IsEncrypted() && m_object.GetNode(nKey + 1).m_bStrings);
    AddCandidate(nPage, {page.m_nObject, nKey + 1, 0}, m_object.GetText(nKey + 1), bSharable);
  }
  if (const int nInherited = page.m_inherited[ePDResources]; nInherited >= 0)
    AddCandidate(nPage, {page.m_nObject, ~nInherited, 0}, tree.GetValueText(nInherited), true,
                 file.IsEncrypted() ? nInherited : g_nAnyScope);
}

void PDLDirectValues::CollectCatalogue(PDFile& file, int nPage)
{
  TPDStream stream;
  if (!file.ReadObject(file.GetRoot(), m_object, stream) || m_object.GetType(0) != ePDDictionary)
    return;
  const int nEnd = m_object.GetNext(0);
  for (int nKey = 1; nKey < nEnd; nKey = m_object.GetNext(nKey + 1))
  {
    if (!IsMovable(m_object, nKey, g_keptCatalogueKeys))
      continue;
    TValue value = {file.GetRoot(), nKey + 1, 0};
    value.m_bLate = !IsOneOf(m_object, nKey, g_earlyKeys);
    AddCandidate(nPage, value, m_object.GetText(nKey + 1), false);
  }
}

void PDLDirectValues::AddCandidate(int nPage, const TValue& value, std::span<const unsigned char> text,
                                   bool bSharable, int nScope)
{
  if (text.size() < (bSharable ? g_nMinSharedSize : g_nMinSize))
    return;
  const int nCandidate = m_candidates.Add({nPage, value, -1});
  m_candidates[nCandidate].m_value.m_nSize = static_cast<int>(text.size());
  if (!bSharable)
  {
    m_candidates[nCandidate].m_nFirst = nCandidate;
    return;
  }
  TSharable& sharable = m_sharables[m_sharables.Add({{}, nCandidate})];
  BSE::CHashSHA256 hash;
  unsigned char scope[4];
  BSE::StoreBigEndian(static_cast<std::uint32_t>(nScope), scope);
  hash.Update(scope);
  hash.Update(text);
  hash.Final(sharable.m_digest);
}

void PDLDirectValues::Share()
{
  const std::span<TSharable> sharables = m_sharables.GetSpan();
  std::sort(sharables.begin(), sharables.end(),
            [](const TSharable& a, const TSharable& b)
            {
              const int nOrder = std::memcmp(a.m_digest.data(), b.m_digest.data(), a.m_digest.size());
              return nOrder != 0 ? nOrder < 0 : a.m_nCandidate < b.m_nCandidate;
            });
  for (std::size_t nFirst = 0, nEnd; nFirst < sharables.size(); nFirst = nEnd)
  {
    for (nEnd = nFirst + 1;
         nEnd < sharables.size() && sharables[nEnd].m_digest == sharables[nFirst].m_digest;)
      ++nEnd;
    ShareGroup(sharables.subspan(nFirst, nEnd - nFirst));
  }
}

// The first of the document comes first.
void PDLDirectValues::ShareGroup(std::span<const TSharable> group)
{
  const int nFirst = group.front().m_nCandidate;
  TValue& value = m_candidates[nFirst].m_value;
  if (std::cmp_less(value.m_nSize, g_nMinSize) && group.size() < g_nMinUses)
    return;
  value.m_bShared = m_candidates[group.back().m_nCandidate].m_nPage > m_candidates[nFirst].m_nPage;
  for (const TSharable& sharable : group)
    m_candidates[sharable.m_nCandidate].m_nFirst = nFirst;
}

void PDLDirectValues::AddUses(int nOwners)
{
  BSE::CBasicArray<int> numbers;
  numbers.SetSize(m_candidates.GetSize());
  m_starts.SetSize(nOwners + 1);
  for (int i = 0; i < m_candidates.GetSize(); ++i)
  {
    TCandidate& candidate = m_candidates[i];
    if (candidate.m_nFirst < 0)
      continue;
    candidate.m_value.m_bFirstPage = candidate.m_nPage == 0;
    numbers[i] = candidate.m_nFirst == i ? m_values.Add(candidate.m_value) : numbers[candidate.m_nFirst];
    m_uses.Add({candidate.m_value.m_nNode, numbers[i], candidate.m_nFirst == i});
    m_starts[candidate.m_nPage + 1] = m_uses.GetSize();
  }
  // Owners without a value end where the one before them ends.
  for (int i = 1; i <= nOwners; ++i)
    m_starts[i] = std::max(m_starts[i], m_starts[i - 1]);
}

std::span<const PDLDirectValues::TUse> PDLDirectValues::GetUses(int nOwner) const
{
  return m_uses.GetSpan().subspan(static_cast<std::size_t>(m_starts[nOwner]),
                                  static_cast<std::size_t>(m_starts[nOwner + 1] - m_starts[nOwner]));
}
