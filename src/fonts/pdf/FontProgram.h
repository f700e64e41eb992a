#pragma once

#include "base/BasicString.h"
#include "base/ErrorContext.h"
#include "base/Hash.h"
#include "base/Stream.h"
#include "fonts/common/Glyph.h"
#include "fonts/pdf/GlyphNames.h"

#include <span>

namespace PDF
{

// Kinds of fonts and of their programs, with the numbers that listings have for them.
enum TFontKind
{
  eFontType3 = -1,
  eFontType0 = 0,
  eFontType1 = 1,
  eFontTrueType = 2,
  eFontType1C = 3
};

// How fonts use a program.
inline constexpr unsigned g_nUsedByCID = 1;
inline constexpr unsigned g_nUsedNonSymbolic = 2;
inline constexpr unsigned g_nUsedSymbolic = 4;
inline constexpr unsigned g_nUsedEncoding = 8;  // by codes of the program's own encoding

enum TMergeResult
{
  eNotMerged = 0,
  eMerged = 1,
  eIdentical = 2  // nothing was missing
};

// What the first bytes of a font program say; of a font file with a directory of tables the tables in it.
enum TFontFormat
{
  eFormatUnknown,
  eFormatType1,
  eFormatTrueType,  // collections too
  eFormatOpenType,  // with outlines of CFF
  eFormatCFF
};

TFontFormat FindFontFormat(std::span<const unsigned char> data);

struct TFontBox
{
  double m_dLeft = 0;
  double m_dBottom = 0;
  double m_dRight = 0;
  double m_dTop = 0;
};

// A font program (ISO 32000-1, 9.9), embedded or installed: glyphs by their number, with metrics and names,
// which of them are used, and what can be done to it. One class for each format. All metrics are in
// thousandths of the em. Belongs to one thread.
class CFontProgram
{
public:
  // Reads a program, whose format its first bytes tell; of a collection the font of that name. Null, which is
  // traced, if it is none or cannot be read. What the program loses in being repaired is reported.
  // With bCheck all of it is looked through.
  static BSE::CScopedPtr<CFontProgram> Create(BSE::IByteStream& stream, const char* szName, bool bCheck,
                                              BSE::IErrorContext* pErrorContext);
  static BSE::CScopedPtr<CFontProgram> Create(BSE::CBasicArray<unsigned char>&& data, const char* szName,
                                              bool bCheck, BSE::IErrorContext* pErrorContext);

  CFontProgram() = default;
  CFontProgram(const CFontProgram&) = delete;
  CFontProgram& operator=(const CFontProgram&) = delete;
  virtual ~CFontProgram() = default;

  // Whether the program itself knows its glyphs by CIDs.
  virtual bool IsCIDKeyed() const { return false; }
  virtual TFontKind GetKind() const = 0;

  // Whether tables of OpenType are around the outlines.
  virtual bool IsOpenType() const { return false; }

  // 1 for FontFile, 2 for FontFile2, 3 for FontFile3: where a descriptor has it.
  virtual int GetFontFileKey() const = 0;

  // With a number to be filled in.
  virtual const char* GetFileNameTemplate() const = 0;

  // Writes the program for the usage given. False if it cannot be written or the stream fails. pLengths,
  // where it is not null, becomes Length1 to Length3 of the stream (0 for those that it does not have).
  virtual bool Write(BSE::IByteStream& stream, unsigned nUsage, int* pLengths) = 0;

  // Once for each object.
  virtual bool Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck) = 0;

  // Bits from above, which Write and Subset take into account.
  void SetUsage(unsigned nBits) { m_nUsage = nBits; }
  unsigned GetUsage() const { return m_nUsage; }

  virtual bool IsValid() const = 0;
  virtual int GetSupplement() const { return -1; }

  // Whether it knows its glyphs by the CIDs of a collection of characters, as "Japan1".
  virtual bool HasOrdering(const char*) const { return false; }

  // What its maker allows to be done with it (OpenType specification, fsType of OS/2); 0 where it says
  // nothing.
  virtual unsigned GetEmbeddingRights() const { return 0; }

  // First and last code of the program's own encoding: 255 and 0 if that is empty.
  int GetFirstChar();
  int GetLastChar();

  virtual int GetGlyphCount() const = 0;

  // 0 for a name that no glyph has.
  virtual int GetGlyphIndexByName(const char* szName) = 0;

  // ".notdef" for a glyph without a name. Stays as long as the program does.
  const char* GetGlyphName(int nGlyph);

  // The name of the glyph at a code of the program's own encoding, null where there is none.
  virtual const char* GetIntrinsicName(unsigned nCode);

  // 0 where the program's own encoding has nothing.
  virtual int GetGlyphIndexByCode(unsigned nCode) = 0;

  // The glyph's name, or "uni" and the digits of its character.
  const char* GetUnicodeName(int nGlyph);

  // A code of the program's own encoding, -1 without one.
  int GetCode(int nGlyph);

  // The glyph of a character by the program's tables, and of a CID; 0 for none. In a program that has no
  // CIDs, a CID is the glyph.
  virtual int GetGlyphIndexByUnicode(char32_t) { return 0; }
  virtual int GetGlyphIndexByCID(int nCID) const { return nCID < GetGlyphCount() ? nCID : 0; }

