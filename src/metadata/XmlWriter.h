#pragma once

#include "base/BasicString.h"

namespace XML
{

// True for what XML 1.0 can hold.
bool IsXmlCharacter(char32_t n);

// Writes well-formed XML 1.0 in UTF-8 into a text. Characters that XML cannot hold become U+FFFD. The caller
// closes what it opens; names are written as given.
class CWriter
{
public:
  // Appends to the text, which must outlive the writer.
  explicit CWriter(BSE::CStr8& text) : m_text(text) {}

  // "<prefix:name", open for attributes until something is inside.
  void Begin(const char* szPrefix, const char* szLocalName);
  void Attribute(const char* szPrefix, const char* szLocalName, const char* szValue);
  void Text(const char* szText);
  void End(const char* szPrefix, const char* szLocalName);

  // As it is, between elements.
  void Raw(const char* szMarkup);

private:
  void CloseTag();
  void Name(const char* szPrefix, const char* szLocalName);
  void Escape(const char* szText, bool bAttribute);

  BSE::CStr8& m_text;
  bool m_bTagOpen = false;
};

}  // namespace XML
