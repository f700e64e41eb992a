#pragma once

#include "engine/FontEditor.h"
#include "engine/FontEdits.h"

namespace PDF
{

class CCIDFont;
class CSimpleGlyphs;

// Embeds programs in the fonts that a caller wants embedded: of the file that he names, or the nearest one
// that is installed. Text stays what it is and where it is. A font stays as it is, which is reported, if no
// program is found, or it cannot be read whole, lacks a glyph that text shows, or may not be embedded. Fonts
// that get the same program share its stream.
class CFontEmbedder
{
public:
  // Borrows both.
  CFontEmbedder(CFontEditor& editor, const CFontEdits& edits) : m_editor(editor), m_edits(edits) {}
  CFontEmbedder(const CFontEmbedder&) = delete;
  CFontEmbedder& operator=(const CFontEmbedder&) = delete;
  ~CFontEmbedder() = default;

  void Run();

private:
  // Composite fonts that share a descendant.
  struct TGroup : public BSE::CObject
  {
    bool IsValid() const override { return true; }
    BSE::CPtrArray<CFont> m_fonts;
  };

  // The streams that have been made of one program, null where there is none.
  struct TStreams : public BSE::CObject
  {
    bool IsValid() const override { return true; }
    CObjectPtr m_simple;
    CObjectPtr m_composite;
  };

  // What a font gets. The program is its own, or that of a stream that there is already.
  struct TChoice
  {
    CHeldReports m_reports;  // what its own program loses; outlives it
    CFontProgram* m_pProgram = nullptr;
    BSE::CScopedPtr<CFontProgram> m_pOwn;
    const void* m_pKey = nullptr;  // of m_streams; null for a program made for the font
    CObjectPtr m_stream;
  };

  void CollectGroups();
  const CFontEdit* FindEdit(const CFont& font) const;
  void Embed(CFont& font, const CFontEdit& edit);
  bool Choose(CFont& font, const CFontEdit& edit, TChoice& choice);
  static void LoadFile(CFont& font, const CFontEdit& edit, TChoice& choice);
  void LoadNearest(CFont& font, TChoice& choice) const;
  bool TakeStream(const CFont& font, const void* pKey, TChoice& choice) const;
  bool EmbedSimple(CFont& font, TChoice& choice);
  bool EmbedComposite(CFont& font, TChoice& choice);
  static bool ReportMissing(CFont& font, int nCharacter);
  static bool ReportUnreadable(CFont& font, const char* szProgram);
  CObjectPtr MakeDescriptor(CFont& font, CFontProgram& program, int nFlags, const CObjectPtr& stream);
  CObjectPtr MakeStream(CFontProgram& program, unsigned nUsage);
  CObjectPtr GetStream(TChoice& choice, unsigned nUsage);
  static void AddWidths(const CObjectPtr& object, CFont& font, const CSimpleGlyphs& glyphs);

  CFontEditor& m_editor;
  const CFontEdits& m_edits;
  BSE::CValueKeyObjectMap<const CCIDFont*, TGroup> m_groups;
  BSE::CValueKeyObjectMap<const void*, TStreams> m_streams;  // by requests with files, and installed fonts
};

}  // namespace PDF
