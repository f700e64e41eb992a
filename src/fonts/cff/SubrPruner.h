#pragma once

#include "fonts/cff/CFF.h"

namespace CFF
{

// Takes away the subroutines that no glyph calls. The others get new numbers if each call has its number
// right before it; otherwise they keep theirs, and those not called are left empty.
class CSubrPruner
{
public:
  explicit CSubrPruner(CCFF& font) : m_font(font) {}
  CSubrPruner(const CSubrPruner&) = delete;
  CSubrPruner& operator=(const CSubrPruner&) = delete;
  ~CSubrPruner();

  // False, and nothing has changed, if a glyph cannot be run. Once for each object.
  bool Prune();

private:
  friend class CCallCollector;

  // A call in a charstring or subroutine: where its number is.
  struct TCallSite
  {
    int m_nOffset;
    int m_nLength;
    int m_nSet;
    int m_nSubr;
  };
  struct TPiece
  {
    std::size_t m_nLength = 0;
    BSE::CBasicArray<TCallSite> m_calls;
    TData m_new;
  };
  // The global subroutines, and those of each font dictionary.
  struct TSet
  {
    CIndex* m_pSubrs;
    BSE::CBasicArray<int> m_numbers;  // 1 for those in use, then their new numbers plus 1
    int m_nUsed = 0;
  };

  void Note(TData caller, const TCallSite& site);
  void Renumber();
  void Rewrite(TData& data);
  TData Make(TData data, TPiece& piece);

  CCFF& m_font;
  BSE::CPtrArray<TSet> m_sets;  // owned; the first is that of global subroutines
  BSE::CValueKeyPtrMap<const unsigned char*, TPiece> m_pieces;
  bool m_bFixed = false;  // subroutines must keep their numbers
};

}  // namespace CFF