  // Whether codes lead to glyphs in ways that are not known here: then any glyph may be that of a code.
  // Nobody knows what codes mean to a program that has no names.
  virtual bool HasUnknownCodes() const { return IsCIDKeyed(); }

  // Whether the glyph has data or an outline that is allowed to be empty.
  virtual bool HasGlyph(int nGlyph) const = 0;

  // What goes into a font's descriptor (ISO 32000-1, 9.8).
  virtual const char* GetStyle() const { return "Normal"; }
  virtual int GetWeightClass() const { return 400; }
  virtual int GetFontFlags() = 0;
  virtual TFontBox GetFontBBox() = 0;
  virtual double GetItalicAngle() { return 0; }
  virtual double GetAscent() { return GetFontBBox().m_dTop; }
  virtual double GetDescent() { return GetFontBBox().m_dBottom; }
  virtual double GetLeading() { return 0; }
  virtual double GetCapHeight() { return 0; }
  virtual double GetXHeight() { return 0; }
  virtual double GetStemV() { return 0; }
  virtual double GetStemH() { return 0; }

  virtual double GetWidth(int nGlyph) = 0;

  // Units of the font, in which outlines are, to the em.
  virtual double GetUnitsPerEm() = 0;

  // The outline as it is drawn, curves to whole units. False if the glyph cannot be drawn.
  virtual bool GetOutline(int nGlyph, FONT::CGlyph& outline) = 0;

  // A byte for each glyph, all 0 at the first call. Empty for a program without glyphs.
  std::span<unsigned char> GetUsedGlyphs();
  bool HasUsedGlyphs() const { return !m_used.IsEmpty(); }

  // Whether glyphs can be left out. Marks the glyphs that used ones are made of as well.
  virtual bool CanSubset() = 0;

  // Takes the glyphs that are not used. False, and nothing has changed, where none is marked or it cannot be
  // done.
  virtual bool Subset(unsigned nUsage) = 0;

  // A code that is used has no glyph here: of a font by its number, name and character, or a CID. What is
  // shown instead must not change when glyphs come from another program.
  void NoteMissing(unsigned nCode, const char* szName, char32_t nCharacter);
  void NoteMissingCID(int nCID);

  // Takes over the glyphs of another program that are missing here, where all others are the same.
  TMergeResult Merge(CFontProgram& other, unsigned nUsage);

  // Feeds what is the same in all programs that can be merged.
  virtual void HashMergeKey(BSE::CHashFunction& hash) = 0;

  // A copy of a glyph under another name and code, as the last glyph; codes from 256 on are not entered. Its
  // number, 0 on failure. Where glyphs are marked it is marked too.
  virtual int DuplicateGlyph(int, int, const char*) { return 0; }

  // The other formats that it can be had in; null where that is not possible. A program without an encoding
  // of its own takes the names and the glyphs of 256 codes, and has no other glyphs then.
  virtual BSE::CScopedPtr<CFontProgram> ToCFF() { return nullptr; }
  virtual BSE::CScopedPtr<CFontProgram> ToType1(std::span<const char* const, 256>,
                                                std::span<const std::uint16_t>)
  {
    return nullptr;
  }

  // The outlines alone of an OpenType program with CFF outlines; else null.
  virtual BSE::CScopedPtr<CFontProgram> ToBareCFF() { return nullptr; }

  // Makes CIDs of the glyphs' numbers; false where that cannot be done.
  virtual bool MakeCIDKeyed() { return false; }

  // Gives each glyph of a program by CIDs another CID, the first one 0. False, and nothing has changed, for
  // other programs and another number of glyphs.
  virtual bool SetCIDs(std::span<const std::uint16_t>) { return false; }

  // Its glyphs have changed by other means than those of this interface: what was derived is dropped.
  void NotifyChanged();

protected:
  virtual TMergeResult DoMerge(CFontProgram&, unsigned) { return eNotMerged; }

  // A copy of a glyph has come at the end.
  void NotifyDuplicated(int nCopy);

  // The name of a glyph in the program, which need not stay; empty without one.
  virtual std::span<const char> FindGlyphName(int nGlyph) = 0;

  // A character that the program's tables have for a glyph, 0 without one.
  virtual char32_t FindCharacter(int) { return 0; }

  unsigned m_nUsage = 0;
  BSE::CBasicArray<unsigned char> m_used;

private:
  struct TMissing
  {
    int m_nCID;  // -1 for a code
    unsigned m_nCode;
    const char* m_szName;  // kept, or null
    char32_t m_nCharacter;
  };

  void AddMissing(const TMissing& missing);
  bool HasAnyOf(const CFontProgram& other);

  // Codes of which a program can lack a glyph before it is left as it is.
  static constexpr int g_nMaxMissing = 4096;

  BSE::CBasicArray<TMissing> m_missing;
  BSE::CPtrArray<const char> m_names;  // of glyphs, as far as they were asked for
  CNamePool m_pool;
};

}  // namespace PDF
