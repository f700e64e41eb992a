#pragma once

#include "engine/FontEditor.h"
#include "engine/ObjectComparer.h"

namespace PDF
{

class CCIDFont;

// Makes one of whole fonts that share a program and contradict each other in no character: in width, in text,
// and in the glyph of a CID. The first one in the document stays.
class CFontMerger
{
public:
  explicit CFontMerger(CFontEditor& editor);
  CFontMerger(const CFontMerger&) = delete;
  CFontMerger& operator=(const CFontMerger&) = delete;
  ~CFontMerger() = default;

  void Run();

private:
  // The fonts of one program, in the order of the document.
  struct TGroup : public BSE::CObject
  {
    bool IsValid() const override { return true; }
    BSE::CPtrArray<CFont> m_fonts;
  };

  // What the fonts before have made of the one that stays.
  struct TMerged
  {
    bool m_bAny = false;
    bool m_bWidths = false;
    bool m_bText = false;
    bool m_bMap = false;
    BSE::CBasicArray<std::uint16_t> m_map;  // glyphs of CIDs
    bool m_bMapRead = false;
  };

  bool IsCandidate(const CFont& font) const;
  void MergeGroup(std::span<CFont* const> fonts);
  bool TryMerge(CFont& font, CFont& other, TMerged& merged);
  bool HaveSameKind(CFont& font, CFont& other, TMerged& merged, BSE::CBasicArray<std::uint16_t>& map);
  bool HaveSameDescendants(CFont& font, CFont& other);
  bool IsDescendantShared(const CFont& font) const;
  bool Agree(CFont& font, CFont& other, const TMerged& merged, const BSE::CBasicArray<std::uint16_t>& map);
  bool AgreeOnText(CFont& font, CFont& other, int nCharacter);
  void TakeOver(CFont& font, CFont& other, TMerged& merged, const BSE::CBasicArray<std::uint16_t>& map);
  void WriteBack(CFont& font, const TMerged& merged);
  void WriteText(CFont& font);
  void WriteSimpleWidths(CFont& font);
  void WriteWidths(CFont& font);
  void WriteMap(CFont& font, const TMerged& merged);

  CFontEditor& m_editor;
  BSE::CValueKeyPtrMap<const CCIDFont*, CFont> m_descendants;  // a font for each that several have, else null
  CObjectTable m_noTable;
  CStreamDigester m_streams{true};
  CObjectComparer m_comparer{m_noTable, m_streams};
};

}  // namespace PDF
