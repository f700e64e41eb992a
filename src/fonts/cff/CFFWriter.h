#pragma once

#include "fonts/cff/CFF.h"

namespace CFF
{

// Writes a font. Dictionaries hold offsets of what comes after them, and their own size depends on those, so
// that they are made again until they fit. Strings that nothing refers to are left out.
class CCFFWriter
{
public:
  explicit CCFFWriter(const CCFF& font) : m_font(font) {}

  // Once for each object.
  bool Write(BSE::IByteStream& stream);

private:
  using CBytes = BSE::CBasicArray<unsigned char>;

  bool MakeStrings();
  unsigned short MapString(int nString);
  bool MakeTop();
  bool MakePrivates();
  bool MakeFontDicts(std::int64_t nOffset);
  bool MakeEncoding();
  void WriteEncoding(std::span<const int> codes, int nSupplements);
  unsigned short AddGlyphName(int nGlyph);
  void MakeCharset();
  void MakeFDSelect();
  int FindCharset() const;
  bool HasEncoding(int (*pfGetString)(int)) const;
  bool SettleOffsets();
  bool WriteCharStrings(BSE::IByteStream& stream) const;
  static bool WriteSingle(const CBytes& data, CBytes& bytes);

  const CCFF& m_font;
  BSE::CBasicArray<unsigned short> m_stringMap;  // new numbers of strings; 0 for those not yet used
  CIndex m_strings;
  FONT::CByteStore m_store;  // of strings that the font does not have
  BSE::CBasicArray<unsigned short> m_glyphIDs;
  CDictionary m_top;
  CBytes m_start;  // header, names, top dictionary, strings, global subroutines
  CBytes m_encoding;
  CBytes m_charset;
  CBytes m_fdSelect;
  CBytes m_fontDicts;
  CBytes m_privates;
  BSE::CBasicArray<int> m_privateSizes;
  BSE::CBasicArray<int> m_privateOffsets;  // from the first
  std::int64_t m_nCharStrings = 0;
};

}  // namespace CFF
