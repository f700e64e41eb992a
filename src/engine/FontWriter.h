#pragma once

#include "engine/FontEditor.h"
#include "engine/FontUse.h"

namespace PDF
{

// Puts programs that have changed into their streams, in another format where the options ask for it, and
// brings the dictionaries of the fonts in step. What can be said in fewer words in them is.
class CFontWriter
{
public:
  // Borrows both.
  CFontWriter(CFontEditor& editor, CFontUses& uses)
      : m_editor(editor), m_options(editor.GetOptions()), m_uses(uses)
  {
  }
  CFontWriter(const CFontWriter&) = delete;
  CFontWriter& operator=(const CFontWriter&) = delete;

  void Run();

  // Whether a claim of ISO 19005-1 cannot be kept, which wants the glyphs of some fonts listed.
  bool IsClaimLost() const { return m_bClaimLost; }

private:
  void Convert(CFontUse& use);
  static BSE::CScopedPtr<CFontProgram> MakeType1(CFontUse& use, CFontProgram& program);
  static bool AddCodes(const CFont& font, std::span<const char*, CSimpleFont::g_nCodes> names,
                       BSE::CBasicArray<std::uint16_t>& glyphs);
  bool IsWorthWriting(CFontFile& file, const TWrittenProgram& written) const;
  void WriteProgram(CFontUse& use);
  void UpdateNames(CFontUse& use);
  void DropGlyphLists(CFontUse& use);
  void SetKeys(CFontUse& use);
  void SimplifyFont(CFont& font);
  void SimplifyEncoding(CFont& font);
  void AddWidths(CFont& font);

  CFontEditor& m_editor;
  const TOptimizerOptions& m_options;
  CFontUses& m_uses;
  bool m_bClaimLost = false;
};

// Whether ISO 19005-1, 6.3.5, wants the glyphs of a subset listed in its descriptor.
bool NeedsGlyphLists(CDocument& document, const CFontUse& use);

}  // namespace PDF
