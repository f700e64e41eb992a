#pragma once

#include "base/BasicMap.h"
#include "base/BasicString.h"
#include "fonts/pdf/CMapParser.h"
#include "fonts/pdf/CodeMap.h"
#include "fonts/pdf/Encoding.h"
#include "fonts/pdf/FontAccount.h"

namespace PDF
{

// The text of a font's codes, as its ToUnicode says (ISO 32000-1, 9.10.3), with what is added to that.
class CToUnicode : public BSE::CObject, public IToUnicode, private DOC::CCmapParser
{
public:
  // As many units as the text of one code can have; the format has no longer one.
  static constexpr int g_nMaxUnits = 256;

  CToUnicode() = default;

  // Of a stream, or of a name that says that codes are text. What cannot be kept makes it not writable.
  CToUnicode(const CObjectPtr& object, CFontAccount& account);

  bool IsValid() const override { return true; }
  int GetUnicode(unsigned nCode, char16_t* pUnits, int nSize) const override;
  int GetCode(char32_t nCharacter) const override;
  TToUnicodeKind Identify() const override { return eToUnicodeTable; }
  BSE::CObjectPtr<CToUnicode> Clone() const;

  // Whether it can be written and is the same then.
  bool IsWritable() const { return m_bComplete; }

  // Gives codes text, of which the last unit counts up. Where there is another one already, that is traced
  // and the new one is dropped. False for text that no code can have, or that ends before the last code does.
  bool AddMapping(unsigned nFirst, unsigned nLast, std::span<const char16_t> text);

  // Calls fnVisit(nCode) for all codes up to 0xFFFF with text, in order; of no more than are in the file and
  // were added.
  template <class F>
  void ForEachCode(F fnVisit) const
  {
    BSE::CBasicArray<unsigned> added;
    for (int i = m_added.GetBegin(); i != m_added.GetEnd(); i = m_added.GetNext(i))
      added.Add(m_added.GetKeyAt(i));
    const std::span<unsigned> codes = added.GetSpan();
    std::sort(codes.begin(), codes.end());
    std::size_t nAdded = 0;
    for (const TCodeRange& range : m_map.GetRanges())
      for (unsigned nCode = range.m_nFirst; nCode <= std::min(range.m_nLast, 0xFFFFU); ++nCode)
      {
        for (; nAdded < codes.size() && codes[nAdded] < nCode; ++nAdded)
          fnVisit(codes[nAdded]);
        fnVisit(nCode);
      }
    for (; nAdded < codes.size(); ++nAdded)
      fnVisit(codes[nAdded]);
  }

private:
  void OnUseCMap(const char* szName) override;
  void OnTextRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high,
                   std::span<const unsigned char> text) override;
  void OnNameRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high, const char* szName) override;
  void OnCIDRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high, int nCID) override;
  void OnOther() override { m_bComplete = false; }

  void AddParsed(const DOC::TCMapCode& low, const DOC::TCMapCode& high, std::span<const char16_t> text);
  unsigned AddText(std::span<const char16_t> text);
  void SetIdentity();
  int CopyText(unsigned nText, unsigned nStep, char16_t* pUnits, int nSize) const;

  CCodeMap m_map;                                // to places in m_texts
  BSE::CBasicArray<char16_t> m_texts;            // each with its length before it
  BSE::CValueKeyPtrMap<unsigned, char> m_added;  // the same, after reading, one more than the place
  BSE::CBasicArray<unsigned> m_blanks;  // codes whose text is the character 0, which gives way to any other
  bool m_bComplete = true;
};

// Text from what a font says, and where that says nothing, from the names that its encoding gives to glyphs.
// Numbers in the names count where all names that are not known are numbers of one form.
class CToUnicodeGuesser : public BSE::CObject, public IToUnicode
{
public:
  // pToUnicode may be null.
  CToUnicodeGuesser(const BSE::CObjectPtr<CToUnicode>& pToUnicode,
                    const BSE::CObjectPtr<CEncoding>& pEncoding);

  bool IsValid() const override { return true; }
  int GetUnicode(unsigned nCode, char16_t* pUnits, int nSize) const override;
  int GetCode(char32_t nCharacter) const override;
  TToUnicodeKind Identify() const override { return eToUnicodeGuess; }

private:
  void GuessNumbers();

  BSE::CObjectPtr<CToUnicode> m_pToUnicode;
  BSE::CObjectPtr<CEncoding> m_pEncoding;
  char16_t m_guesses[256] = {};
};

// Writes the text of codes as a CMap. Of a simple font the codes, of a composite one the CIDs that are used
// are those with a byte that is not 0; an empty span is all. False, and nothing is written, where the text
// could not be kept whole; without a stream that is all that is found out. With bIdentityCheck text is left
// out that is nothing but the code's number with an offset of 4096 or 8192.
bool WriteToUnicode(BSE::IByteStream* pStream, const char16_t* szFontName, const IToUnicode& toUnicode,
                    const CEncoding& encoding, std::span<const unsigned char> used, bool bIdentityCheck);

}  // namespace PDF
