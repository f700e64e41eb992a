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
    int m_nUse;  // position in the uses
    unsigned char m_digest[BSE::CHashSHA1::g_nDigestSize];
  };

  void NoteEncoding(CFont& font);
  void AddRecord(int nUse);
  void MergeInto(int nRecord);
  bool Merge(CFont& font, CFont& other);
  CFont& GetFont(int nRecord) const { return *m_uses.GetAt(m_records[nRecord].m_nUse)->m_fonts[0]; }

  CFontEditor& m_editor;
  CFontUses& m_uses;
  BSE::CBasicArray<TRecord> m_records;
};

}  // namespace PDF
