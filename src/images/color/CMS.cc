#include "images/color/CMS.h"

#include "base/FileStream.h"
#include "images/color/DefaultCMS.h"
#include "images/color/LittleCMS.h"

namespace DOC
{

namespace
{

// Names of engines are compared up to this length.
constexpr int g_nMaxEngineName = 39;

BSE::CStr8 MakeName(const char* szEngine)
{
  BSE::CStr8 name;
  for (; *szEngine && name.GetLength() < g_nMaxEngineName; ++szEngine)
    name.Append(*szEngine >= 'A' && *szEngine <= 'Z' ? static_cast<char>(*szEngine - 'A' + 'a') : *szEngine);
  return name;
}

}  // namespace

int GetProfileComponents(TProfileKind kind)
{
  return kind == eProfileGray ? 1 : kind == eProfileCMYK || kind == eProfileOther4 ? 4 : 3;
}

CColorProfile* CCMS::GetDefaultProfile(TProfileKind kind)
{
  if (kind >= g_nDefaults)
    return nullptr;
  if (!m_bTried[kind])
    m_defaults[kind] = OnCreateDefaultProfile(kind);
  m_bTried[kind] = true;
  return m_defaults[kind].Get();
}

BSE::CObjectPtr<CCMS> CreateCMS(const char* szEngine, const char* szProfileFolder, CColorAccount& account)
{
  const BSE::CStr8 name = MakeName(szEngine ? szEngine : "");
  const auto isName = [&name](const char* szName) { return name == BSE::CStr8(szName); };
  if (isName("none"))
    return new CDefaultCMS(account, nullptr);
  CNeugebauer table;
  if (isName("neugebauer"))
    return new CDefaultCMS(account, &table);
  if (!name.IsEmpty() && !isName("lcms") && !isName("msicm"))
  {
    const BSE::CObjectPtr<BSE::CFileStream> pFile(new BSE::CFileStream(szEngine, BSE::eFileRead));
    if (pFile->IsValid() && table.Read(*pFile))
      return new CDefaultCMS(account, &table);
  }
  return new CLittleCMS(account, szProfileFolder);
}

}  // namespace DOC
