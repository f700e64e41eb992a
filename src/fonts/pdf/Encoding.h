#pragma once

#include "fonts/pdf/GlyphNames.h"
#include "pdf/Object.h"

#include <span>

namespace PDF
{

class CFontProgram;

// No CID for a code: the code has another length.
inline constexpr int g_nNoCharacter = 65535;

// What gives the text of codes.
enum TToUnicodeKind
{
  eToUnicodeEncoding,  // names of glyphs
  eToUnicodeTable,
  eToUnicodeGuess
};

// From the codes of a font to text. A code is the value of its bytes.
class IToUnicode : public virtual BSE::IObject
{
public:
  // The UTF-16 units of a code's text, of which as many are written as there is room for. 0 where there is
  // none.
  virtual int GetUnicode(unsigned nCode, char16_t* pUnits, int nSize) const = 0;

  // The text where it is one character, else 0.
  virtual char32_t GetUnicode32(unsigned nCode) const;

  // A code whose text is this character, -1 if there is none.
  virtual int GetCode(char32_t nCharacter) const = 0;
  virtual TToUnicodeKind Identify() const = 0;
};

// From the bytes of text to characters: codes of one byte in a simple font; codes of one to four bytes and
// their CIDs in a composite one (ISO 32000-1, 9.6.6 and 9.7.5).
class CEncoding : public BSE::CObject, public IToUnicode
{
public:
  bool IsValid() const override { return true; }
  int GetUnicode(unsigned, char16_t*, int) const override { return 0; }
  int GetCode(char32_t) const override { return -1; }
  TToUnicodeKind Identify() const override { return eToUnicodeEncoding; }

  // As a font's dictionary names it; empty without a name.
  virtual const char* GetName() const = 0;

  // What the differences are from; this encoding where there are none.
  virtual const CEncoding* GetBaseEncoding() const { return this; }
  virtual bool IsSimple() const { return true; }

  // The CIDs of codes of one byte, of two and of more; g_nNoCharacter where none of that length begins so.
  // Those that have a right length and nothing else are CID 0.
  virtual int CodeToCID(unsigned nCode) const = 0;
  virtual int Code2ToCID(unsigned nCode) const = 0;
  virtual int LongCodeToCID(unsigned, int) const { return g_nNoCharacter; }

  // The lowest code of a CID, with its number of bytes; -1 without one.
  virtual std::int64_t FindCode(int nCID, int& nLength) const = 0;

  // Bytes of a code of this value; 0 if there is none.
  virtual int GetCodeLength(unsigned nCode) const = 0;

  // Of the characters that the CIDs belong to; -1 if that is not known.
  virtual int GetSupplement() const { return -1; }
  virtual int GetWMode() const { return 0; }

  // Null where there is none.
  virtual const char* GetGlyphName(unsigned) const { return nullptr; }

  // The same names, or none, for all codes.
  bool HasSameNames(const CEncoding& other) const;
};

// 256 glyph names.
class CSimpleEncoding : public CEncoding
{
public:
  explicit CSimpleEncoding(const char* szName) : m_szName(szName) {}

  int GetUnicode(unsigned nCode, char16_t* pUnits, int nSize) const override;
  int GetCode(char32_t nCharacter) const override;
  const char* GetName() const override { return m_szName; }
  int CodeToCID(unsigned nCode) const override { return static_cast<int>(nCode & 0xFF); }
  int Code2ToCID(unsigned) const override { return g_nNoCharacter; }
  std::int64_t FindCode(int nCID, int& nLength) const override;
  int GetCodeLength(unsigned nCode) const override { return nCode < 256 ? 1 : 0; }
  const char* GetGlyphName(unsigned nCode) const override { return nCode < 256 ? m_names[nCode] : nullptr; }

  // The first code of a name, -1 without one.
  int FindName(const char* szName) const;

protected:
  const char* m_szName;
  const char* m_names[256] = {};
};

// One of the published encodings (ISO 32000-1, Annex D).
class CPredefinedEncoding : public CSimpleEncoding
{
public:
  // szName is a literal; the names are numbers of GlyphNames.h or none.
  CPredefinedEncoding(const char* szName, std::span<const std::uint16_t, 256> names);
};

// A new object; null for a name that none of them has.
BSE::CObjectPtr<CSimpleEncoding> CreatePredefinedEncoding(const char* szName);

// The names that a font program gives its codes by itself. Keeps nothing of the program.
class CIntrinsicEncoding : public CSimpleEncoding
{
public:
  explicit CIntrinsicEncoding(CFontProgram& program);

private:
  CNamePool m_pool;
};

// The changes to an encoding, which may be those of many fonts.
class CDifferences : public BSE::CObject
{
public:
  // Elements that are neither codes nor names, and names beyond code 255, are left out, which is traced.
  explicit CDifferences(const CObjectPtr& array);

  bool IsValid() const override { return true; }

  // Null for a code of which nothing is said.
  const char* GetName(unsigned nCode) const { return nCode < 256 ? m_names[nCode] : nullptr; }

private:
  const char* m_names[256] = {};
  CNamePool m_pool;
};

// Another encoding with changes; both may be null.
class CDifferenceEncoding : public CSimpleEncoding
{
public:
  CDifferenceEncoding(const BSE::CObjectPtr<CSimpleEncoding>& pBase,
                      const BSE::CObjectPtr<CDifferences>& pDifferences);

  const CEncoding* GetBaseEncoding() const override { return m_pBase.Get(); }

  // Whether the changes say what is at the code.
  bool IsCovered(unsigned nCode) const { return m_pDifferences && m_pDifferences->GetName(nCode); }

private:
  BSE::CObjectPtr<CSimpleEncoding> m_pBase;
  BSE::CObjectPtr<CDifferences> m_pDifferences;
};

}  // namespace PDF
