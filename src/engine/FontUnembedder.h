#pragma once

#include "document/NumberSet.h"
#include "engine/FontEditor.h"
#include "engine/FontEdits.h"

namespace PDF
{

// Takes the programs out of the fonts that a caller wants without them. A simple font gets an encoding by
// names that every reader knows, from the text that its codes have.
class CFontUnembedder
{
public:
  // Borrows both.
  CFontUnembedder(CFontEditor& editor, const CFontEdits& edits) : m_editor(editor), m_edits(edits) {}
  CFontUnembedder(const CFontUnembedder&) = delete;
  CFontUnembedder& operator=(const CFontUnembedder&) = delete;

  void Run();

private:
  bool IsWanted(const CFont& font) const;
  bool CanUnembed(CFont& font);
  static bool HasText(CFont& font);
  void ReportKept(const CFont& font) const;
  void CollectShared();
  bool IsShared(const CObjectPtr& object) const;
  void Unembed(CFont& font);
  CObjectPtr OwnDescriptor(CFont& font);

  CFontEditor& m_editor;
  const CFontEdits& m_edits;
  CNumberSet m_shared;  // descendants and descriptors that fonts have that keep their programs
};

// The codes of 1 to 255 whose text has a name that is not the one that an encoding has for them, as the
// differences from it (ISO 32000-1, Table 114); empty if there are none.
CObjectPtr MakeDifferences(CFont& font, const CSimpleEncoding& base);

// The name that the text of a code has, null for a code without text or without a name for it.
const char* FindTextName(CFont& font, unsigned nCode);

}  // namespace PDF
