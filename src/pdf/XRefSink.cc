#include "pdf/XRefSink.h"

#include "base/Limits.h"

#include <algorithm>

namespace PDF
{

namespace
{

// Free entries cost time only, those in use memory as well.
constexpr std::int64_t g_nFreeEntries = 250000;
constexpr std::int64_t g_nFreeUsedEntries = 250000;

}  // namespace

CXRefSink::CXRefSink(CXRefTable& table, std::int64_t nFileLength)
    : m_table(table),
      m_nEntriesLeft(g_nFreeEntries + BSE::g_nMaxSharedRatio * nFileLength),
      m_nUsedLeft(g_nFreeUsedEntries + nFileLength)
{
}

bool CXRefSink::TakeUsed(int nObjNumber)
{
  --m_nEntriesLeft;
  --m_nUsedLeft;
  if (IsExhausted())
    return false;
  if (m_bHidden)
    m_hidden.Add(nObjNumber);
  return true;
}

bool CXRefSink::SetOffset(int nObjNumber, int nGenNumber, std::int64_t nOffset)
{
  if (!TakeUsed(nObjNumber))
    return false;
  m_table.SetOffset(nObjNumber, nGenNumber, nOffset);
  return true;
}

bool CXRefSink::SetCompressed(int nObjNumber, int nStream, int nIndex)
{
  if (!TakeUsed(nObjNumber))
    return false;
  m_table.SetCompressed(nObjNumber, nStream, nIndex);
  return true;
}

bool CXRefSink::SetFree(int nObjNumber, int nGenNumber, int nNext)
{
  --m_nEntriesLeft;
  if (IsExhausted())
    return false;
  if (!IsHidden(nObjNumber))
    m_table.SetFree(nObjNumber, nGenNumber, nNext);
  return true;
}

void CXRefSink::BeginHidden()
{
  m_hidden.RemoveAll();
  m_bHidden = true;
}

void CXRefSink::EndHidden()
{
  m_bHidden = false;
  std::ranges::sort(m_hidden.GetSpan());
}

bool CXRefSink::IsHidden(int nObjNumber) const
{
  return !m_bHidden && std::ranges::binary_search(m_hidden.GetSpan(), nObjNumber);
}

}  // namespace PDF
