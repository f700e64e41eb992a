#pragma once

#include "base/Hash.h"
#include "engine/FontEditor.h"
#include "engine/FontUse.h"

namespace PDF
{

// Makes one of font programs that differ in nothing but which glyphs they hold, as subsets of one font do.
// Only programs with equal merge keys are compared.
class CFontProgramMerger
{
public:
  // Borrows both.
  CFontProgramMerger(CFontEditor& editor, CFontUses& uses) : m_editor(editor), m_uses(uses) {}
  CFontProgramMerger(const CFontProgramMerger&) = delete;
  CFontProgramMerger& operator=(const CFontProgramMerger&) = delete;

  void Run();

private:
  struct TRecord
  {
    int m_nIndex;
    unsigned char m_digest[BSE::CHashSHA1::g_nDigestSize];
  };

  void NoteEncoding(CFont& font);
  void AddRecord(int nIndex);
  void MergeInto(int nRecord);
  bool Merge(CFont& font, CFont& other);
  CFont& GetFont(int nRecord) const { return *m_editor.GetFonts().GetFont(m_records[nRecord].m_nIndex); }

  CFontEditor& m_editor;
  CFontUses& m_uses;
  BSE::CBasicArray<TRecord> m_records;
};

}  // namespace PDF
