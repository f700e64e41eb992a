#pragma once

#include "engine/FontEditor.h"
#include "engine/FontUse.h"

namespace PDF
{

// Finds out by which fonts each program is used, brings the dictionaries into agreement with the program, and
// takes the glyphs from it that nothing shows.
class CFontPreparer
{
public:
  // Borrows both; the uses are filled.
  CFontPreparer(CFontEditor& editor, CFontUses& uses)
      : m_editor(editor), m_options(editor.GetOptions()), m_uses(uses)
  {
  }
  CFontPreparer(const CFontPreparer&) = delete;
  CFontPreparer& operator=(const CFontPreparer&) = delete;

  void Run();

private:
  void CollectUses();
  void PrepareFonts();
  void Prepare(CFontUse& use);
  void CorrectDictionaries(CFontUse& use, const CFontProgram& program);
  void StripWrapper(CFontUse& use);

  CFontEditor& m_editor;
  const TOptimizerOptions& m_options;
  CFontUses& m_uses;
};

}  // namespace PDF
