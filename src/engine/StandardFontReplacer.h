#pragma once

#include "base/BasicMap.h"
#include "engine/FontEditor.h"

namespace PDF
{

struct TStandardFont;

// Replaces simple fonts by the standard ones that every reader has (ISO 32000-1, 9.6.2.2), where their names
// say that they are these, and all text that they show can be said by the names of glyphs.
class CStandardFontReplacer
{
public:
  explicit CStandardFontReplacer(CFontEditor& editor) : m_editor(editor) {}
  CStandardFontReplacer(const CStandardFontReplacer&) = delete;
  CStandardFontReplacer& operator=(const CStandardFontReplacer&) = delete;
  ~CStandardFontReplacer() = default;

  void Run();

private:
  void Replace(CFont& font);
  bool FindEncoding(CFont& font, const TStandardFont& standard, CObjectPtr& encoding);
  bool HasGlyphs(CFont& font, const TStandardFont& standard) const;
  static bool HasSameWidths(CFont& font, const TStandardFont& standard, const CSimpleEncoding& encoding);
  CObjectPtr MakeFont(CFont& font, const TStandardFont& standard, const CObjectPtr& encoding);
  void AddMetrics(const CObjectPtr& dictionary, CFont& font, const TStandardFont& standard);

  CFontEditor& m_editor;
  BSE::CBasicMap m_made;  // by a text of standard font and encoding: numbers of objects
};

}  // namespace PDF
