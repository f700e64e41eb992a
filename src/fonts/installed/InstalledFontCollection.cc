#include "fonts/installed/InstalledFontCollection.h"

#include "base/BufferedOutputStream.h"
#include "base/Hash.h"
#include "base/Limits.h"
#include "base/Tracer.h"
#include "base/Unicode.h"
#include "fonts/installed/FontFile.h"
#include "fonts/installed/FontFolders.h"
#include "fonts/installed/InternalFonts.h"
#include "fonts/pdf/Font.h"

#include <strings.h>

#include <cstdlib>
#include <cstring>

namespace PDF
{

namespace
{

constexpr const char* g_szComponent = "Font Collection";

// Below the user's folder.
constexpr const char* g_szSettingsFolder = ".norvane/fonts";
constexpr const char* g_szSystemSettings = "/etc/opt/norvane/fonts/fonts.ini";

template <class... T>
void Trace(const char* szSeverity, const char* szFormat, T... arguments)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace(szSeverity, g_szComponent, szFormat, arguments...);
}

const char* GetVariable(const char* szName)
{
  const char* szValue = std::getenv(szName);
  return szValue && *szValue ? szValue : nullptr;
}

BSE::CStr16 ToUpper(const char16_t* szName, bool bBlanks)
{
  BSE::CStr16 upper;
  for (const char16_t* p = szName; p && *p; ++p)
    if (bBlanks || *p != u' ')
      upper.Append(PDF::ToUpper(*p));
  return upper;
}

// What is found by a text; null for none.
const CInstalledFont* Lookup(const BSE::CBasicMap& map, const BSE::CStr16& name)
{
  return static_cast<const CInstalledFont*>(
      map.GetValue(map.Lookup(name.GetText(), name.GetSpan().size_bytes())));
}

bool IsType1(const CInstalledFont& font)
{
  const BSE::CFile file(font.m_sFile.GetText());
  const char* szEnding = file.GetExtension();
  return strcasecmp(szEnding, "pfb") == 0 || strcasecmp(szEnding, "pfa") == 0;
}

// The last one counts, but that Type 1 gives way to what has the same glyphs and more.
void Enter(BSE::CBasicMap& map, const BSE::CStr16& name, CInstalledFont& font)
{
  const CInstalledFont* pBefore = Lookup(map, name);
  if (pBefore && IsType1(font) && !pBefore->IsFromMemory() && !IsType1(*pBefore))
    return;
  map.SetAt(name.GetText(), name.GetSpan().size_bytes(), &font);
}

// A new file in the folder takes the place of the cache once it is complete, so that processes that read it
// at the same time have the one or the other, and one that ends here leaves nothing that is in the way.
bool ReplaceFile(const char* szPath, const CFontCache& cache, const BSE::CObjectArray<CInstalledFont>& fonts)
{
  const BSE::CFile target(szPath);
  const BSE::CFile folder(target.GetFolder().GetText());
  BSE::CFile file;
  if (!folder.MakeFolder())
    return false;
  const int fd = file.OpenUnique(folder.GetPath(), "new");
  const BSE::CObjectPtr<BSE::CFileStream> pStream(new BSE::CFileStream(nullptr));
  if (!pStream->Attach(fd, file))
    return false;
  if (cache.Write(*pStream, fonts) && pStream->Close() && file.Rename(szPath))
    return true;
  file.Remove();
  return false;
}

}  // namespace

CInstalledFontCollection& CInstalledFontCollection::GetInstance()
{
  // Other threads may still look for fonts while the process ends.
  alignas(CInstalledFontCollection) static unsigned char storage[sizeof(CInstalledFontCollection)];
  static CInstalledFontCollection* const pInstance = []
  {
    auto* pNew = new (storage) CInstalledFontCollection;
    try
    {
      pNew->AddDefaultDirectories();
      pNew->Load(GetDefaultCache().GetText());
    }
    catch (...)
    {
      // The next caller may have the memory.
      pNew->~CInstalledFontCollection();
      throw;
    }
    return pNew;
  }();
  return *pInstance;
}

CInstalledFontCollection::~CInstalledFontCollection()
{
  for (BSE::CStr8* p : m_directories.GetSpan())
    delete p;
}

