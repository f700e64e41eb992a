#include "base/StreamErrorHandler.h"

#include "base/FileStream.h"
#include "base/MessageTable.h"
#include "base/Unicode.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace BSE
{

namespace
{

constexpr int g_nMaxMessage = 512;
constexpr char g_szSeverities[] = "IWE";

// Longest printf conversion that is honoured; a longer one is copied as it is.
constexpr int g_nMaxConversion = 16;
constexpr int g_nMaxNumber = 64;

void AppendIndent(int nIndent, CStr8& text)
{
  for (int i = 0; i < nIndent; ++i)
    text.Append("  ");
}

void AppendUtf8(const char16_t* szText, CStr8& text)
{
  CStr8 utf8;
  ConvertText(szText, utf8, TInvalidText::Replace);
  text.Append(utf8.GetText());
}

// Length of the conversion that begins with the percent sign, its letter included; 0 if there is none.
int GetConversionLength(const char* szFormat)
{
  const std::size_t nSpecification = 1 + std::strspn(szFormat + 1, "-+ #0123456789.hlL");
  if (nSpecification >= g_nMaxConversion || !szFormat[nSpecification])
    return 0;
  return std::strchr("diuxXocsSfegp", szFormat[nSpecification]) ? static_cast<int>(nSpecification) + 1 : 0;
}

void AppendProperty(const char* szConversion, int nLength, CErrorProperty& property, CStr8& text)
{
  const char nLetter = szConversion[nLength - 1];
  if (!std::strchr("diuxXo", nLetter))
  {
    AppendUtf8(property.GetText(), text);
    return;
  }
  // The sizes of the template are replaced by that of the value; its width is bounded by the buffer.
  char szFormat[g_nMaxConversion + 3];
  char* pOut = std::copy_if(szConversion, szConversion + nLength - 1, szFormat,
                            [](char c) { return !std::strchr("hlL", c); });
  *pOut++ = 'l';
  *pOut++ = 'l';
  *pOut++ = nLetter;
  *pOut = 0;
  char szNumber[g_nMaxNumber];
  std::snprintf(szNumber, sizeof(szNumber), szFormat, property.GetValue());
  text.Append(szNumber);
}

void AppendFormatted(const char* szFormat, const CErrorProperties* pProperties, CStr8& text)
{
  int nPos = pProperties ? pProperties->GetBegin() : 0;
  while (*szFormat)
  {
    const bool bDoubled = szFormat[0] == '%' && szFormat[1] == '%';
    const int nLength = *szFormat == '%' && !bDoubled ? GetConversionLength(szFormat) : 0;
    if (nLength > 0 && pProperties && nPos != pProperties->GetEnd())
    {
      AppendProperty(szFormat, nLength, *pProperties->GetAt(nPos), text);
      nPos = pProperties->GetNext(nPos);
      szFormat += nLength;
      continue;
    }
    text.Append(*szFormat);
    szFormat += bDoubled ? 2 : 1;
  }
}

}  // namespace

void AppendErrorText(IError& error, int nIndent, bool bProperties, CStr8& text)
{
  char16_t szMessage[g_nMaxMessage] = {};
  error.GetMessage(szMessage, g_nMaxMessage);
  char szStart[32];
  std::snprintf(szStart, sizeof(szStart), "0x%08X - %c - ", error.GetCode(),
                g_szSeverities[std::clamp(error.GetSeverity(), 0, 2)]);
  AppendIndent(nIndent, text);
  text.Append(szStart);
  AppendUtf8(szMessage, text);
  text.Append('\n');
  const CErrorProperties* pProperties = bProperties ? error.GetProperties() : nullptr;
  if (!pProperties)
    return;
  for (int i = pProperties->GetBegin(); i != pProperties->GetEnd(); i = pProperties->GetNext(i))
  {
    const CErrorProperty& property = *pProperties->GetAt(i);
    if (property.m_bUsed)
      continue;
    AppendIndent(nIndent, text);
    text.Append("    - ");
    text.Append(pProperties->GetName(i));
    text.Append(": ");
    AppendUtf8(property.GetText(), text);
    text.Append('\n');
  }
}

void CStreamErrorHandler::OnHandleError(CScopedPtr<IError>& pError)
{
  if (!pError || !HasStream())
    return;
  CStr8 text;
  AppendErrorText(*pError, m_nIndent, true, text);
  const std::span<const char> bytes = text.GetSpan();
  m_pStream->WriteAll(reinterpret_cast<const unsigned char*>(bytes.data()), text.GetLength());
  m_bLineStart = true;
}

void CStreamErrorHandler::OnReport(unsigned nCode, const CErrorProperties* pProperties)
{
  if (!HasStream())
    return;
  const char16_t* szTemplate = CMessageTable::Find(nCode);
  if (!szTemplate)
    return;
  CStr8 format;
  ConvertText(szTemplate, format, TInvalidText::Replace);
  CStr8 text;
  if (m_bLineStart)
    AppendIndent(m_nIndent, text);
  AppendFormatted(format.GetText(), pProperties, text);
  const std::span<const char> bytes = text.GetSpan();
  m_pStream->WriteAll(reinterpret_cast<const unsigned char*>(bytes.data()), text.GetLength());
  if (!format.IsEmpty())
    m_bLineStart = format[format.GetLength() - 1] == '\n';
}

CFileLogErrorHandler::CFileLogErrorHandler(const char* szPath)
    : CStreamErrorHandler(new CFileStream(szPath, eFileWrite))
{
}

}  // namespace BSE
