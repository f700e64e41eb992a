#include "fonts/ttf/OTF.h"

namespace OTF
{

bool COTF_VORG::Parse()
{
  BSE::CByteCursor cursor = GetCursor();
  cursor.Card32();
  m_nDefault = cursor.Int16();
  m_nCount = static_cast<int>(cursor.Card16());
  cursor.Take(m_nCount, 4);
  if (!cursor.HasFailed())
    return true;
  m_nCount = 0;
  return false;
}

int COTF_VORG::GetOrigin(int nGlyph) const
{
  int nLow = 0;
  for (int nHigh = m_nCount; nLow < nHigh;)
  {
    const int nMiddle = (nLow + nHigh) / 2;
    BSE::CByteCursor cursor = GetCursor().GetPart(8 + 4 * std::int64_t{nMiddle});
    const int nFound = static_cast<int>(cursor.Card16());
    if (nFound == nGlyph)
      return cursor.Int16();
    if (nFound < nGlyph)
      nLow = nMiddle + 1;
    else
      nHigh = nMiddle;
  }
  return m_nDefault;
}

COTF::COTF(BSE::IErrorContext* pErrorContext) : CTTF(pErrorContext)
{
  AddKnown(m_cff);
  AddKnown(m_vorg);
}

bool COTF::ToBareCFF(BSE::IByteStream& stream) const
{
  const std::span<const unsigned char> bytes = m_cff.GetBytes();
  return HasCFF() && stream.WriteAll(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

}  // namespace OTF
