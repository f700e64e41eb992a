#include "fonts/ttf/TTF.h"

namespace TTF
{

void CTTF::HashMergeKey(BSE::CHashFunction& hash) const
{
  CTableWriter key;
  for (const CTable* pTable : {&m_fpgm, &m_prep, &m_cvt})
  {
    key.Card32(static_cast<std::uint32_t>(pTable->GetBytes().size()));
    key.Append(pTable->GetBytes());
  }
  key.Put(static_cast<std::uint8_t>(m_glyf.IsPresent()));
  key.Put(static_cast<std::uint8_t>(m_loca.IsPresent()));
  key.Card16(static_cast<unsigned>(m_cmap.GetSubtableCount()));
  for (int i = 0; i < m_cmap.GetSubtableCount(); ++i)
  {
    const CCMap::TSubtable& subtable = m_cmap.GetSubtable(i);
    key.Card16(subtable.m_nPlatform);
    key.Card16(subtable.m_nEncoding);
    key.Card16(subtable.m_nFormat);
  }
  const BSE::CBasicArray<unsigned char> bytes = key.Detach();
  hash.Update(bytes.GetSpan());
}

}  // namespace TTF
