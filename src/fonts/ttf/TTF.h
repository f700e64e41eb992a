#pragma once

#include "base/BasicString.h"
#include "base/Hash.h"
#include "base/Stream.h"
#include "fonts/ttf/CMap.h"
#include "fonts/ttf/Glyf.h"
#include "fonts/ttf/HeaderTables.h"
#include "fonts/ttf/Metrics.h"
#include "fonts/ttf/NameTables.h"
#include "fonts/ttf/Outline.h"

namespace TTF
{

// A font file of the sfnt family (OpenType specification): a directory of tables, each found by its tag. The
// file is held in memory as a whole, and a table keeps the bytes that it has there until something in it
// changes. Damage is repaired if that leaves the glyphs as any reader would draw them.
//
//   Offset     version, number of tables, three numbers for a search by halves
//   Directory  for each table tag, checksum, offset, length
//   Tables     each at a multiple of four
class CTTF
{
public:
  explicit CTTF(BSE::IErrorContext* pErrorContext = nullptr);
  CTTF(const CTTF&) = delete;
  CTTF& operator=(const CTTF&) = delete;
  virtual ~CTTF();

  // Reads the rest of the stream. Of a collection the font of that name is taken, the first one for a null or
  // empty name. With bCheck everything is looked through and repaired, as by Check. False if it is not a font
  // that can be read, which is reported. Once for each object.
  bool Read(BSE::IByteStream& stream, const char* szName, bool bCheck);
  bool Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck);

  // Number of faults that have been found so far, in reading too.
  int Check();

  // The font as it is, with all checksums. False if the stream fails.
  bool Write(BSE::IByteStream& stream);

  int GetGlyphCount() const { return m_maxp.m_nNumGlyphs; }

  // Whether its outlines are those of TrueType.
  bool HasGlyphData() const { return m_loca.IsPresent(); }
  std::span<const unsigned char> GetGlyph(int nGlyph) const { return m_glyf.GetGlyph(nGlyph); }

  // The outline as it is drawn: with its left side where the bearing in hmtx has it, whatever its box says.
  // False, which is reported, if the glyph cannot be drawn, or if this font asks for far more than its size
  // can honestly hold.
  bool GetOutline(int nGlyph, COutline& outline);

  // Marks what marked glyphs are composed of too; the array gets a byte for each glyph. False without glyph
  // data.
  bool CloseGlyphs(BSE::CBasicArray<unsigned char>& used) const;

  // Takes away the data of all glyphs that are neither marked nor part of one that is. Numbers and metrics of
  // glyphs stay. False, and nothing has changed, without glyph data.
  bool Subset(const BSE::CBasicArray<unsigned char>& used);

  // Sets the advances and bearings of all glyphs to zero that are neither marked nor part of one that is.
  // They may take more room in a subset than its glyphs do, but readers no longer find the metrics of other
  // glyphs.
  void ClearMetrics(const BSE::CBasicArray<unsigned char>& used);

  // Takes away the codes and names of all glyphs that are not marked: they lead to .notdef then.
  void DropCodes(const BSE::CBasicArray<unsigned char>& used);

  // Drops the tables that readers of documents do not use. bCodes: glyphs are found by codes or names, and
  // not by their numbers alone.
  void DropUnneeded(bool bCodes);

  // Brings cmap into the form for a simple font; false, and nothing has changed, if there is none.
  bool ConvertCMap(bool bSymbolic) { return m_cmap.Convert(bSymbolic, GetGlyphCount(), m_log); }

  // Feeds what is the same in all fonts that this one can be merged with.
  void HashMergeKey(BSE::CHashFunction& hash) const;

  std::uint32_t GetVersion() const { return m_nVersion; }
  const CHead& GetHead() const { return m_head; }
  const Chhea& GetHhea() const { return m_hhea; }
  const Cmaxp& GetMaxp() const { return m_maxp; }
  const COS_2& GetOS2() const { return m_os2; }
  const CPost& GetPost() const { return m_post; }
  const CName& GetName() const { return m_name; }
  const CCMap& GetCMap() const { return m_cmap; }
  const Chmtx& GetHmtx() const { return m_hmtx; }
  const Cvhea& GetVhea() const { return m_vhea; }
  const Cvmtx& GetVmtx() const { return m_vmtx; }

  // Borrowed; null if the font has no such table.
  const CTable* FindTable(std::uint32_t nTag) const;

protected:
  // Adds a table that a derived class knows.
  void AddKnown(CTable& table) { m_known.Add(&table); }
  CFontLog& GetLog() { return m_log; }

private:
  friend class CTTFMerger;

  struct TEntry
  {
    std::uint32_t m_nTag;
    std::uint32_t m_nOffset;
    std::uint32_t m_nLength;
  };

  bool ReadTables(bool bCheck);
  bool FindInCollection(const char* szName, std::uint32_t& nOffset) const;
  bool HasNameAt(std::uint32_t nOffset, const char* szName, std::int64_t& nBudget) const;
  bool ReadDirectory(std::uint32_t nOffset);
  void AddTable(const TEntry& entry, std::int64_t& nBudget);
  void AddOther(const TEntry& entry, std::span<const unsigned char> bytes, std::int64_t& nBudget);
  CTable* FindTable(std::uint32_t nTag);

  bool ReadHead();
  bool ReadMaxp();
  bool ReadMetrics();
  void ReadVerticalMetrics();
  bool ReadGlyphs();
  void CompleteLoca(int nFormat);
  bool IsLocaSound();
  void RecoverGlyphs();
  std::span<const unsigned char> FindGlyphData(int nGlyph, std::int64_t& nBudget);
  void FinishGlyphs(CGlyphCollector& collector);
  void ReleaseData();
  void CheckGlyphs();
  int GetOutlineShift(int nGlyph) const;
  bool IsSfnt(std::uint32_t nVersion) const;

  BSE::CStr8 m_sName;
  CFontLog m_log;
  BSE::CBasicArray<unsigned char> m_data;  // empty once no table borrows of it
  std::int64_t m_nDataSize = 0;            // as it was read
  std::uint32_t m_nVersion = 0;

  CHead m_head;
  Chhea m_hhea;
  Cmaxp m_maxp;
  COS_2 m_os2;
  CPost m_post;
  Cvhea m_vhea;
  Chmtx m_hmtx;
  Cvmtx m_vmtx;
  CName m_name;
  CCMap m_cmap;
  CTTF_loca m_loca;
  CGlyf m_glyf;
  CTable m_cvt;
  CTable m_fpgm;
  CTable m_prep;
  BSE::CPtrArray<CTable> m_known;
  BSE::CPtrArray<CTable> m_others;  // owned

  BSE::CBasicArray<unsigned char> m_outlined;  // glyphs whose outline has been paid for
  std::int64_t m_nOutlineWork = 0;
  bool m_bChecked = false;
};

}  // namespace TTF
