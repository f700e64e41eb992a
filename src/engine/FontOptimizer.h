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
  void ReportUnknownNames();
  void RenameFonts();
  void TraceResults();

  CFontEditor& m_editor;
  const CFontEdits& m_edits;
  const TOptimizerOptions& m_options;
  CFontUses m_uses;
  bool m_bClaimLost = false;
};

}  // namespace PDF
