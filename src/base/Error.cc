#include "base/Error.h"

#include "base/MessageTable.h"
#include "base/Unicode.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

namespace BSE
{

namespace
{

constexpr int g_nMaxKeyLength = 20;
constexpr std::size_t g_nSystemTextSize = 256;

struct TStatusText
{
  unsigned m_nStatus;
  const char16_t* m_szText;
};

constexpr TStatusText g_statusTexts[] = {
    {1, u"The operation is not supported on this object"},
    {2, u"The object is in an illegal state"},
    {3, u"An illegal argument was passed"},
    {10, u"A generic error occurred"},
    {11, u"A fatal error occurred"},
    {13, u"The item could not be found"},
    {14, u"An error occurred while reading or writing"},
    {15, u"The format is unknown"},
    {16, u"The data is corrupt"},
    {17, u"The password is missing or not correct"},
    {18, u"The conformance is not compatible"},
    {19, u"The file contains an unsupported feature"},
    {20, u"Infrastructure error occurred"},
    {21, u"The file cannot be processed"},
    {22, u"The item already exists"},
};

// A text without placeholders, by the rules of IError::GetMessage.
int CopyMessage(const char16_t* szText, char16_t* pBuffer, int nLength)
{
  const int nText = CStr16::Length(szText);
  if (!pBuffer)
    return nText + 1;
  if (nLength < 1)
    return 0;
  const int nCopied = std::min(nText, nLength - 1);
  std::copy_n(szText, nCopied, pBuffer);
  pBuffer[nCopied] = 0;
  return nCopied + 1;
}

// strerror_r gives a text with the GNU interface and a status with the POSIX one.
[[maybe_unused]] const char* SystemText(const char* szText, const char*)
{
  return szText;
}
[[maybe_unused]] const char* SystemText(int nStatus, const char* szBuffer)
{
  return nStatus == 0 ? szBuffer : "";
}

int RenderErrno(int nErrno, char16_t* pBuffer, int nLength)
{
  char szBuffer[g_nSystemTextSize] = "";
  const char* szText = SystemText(strerror_r(nErrno, szBuffer, sizeof(szBuffer)), szBuffer);
  CStr16 text;
  if (!ConvertLocaleToUtf16(szText, text))
    ConvertText(szText, text, TInvalidText::Replace);
  return CopyMessage(text.GetText(), pBuffer, nLength);
}

// Finds the property whose key is between the percent sign at szTemplate and the next one. Null if there
// is none; nKeyLength is the length of the key otherwise.
CErrorProperty* FindPlaceholder(const char16_t* szTemplate, const CErrorProperties& properties,
                                int& nKeyLength)
{
  char szKey[g_nMaxKeyLength + 1];
  for (int i = 0; i <= g_nMaxKeyLength; ++i)
  {
    const char16_t nUnit = szTemplate[1 + i];
    if (nUnit == u'%')
    {
      szKey[i] = 0;
      nKeyLength = i;
      return properties.Find(szKey);
    }
    if (nUnit == 0 || nUnit > 0xFF || i == g_nMaxKeyLength)
      return nullptr;
    szKey[i] = static_cast<char>(nUnit);
  }
  return nullptr;
}

int GetMessageBound(const char16_t* szTemplate, const CErrorProperties* pProperties)
{
  long long nBound = CStr16::Length(szTemplate) + 1LL;
  if (pProperties)
    for (int i = pProperties->GetBegin(); i != pProperties->GetEnd(); i = pProperties->GetNext(i))
      nBound += CStr16::Length(pProperties->GetAt(i)->GetText());
  return static_cast<int>(std::min<long long>(nBound, INT_MAX));
}

}  // namespace

int GetCodeSeverity(unsigned nCode)
{
  if (nCode & g_nErrorBit)
    return 2;
  return nCode & g_nWarningBit ? 1 : 0;
}

int RenderTemplate(const char16_t* szTemplate, CErrorProperties* pProperties, char16_t* pBuffer, int nLength)
{
  if (!pBuffer)
    return GetMessageBound(szTemplate, pProperties);
  if (nLength < 1)
    return 0;
  char16_t* pOut = pBuffer;
  char16_t* const pEnd = pBuffer + nLength - 1;
  while (*szTemplate && pOut < pEnd)
  {
    int nKeyLength = 0;
    CErrorProperty* pProperty = nullptr;
    if (*szTemplate == u'%' && pProperties)
      pProperty = FindPlaceholder(szTemplate, *pProperties, nKeyLength);
    if (!pProperty)
    {
      *pOut++ = *szTemplate++;
      continue;
    }
    for (const char16_t* p = pProperty->GetText(); *p && pOut < pEnd; ++p)
      *pOut++ = *p;
    pProperty->m_bUsed = true;
    szTemplate += nKeyLength + 2;
  }
  *pOut++ = 0;
  return static_cast<int>(pOut - pBuffer);
}

int CError::GetMessage(char16_t* pBuffer, int nLength)
{
  const char16_t* szTemplate = CMessageTable::Find(m_nCode);
  if (szTemplate)
    return RenderTemplate(szTemplate, &m_properties, pBuffer, nLength);
  if (pBuffer && nLength > 0)
    pBuffer[0] = 0;
  return 0;
}

int CErrnoError::GetMessage(char16_t* pBuffer, int nLength)
{
  return RenderErrno(static_cast<int>(m_nCode), pBuffer, nLength);
}

int CAPIError::GetMessage(char16_t* pBuffer, int nLength)
{
  if (!m_text.IsEmpty())
    return CopyMessage(m_text.GetText(), pBuffer, nLength);
  const auto* pRow = std::ranges::lower_bound(g_statusTexts, m_nCode, {}, &TStatusText::m_nStatus);
  const bool bFound = pRow != std::end(g_statusTexts) && pRow->m_nStatus == m_nCode;
  return CopyMessage(bFound ? pRow->m_szText : u"Unknown error", pBuffer, nLength);
}

int GetErrorMessage(unsigned nCode, char16_t* pBuffer, int nLength)
{
  if (IsErrnoCode(nCode))
    return RenderErrno(static_cast<int>(nCode), pBuffer, nLength);
  CError error(nCode);
  return error.GetMessage(pBuffer, nLength);
}

}  // namespace BSE
