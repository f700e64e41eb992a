#pragma once

#include "base/BasicMap.h"
#include "base/BasicString.h"
#include "base/Hash.h"
#include "base/Stream.h"
#include "fonts/common/ByteStore.h"
#include "fonts/common/FontLog.h"
#include "fonts/common/StandardNames.h"
#include "fonts/type1/CharStringParser.h"

namespace PFB
{

// The numbers of a font and rows of them, by the names in its dictionaries.
enum TKey : int
{
  ePaintType,
  eFontType,
  eFontMatrix,
  eFontBBox,
  eUniqueID,
  eStrokeWidth,
  eItalicAngle,
  eIsFixedPitch,
  eUnderlinePosition,
  eUnderlineThickness,
  eBlueValues,
  eOtherBlues,
  eFamilyBlues,
  eFamilyOtherBlues,
  eBlueScale,
  eBlueShift,
  eBlueFuzz,
  eStdHW,
  eStdVW,
  eStemSnapH,
  eStemSnapV,
  eForceBold,
  eForceBoldThreshold,
  eLenIV,
  eLanguageGroup,
  eExpansionFactor,
  eWeightVector,
  eKeyCount
};

// Its texts.
enum TTextKey : int
{
  eFontName,
  eVersion,
  eNotice,
  eCopyright,
  eFullName,
  eFamilyName,
  eWeight,
  eTextKeyCount
};

const char* GetKeyName(TKey nKey);
const char* GetTextKeyName(TTextKey nKey);

// A Type 1 font program (Adobe Type 1 Font Format): general data in clear text; hints, subroutines and glyphs
// encrypted. The data are in memory as a whole and are decrypted in place.
class CPFB
{
public:
  explicit CPFB(BSE::IErrorContext* pErrorContext = nullptr);
  CPFB(const CPFB&) = delete;
  CPFB& operator=(const CPFB&) = delete;

  // Reads the rest of the stream: with segments or without, encrypted bytes or their digits; the name is for
  // reports. False if it cannot be read, which is reported. Once for each object.
  bool Read(BSE::IByteStream& stream, const char* szName);
  bool Read(BSE::CBasicArray<unsigned char>&& data, const char* szName);

  // The font as it is, its parts one after the other; with segments if it is to be installed. False if the
  // stream fails, or for a font whose glyphs are blends of several designs.
  bool Write(BSE::IByteStream& stream, bool bSegments = false);

  // Of the last Write: of the clear text, the encrypted part, and what comes after it.
  std::int64_t GetLength1() const { return m_nLengths[0]; }
  std::int64_t GetLength2() const { return m_nLengths[1]; }
  std::int64_t GetLength3() const { return m_nLengths[2]; }

  int GetGlyphCount() const { return m_charStrings.GetSize(); }

  // ".notdef" for glyph 0; empty for numbers out of range.
  FONT::TName GetGlyphName(int nGlyph) const { return m_names[nGlyph]; }

  // -1 if there is none.
  int FindGlyph(FONT::TName name) const;
  TData GetCharString(int nGlyph) const { return m_charStrings[nGlyph]; }
  std::span<const TData> GetSubrs() const { return m_subrs.GetSpan(); }

  // The glyph name of a code; empty for none.
  FONT::TName GetEncodedName(int nCode) const;
  bool HasStandardEncoding() const { return m_bStandardEncoding; }

  bool Has(TKey nKey) const { return m_values[nKey].GetSize() > 0; }

  // The first value, or the default of the format.
  double GetNumber(TKey nKey) const;
  std::span<const double> GetValues(TKey nKey) const { return m_values[nKey].GetSpan(); }
  FONT::TName GetText(TTextKey nKey) const { return m_texts[nKey]; }

  // Its glyphs are blends of several designs: it can be read, but not written.
  bool IsMultipleMaster() const { return Has(eWeightVector); }

  // Its glyphs have numbers and no names.
  bool IsCIDBased() const { return m_bCIDBased; }

  // Runs the charstring of a glyph at the cost of the font. False if that fails, or if this font asks for far
  // more than its size can honestly hold.
  bool Run(int nGlyph, CType1CharStringParser& parser);

  // As in CFF::CCFF.
  bool GetGlyph(int nGlyph, FONT::CGlyph& glyph);
  bool GetWidth(int nGlyph, double& dWidth);
  bool CloseGlyphs(BSE::CBasicArray<unsigned char>& used);

  // Leaves only the marked glyphs and .notdef, in their order. False, and nothing has changed, if no glyph
  // was left out. used is the table of what is left then.
  bool Subset(BSE::CBasicArray<unsigned char>& used);

  // Takes over the glyphs that this font lacks or has empty. 0 if the fonts do not go together, with nothing
  // changed; 1 if something was added, 2 if all was here already. bEncoding: codes must keep their glyphs.
  int Merge(const CPFB& other, bool bEncoding, BSE::CBasicArray<unsigned char>* pUsed = nullptr,
            const BSE::CBasicArray<unsigned char>* pOtherUsed = nullptr);

  // What is the same in fonts that can be merged.
  void HashPrivate(BSE::CHashFunction& digest) const;

  // As in CFF::CCFF.
  int DuplicateGlyph(int nGlyph, int nCode, const char* szName);

  // For making a font from one of another format. Texts and data are copied. The first glyph is .notdef.
  void SetValues(TKey nKey, std::span<const double> values);
  void SetNumber(TKey nKey, double dValue) { SetValues(nKey, {&dValue, 1}); }
  void SetText(TTextKey nKey, FONT::TName text);
  int AddGlyph(FONT::TName name, TData charString);
  int AddSubr(TData subr) { return m_subrs.Add(m_store.Add(subr)); }
  void SetEncodedName(int nCode, FONT::TName name);
  void SetStandardEncoding(bool bStandard) { m_bStandardEncoding = bStandard; }

private:
  friend class CParser;
  friend class CPFBWriter;

  bool ReadAll();
  void RemoveSegments();
  void PlaceNotdef();
  FONT::TName Keep(FONT::TName text);
  bool HasWorkLeft() const;
  int GetComponentGlyph(int nCode) const;
  bool RunGlyph(int nGlyph, FONT::CGlyph& glyph, bool bComponent);
  bool CompareData(const CPFB& other) const;
  bool CompareGlyphs(const CPFB& other, BSE::CBasicArray<int>& map, bool& bNew) const;
  bool CompareEncodings(const CPFB& other, bool& bNew) const;
  void BuildNames() const;
  void DropNames();

  BSE::CStr8 m_sName;
  FONT::CFontLog m_log;
  BSE::CBasicArray<unsigned char> m_data;
  FONT::CByteStore m_store;

  BSE::CBasicArray<double> m_values[eKeyCount];
  FONT::TName m_texts[eTextKeyCount];
  FONT::TName m_encoding[256];
  bool m_bStandardEncoding = false;
  bool m_bCIDBased = false;
  BSE::CBasicArray<TData> m_subrs;
  BSE::CBasicArray<FONT::TName> m_names;
  BSE::CBasicArray<TData> m_charStrings;
  std::int64_t m_nLengths[3] = {};
  std::int64_t m_nWork = 0;

  mutable BSE::CBasicMap m_glyphs;  // by names: numbers of glyphs plus 1
  mutable bool m_bNamesBuilt = false;
};

}  // namespace PFB
