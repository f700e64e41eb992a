#include "fonts/pdf/FontProgramOpenType.h"

#include "base/MemoryStream.h"

namespace PDF
{

CFontProgramOpenType::CFontProgramOpenType(BSE::IErrorContext* pErrorContext)
    : m_pErrorContext(pErrorContext), m_font(pErrorContext), m_pCFF(new CFontProgramType1C(pErrorContext))
{
}

bool CFontProgramOpenType::Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck)
{
  return m_bValid = m_font.Read(std::move(data), szName, bCheck) && m_font.HasCFF() &&
                    m_pCFF->Borrow(m_font.GetCFF().GetBytes(), szName);
}

bool CFontProgramOpenType::Write(BSE::IByteStream& stream, unsigned nUsage, int* pLengths)
{
  if (pLengths)
    pLengths[0] = pLengths[1] = pLengths[2] = 0;
  if (m_bChanged)
  {
    const BSE::CObjectPtr<BSE::CMemoryStream> pOutlines(new BSE::CMemoryStream);
    BSE::CBasicArray<unsigned char> bytes;
    if (!m_pCFF->Write(*pOutlines, nUsage, nullptr) || !pOutlines->Rewind() || !pOutlines->ReadToArray(bytes))
      return false;
    m_font.SetCFF(std::move(bytes));
    m_bChanged = false;
  }
  if (nUsage != 0)
    m_font.DropUnneeded((nUsage & ~g_nUsedByCID) != 0);
  return m_bValid && m_font.Write(stream);
}

int CFontProgramOpenType::GetGlyphIndexByUnicode(char32_t nCharacter)
{
  const TTF::CCMap& cmap = m_font.GetCMap();
  for (const int nEncoding : {10, 1})
    if (const int nGlyph = cmap.GetGlyph(cmap.Find(3, nEncoding), nCharacter); nGlyph > 0)
      return nGlyph < GetGlyphCount() ? nGlyph : 0;
  return 0;
}

int CFontProgramOpenType::GetWeightClass() const
{
  return m_font.GetOS2().IsPresent() ? m_font.GetOS2().m_nWeightClass : 400;
}

void CFontProgramOpenType::HashMergeKey(BSE::CHashFunction& hash)
{
  m_pCFF->HashMergeKey(hash);
  m_font.HashMergeKey(hash);
}

BSE::CScopedPtr<CFontProgram> CFontProgramOpenType::ToBareCFF()
{
  // With all subroutines: what is made of two fonts may be merged later.
  BSE::CBasicArray<unsigned char> bytes;
  if (!m_bChanged)
    bytes.Append(m_font.GetCFF().GetBytes());
  else if (const BSE::CObjectPtr<BSE::CMemoryStream> pOutlines(new BSE::CMemoryStream);
           !m_pCFF->GetFont().Write(*pOutlines) || !pOutlines->Rewind() || !pOutlines->ReadToArray(bytes))
    return nullptr;
  BSE::CScopedPtr<CFontProgram> pBare(new CFontProgramType1C(m_pErrorContext));
  if (!pBare->Read(std::move(bytes), nullptr, false))
    return nullptr;
  const std::span<unsigned char> used = GetUsedGlyphs();
  std::copy(used.begin(), used.end(), pBare->GetUsedGlyphs().begin());
  return pBare;
}

bool CFontProgramOpenType::MakeCIDKeyed()
{
  if (IsCIDKeyed())
    return true;
  m_bChanged = true;
  NotifyChanged();
  return m_pCFF->MakeCIDKeyed();
}

}  // namespace PDF
