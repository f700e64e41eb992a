#pragma once

#include "fonts/ttf/Table.h"

namespace TTF
{

// post: italic angle, underline, and in the versions 1 and 2 the names of the glyphs.
class CPost : public CTable
{
public:
  static constexpr std::uint32_t g_nVersion1 = 0x00010000;
  static constexpr std::uint32_t g_nVersion2 = 0x00020000;
  static constexpr std::uint32_t g_nVersion3 = 0x00030000;

  CPost() : CTable(MakeTag("post")) {}
  bool Parse() override;

  // Empty for a glyph without a name; valid as long as the table.
  std::span<const char> GetGlyphName(int nGlyph) const;

  // Takes away the names of version 2 of glyphs that are not marked.
  void KeepNames(const BSE::CBasicArray<unsigned char>& used);

  // Name of a glyph of the standard order of the Macintosh, which has 258.
  static std::span<const char> GetStandardName(int nName);

  std::uint32_t m_nVersion = 0;
  std::int32_t m_nItalicAngle = 0;
  std::int16_t m_nUnderlinePosition = 0;
  std::int16_t m_nUnderlineThickness = 0;
  std::uint32_t m_nIsFixedPitch = 0;
  std::uint32_t m_nMinMemType42 = 0;
  std::uint32_t m_nMaxMemType42 = 0;
  std::uint32_t m_nMinMemType1 = 0;
  std::uint32_t m_nMaxMemType1 = 0;

private:
  BSE::CBasicArray<std::uint32_t> m_names;  // where the names of version 2 begin, each with its length
  int m_nGlyphs = 0;
};

// name: texts, each for a platform, an encoding and a language, by a number that says what it is.
class CName : public CTable
{
public:
  static constexpr unsigned g_nFamily = 1;
  static constexpr unsigned g_nFullName = 4;
  static constexpr unsigned g_nPostScriptName = 6;

  struct TRecord
  {
    std::uint16_t m_nPlatform;
    std::uint16_t m_nEncoding;
    std::uint16_t m_nLanguage;
    std::uint16_t m_nName;
    std::uint16_t m_nLength;
    std::uint16_t m_nOffset;
  };

  CName() : CTable(MakeTag("name")) {}
  bool Parse() override;

  int GetRecordCount() const { return m_records.GetSize(); }
  const TRecord& GetRecord(int nRecord) const { return m_records[nRecord]; }

  // The bytes of a text, in its own encoding; empty if they are not in the table.
  std::span<const unsigned char> GetText(int nRecord) const;

  // Whether one of the names by which a font is asked for is this one, in ASCII.
  bool HasName(const char* szName) const;

private:
  BSE::CBasicArray<TRecord> m_records;
  std::uint32_t m_nTexts = 0;
};

}  // namespace TTF
