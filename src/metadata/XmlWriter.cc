#include "metadata/XmlWriter.h"

#include "base/Unicode.h"

namespace XML
{

namespace
{

const char* GetReference(char32_t n, bool bAttribute)
{
  switch (n)
  {
  case '&':
    return "&amp;";
  case '<':
    return "&lt;";
  case '>':
    return "&gt;";
  case '\r':
    return "&#xD;";
  case '"':
    return bAttribute ? "&quot;" : nullptr;
  case '\n':
    return bAttribute ? "&#xA;" : nullptr;
  case '\t':
    return bAttribute ? "&#x9;" : nullptr;
  default:
    return nullptr;
  }
}

}  // namespace

// The production Char of XML 1.0, section 2.2.
bool IsXmlCharacter(char32_t n)
{
  if (n < 0x20)
    return n == '\t' || n == '\n' || n == '\r';
  return n <= 0xD7FF || (n >= 0xE000 && n <= 0xFFFD) || (n >= 0x10000 && n <= 0x10FFFF);
}

void CWriter::CloseTag()
{
  if (m_bTagOpen)
    m_text.Append('>');
  m_bTagOpen = false;
}

void CWriter::Name(const char* szPrefix, const char* szLocalName)
{
  if (szPrefix && *szPrefix)
  {
    m_text.Append(szPrefix);
    m_text.Append(':');
  }
  m_text.Append(szLocalName);
}

void CWriter::Begin(const char* szPrefix, const char* szLocalName)
{
  CloseTag();
  m_text.Append('<');
  Name(szPrefix, szLocalName);
  m_bTagOpen = true;
}

void CWriter::Attribute(const char* szPrefix, const char* szLocalName, const char* szValue)
{
  m_text.Append(' ');
  Name(szPrefix, szLocalName);
  m_text.Append("=\"");
  Escape(szValue, true);
  m_text.Append('"');
}

void CWriter::Text(const char* szText)
{
  if (!*szText)
    return;
  CloseTag();
  Escape(szText, false);
}

void CWriter::End(const char* szPrefix, const char* szLocalName)
{
  if (m_bTagOpen)
  {
    m_text.Append("/>");
    m_bTagOpen = false;
    return;
  }
  m_text.Append("</");
  Name(szPrefix, szLocalName);
  m_text.Append('>');
}

void CWriter::Raw(const char* szMarkup)
{
  CloseTag();
  m_text.Append(szMarkup);
}

void CWriter::Escape(const char* szText, bool bAttribute)
{
  std::span<const char> rest(szText, static_cast<std::size_t>(BSE::CStr8::Length(szText)));
  while (!rest.empty())
  {
    int nUnits = 1;
    const char32_t n = BSE::DecodeCharacter(rest, nUnits);
    if (const char* szReference = GetReference(n, bAttribute))
      m_text.Append(szReference);
    else if (IsXmlCharacter(n))
      m_text.Append(rest.data(), nUnits);
    else
      m_text.Append("\xEF\xBF\xBD");
    rest = rest.subspan(static_cast<std::size_t>(nUnits));
  }
}

}  // namespace XML
