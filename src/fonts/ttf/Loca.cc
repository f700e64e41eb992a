#include "fonts/ttf/Loca.h"

namespace TTF
{

void CTTF_loca::ReadOffsets(int nFormat, int nGlyphs)
{
  m_nFormat = nFormat;
  const std::size_t nSize = nFormat == 0 ? 2 : 4;
  const std::size_t nCount = std::min(static_cast<std::size_t>(nGlyphs) + 1, GetBytes().size() / nSize);
  m_offsets.SetSize(static_cast<int>(nCount));
  BSE::CByteCursor cursor = GetCursor();
  for (std::uint32_t& nOffset : m_offsets.GetSpan())
    nOffset = nFormat == 0 ? 2 * std::uint32_t{cursor.Card16()} : cursor.Card32();
}

void CTTF_loca::Serialize()
{
  CTableWriter writer;
  for (const std::uint32_t nOffset : m_offsets.GetSpan())
    if (m_nFormat == 0)
      writer.Card16(nOffset / 2);
    else
      writer.Card32(nOffset);
  SetBytes(writer.Detach());
}

}  // namespace TTF
