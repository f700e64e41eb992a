#include "fonts/pdf/Font.h"

#include "fonts/pdf/FontRegistry.h"
#include "fonts/pdf/StandardFonts.h"

#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nMaxCharacters = 65536;

// Flags of a descriptor.
constexpr int g_nPrefixLetters = 6;

// Letters that are the same for the same glyphs.
void MakePrefix(std::span<const unsigned char> used, char (&szPrefix)[g_nPrefixLetters + 2])
{
  constexpr std::size_t nGroup = 24;
  unsigned nSum = 0;
  unsigned nValue = 0;
  for (std::size_t i = 0; i < used.size(); ++i)
  {
    nValue = (used[i] != 0 ? 1U : 0U) | nValue * 2;
    if ((i + 1) % nGroup == 0)
      nSum ^= std::exchange(nValue, 0U);
  }
  nSum ^= nValue;
  for (int i = g_nPrefixLetters - 1; i >= 0; --i, nSum /= 26)
    szPrefix[i] = static_cast<char>('A' + nSum % 26);
  szPrefix[g_nPrefixLetters] = '+';
  szPrefix[g_nPrefixLetters + 1] = 0;
}

}  // namespace

CFont::CFont(CFontRegistry& registry, const CObjectPtr& object, int nCharacters)
    : m_registry(registry), m_object(object), m_origin(object)
{
  m_used.SetSize(nCharacters);
}

int CFont::CodeToCID(unsigned nCode) const
{
  return GetEncoding()->CodeToCID(nCode);
}

int CFont::Code2ToCID(unsigned nCode) const
{
  return GetEncoding()->Code2ToCID(nCode);
}

int CFont::LongCodeToCID(unsigned nCode, int nLength) const
{
  return GetEncoding()->LongCodeToCID(nCode, nLength);
}

TVerticalMetrics CFont::GetVerticalMetrics(int nCharacter) const
{
  return {GetWidth(nCharacter) / 2, 880, -1000};
}

CFontDescriptor* CFont::GetFontDescriptor() const
{
  const CObjectPtr object = m_registry.GetStandIn(GetDescriptorObject());
  if (m_pDescriptor && object == m_pDescriptor->GetObject())
    return m_pDescriptor.Get();
  if (object.IsDictionary())
    m_pDescriptor = m_registry.GetDescriptor(object);
  else
    m_pDescriptor.Reset();
  return m_pDescriptor.Get();
}

CFontFile* CFont::GetFontFile() const
{
  const CFontDescriptor* pDescriptor = IsType3() ? nullptr : GetFontDescriptor();
  return pDescriptor ? m_registry.GetFontFile(pDescriptor->GetFontFileStream()) : nullptr;
}

CFontProgram* CFont::GetProgram() const
{
  CFontFile* pFile = GetFontFile();
  return pFile ? pFile->GetProgram(GetBaseName()) : nullptr;
}

TRectangle CFont::GetFontBBox() const
{
  TRectangle box;
  const CFontDescriptor* pDescriptor = GetFontDescriptor();
  const CObjectPtr array =
      IsType3() || !pDescriptor ? m_object["FontBBox"] : pDescriptor->GetObject()["FontBBox"];
  ReadRectangle(array, box);
  return box;
}

const char* CFont::GetBaseName() const
{
  for (const char* szKey : {"BaseFont", "Name"})
    if (const CObjectPtr name = m_object[szKey]; name.IsName())
      return name.GetNameValue();
  return "Unknown";
}

BSE::CStr16 CFont::GetName() const
{
  const BSE::CObjectPtr<CSimpleEncoding> pBytes = m_registry.GetPredefinedEncoding("MacRomanEncoding");
  BSE::CStr16 name;
  for (const char* p = GetBaseName(); *p; ++p)
  {
    const auto nByte = static_cast<unsigned char>(*p);
    const char32_t nCharacter = pBytes->GetUnicode32(nByte);
    name.Append(static_cast<char16_t>(nCharacter != 0 && nByte >= 128 ? nCharacter : nByte));
  }
  return name;
}

BSE::CStr8 CFont::MakeSubsetName(const char* szName) const
{
  CFontProgram* pProgram = GetProgram();
  if (!pProgram || !pProgram->HasUsedGlyphs() || !szName)
    return BSE::CStr8(szName);
  char szPrefix[g_nPrefixLetters + 2];
  MakePrefix(pProgram->GetUsedGlyphs(), szPrefix);
  BSE::CStr8 name(szPrefix);
  name.Append(szName + GetSubsetPrefixLength(szName));
  return name;
}

CToUnicode* CFont::FindToUnicode() const
{
  if (!std::exchange(m_bToUnicodeRead, true))
    m_pToUnicode = m_registry.GetToUnicode(m_object["ToUnicode"]);
  return m_pToUnicode.Get();
}

BSE::CObjectPtr<IToUnicode> CFont::GetToUnicode() const
{
  if (!m_pReading)
    m_pReading = new CToUnicodeGuesser(FindToUnicode(), GetEncoding());
  return m_pReading;
}

BSE::CObjectPtr<CToUnicode> CFont::GetWritableToUnicode()
{
  if (FindToUnicode() && !std::exchange(m_bOwnToUnicode, true))
  {
    m_pToUnicode = m_pToUnicode->Clone();
    m_pReading.Reset();
  }
  return m_pToUnicode;
}

int CFont::GetCharacterText(int nCharacter, char16_t* pUnits, int nSize) const
{
  int nLength = 0;
  const std::int64_t nCode = GetEncoding()->FindCode(nCharacter, nLength);
  return nCode < 0 ? 0 : GetToUnicode()->GetUnicode(static_cast<unsigned>(nCode), pUnits, nSize);
}

bool CFont::IsSymbolic() const
{
  if (m_nSymbolic < 0)
    m_nSymbolic = FindSymbolic() ? 1 : 0;
  return m_nSymbolic == 1;
}

bool CFont::FindSymbolic() const
{
  const CFontDescriptor* pDescriptor = GetFontDescriptor();
  if (const int nFlags = pDescriptor ? pDescriptor->GetFlags() : 0; nFlags != 0)
    return (nFlags & g_nSymbolicFlag) != 0;
  if (const TStandardFont* pStandard = FindStandardFont(GetBaseName()))
    return std::strcmp(pStandard->m_szEncoding, "StandardEncoding") != 0;
  return !m_object["Encoding"];
}

void CFont::TakeUse(const CFont& other)
{
  m_used = other.m_used;
  m_numbers = other.m_numbers;
  m_bAllGlyphsUsed = other.m_bAllGlyphsUsed;
  m_bDirectUse = other.m_bDirectUse;
  m_nOptimizeState = other.m_nOptimizeState;
  m_digest = other.m_digest;
}

bool CFont::GrowUsedChars(int nCount)
{
  if (nCount > g_nMaxCharacters)
    return false;
  if (nCount > m_used.GetSize())
    m_used.SetSize(nCount);
  return true;
}

}  // namespace PDF
