#pragma once

#include "base/BasicMap.h"
#include "base/BasicString.h"
#include "base/Object.h"

namespace PDF
{

// What a caller wants to be done with the fonts of one name.
class CFontEdit : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }

  BSE::CStr8 m_sFontFile;  // path of a program to embed; empty for the nearest one that is installed
  BSE::CStr8 m_sNewName;
  bool m_bEmbed = false;
  bool m_bUnembed = false;
  bool m_bRename = false;
};

// The requests for single fonts, one record for each name. A name is the bytes of the font's name without the
// prefix of a subset, as UTF-8 where it is text, and is found by just these bytes. Requests belong to the
// handle until its document is closed; profiles leave them alone.
class CFontEdits
{
public:
  static constexpr int g_nMaxNameLength = 256;

  // Matches every font, in requests to unembed alone.
  static constexpr const char* g_szAnyFont = "*";

  CFontEdits() = default;
  CFontEdits(const CFontEdits&) = delete;
  CFontEdits& operator=(const CFontEdits&) = delete;
  ~CFontEdits() { RemoveAll(); }

  // A second request for a name changes the record of the first. False, and nothing changes, for a name that
  // is empty or longer than g_nMaxNameLength, and for an empty new name.
  bool Rename(const BSE::CStr8& name, const BSE::CStr8& newName);
  bool Unembed(const BSE::CStr8& name);
  bool Embed(const BSE::CStr8& name, const BSE::CStr8& fontFile);

  // Null for a name without a record; a null or empty one has none.
  const CFontEdit* Find(const char* szName) const;

  // Names in the order in which they came first, from 0 to GetCount.
  BSE::CStr8 GetName(int nIndex) const;

  int GetCount() const { return m_edits.GetCount(); }
  void RemoveAll();

  // Whether there is any request of the kind.
  bool m_bEmbedFonts = false;
  bool m_bUnembedFonts = false;
  bool m_bRenameFonts = false;

private:
  CFontEdit* FindOrAdd(const BSE::CStr8& name);

  BSE::CBasicMap m_edits;  // bytes of the name to a CFontEdit, of which it holds a reference
};

}  // namespace PDF