void CInstalledFontCollection::AddFontDirectory(const char* szPath)
{
  for (const BSE::CStr8* p : m_directories.GetSpan())
    if (std::strcmp(p->GetText(), szPath) == 0)
    {
      Trace("D", "Font directory is already loaded, skipping %s", szPath);
      return;
    }
  BSE::CScopedPtr<BSE::CStr8> pPath(new BSE::CStr8(szPath));
  m_directories.Add(pPath.Get());
  pPath.Detach();
}

void CInstalledFontCollection::AddDefaultDirectories()
{
  const BSE::CStopWatch watch;
  AddFontDirectory("/usr/share/fonts");
  AddFontDirectory("/usr/local/share/fonts");
  if (BSE::CFile home; BSE::CFile::GetHomeFolder(home))
    if (const BSE::CFile fonts(home.GetPath(), ".fonts"); fonts.Exists())
      AddFontDirectory(fonts.GetPath());
  const char* szOwn = GetVariable("PDFFONTDIR");
  AddFontDirectory(szOwn ? szOwn : "/usr/lib/X11/fonts/Type1");
  Trace("D", "AddDefaultDirectories: %f sec\n", watch.GetSeconds());
}

BSE::CStr8 CInstalledFontCollection::GetDefaultCache()
{
  BSE::CFile home;
  if (!BSE::CFile::GetHomeFolder(home))
    return {};
  return BSE::CStr8(
      BSE::CFile(BSE::CFile(home.GetPath(), g_szSettingsFolder).GetPath(), "fonts.dat").GetPath());
}

void CInstalledFontCollection::Load(const char* szCacheFile)
{
  const std::lock_guard guard(m_lock);
  LoadInternalFonts();
  LoadSettings();
  const bool bCache = szCacheFile && *szCacheFile;
  if (!bCache)
    Trace("I", "There is no place for a font cache.");
  else if (LoadCache(szCacheFile))
    return;
  ScanDirectories();
  if (bCache)
    WriteCache(szCacheFile);
}

bool CInstalledFontCollection::AddFont(CInstalledFont& font, bool bFromCache)
{
  if (font.m_sName.IsEmpty())
  {
    Trace("E", "Nameless font cannot not be added.");
    return false;
  }
  if (BSE::CTracer::IsOn())
  {
    BSE::CStr8 name;
    BSE::ConvertText(font.m_sName.GetText(), name, BSE::TInvalidText::Replace);
    Trace("D", "Add font \"%s\"%s.", name.GetText(), bFromCache ? " from cache" : "");
  }
  m_fonts.Add(&font);
  Enter(m_names, ToUpper(font.m_sName.GetText(), true), font);
  const bool bRegular = !font.m_bBold && !font.m_bItalic && !font.m_bNarrow && !font.m_bExpanded;
  if (bRegular && font.m_dWeight >= 300 && font.m_dWeight <= 500 && !font.m_sFamily.IsEmpty())
    Enter(m_families, ToUpper(font.m_sFamily.GetText(), false), font);
  return true;
}

void CInstalledFontCollection::LoadInternalFonts()
{
  const BSE::CObjectPtr<CInstalledFont> pFont = MakeInternalDingbats();
  if (!pFont || !AddFont(*pFont, false))
  {
    Trace("E", "Failed to load internal D050000L font.");
    return;
  }
  // Whatever is installed under that name takes its place.
  const CInstalledFont* pFound = Find(u"D050000L");
  if (pFound != pFont.Get())
    Trace("E", "Internal font D050000L not found in font map after loading. ZapfDingbats alias not created.");
  else
    Enter(m_names, ToUpper(u"ZapfDingbats", true), *pFont);
}

bool CInstalledFontCollection::ComputeDigest(CFontCache::TDigest& digest) const
{
  BSE::CHashSHA1 hash;
  for (const BSE::CStr8* p : m_directories.GetSpan())
  {
    const std::int32_t nLength = p->GetLength();
    unsigned char bytes[sizeof nLength];
    std::memcpy(bytes, &nLength, sizeof nLength);
    hash.Update(bytes);
    hash.Update({reinterpret_cast<const unsigned char*>(p->GetText()), p->GetSpan().size()});
  }
  hash.Final(digest);
  if (m_directories.IsEmpty())
    Trace("E", "Error computing font directory digest.");
  return !m_directories.IsEmpty();
}

