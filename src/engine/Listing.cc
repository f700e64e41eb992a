#include "engine/Listing.h"

#include "base/Unicode.h"
#include "engine/ExtractedFile.h"
#include "pdf/File.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

namespace PDF
{

namespace
{

// Digits of the largest double, with some decimals.
constexpr int g_nMaxReal = 340;

bool IsHarmless(char32_t nCharacter, bool bCommas)
{
  const bool bControl = nCharacter < 0x20 || (nCharacter >= 0x7F && nCharacter < 0xA0);
  return !bControl && nCharacter != '"' && nCharacter != '#' && !(bCommas && nCharacter == ',');
}

}  // namespace

CListingRow& CListingRow::AddText(const char* szText)
{
  m_text.Append(szText);
  return *this;
}

CListingRow& CListingRow::AddNumber(std::int64_t nValue)
{
  char szText[24];
  const auto result = std::to_chars(std::begin(szText), std::end(szText), nValue);
  m_text.Append(szText, static_cast<int>(result.ptr - szText));
  return *this;
}

CListingRow& CListingRow::AddReal(double dValue, int nDecimals, int nWidth)
{
  char szText[g_nMaxReal];
  const auto result = std::to_chars(std::begin(szText), std::end(szText), std::isfinite(dValue) ? dValue : 0,
                                    std::chars_format::fixed, nDecimals);
  const int nLength = result.ec == std::errc() ? static_cast<int>(result.ptr - szText) : 0;
  for (int i = nLength; i < nWidth; ++i)
    m_text.Append(' ');
  m_text.Append(szText, nLength);
  return *this;
}

void CListingRow::AddEscaped(unsigned char nByte)
{
  constexpr const char* szDigits = "0123456789ABCDEF";
  const char aText[] = {'#', szDigits[nByte >> 4], szDigits[nByte & 15]};
  m_text.Append(aText, 3);
}

CListingRow& CListingRow::AddName(const char* szName, bool bCommas)
{
  std::span<const char> rest(szName ? szName : "", szName ? std::strlen(szName) : 0);
  while (!rest.empty())
  {
    int nUnits = 1;
    const char32_t nCharacter = BSE::DecodeCharacter(rest, nUnits);
    const auto character = rest.first(static_cast<std::size_t>(nUnits));
    const bool bText = nCharacter < BSE::g_nIncompleteCharacter && IsHarmless(nCharacter, bCommas);
    if (bText)
      m_text.Append(character.data(), nUnits);
    for (std::size_t i = 0; !bText && i < character.size(); ++i)
      AddEscaped(static_cast<unsigned char>(character[i]));
    rest = rest.subspan(character.size());
  }
  return *this;
}

CListing::CListing(const char* szPath, CFile& input, BSE::IErrorContext* pErrorContext)
    : m_path(szPath), m_pErrorContext(pErrorContext)
{
  if (m_path.IsEmpty())
  {
    m_pFile = stdout;
    return;
  }
  if (IsInput(input, szPath))
  {
    Fail(BSE::g_nInvalidOperation);
    return;
  }
  m_pFile = std::fopen(szPath, "w");
  if (!m_pFile)
    Fail(static_cast<unsigned>(errno));
}

CListing::~CListing()
{
  if (m_pFile && m_pFile != stdout)
    std::fclose(m_pFile);
}

void CListing::Fail(unsigned nCode)
{
  if (BSE::IsErrnoCode(nCode))
    BSE::ReportEnd(m_pErrorContext, BSE::CScopedPtr<BSE::IError>(
                                        new BSE::CFileError(static_cast<int>(nCode), m_path.GetText())));
  else
    BSE::ReportEnd(m_pErrorContext, nCode);
}

void CListing::Write(const CListingRow& row)
{
  const auto nLength = static_cast<std::size_t>(row.GetLength());
  if (m_nErrno == 0 && std::fwrite(row.GetText(), 1, nLength, m_pFile) != nLength)
    m_nErrno = errno != 0 ? errno : EIO;
}

bool CListing::Close()
{
  std::FILE* pFile = m_pFile;
  m_pFile = nullptr;
  // What is buffered may find no room.
  const int nResult = pFile == stdout ? std::fflush(pFile) : std::fclose(pFile);
  if (nResult != 0 && m_nErrno == 0)
    m_nErrno = errno != 0 ? errno : EIO;
  if (m_nErrno != 0)
    Fail(static_cast<unsigned>(m_nErrno));
  return m_nErrno == 0;
}

}  // namespace PDF
