// Entries are known by the objects that they refer to, since one dictionary may be reached on many ways and
// one object be listed in many dictionaries. What has no number is known by its name alone.

#include "engine/ResourceUse.h"

#include <cstring>

namespace PDF
{

namespace
{

// Graphics states are not among them: some readers look for transparency in all of a page that are listed,
// named or not, and draw the page otherwise.
constexpr const char* g_categories[] = {"ColorSpace", "Font", "Pattern", "Properties", "Shading", "XObject"};
constexpr const char* g_implied[] = {"DefaultGray", "DefaultRGB", "DefaultCMYK"};

}  // namespace

void CResourceUse::Begin(int nObjects)
{
  Forget();
  m_bActive = true;
  m_nObjects = nObjects;
}

void CResourceUse::Forget()
{
  m_bActive = false;
  m_used.RemoveAll();
  m_read.RemoveAll();
  m_whole.RemoveAll();
  m_wholeEntries.RemoveAll();
  m_names.RemoveAll();
  m_pStandIns = nullptr;
}

// Of equal dictionaries one is written, which may list another one of equal objects than that whose content
// was read.
void CResourceUse::Settle(const CStandIns& standIns)
{
  m_pStandIns = &standIns;
  for (int i = 1; m_bActive && i < m_nObjects; ++i)
    if (m_used.Contains(i))
      m_used.Add(standIns.Get(i));
}

void CResourceUse::AddName(const char* szName)
{
  const std::size_t nSize = std::strlen(szName) + 1;
  if (m_names.Lookup(szName, nSize) >= 0)
    return;
  if (m_names.GetCount() >= g_nMaxNames)
    return GiveUp();
  m_names.SetAt(szName, nSize, nullptr);
}

bool CResourceUse::HasName(const char* szName) const
{
  return m_names.Lookup(szName, std::strlen(szName) + 1) >= 0;
}

void CResourceUse::AddEntry(const char* szName, const CObjectPtr& value)
{
  if (value.IsIndirect())
    m_used.Add(value.GetObjNumber());
  else
    AddName(szName);
}

void CResourceUse::AddNames(const CNameCollector& names, const CParserContext& context)
{
  CObjectPtr categories[std::size(g_categories)];
  for (std::size_t i = 0; i < std::size(g_categories); ++i)
    categories[i] = context.GetResources()[g_categories[i]];
  for (int i = names.GetBegin(); m_bActive && i != names.GetEnd(); i = names.GetNext(i))
  {
    const char* szName = names.GetName(i);
    bool bFound = false;
    for (const CObjectPtr& entries : categories)
      if (const int nIndex = entries.GetIndex(szName); nIndex >= 0)
      {
        AddEntry(szName, entries.GetValue(nIndex));
        bFound = true;
      }
    if (!bFound && context.GetParent())
      AddName(szName);
  }
}

void CResourceUse::AddNamesAnywhere(const CNameCollector& names)
{
  if (!names.IsComplete())
    GiveUp();
  for (int i = names.GetBegin(); m_bActive && i != names.GetEnd(); i = names.GetNext(i))
    AddName(names.GetName(i));
}

void CResourceUse::AddAll(const CObjectPtr& resources)
{
  if (!m_bActive || (resources.IsIndirect() && !m_whole.Add(resources.GetObjNumber())))
    return;
  for (const char* szCategory : g_categories)
  {
    const CObjectPtr entries = resources[szCategory];
    if (entries.IsIndirect() && !m_wholeEntries.Add(entries.GetObjNumber()))
      continue;
    for (int i = entries.GetBegin(); m_bActive && i != entries.GetEnd(); i = entries.GetNext(i))
      AddEntry(entries.GetKey(i), entries.GetValue(i));
  }
}

bool CResourceUse::IsCategory(const char* szKey)
{
  for (const char* szCategory : g_categories)
    if (KeyEquals(szKey, szCategory))
      return true;
  return false;
}

bool CResourceUse::IsUnused(const char* szCategory, const char* szName, const CObjectPtr& value) const
{
  if (!m_bActive || !m_pStandIns || HasName(szName))
    return false;
  if (value.IsIndirect())
  {
    const int nNumber = value.GetObjNumber();
    const bool bKnown = nNumber > 0 && nNumber < m_nObjects;
    if (!bKnown || m_used.Contains(nNumber) || m_used.Contains(m_pStandIns->Get(nNumber)))
      return false;
  }
  for (const char* szImplied : g_implied)
    if (KeyEquals(szCategory, "ColorSpace") && KeyEquals(szName, szImplied))
      return false;
  return true;
}

bool CResourceUse::HasUnused(const char* szCategory, const CObjectPtr& entries) const
{
  for (int i = entries.GetBegin(); m_bActive && i != entries.GetEnd(); i = entries.GetNext(i))
    if (IsUnused(szCategory, entries.GetKey(i), entries.GetValue(i)))
      return true;
  return false;
}

bool CResourceUse::HasUnused(const CObjectPtr& resources) const
{
  for (const char* szCategory : g_categories)
    if (const CObjectPtr entries = resources[szCategory];
        entries.IsDictionary() && HasUnused(szCategory, entries))
      return true;
  return false;
}

}  // namespace PDF
