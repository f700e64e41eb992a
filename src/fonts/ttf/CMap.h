#pragma once

#include "fonts/ttf/FontLog.h"
#include "fonts/ttf/Table.h"

namespace TTF
{

struct TMapping
{
  std::uint32_t m_nCode;
  std::uint32_t m_nGlyph;
};

// cmap: from character codes to glyphs, in subtables for a platform and an encoding. The formats 0 (bytes), 4
// (segments of 16 bits), 6 (one range) and 12 (groups of 32 bits) are read; others stay in the table, but
// nothing is found in them.
class CCMap : public CTable
{
public:
  struct TSubtable
  {
    std::uint16_t m_nPlatform;
    std::uint16_t m_nEncoding;
    std::uint16_t m_nFormat;
    bool m_bSorted;  // segments of format 4 can be searched by halves
    std::uint32_t m_nLanguage;
    std::uint32_t m_nOffset;
    std::uint32_t m_nLength;
  };

  CCMap() : CTable(MakeTag("cmap")) {}

  // Reads the list of subtables and says what is wrong with them. Those that lie outside are left out.
  void Read(CFontLog& log);

  int GetSubtableCount() const { return m_subtables.GetSize(); }
  const TSubtable& GetSubtable(int nSubtable) const { return m_subtables[nSubtable]; }

  // Index of a subtable, -1 if there is none. An encoding of -1 is any.
  int Find(int nPlatform, int nEncoding) const;

  // Whether there are codes of characters in a format that is not read.
  bool HasUnread() const;

  // The subtable to use: (3,1) or (3,0) if symbolic, else (1,0); -1 if there is neither.
  int FindPreferred(bool bSymbolic) const;

  // 0 if the code has no glyph.
  int GetGlyph(int nSubtable, std::uint32_t nCode) const;

  // All codes up to nMaxCode with a glyph from 1 to below nGlyphs, ascending. False if the subtable has
  // another format or far more segments than its codes can need.
  bool GetMappings(int nSubtable, std::uint32_t nMaxCode, int nGlyphs,
                   BSE::CBasicArray<TMapping>& mappings) const;

  // Keeps one subtable, (3,x) or (1,x) by its platform, converted to format 4 or format 0. With bSymbolic
  // that is (3,0) or else (1,0), otherwise the first of platform 3 or else of platform 1. False, and nothing
  // has changed, if there is none or it cannot be converted.
  bool Convert(bool bSymbolic, int nGlyphs, CFontLog& log);

  // Takes away the codes of glyphs that are not marked. Subtables that nothing is found in, damaged or in
  // another format, stay as they are.
  void KeepCodes(const BSE::CBasicArray<unsigned char>& used, CFontLog& log);

private:
  void CheckSubtable(TSubtable& subtable, CFontLog& log) const;
  bool CheckSegments(TSubtable& subtable) const;
  BSE::CByteCursor GetPart(const TSubtable& subtable) const
  {
    return GetCursor().GetPart(subtable.m_nOffset);
  }
  int GetSegmentGlyph(const TSubtable& subtable, std::uint32_t nCode) const;
  int GetGroupGlyph(const TSubtable& subtable, std::uint32_t nCode) const;
  bool AddSegments(const TSubtable& subtable, BSE::CBasicArray<std::uint32_t>& glyphs) const;
  void AddGroups(const TSubtable& subtable, std::uint32_t nMaxCode, int nGlyphs,
                 BSE::CBasicArray<TMapping>& mappings) const;

  BSE::CBasicArray<TSubtable> m_subtables;
};

// The bytes of a subtable from ascending mappings. False, with a trace, if the format cannot hold them.
bool MakeFormat0(std::span<const TMapping> mappings, std::uint32_t nLanguage, CTableWriter& writer);
bool MakeFormat4(std::span<const TMapping> mappings, std::uint32_t nLanguage, CTableWriter& writer);

// The same in one of the formats that are read.
bool MakeSubtable(unsigned nFormat, std::span<const TMapping> mappings, std::uint32_t nLanguage,
                  CTableWriter& writer);

}  // namespace TTF
