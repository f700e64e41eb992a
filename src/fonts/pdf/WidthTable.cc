#include "fonts/pdf/WidthTable.h"

namespace PDF
{

namespace
{

constexpr std::int64_t g_nMaxCID = 65535;

}  // namespace

CWidthTable::CWidthTable(const CObjectPtr& array, int nPerCID, CFontAccount& account) : m_nPerCID(nPerCID)
{
  const int nSize = account.Charge(array.GetSize()) ? array.GetSize() : 0;
  for (int i = 0; i + 1 < nSize;)
  {
    const CObjectPtr first = array[i];
    const CObjectPtr second = array[i + 1];
    if (first.IsNumber() && second.IsArray())
      i += AddList(first.GetIntegerValue(), second, account) ? 2 : nSize;
    else if (first.IsNumber() && second.IsNumber() && i + 1 + nPerCID < nSize &&
             AddRange(first.GetIntegerValue(), array, i + 1))
      i += 2 + nPerCID;
    else
      ++i;
  }
  m_map.Finish(false);
}

bool CWidthTable::AddList(std::int64_t nFirst, const CObjectPtr& list, CFontAccount& account)
{
  if (!account.Charge(list.GetSize()))
    return false;
  const int nCount = list.GetSize() / m_nPerCID;
  if (nFirst < 0 || nFirst > g_nMaxCID || nCount == 0)
    return true;
  const std::int64_t nLast = std::min(nFirst + nCount - 1, g_nMaxCID);
  m_map.Add(static_cast<std::uint32_t>(nFirst), static_cast<std::uint32_t>(nLast),
            static_cast<std::uint32_t>(m_values.GetSize() / m_nPerCID));
  for (int i = 0; i < nCount * m_nPerCID; ++i)
    m_values.Add(list[i].GetRealValue());
  return true;
}

bool CWidthTable::AddRange(std::int64_t nFirst, const CObjectPtr& array, int nAt)
{
  for (int i = 1; i <= m_nPerCID; ++i)
    if (!array[nAt + i].IsNumber())
      return false;
  const std::int64_t nLast = std::min(array[nAt].GetIntegerValue(), g_nMaxCID);
  if (nFirst < 0 || nLast < nFirst)
    return true;
  m_map.Add(static_cast<std::uint32_t>(nFirst), static_cast<std::uint32_t>(nLast),
            static_cast<std::uint32_t>(m_values.GetSize() / m_nPerCID) | g_nSame);
  for (int i = 1; i <= m_nPerCID; ++i)
    m_values.Add(array[nAt + i].GetRealValue());
  return true;
}

std::span<const double> CWidthTable::Find(int nCID) const
{
  const TCodeRange* pRange = nCID < 0 ? nullptr : m_map.Find(static_cast<std::uint32_t>(nCID));
  if (!pRange)
    return {};
  std::size_t nIndex = pRange->m_nValue & ~g_nSame;
  if ((pRange->m_nValue & g_nSame) == 0)
    nIndex += pRange->GetStep(static_cast<std::uint32_t>(nCID));
  const auto nPerCID = static_cast<std::size_t>(m_nPerCID);
  return m_values.GetSpan().subspan(nIndex * nPerCID, nPerCID);
}

}  // namespace PDF
