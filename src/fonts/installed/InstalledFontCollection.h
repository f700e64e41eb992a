#pragma once

#include "base/BasicMap.h"
#include "base/IniFile.h"
#include "fonts/installed/FontCache.h"
#include "fonts/installed/FontTarget.h"
#include "fonts/pdf/FontProgram.h"

#include <mutex>

namespace PDF
{

class CFont;

// The catalogue of the fonts that the machine offers, in the order in which they were added, and the search
// for the one that stands for a font that is not embedded. A font is found by its name, whatever the case of
// its letters; of fonts of one name the last one, so that a user's own come before those of the system, and
// Type 1 after other formats. Fonts stay until the catalogue goes. All operations may be called from any
// thread once Load has been.
class CInstalledFontCollection
{
public:
  // The one of the process, with the default folders, loaded at the first call with the cache of the user; it
  // is never destroyed.
  static CInstalledFontCollection& GetInstance();

  CInstalledFontCollection() = default;
  CInstalledFontCollection(const CInstalledFontCollection&) = delete;
  CInstalledFontCollection& operator=(const CInstalledFontCollection&) = delete;
  ~CInstalledFontCollection();

  // A folder that is in the list already is passed over.
  void AddFontDirectory(const char* szPath);

  // Those of the system, ".fonts" of the user if there is one, and that of PDFFONTDIR or else the one of X11.
  void AddDefaultDirectories();

  // The path of the cache in the user's folder of settings, which need not exist; empty for a user without a
  // folder of his own.
  static BSE::CStr8 GetDefaultCache();

  // What is in the cache, or else in the folders, which the cache gets then, and what is compiled in. A null
  // or empty path is no cache. Nothing fails: what cannot be read is traced. Once for each object.
  void Load(const char* szCacheFile);

  // False, which is traced, for a font without a name.
  bool AddFont(CInstalledFont& font, bool bFromCache);

  int GetFontCount() const;
  const CInstalledFont* GetFont(int nIndex) const;

  // By its name, or by the name of a family without blanks, for the regular font of it. Null if there is
  // none.
  const CInstalledFont* FindFont(const char16_t* szName) const;

  // The font that the settings ("fonts.ini", section "replace") name for this one; null for none.
  const CInstalledFont* ApplyReplacements(const CFont& font) const;

  // The font to be shown in place of one that is not embedded: that of the settings, of its own name, of its
  // script, and else the one that is most like it. Null, which is traced, if there is none. For Latin text a
  // variable font comes before those that are only alike: then it is that one, and pInstance gets a program
  // made of it with the glyphs that the font uses.
  const CInstalledFont* GetNearestFont(const CFont& font, BSE::CScopedPtr<CFontProgram>& pInstance) const;

  // The first one of those that are known to have the scripts that a target asks for; null without them.
  const CInstalledFont* GetScriptFont(const CFontCharacteristics& target) const;

  // The program of a font in the catalogue. Null, which is traced, if it cannot be read any more; of a file
  // that cannot be opened or is no font nothing is reported. What it loses in being repaired is reported.
  static BSE::CScopedPtr<CFontProgram> LoadProgram(const CInstalledFont& font,
                                                   BSE::IErrorContext* pErrorContext);

private:
  void LoadInternalFonts();
  bool LoadCache(const char* szCacheFile);
  void ScanDirectories();
  void WriteCache(const char* szCacheFile) const;
  void LoadSettings();
  bool ComputeDigest(CFontCache::TDigest& digest) const;
  const CInstalledFont* Find(const char16_t* szName) const;
  const CInstalledFont* FindByName(const CFont& font, const CFontTarget& target) const;
  const CInstalledFont* FindMostAlike(const CFont& font, const CFontTarget& target) const;
  BSE::CScopedPtr<CFontProgram> MakeInstance(const CFont& font, const CFontTarget& target,
                                             const CInstalledFont*& pInstalled) const;

  mutable std::mutex m_lock;
  BSE::CObjectArray<CInstalledFont> m_fonts;
  BSE::CBasicMap m_names;                    // in upper case, to fonts
  BSE::CBasicMap m_families;                 // the same of families without blanks, to their regular fonts
  BSE::CPtrArray<BSE::CStr8> m_directories;  // owned
  BSE::CIniFile m_settings;
};

}  // namespace PDF
