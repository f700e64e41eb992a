#include "base/IniFile.h"

#include "base/Limits.h"
#include "base/Unicode.h"

#include <algorithm>

namespace BSE
{

namespace
{

using TText = std::span<const char16_t>;

bool IsLineEnd(char16_t c)
{
  return c == '\n' || c == '\r' || c == 0;
}

bool IsBlank(char16_t c)
{
  return c == ' ' || c == '\t';
}

TText Trim(TText text)
{
  while (!text.empty() && IsBlank(text.front()))
    text = text.subspan(1);
  while (!text.empty() && IsBlank(text.back()))
    text = text.first(text.size() - 1);
  return text;
}

// Never null, so that an empty key can be compared.
TText MakeText(const char16_t* szText)
{
  if (!szText)
    szText = u"";
  return {szText, static_cast<std::size_t>(CStr16::Length(szText))};
}

CStr16 MakeString(TText text)
{
  return {text.data(), static_cast<int>(text.size())};
}

std::size_t Find(TText text, char16_t c)
{
  return static_cast<std::size_t>(std::find(text.begin(), text.end(), c) - text.begin());
}

// Whether a text comes back unchanged from a line.
bool FitsLine(TText text)
{
  return Trim(text).size() == text.size() && std::none_of(text.begin(), text.end(), IsLineEnd);
}

// Whether a line that begins with the key reads back as one. A byte-order mark before the first key would be
// taken for the file's.
bool IsKey(TText key)
{
  return !key.empty() && FitsLine(key) && Find(key, '=') == key.size() && key[0] != '[' && key[0] != ';' &&
         key[0] != '#' && key[0] != 0xFEFF;
}

}  // namespace

CIniFile::CSection::~CSection()
{
  for (int i = m_values.GetBegin(); i != m_values.GetEnd(); i = m_values.GetNext(i))
    delete static_cast<CStr16*>(m_values.GetValue(i));
}

const char16_t* CIniFile::CSection::FindValue(const char16_t* szKey) const
{
  const TText key = MakeText(szKey);
  const int nPos = m_values.Lookup(key.data(), key.size_bytes());
  return nPos < 0 ? nullptr : static_cast<const CStr16*>(m_values.GetValue(nPos))->GetText();
}

bool CIniFile::CSection::GetBool(const char16_t* szKey, bool bDefault) const
{
  const char16_t* szValue = FindValue(szKey);
  const CStr16 value(szValue);
  if (value == CStr16(u"TRUE"))
    return true;
  return value == CStr16(u"FALSE") ? false : bDefault;
}

bool CIniFile::CSection::SetValue(const char16_t* szKey, const char16_t* szValue)
{
  const TText key = MakeText(szKey);
  if (!IsKey(key) || !FitsLine(MakeText(szValue)))
    return false;
  CScopedPtr<CStr16> pValue(new CStr16(szValue));
  const int nPos = m_values.Lookup(key.data(), key.size_bytes());
  if (nPos < 0)
    m_values.SetAt(key.data(), key.size_bytes(), pValue.Get());
  else
  {
    delete static_cast<CStr16*>(m_values.GetValue(nPos));
    m_values.SetValue(nPos, pValue.Get());
  }
  pValue.Detach();
  return true;
}

bool CIniFile::CSection::RemoveValue(const char16_t* szKey)
{
  const TText key = MakeText(szKey);
  auto* pValue = static_cast<CStr16*>(m_values.RemoveKey(key.data(), key.size_bytes()));
  delete pValue;
  return pValue != nullptr;
}

void CIniFile::CSection::AppendTo(CStr16& text) const
{
  if (!m_name.IsEmpty())
  {
    text.Append('[');
    text.Append(m_name.GetText());
    text.Append(u"]\n");
  }
  for (int i = m_values.GetBegin(); i != m_values.GetEnd(); i = m_values.GetNext(i))
  {
    const auto* pKey = static_cast<const char16_t*>(m_values.GetKey(i));
    text.Append(pKey, static_cast<int>(m_values.GetKeyLength(i) / sizeof(char16_t)));
    text.Append('=');
    text.Append(static_cast<const CStr16*>(m_values.GetValue(i))->GetText());
    text.Append('\n');
  }
}

CIniFile::CSection* CIniFile::FindSection(const char16_t* szName) const
{
  const TText name = MakeText(szName);
  return static_cast<CSection*>(m_names.GetValue(m_names.Lookup(name.data(), name.size_bytes())));
}

CIniFile::CSection* CIniFile::GetOrCreate(TText name)
{
  const int nPos = m_names.Lookup(name.data(), name.size_bytes());
  if (nPos >= 0)
    return static_cast<CSection*>(m_names.GetValue(nPos));
  const CObjectPtr<CSection> pSection(new CSection(MakeString(name).GetText()));
  // The section without a name is written without a header, so it comes first.
  m_sections.InsertAt(name.empty() ? 0 : m_sections.GetSize(), pSection.Get());
  m_names.SetAt(name.data(), name.size_bytes(), pSection.Get());
  return pSection.Get();
}

CIniFile::CSection* CIniFile::GetOrCreateSection(const char16_t* szName)
{
  const TText name = MakeText(szName);
  return FitsLine(name) && Find(name, ']') == name.size() ? GetOrCreate(name) : nullptr;
}

void CIniFile::ReadLine(TText line, CSection*& pSection)
{
  line = Trim(line);
  if (line.empty() || line[0] == ';' || line[0] == '#')
    return;
  if (line[0] == '[')
  {
    const std::size_t nEnd = Find(line, ']');
    if (nEnd < line.size())
      pSection = GetOrCreate(Trim(line.subspan(1, nEnd - 1)));
    return;
  }
  const std::size_t nEqual = Find(line, '=');
  if (nEqual == line.size())
    return;
  if (!pSection)
    pSection = GetOrCreate(MakeText(nullptr));
  pSection->SetValue(MakeString(Trim(line.first(nEqual))).GetText(),
                     MakeString(Trim(line.subspan(nEqual + 1))).GetText());
}

bool CIniFile::Read(IByteStream& stream)
{
  m_sections.RemoveAll();
  m_names.RemoveAll();
  CBasicArray<unsigned char> bytes;
  if (!stream.ReadToArray(bytes, g_nMaxIniFile))
    return false;
  const auto* pText = reinterpret_cast<const char*>(bytes.GetData());
  CStr16 text;
  ConvertText(std::span(pText, static_cast<std::size_t>(bytes.GetSize())), text, TInvalidText::Replace);
  TText rest = text.GetSpan();
  if (!rest.empty() && rest[0] == 0xFEFF)
    rest = rest.subspan(1);
  CSection* pSection = nullptr;
  while (!rest.empty())
  {
    const auto end = std::find_if(rest.begin(), rest.end(), IsLineEnd);
    const auto nLength = static_cast<std::size_t>(end - rest.begin());
    ReadLine(rest.first(nLength), pSection);
    rest = rest.subspan(std::min(nLength + 1, rest.size()));
  }
  return true;
}

bool CIniFile::Write(IByteStream& stream) const
{
  CStr16 text;
  for (int i = 0; i < m_sections.GetSize(); ++i)
    m_sections[i]->AppendTo(text);
  CStr8 bytes;
  ConvertText(text.GetText(), bytes, TInvalidText::Replace);
  return stream.WriteAll(reinterpret_cast<const unsigned char*>(bytes.GetText()), bytes.GetLength());
}

}  // namespace BSE
