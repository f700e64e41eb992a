#pragma once

#include "images/filters/jbig2/JBIG2Components.h"
#include "images/filters/jbig2/JBIG2TextRegion.h"

#include <span>

namespace BSE
{

// A symbol on a page.
struct TJBIG2Instance
{
  int m_nComponent;  // what it stands for
  int m_nSymbol;     // among the symbols of the layout
  int m_nRefined;    // among its refined bitmaps, or -1 if the symbol is as it is
  int m_x;           // corner of the symbol in the refined bitmap
  int m_y;
};

// What of a page is coded by symbols: components that are alike become one symbol, and some that nearly are
// become refinements of one. What is not worth coding so is left out.
class CJBIG2TextLayout
{
public:
  // With the bits that a run of the page takes in generic coding, by which the worth of a symbol is judged.
  // Borrows both.
  CJBIG2TextLayout(CJBIG2Run& run, const CJBIG2Components& components, double dBitsPerRun);

  // Symbols that are as they are; then, once only and after that, refinements. False if there are none.
  bool AddSymbols();
  bool AddRefinements();

  const CJBIG2Components& GetComponents() const { return m_components; }
  const CJBIG2Symbols& GetSymbols() const { return m_symbols; }
  const CJBIG2Symbols& GetRefined() const { return m_refined; }
  std::span<const TJBIG2Instance> GetInstances() const { return m_instances.GetSpan(); }

private:
  // Components that are alike.
  struct TClass
  {
    std::uint64_t m_nHash;
    int m_nCount;
    int m_nRuns;
    int m_nComponent;  // the first of them
    int m_nSymbol;     // -1 if it is not one
    int m_nNext;       // class of the same size, or -1
  };

  // The best symbol, or class that could become one, to refine.
  struct TMatch
  {
    int m_nClass = -1;
    int m_nDifference = 0;
    int m_x = 0;
    int m_y = 0;
  };

  void MakeClasses();

  // The place of a bitmap's class in the table, or of none where there is none yet; -1 if the search is given
  // up.
  int FindSlot(const CJBIG2Bitmap& bitmap, std::uint64_t nHash) const;
  void MakeSymbol(int nClass);

  // Makes a class known to those that look for one of a like size.
  void Offer(int nClass);
  TMatch FindMatch(const CJBIG2Bitmap& bitmap) const;
  void TryMatch(const CJBIG2Bitmap& bitmap, int nClass, TMatch& match) const;
  bool IsWorthRefining(const TClass& item, const TMatch& match) const;

  CJBIG2Run& m_run;
  const CJBIG2Components& m_components;
  double m_dBitsPerRun;
  CBasicArray<int> m_classOf;  // of each component, -1 for none
  CBasicArray<TClass> m_classes;
  CBasicArray<int> m_table;  // classes by their hash, -1 where free
  CBasicArray<int> m_sizes;  // the first class offered of each size, -1 for none
  CJBIG2Symbols m_bitmaps;   // of the classes
  CJBIG2Symbols m_symbols;
  CJBIG2Symbols m_refined;
  CBasicArray<TJBIG2Instance> m_instances;
};

}  // namespace BSE
