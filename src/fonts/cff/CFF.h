#pragma once

#include "base/BasicMap.h"
#include "base/BasicString.h"
#include "base/Hash.h"
#include "base/Stream.h"
#include "fonts/cff/Dictionary.h"
#include "fonts/cff/Type2Parser.h"
#include "fonts/common/ByteStore.h"
#include "fonts/common/Glyph.h"
#include "fonts/common/StandardNames.h"

namespace CFF
{

// What a glyph is drawn with besides its charstring. A font by names has one, a font by CIDs several.
struct TFontDict
{
  CDictionary m_dict;
  CDictionary m_private;
  CIndex m_subrs;
};

// What a font program is used for in a document; bits that callers combine.
enum TUsage : unsigned
{
  eUsedByCID = 1,
  eUsedByName = 2,
  eUsedBySymbols = 4,
  eNeedsEncoding = 8
};

// A Compact Font Format program (Adobe Technical Note 5176). The data are in memory as a whole; charstrings
// and subroutines are parts of them that stay valid until the font is subset.
class CCFF
{
public:
  explicit CCFF(BSE::IErrorContext* pErrorContext = nullptr);
  CCFF(const CCFF&) = delete;
  CCFF& operator=(const CCFF&) = delete;
  ~CCFF();

  // Reads the rest of the stream, which begins with the font; the name is for reports. False if it cannot be
  // read, which is reported. Once for each object.
  bool Read(BSE::IByteStream& stream, const char* szName);
  bool Read(BSE::CBasicArray<unsigned char>&& data, const char* szName);

  // The same for data that outlive the font.
  bool Borrow(TData data, const char* szName);

  // The font as it is. False if the stream fails, or the font does not fit the format.
  bool Write(BSE::IByteStream& stream) const;

  bool IsCIDKeyed() const { return m_top.Has(CTypes::eROS); }
  int GetGlyphCount() const { return m_charStrings.GetSize(); }
  FONT::TName GetFontName() const { return FONT::MakeName(m_name); }

  // ".notdef" for glyph 0; empty for glyphs of a font by CIDs and for numbers out of range.
  FONT::TName GetGlyphName(int nGlyph) const;

  // 0 for fonts by names.
  int GetCID(int nGlyph) const;

  // -1 if there is none.
  int FindGlyph(FONT::TName name) const;
  int FindGlyphByCID(int nCID) const;

  // The glyph that the font has for a code of its own; 0 for none.
  int GetEncodedGlyph(int nCode) const { return m_encoding[nCode & 0xFF]; }

  const CDictionary& GetTop() const { return m_top; }
  int GetFontDictCount() const { return m_fontDicts.GetSize(); }
  const TFontDict& GetFontDict(int nDict) const { return *m_fontDicts[nDict]; }
  int GetFontDictOf(int nGlyph) const { return IsCIDKeyed() ? m_fdSelect[nGlyph] : 0; }
  const CIndex& GetGlobalSubrs() const { return m_globalSubrs; }
  TData GetCharString(int nGlyph) const { return m_charStrings[nGlyph]; }

  // The collection of a font by CIDs, "Japan1"; empty for others.
  FONT::TName GetOrdering() const;

  // The text of a key that has one; empty if there is none.
  FONT::TName GetText(CTypes::TKey nKey) const;

  // What the charstring of a glyph runs with.
  TType2Context GetContext(int nGlyph) const;

  // Runs the charstring of a glyph at the cost of the font. False if that fails, or if this font asks for far
  // more than its size can honestly hold.
  bool Run(int nGlyph, CType2Parser& parser);

  // The glyph as it is drawn, accents put in their places. False, which is reported, if it cannot be drawn,
  // or if this font asks for far more than its size can honestly hold.
  bool GetGlyph(int nGlyph, FONT::CGlyph& glyph);

  // False if the charstring fails before its width.
  bool GetWidth(int nGlyph, double& dWidth);

  // Marks the letters and accents that marked glyphs are made of, and .notdef; the array gets a byte for each
  // glyph. False if that cannot be found out: then nothing may be left out.
  bool CloseGlyphs(BSE::CBasicArray<unsigned char>& used);

  // Leaves only the marked glyphs and .notdef; numbers of glyphs change, their order does not. Glyphs that
  // others are made of must be marked. A font by names that is used by CIDs becomes one by CIDs first, with
  // its glyph numbers as CIDs; if it is also used otherwise it cannot be subset. False, and nothing has
  // changed, if that is so or no glyph was left out. used is the table of what is left then.
  bool Subset(BSE::CBasicArray<unsigned char>& used, unsigned nUsage);

