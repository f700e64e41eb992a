#include "fonts/pdf/Encoding.h"

#include "base/Tracer.h"
#include "base/Unicode.h"
#include "fonts/pdf/FontProgram.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

#include "fonts/pdf/EncodingTables.inc"

constexpr std::uint16_t g_nNoName = 0xFFFF;

struct TPredefined
{
  const char* m_szName;
  const std::uint16_t (&m_names)[256];
};

constexpr TPredefined g_predefined[] = {
    {"StandardEncoding", g_standard}, {"WinAnsiEncoding", g_winAnsi},
    {"MacRomanEncoding", g_macRoman}, {"MacExpertEncoding", g_macExpert},
    {"SymbolEncoding", g_symbol},     {"ZapfDingbatsEncoding", g_zapfDingbats},
    {"PDFDocEncoding", g_pdfDoc},
};

bool IsSameName(const char* szA, const char* szB)
{
  return szA == szB || (szA && szB && std::strcmp(szA, szB) == 0);
}

}  // namespace

char32_t IToUnicode::GetUnicode32(unsigned nCode) const
{
  char16_t units[2];
  const int nCount = GetUnicode(nCode, units, 2);
  if (nCount < 1 || nCount > 2)
    return 0;
  int nTaken = 0;
  const char32_t nCharacter =
      BSE::DecodeCharacter(std::span<const char16_t>(units, static_cast<std::size_t>(nCount)), nTaken);
  return nTaken == nCount && nCharacter <= 0x10FFFF ? nCharacter : 0;
}

bool CEncoding::HasSameNames(const CEncoding& other) const
{
  for (unsigned i = 0; i < 256; ++i)
    if (!IsSameName(GetGlyphName(i), other.GetGlyphName(i)))
      return false;
  return true;
}

int CSimpleEncoding::GetUnicode(unsigned nCode, char16_t* pUnits, int nSize) const
{
  return GetGlyphText(GetGlyphName(nCode), pUnits, nSize);
}

int CSimpleEncoding::GetCode(char32_t nCharacter) const
{
  for (unsigned i = 0; i < 256; ++i)
    if (m_names[i] && GetUnicode32(i) == nCharacter && nCharacter != 0)
      return static_cast<int>(i);
  return -1;
}

std::int64_t CSimpleEncoding::FindCode(int nCID, int& nLength) const
{
  nLength = 1;
  return nCID >= 0 && nCID < 256 ? nCID : -1;
}

int CSimpleEncoding::FindName(const char* szName) const
{
  for (int i = 0; szName && i < 256; ++i)
    if (m_names[i] && std::strcmp(m_names[i], szName) == 0)
      return i;
  return -1;
}

CPredefinedEncoding::CPredefinedEncoding(const char* szName, std::span<const std::uint16_t, 256> names)
    : CSimpleEncoding(szName)
{
  for (std::size_t i = 0; i < 256; ++i)
    if (names[i] != g_nNoName)
      m_names[i] = PDF::GetGlyphName(names[i]);
}

BSE::CObjectPtr<CSimpleEncoding> CreatePredefinedEncoding(const char* szName)
{
  for (const TPredefined& predefined : g_predefined)
    if (IsSameName(predefined.m_szName, szName))
      return new CPredefinedEncoding(predefined.m_szName, predefined.m_names);
  return nullptr;
}

CIntrinsicEncoding::CIntrinsicEncoding(CFontProgram& program) : CSimpleEncoding("IntrinsicEncoding")
{
  for (unsigned i = 0; i < 256; ++i)
    m_names[i] = m_pool.Keep(program.GetIntrinsicName(i));
}

CDifferences::CDifferences(const CObjectPtr& array)
{
  // The last name of a code counts; only that is kept.
  int aElements[256];
  std::fill(std::begin(aElements), std::end(aElements), -1);
  std::int64_t nCode = 0;
  for (int i = 0; i < array.GetSize(); ++i)
  {
    const CObjectPtr element = array[i];
    const bool bInside = nCode >= 0 && nCode < 256;
    if (element.IsNumber())
      nCode = element.GetIntegerValue();
    else if (element.IsName() && bInside)
      aElements[nCode++] = i;
    else if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "Font Encoding", "Element %d of the differences was left out.", i);
  }
  for (unsigned i = 0; i < 256; ++i)
    if (aElements[i] >= 0)
      m_names[i] = m_pool.Keep(array[aElements[i]].GetNameValue());
}

CDifferenceEncoding::CDifferenceEncoding(const BSE::CObjectPtr<CSimpleEncoding>& pBase,
                                         const BSE::CObjectPtr<CDifferences>& pDifferences)
    : CSimpleEncoding("Custom"), m_pBase(pBase), m_pDifferences(pDifferences)
{
  for (unsigned i = 0; i < 256; ++i)
    if (IsCovered(i))
      m_names[i] = pDifferences->GetName(i);
    else
      m_names[i] = pBase ? pBase->GetGlyphName(i) : nullptr;
}

}  // namespace PDF
