#pragma once

#include "engine/FontEditor.h"
#include "engine/FontEdits.h"
#include "engine/FontUse.h"

namespace PDF
{

// Rewrites the fonts of an input in place, before it is copied: programs keep the glyphs that are shown,
// subsets of one program become one, and equal fonts too. Works on what the analysis has found of the fonts,
// once for an open document. Nothing fails: a font that cannot be handled stays as it was.
class CFontOptimizer
{
public:
  // Borrows both.
  CFontOptimizer(CFontEditor& editor, const CFontEdits& edits);
  CFontOptimizer(const CFontOptimizer&) = delete;
  CFontOptimizer& operator=(const CFontOptimizer&) = delete;

  void Run();

  // Whether a claim of ISO 19005-1 cannot be kept, which wants the glyphs of some fonts listed.
  bool IsClaimLost() const { return m_bClaimLost; }

private:
  void CollectUses();
  void PrepareFonts();
  void Prepare(CFontUse& use);
  void CorrectDictionaries(CFontUse& use, const CFontProgram& program);
  void StripWrapper(CFontUse& use);
  void RenameFonts();
  void WriteBackFonts();
  void UpdateNames(CFontUse& use);
  void SimplifyFont(CFont& font);
  void SimplifyEncoding(CFont& font);
  void AddWidths(CFont& font);
  bool IsWorthWriting(CFontFile& file, CFontProgram& program);
  void WriteProgram(CFontUse& use);
  void Convert(CFontUse& use);
  void SetKeys(CFontUse& use);
  void DropGlyphLists(CFontUse& use);
  void TraceResults();
  bool NeedsGlyphLists(const CFontUse& use) const;

  CFontEditor& m_editor;
  const CFontEdits& m_edits;
  const TOptimizerOptions& m_options;
  CFontUses m_uses;
  bool m_bClaimLost = false;
};

}  // namespace PDF
