#pragma once

#include "fonts/type1/Scanner.h"

namespace DOC
{

// A code of a CMap: the value of its bytes, and their number.
struct TCMapCode
{
  std::uint32_t m_nCode = 0;
  int m_nLength = 0;
};

// Reads a CMap (ISO 32000-1, 9.7.5.3 and 9.10.3) and calls an operation for everything that it says.
// Tolerant: what has no sense where it is, is passed over.
class CCmapParser
{
public:
  static constexpr int g_nMaxCodeLength = 4;

  virtual ~CCmapParser() = default;

protected:
  // In time proportional to the data.
  void Parse(std::span<const unsigned char> data);

  virtual void OnUseCMap(const char*) {}
  virtual void OnCodeSpaceRange(const TCMapCode&, const TCMapCode&) {}
  virtual void OnCIDRange(const TCMapCode&, const TCMapCode&, int) {}
  virtual void OnNotdefRange(const TCMapCode&, const TCMapCode&, int) {}

  // The bytes of the text of the first code, in UTF-16.
  virtual void OnTextRange(const TCMapCode&, const TCMapCode&, std::span<const unsigned char>) {}

  // The same with the name of a glyph.
  virtual void OnNameRange(const TCMapCode&, const TCMapCode&, const char*) {}

  // CMapName, WMode, CMapVersion, Registry, Ordering, Supplement. Text of a name or a string.
  virtual void OnNumber(const char*, int) {}
  virtual void OnText(const char*, const char*) {}

  // Something that none of these can say: codes of more bytes than there may be, or none.
  virtual void OnOther() {}

private:
  enum TSection
  {
    eNone,
    eCodeSpace,
    eCIDRange,
    eCIDChar,
    eNotdefRange,
    eNotdefChar,
    eTextRange,
    eTextChar
  };

  void Execute();
  void ReadOperand();
  bool ReadCode();
  void ReadArray();
  void Finish(int nCID);
  void FinishText();
  void FinishName();
  void KeepName();
  void ReadValue();
  bool IsRange() const
  {
    return m_nSection == eCodeSpace || m_nSection == eCIDRange || m_nSection == eNotdefRange ||
           m_nSection == eTextRange;
  }

  PS::CScanner* m_pScanner = nullptr;
  TSection m_nSection = eNone;
  TCMapCode m_codes[2];
  int m_nCodes = 0;
  const char* m_szKey = nullptr;  // whose value comes next
  char m_szName[128] = {};        // the last one
};

}  // namespace DOC
