#include "engine/FontEdits.h"

#include "base/ObjectPtr.h"

namespace PDF
{

bool CFontEdits::Rename(const BSE::CStr8& name, const BSE::CStr8& newName)
{
  CFontEdit* pEdit = newName.IsEmpty() ? nullptr : FindOrAdd(name);
  if (!pEdit)
    return false;
  pEdit->m_sNewName = newName;
  pEdit->m_bRename = m_bRenameFonts = true;
  return true;
}

bool CFontEdits::Unembed(const BSE::CStr8& name)
{
  CFontEdit* pEdit = FindOrAdd(name);
  if (!pEdit)
    return false;
  pEdit->m_bUnembed = m_bUnembedFonts = true;
  return true;
}

bool CFontEdits::Embed(const BSE::CStr8& name, const BSE::CStr8& fontFile)
{
  CFontEdit* pEdit = FindOrAdd(name);
  if (!pEdit)
    return false;
  pEdit->m_sFontFile = fontFile;
  pEdit->m_bEmbed = m_bEmbedFonts = true;
  return true;
}

const CFontEdit* CFontEdits::Find(const char* szName) const
{
  const int nLength = BSE::CStr8::Length(szName);
  if (nLength == 0)
    return nullptr;
  return static_cast<const CFontEdit*>(
      m_edits.GetValue(m_edits.Lookup(szName, static_cast<std::size_t>(nLength))));
}

BSE::CStr8 CFontEdits::GetName(int nIndex) const
{
  return {static_cast<const char*>(m_edits.GetKey(nIndex)), static_cast<int>(m_edits.GetKeyLength(nIndex))};
}

CFontEdit* CFontEdits::FindOrAdd(const BSE::CStr8& name)
{
  if (name.IsEmpty() || name.GetLength() > g_nMaxNameLength)
    return nullptr;
  const auto nLength = static_cast<std::size_t>(name.GetLength());
  if (const int nPos = m_edits.Lookup(name.GetText(), nLength); nPos >= 0)
    return static_cast<CFontEdit*>(m_edits.GetValue(nPos));
  const BSE::CObjectPtr<CFontEdit> pEdit(new CFontEdit);
  m_edits.SetAt(name.GetText(), nLength, pEdit.Get());
  pEdit->AddRef();
  return pEdit.Get();
}

void CFontEdits::RemoveAll()
{
  for (int i = m_edits.GetBegin(); i != m_edits.GetEnd(); i = m_edits.GetNext(i))
    static_cast<CFontEdit*>(m_edits.GetValue(i))->Release();
  m_edits.RemoveAll();
  m_bEmbedFonts = m_bUnembedFonts = m_bRenameFonts = false;
}

}  // namespace PDF
