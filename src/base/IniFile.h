#pragma once

#include "base/BasicArray.h"
#include "base/BasicMap.h"
#include "base/BasicString.h"
#include "base/Object.h"
#include "base/Stream.h"

namespace BSE
{

// Settings as lines of text in UTF-8: "[name]" begins a section, "key=value" lines follow. Reading drops
// blanks around names, keys and values, empty lines, comments (lines that begin with ';' or '#') and lines
// that are none of these; what comes before the first section belongs to a section without a name. The order
// of sections and keys is kept. A zero character ends a line.
class CIniFile
{
public:
  class CSection : public CObject
  {
  public:
    explicit CSection(const char16_t* szName) : m_name(szName) {}
    ~CSection() override;
    CSection(const CSection&) = delete;
    CSection& operator=(const CSection&) = delete;

    bool IsValid() const override { return true; }
    const char16_t* GetName() const { return m_name.GetText(); }

    // Borrowed until the value changes; null for an absent key.
    const char16_t* FindValue(const char16_t* szKey) const;

    // The default unless the value is "TRUE" or "FALSE".
    bool GetBool(const char16_t* szKey, bool bDefault) const;

    // Replaces or appends. False, and nothing is stored, for a key or value that would not come back from a
    // line: an empty key, a line break, blanks at an end, '=' in the key, a key that looks like another line.
    bool SetValue(const char16_t* szKey, const char16_t* szValue);
    bool SetBool(const char16_t* szKey, bool bValue) { return SetValue(szKey, bValue ? u"TRUE" : u"FALSE"); }

    // False for an absent key.
    bool RemoveValue(const char16_t* szKey);

  private:
    friend class CIniFile;

    void AppendTo(CStr16& text) const;

    CStr16 m_name;
    CBasicMap m_values;  // UTF-16 key to CStr16, owned
  };

  // Replaces the contents. Of two values of a key the last one counts; sections of one name are joined.
  // False, and no contents, if the stream fails or holds more than g_nMaxIniFile bytes.
  bool Read(IByteStream& stream);

  bool Write(IByteStream& stream) const;

  // Borrowed; null for an absent section.
  CSection* FindSection(const char16_t* szName) const;

  // Borrowed; null for a name with a line break, blanks at an end or ']'.
  CSection* GetOrCreateSection(const char16_t* szName);

  int GetSectionCount() const { return m_sections.GetSize(); }
  CSection* GetSection(int nIndex) const { return m_sections[nIndex]; }

private:
  void ReadLine(std::span<const char16_t> line, CSection*& pSection);
  CSection* GetOrCreate(std::span<const char16_t> name);

  CObjectArray<CSection> m_sections;
  CBasicMap m_names;  // UTF-16 name to CSection, borrowed
};

}  // namespace BSE