  // Makes it a font by CIDs, each the number of its glyph; names and encoding go. Marked glyphs, all for an
  // empty array, get accents put in their places, since those are found by names. False, and nothing has
  // changed, if that fails.
  bool MakeCIDKeyed(const BSE::CBasicArray<unsigned char>& used);

  // Gives each glyph of a font by CIDs another CID. False, and nothing has changed, for other fonts, another
  // number of glyphs, and a CID for .notdef that is not 0.
  bool SetCIDs(std::span<const std::uint16_t> cids);

  // Takes over the glyphs that this font lacks or has empty. 0 if the fonts do not go together, with nothing
  // changed; 1 if glyphs were added, 2 if all were here already. used of each is as for Subset, or empty.
  int Merge(const CCFF& other, unsigned nUsage, BSE::CBasicArray<unsigned char>* pUsed = nullptr,
            const BSE::CBasicArray<unsigned char>* pOtherUsed = nullptr);

  // What is the same in fonts that can be merged.
  void HashTopData(BSE::CHashFunction& digest) const;

  // A copy of a glyph at the end, for a code below 256 too; a null name gets one that is free. Its number, or
  // -1 if the font is full or the name taken.
  int DuplicateGlyph(int nGlyph, int nCode, const char* szName);

  // Drops the subroutines that no glyph calls. Subsets of one font no longer go together then, so that it
  // comes last. False, and nothing has changed, if a glyph cannot be run to find its calls.
  bool DropUnusedSubrs();

  // Drops the dictionaries of a font by CIDs that no glyph refers to; comes last for the same reason.
  void DropUnusedFontDicts();

  // For making a font from one of another format. Strings and data are copied.
  void Create(FONT::TName name);
  CDictionary& GetTop() { return m_top; }
  TFontDict& GetFontDict(int nDict) { return *m_fontDicts[nDict]; }
  void SetText(CTypes::TKey nKey, FONT::TName text);
  int AddGlyph(FONT::TName name, TData charString);
  void SetEncodedGlyph(int nCode, int nGlyph)
  {
    m_encoding[nCode & 0xFF] = static_cast<unsigned short>(nGlyph);
  }

private:
  friend class CCFFWriter;
  friend class CCFFMerger;
  friend class CSubrPruner;

  bool ReadAll();
  bool ReadFontDicts(const BSE::CByteCursor& data);
  bool ReadPrivate(const BSE::CByteCursor& data, const CDictionary& dict, TFontDict& fontDict);
  bool ReadCharset(const BSE::CByteCursor& data);
  bool ReadFDSelect(const BSE::CByteCursor& data);
  bool ReadEncoding(const BSE::CByteCursor& data);
  void ReadSupplements(BSE::CByteCursor& cursor);
  void CheckStrings();
  BSE::CByteCursor Seek(const BSE::CByteCursor& data, CTypes::TKey nKey);

  FONT::TName GetString(int nString) const;
  int AddString(FONT::TName text);
  bool IsFull() const;
  void ReleaseData();
  void DropNames();
  void BuildNames() const;
  bool HasWorkLeft() const;
  int GetComponentGlyph(int nCode) const;
  bool RunGlyph(int nGlyph, FONT::CGlyph& glyph, bool bComponent);
  // The charstrings with the accents of marked glyphs put in their places.
  bool ReplaceAccents(const BSE::CBasicArray<unsigned char>& used, CIndex& charStrings);

  BSE::CStr8 m_sName;
  FONT::CFontLog m_log;
  BSE::CBasicArray<unsigned char> m_own;
  TData m_data;                  // m_own, or borrowed; empty once nothing refers to it
  std::int64_t m_nDataSize = 0;  // as it was read
  FONT::CByteStore m_store;

  TData m_name;
  CDictionary m_top;
  CIndex m_strings;
  CIndex m_globalSubrs;
  CIndex m_charStrings;
  BSE::CPtrArray<TFontDict> m_fontDicts;        // owned; at least one
  BSE::CBasicArray<unsigned short> m_glyphIDs;  // numbers of strings, or CIDs
  BSE::CBasicArray<unsigned char> m_fdSelect;   // of a font by CIDs
  unsigned short m_encoding[256] = {};
  std::int64_t m_nWork = 0;

  mutable BSE::CBasicMap m_glyphs;  // by names or CIDs: numbers of glyphs plus 1
  mutable bool m_bNamesBuilt = false;
};

}  // namespace CFF
