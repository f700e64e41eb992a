#include "images/color/IndexedColorSpace.h"

#include "base/Checked.h"
#include "base/Hash.h"
#include "base/Tracer.h"
#include "images/color/StatusCodes.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace PDF
{

bool CIndexedColorSpace::Load()
{
  constexpr int nColors = 256;
  const CObjectPtr high = m_object[2];
  const CObjectPtr table = m_object[3];
  if (!high.IsNumber() || high.GetIntegerValue() < 0)
    return false;
  m_nHigh = static_cast<int>(std::min<std::int64_t>(high.GetIntegerValue(), nColors - 1));
  const int nBytes = (m_nHigh + 1) * m_pBase->GetComponentCount();
  if (table.IsString())
    m_table.Append(table.GetStringValue().GetSpan());
  else if (table.IsStream())
    ReadData(table, nBytes, m_pCMS->GetAccount(), m_table);
  else
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Color Space", "Missing lookup table");
    return false;
  }
  m_bShort = m_table.GetSize() < nBytes;
  if (m_bShort && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Color Space", "Invalid lookup table");
  if (m_bShort && m_table.IsEmpty())
    return false;
  m_table.SetSize(nBytes);
  MakeKey(table);
  return m_pCMS->GetAccount().SpendMemory(std::int64_t{4} * nColors + nBytes);
}

void CIndexedColorSpace::MakeKey(const CObjectPtr& table)
{
  const char* szBase = m_pBase->GetKey();
  if (!*szBase)
    return;
  if (table.GetObjNumber() > 0)
  {
    FormatKey("I_%s_%d_%d", szBase, m_nHigh, table.GetObjNumber());
    return;
  }
  char szHash[2 * BSE::CHashSHA256::g_nDigestSize + 1] = {};
  char* pHash = szHash;
  for (const unsigned char nByte : BSE::ComputeHash<BSE::CHashSHA256>(m_table.GetSpan()))
    pHash += std::snprintf(pHash, 3, "%02x", nByte);
  FormatKey("I_%s_%d_%s", szBase, m_nHigh, szHash);
}

bool CIndexedColorSpace::ConvertTable(DOC::TTarget target)
{
  const auto nResults = static_cast<std::size_t>(DOC::GetTargetComponents(target));
  BSE::CBasicArray<unsigned char> converted;
  converted.SetSize(static_cast<int>(256 * nResults));
  if (!ConvertBy(*m_pBase, target, m_table.GetData(), converted.GetData(), m_nHigh + 1))
    return false;
  unsigned char* pLast = converted.GetData() + static_cast<std::size_t>(m_nHigh) * nResults;
  for (int i = m_nHigh + 1; i < 256; ++i)
    std::memcpy(converted.GetData() + static_cast<std::size_t>(i) * nResults, pLast, nResults);
  m_converted[target] = std::move(converted);
  if (m_bShort)
    ReportLoss(m_object, g_nInvalidColorSpace);
  m_bShort = false;
  return true;
}

bool CIndexedColorSpace::OnConvertRow(DOC::TTarget target, const unsigned char* pSource,
                                      unsigned char* pResult, int nCount)
{
  if (m_converted[target].IsEmpty() && !ConvertTable(target))
    return false;
  const unsigned char* pColors = m_converted[target].GetData();
  const auto nResults = static_cast<std::size_t>(DOC::GetTargetComponents(target));
  for (; nCount > 0; --nCount, pResult += nResults)
    std::memcpy(pResult, pColors + *pSource++ * nResults, nResults);
  return true;
}

}  // namespace PDF