bool CInstalledFontCollection::LoadCache(const char* szCacheFile)
{
  const BSE::CStopWatch watch;
  Trace("D", "Reading font cache from file %s ...", szCacheFile);
  CFontCache::TDigest digest;
  const BSE::CObjectPtr<BSE::CFileStream> pFile =
      OpenRegularFile(szCacheFile, BSE::g_nMaxCacheEntry, nullptr);
  if (!pFile)
    Trace("E", "Error reading from font cache.");
  BSE::CObjectArray<CInstalledFont> fonts;
  if (!pFile || !ComputeDigest(digest) || !CFontCache(digest).Read(*pFile, fonts))
    return false;
  for (int i = 0; i < fonts.GetSize(); ++i)
    AddFont(*fonts[i], true);
  Trace("D", "Loaded %d fonts from cache: %f sec\n", fonts.GetSize(), watch.GetSeconds());
  return true;
}

void CInstalledFontCollection::ScanDirectories()
{
  CFontFolders folders;
  for (const BSE::CStr8* p : m_directories.GetSpan())
  {
    Trace("D", "Adding fonts from %s ...", p->GetText());
    BSE::CObjectArray<CInstalledFont> fonts;
    folders.Add(p->GetText(), fonts);
    for (int i = 0; i < fonts.GetSize(); ++i)
      AddFont(*fonts[i], false);
    Trace("D", "Successfully added %d font(s) from %s", fonts.GetSize(), p->GetText());
  }
}

void CInstalledFontCollection::WriteCache(const char* szCacheFile) const
{
  Trace("D", "Creating font cache %s ...", szCacheFile);
  CFontCache::TDigest digest;
  if (ComputeDigest(digest) && ReplaceFile(szCacheFile, CFontCache(digest), m_fonts))
    Trace("D", "Successfully created font cache %s", szCacheFile);
  else
    Trace("E", "Error creating font cache %s.", szCacheFile);
}

// The first of three places where there is a file counts, whether it can be read or not.
void CInstalledFontCollection::LoadSettings()
{
  BSE::CFile aPlaces[3] = {{}, {}, BSE::CFile(g_szSystemSettings)};
  if (const char* szOwn = GetVariable("PDFFONTDIR"))
    aPlaces[0] = BSE::CFile(szOwn, "fonts.ini");
  if (BSE::CFile home; BSE::CFile::GetHomeFolder(home))
    aPlaces[1] = BSE::CFile(BSE::CFile(home.GetPath(), g_szSettingsFolder).GetPath(), "fonts.ini");
  for (const BSE::CFile& place : aPlaces)
  {
    if (place.IsEmpty() || !place.Exists())
      continue;
    const BSE::CObjectPtr<BSE::CFileStream> pFile =
        OpenRegularFile(place.GetPath(), BSE::g_nMaxIniFile, nullptr);
    if (!pFile || !m_settings.Read(*pFile))
      Trace("E", "Error reading font settings %s.", place.GetPath());
    return;
  }
}

int CInstalledFontCollection::GetFontCount() const
{
  const std::lock_guard guard(m_lock);
  return m_fonts.GetSize();
}

const CInstalledFont* CInstalledFontCollection::GetFont(int nIndex) const
{
  const std::lock_guard guard(m_lock);
  return m_fonts[nIndex];
}

const CInstalledFont* CInstalledFontCollection::Find(const char16_t* szName) const
{
  const BSE::CStr16 upper = ToUpper(szName, true);
  if (const CInstalledFont* pFont = Lookup(m_names, upper))
    return pFont;
  return Lookup(m_families, upper);
}

const CInstalledFont* CInstalledFontCollection::FindFont(const char16_t* szName) const
{
  const std::lock_guard guard(m_lock);
  return Find(szName);
}

BSE::CScopedPtr<CFontProgram> CInstalledFontCollection::LoadProgram(const CInstalledFont& font,
                                                                    BSE::IErrorContext* pErrorContext)
{
  BSE::CBasicArray<unsigned char> data;
  if (font.IsFromMemory())
    data.Append(font.m_data);
  else
  {
    const BSE::CObjectPtr<BSE::CFileStream> pFile =
        OpenRegularFile(font.m_sFile.GetText(), BSE::g_nMaxFontFile, nullptr);
    if (!pFile || !pFile->ReadToArray(data, BSE::g_nMaxFontFile))
    {
      Trace("E", "Font file could not be opened: %s", font.m_sFile.GetText());
      return nullptr;
    }
  }
  // Of a collection the font is taken by its name.
  BSE::CStr8 name;
  BSE::ConvertText(font.m_sName.GetText(), name, BSE::TInvalidText::Replace);
  return CFontProgram::Create(std::move(data), name.GetText(), true, pErrorContext);
}

}  // namespace PDF
