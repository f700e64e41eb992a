#pragma once

#include "base/BasicMap.h"
#include "fonts/installed/InstalledFont.h"

struct stat;

namespace PDF
{

// Finds the font files in folders and the folders in them: those whose names end like those of fonts, in the
// order of their names. No folder and no file counts twice, whatever links lead to them, so that loops end.
class CFontFolders
{
public:
  CFontFolders() = default;
  CFontFolders(const CFontFolders&) = delete;
  CFontFolders& operator=(const CFontFolders&) = delete;

  // Appends the fonts of a folder; their number. What cannot be read is traced and passed over.
  int Add(const char* szFolder, BSE::CObjectArray<CInstalledFont>& fonts);

private:
  // The file of a path, unless it has been met before.
  bool IsNew(const char* szPath, struct stat& status);

  BSE::CBasicMap m_met;  // by device and number
};

}  // namespace PDF
