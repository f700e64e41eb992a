// Entries are known by the objects that they refer to, since one dictionary may be reached on many ways and
// one object be listed in many dictionaries. What has no number is known by its name alone.

#include "engine/ResourceUse.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

// Graphics states are not among them: some readers look for transparency in all of a page that are listed,
// named or not, and draw the page otherwise.
constexpr const char* g_categories[] = {"ColorSpace", "Font", "Pattern", "Properties", "Shading", "XObject"};

// Spaces in spaces, and elements that may be one.
constexpr int g_nMaxSpaceDepth = 4;
constexpr int g_nMaxSpaceSize = 4;

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
  m_drawn.RemoveAll();
  m_named.RemoveAll();
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

void CResourceUse::AddEntry(const char* szCategory, const char* szName, const CObjectPtr& value)
{
  if (!value.IsIndirect())
    AddName(szName);
  else if (!m_used.Add(value.GetObjNumber()))
    return;
  const bool bPattern = KeyEquals(szCategory, "Pattern");
  const bool bXObject = KeyEquals(szCategory, "XObject");
  if (value.IsIndirect() && (bPattern || bXObject || KeyEquals(szCategory, "Font")))
    m_named.Add(value.GetObjNumber());
  if (KeyEquals(szCategory, "ColorSpace"))
    AddSpaceNames(value, 0);
  else if (bXObject || KeyEquals(szCategory, "Shading"))
  {
    AddSpaceNames(value["ColorSpace"], 0);
    AddSpaceNames(value["Group"]["CS"], 0);
  }
  else if (bPattern)
    AddSpaceNames(value["Shading"]["ColorSpace"], 0);
}

void CResourceUse::AddState(const CObjectPtr& state)
{
  for (const CObjectPtr& drawn : {state["SMask"]["G"], state["Font"][0]})
    if (drawn.IsIndirect() && m_drawn.Add(drawn.GetObjNumber()))
      m_named.Add(drawn.GetObjNumber());
}

// The names of families and colorants are among them, and do no harm.
void CResourceUse::AddSpaceNames(const CObjectPtr& space, int nDepth)
{
  if (space.IsName())
    AddName(space.GetNameValue());
  for (int i = 0;
       space.IsArray() && nDepth < g_nMaxSpaceDepth && i < std::min(space.GetSize(), g_nMaxSpaceSize); ++i)
    AddSpaceNames(space[i], nDepth + 1);
}

void CResourceUse::AddNames(const CNameCollector& names, const CParserContext& context)
{
  for (const char* szImplied : g_implied)
    AddSpaceNames(context.GetResources()["ColorSpace"][szImplied], 0);
  for (int i = names.GetBegin(); m_bActive && i != names.GetEnd(); i = names.GetNext(i))
  {
    const char* szName = names.GetName(i);
    AddState(context.GetResources()["ExtGState"][szName]);
    bool bFound = false;
    bool bAround = false;
    for (const char* szCategory : g_categories)
    {
      const CParserContext* p = &context;
      for (; p; p = p->GetParent())
        if (const CObjectPtr entries = p->GetResources()[szCategory]; !IsAbsent(entries[szName]))
        {
          AddEntry(szCategory, szName, entries.GetValue(entries.GetIndex(szName)));
          break;
        }
      bFound = bFound || p == &context;
      bAround = bAround || (p && p != &context);
    }
    if (context.GetParent() && (bAround || !bFound))
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
  const CObjectPtr states = resources["ExtGState"];
  const bool bKnown = states.IsIndirect() && !m_wholeEntries.Add(states.GetObjNumber());
  for (int i = states.GetBegin(); !bKnown && i != states.GetEnd(); i = states.GetNext(i))
    AddState(states.GetValue(i));
  for (const char* szCategory : g_categories)
  {
    const CObjectPtr entries = resources[szCategory];
    if (entries.IsIndirect() && !m_wholeEntries.Add(entries.GetObjNumber()))
      continue;
    for (int i = entries.GetBegin(); m_bActive && i != entries.GetEnd(); i = entries.GetNext(i))
      AddEntry(szCategory, entries.GetKey(i), entries.GetValue(i));
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
  // An operator without an operand finds the entry without a name, in one reader.
  if (!m_bActive || !m_pStandIns || *szName == 0 || HasName(szName))
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
