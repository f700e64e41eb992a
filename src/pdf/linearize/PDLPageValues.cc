#include "pdf/linearize/PDLPageValues.h"

#include <algorithm>
#include <iterator>

namespace
{

// What a value must have to be worth a reference.
constexpr std::size_t g_nMinSize = 40;

// Readers that know linearized files look for what a page needs first at once.
constexpr const char* g_keptKeys[] = {"Type", "Parent", "Contents", "MediaBox", "CropBox", "Thumb", "AA"};

bool IsLong(const PDObj& object, int nKey)
{
  return object.IsContainer(nKey + 1) && object.GetText(nKey + 1).size() >= g_nMinSize &&
         !object.HoldsName(nKey + 1, "ByteRange") &&
         std::none_of(std::begin(g_keptKeys), std::end(g_keptKeys),
                      [&object, nKey](const char* szKey) { return object.IsName(nKey, szKey); });
}

}  // namespace

void PDLPageValues::Collect(PDFile& file, const PDLPageTree& tree)
{
  const int nPages = static_cast<int>(tree.GetPages().size());
  m_starts.Add(0);
  for (int nPage = 0; nPage < nPages; ++nPage)
  {
    if (nPage > 0)
      CollectPage(file, tree, nPage);
    m_starts.Add(m_values.GetSize());
  }
}

void PDLPageValues::CollectPage(PDFile& file, const PDLPageTree& tree, int nPage)
{
  const TPDPage& page = tree.GetPages()[static_cast<std::size_t>(nPage)];
  TPDStream stream;
  if (!file.ReadObject(page.m_nObject, m_object, stream) || stream.m_bStream ||
      m_object.GetType(0) != ePDDictionary)
    return;
  const int nEnd = m_object.GetNext(0);
  for (int nKey = 1; nKey < nEnd; nKey = m_object.GetNext(nKey + 1))
  {
    if (IsLong(m_object, nKey))
      m_values.Add({nPage, nKey + 1, static_cast<int>(m_object.GetText(nKey + 1).size())});
  }
  const int nInherited = page.m_inherited[ePDResources];
  if (nInherited >= 0 && tree.GetValueText(nInherited).size() >= g_nMinSize)
    m_values.Add({nPage, ~nInherited, static_cast<int>(tree.GetValueText(nInherited).size())});
}
