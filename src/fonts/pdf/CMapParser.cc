#include "fonts/pdf/CMapParser.h"

#include <algorithm>
#include <cstring>

namespace DOC
{

namespace
{

constexpr const char* g_keys[] = {"CMapName", "WMode", "CMapVersion", "Registry", "Ordering", "Supplement"};

}  // namespace

void CCmapParser::Parse(std::span<const unsigned char> data)
{
  PS::CScanner scanner(data);
  m_pScanner = &scanner;
  m_nSection = eNone;
  m_nCodes = 0;
  m_szKey = nullptr;
  while (scanner.ReadToken() != PS::eTokenEnd)
  {
    if (scanner.GetToken() == PS::eTokenName)
    {
      if (scanner.HasText("endcmap"))
        break;
      Execute();
    }
    else if (m_nSection != eNone)
      ReadOperand();
    else
      ReadValue();
  }
  m_pScanner = nullptr;
}

void CCmapParser::Execute()
{
  static constexpr struct
  {
    const char* m_szName;
    TSection m_nSection;
  } aSections[] = {{"begincodespacerange", eCodeSpace}, {"begincidrange", eCIDRange},
                   {"begincidchar", eCIDChar},          {"beginnotdefrange", eNotdefRange},
                   {"beginnotdefchar", eNotdefChar},    {"beginbfrange", eTextRange},
                   {"beginbfchar", eTextChar}};
  if (m_pScanner->HasText("usecmap"))
    OnUseCMap(m_szName);
  m_nSection = eNone;
  m_nCodes = 0;
  m_szKey = nullptr;
  for (const auto& section : aSections)
    if (m_pScanner->HasText(section.m_szName))
      m_nSection = section.m_nSection;
}

void CCmapParser::KeepName()
{
  const std::span<const unsigned char> text = m_pScanner->GetText();
  const std::size_t nLength = std::min(text.size(), sizeof(m_szName) - 1);
  std::copy_n(text.begin(), nLength, m_szName);
  m_szName[nLength] = 0;
}

void CCmapParser::ReadValue()
{
  const PS::TToken nToken = m_pScanner->GetToken();
  const bool bText = nToken == PS::eTokenLiteralName || nToken == PS::eTokenString;
  if (bText)
    KeepName();
  if (m_szKey && bText)
    OnText(m_szKey, m_szName);
  else if (m_szKey && (nToken == PS::eTokenInteger || nToken == PS::eTokenReal))
    OnNumber(m_szKey, m_pScanner->GetInteger());
  const bool bKey = !m_szKey && nToken == PS::eTokenLiteralName;
  m_szKey = nullptr;
  if (bKey)
    for (const char* szKey : g_keys)
      if (std::strcmp(szKey, m_szName) == 0)
        m_szKey = szKey;
}

// Codes come first, one or two, then what belongs to them.
void CCmapParser::ReadOperand()
{
  const PS::TToken nToken = m_pScanner->GetToken();
  const bool bText = m_nSection == eTextRange || m_nSection == eTextChar;
  if (m_nCodes < (IsRange() ? 2 : 1))
  {
    if (nToken != PS::eTokenString || !ReadCode())
    {
      OnOther();
      m_nCodes = 0;
    }
    else if (m_nSection == eCodeSpace && m_nCodes == 2)
      Finish(0);
  }
  else if (nToken == PS::eTokenInteger && !bText)
    Finish(m_pScanner->GetInteger());
  else if (nToken == PS::eTokenString && bText)
    FinishText();
  else if (nToken == PS::eTokenLiteralName && bText)
    FinishName();
  else if (nToken == PS::eTokenArrayBegin && bText)
    ReadArray();
  else
  {
    OnOther();
    m_nCodes = 0;
  }
}

bool CCmapParser::ReadCode()
{
  const std::span<const unsigned char> text = m_pScanner->GetText();
  if (text.empty() || text.size() > g_nMaxCodeLength)
    return false;
  TCMapCode& code = m_codes[m_nCodes++];
  code = {0, static_cast<int>(text.size())};
  for (const unsigned char nByte : text)
    code.m_nCode = code.m_nCode << 8 | nByte;
  if (m_nCodes == 1)
    m_codes[1] = code;
  return true;
}

void CCmapParser::Finish(int nCID)
{
  m_nCodes = 0;
  if (m_codes[0].m_nLength != m_codes[1].m_nLength)
    OnOther();
  else if (m_nSection == eCodeSpace)
    OnCodeSpaceRange(m_codes[0], m_codes[1]);
  else if (m_codes[1].m_nCode < m_codes[0].m_nCode || nCID < 0)
    OnOther();
  else if (m_nSection == eCIDRange || m_nSection == eCIDChar)
    OnCIDRange(m_codes[0], m_codes[1], nCID);
  else
    OnNotdefRange(m_codes[0], m_codes[1], nCID);
}

void CCmapParser::FinishText()
{
  m_nCodes = 0;
  // Writers are not careful with the length of codes here.
  if (m_codes[1].m_nCode < m_codes[0].m_nCode)
    OnOther();
  else
    OnTextRange(m_codes[0], m_codes[1], m_pScanner->GetText());
}

void CCmapParser::FinishName()
{
  m_nCodes = 0;
  KeepName();
  OnNameRange(m_codes[0], m_codes[1], m_szName);
}

// The texts of single codes.
void CCmapParser::ReadArray()
{
  const TCMapCode last = m_codes[1];
  TCMapCode code = m_codes[0];
  for (PS::TToken nToken = m_pScanner->ReadToken();
       nToken != PS::eTokenArrayEnd && nToken != PS::eTokenEnd && nToken != PS::eTokenName;
       nToken = m_pScanner->ReadToken())
  {
    m_codes[0] = m_codes[1] = code;
    if (code.m_nCode > last.m_nCode || (nToken != PS::eTokenString && nToken != PS::eTokenLiteralName))
      OnOther();
    else if (nToken == PS::eTokenString)
      FinishText();
    else
      FinishName();
    if (code.m_nCode <= last.m_nCode && ++code.m_nCode == 0)
      break;
  }
  m_nCodes = 0;
}

}  // namespace DOC
