// The program is written by a fixed template, with keys and words as fonts usually have them: many readers do
// not run it but search its text for those. Values that the font does not have are left out. The three parts
// are made in memory, since a document, like the headers of segments, has their lengths in front. The trailer
// of 512 zeros is fixed by the format, as are the password and the number that opens internaldict (Adobe Type
// 1 Font Format).

#include "base/MemoryStream.h"
#include "fonts/type1/Cipher.h"
#include "fonts/type1/PFB.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace PFB
{

namespace
{

// The empty ones are for flex. Interpreters know all four by their numbers, and look for this text at most.
constexpr const char* g_szHintReplacement =
    "% This code to be used for hint replacement only.\n"
    "/OtherSubrs\n[{} {} {}\n{systemdict /internaldict known not\n{pop 3}\n"
    "{1183615869 systemdict /internaldict get exec\ndup /startlock known\n{/startlock get exec}\n"
    "{dup /strtlck known\n{/strtlck get exec}\n{pop 3}\nifelse}\nifelse}\nifelse\n} executeonly\n] noaccess "
    "def\n";

}  // namespace

class CPFBWriter
{
public:
  CPFBWriter(CPFB& font, BSE::IByteStream& stream) : m_font(font), m_stream(stream) {}

  bool WriteClear()
  {
    const FONT::TName name = m_font.GetText(eFontName);
    const FONT::TName version = m_font.GetText(eVersion);
    Put("%!FontType1-1.0: ");
    Put(name);
    Put(" ");
    Put(version.empty() ? FONT::MakeName("001.000") : version);
    Put("\n11 dict begin\n/FontInfo 16 dict dup begin\n");
    for (const TTextKey nKey : {eVersion, eNotice, eCopyright, eFullName, eFamilyName, eWeight})
      PutText(nKey);
    PutNumber(eItalicAngle);
    PutBoolean(eIsFixedPitch);
    PutNumber(eUnderlinePosition);
    PutNumber(eUnderlineThickness);
    Put("end readonly def\n/FontName /");
    Put(name);
    Put(" def\n");
    PutEncoding();
    PutNumber(ePaintType, true);
    PutNumber(eFontType, true);
    PutArray(eFontMatrix, '[', "] readonly def\n");
    PutArray(eFontBBox, '{', "} readonly def\n");
    for (const TKey nKey : {eUniqueID, eStrokeWidth})
      PutNumber(nKey);
    Put("currentdict end\ncurrentfile eexec\n");
    return m_bOk;
  }

  bool WritePrivate()
  {
    Put("dup /Private 18 dict dup begin\n/RD {string currentfile exch readstring pop} executeonly def\n"
        "/ND {noaccess def} executeonly def\n/NP {noaccess put} executeonly def\n");
    PutArray(eBlueValues, '[', "] def\n", true);
    for (const TKey nKey : {eOtherBlues, eFamilyBlues, eFamilyOtherBlues})
      PutArray(nKey, '[', "] def\n");
    for (const TKey nKey : {eBlueScale, eBlueShift, eBlueFuzz})
      PutNumber(nKey);
    for (const TKey nKey : {eStdHW, eStdVW, eStemSnapH, eStemSnapV})
      PutArray(nKey, '[', "] def\n");
    PutBoolean(eForceBold);
    for (const TKey nKey : {eForceBoldThreshold, eLanguageGroup, eExpansionFactor})
      PutNumber(nKey);
    PutNumber(eLenIV, true);
    Put("/RndStemUp false def\n/MinFeature {16 16} def\n/password 5839 def\n");
    Put(g_szHintReplacement);
    Put("/Subrs ");
    PutInteger(m_font.m_subrs.GetSize());
    Put(" array\n");
    for (int i = 0; i < m_font.m_subrs.GetSize(); ++i)
    {
      Put("dup ");
      PutInteger(i);
      PutData(m_font.m_subrs[i], " NP\n");
    }
    Put("ND\n2 index /CharStrings ");
    PutInteger(m_font.GetGlyphCount());
    Put(" dict dup begin\n");
    PutGlyphs();
    Put("end\nend\nreadonly put\nnoaccess put\ndup /FontName get exch definefont pop\n"
        "mark currentfile closefile\n");
    return m_bOk;
  }

  bool WriteTrailer()
  {
    for (int i = 0; i < 8; ++i)
      Put("0000000000000000000000000000000000000000000000000000000000000000\n");
    Put("cleartomark\n");
    return m_bOk;
  }

private:
  void Put(TData data)
  {
    m_bOk = m_bOk && (data.empty() || m_stream.WriteAll(data.data(), static_cast<std::int64_t>(data.size())));
  }
  void Put(FONT::TName text) { Put(FONT::GetNameBytes(text)); }
  void Put(const char* szText) { Put(FONT::MakeName(szText)); }

  void PutInteger(int nValue)
  {
    char szText[16];
    std::snprintf(szText, sizeof szText, "%d", nValue);
    Put(szText);
  }

  // Six decimals are enough for most numbers; the others get as many digits as bring them back exactly.
  void PutReal(double dValue)
  {
    if (dValue == std::floor(dValue) && std::abs(dValue) < 1e9)
    {
      PutInteger(static_cast<int>(dValue));
      return;
    }
    char szText[400];
    char* pEnd = std::to_chars(szText, std::end(szText), dValue, std::chars_format::fixed, 6).ptr;
    double dWritten = 0;
    std::from_chars(szText, pEnd, dWritten);
    if (std::abs(dWritten - dValue) > 1e-12 * std::abs(dValue))
      pEnd = std::to_chars(szText, std::end(szText), dValue, std::chars_format::fixed).ptr;
    Put(FONT::TName(szText, pEnd));
  }

  void PutKey(const char* szName)
  {
    Put("/");
    Put(szName);
    Put(" ");
  }

  void PutNumber(TKey nKey, bool bAlways = false)
  {
    if (!bAlways && !m_font.Has(nKey))
      return;
    PutKey(GetKeyName(nKey));
    PutReal(m_font.GetNumber(nKey));
    Put(" def\n");
  }

  void PutBoolean(TKey nKey)
  {
    if (!m_font.Has(nKey))
      return;
    PutKey(GetKeyName(nKey));
    Put(m_font.GetNumber(nKey) != 0 ? "true def\n" : "false def\n");
  }

  void PutArray(TKey nKey, char cOpen, const char* szEnd, bool bAlways = false)
  {
    if (!bAlways && !m_font.Has(nKey))
      return;
    PutKey(GetKeyName(nKey));
    Put(FONT::TName(&cOpen, 1));
    bool bFirst = true;
    for (const double dValue : m_font.GetValues(nKey))
    {
      if (!std::exchange(bFirst, false))
        Put(" ");
      PutReal(dValue);
    }
    Put(szEnd);
  }

  void PutText(TTextKey nKey)
  {
    if (m_font.GetText(nKey).empty())
      return;
    PutKey(GetTextKeyName(nKey));
    Put("(");
    for (const char c : m_font.GetText(nKey))
    {
      if (c == '(' || c == ')' || c == '\\')
        Put("\\");
      if (c == '\r')
        Put("\\r");
      else
        Put(FONT::TName(&c, 1));
    }
    Put(") readonly def\n");
  }

  void PutEncoding()
  {
    if (m_font.HasStandardEncoding())
    {
      Put("/Encoding StandardEncoding def\n");
      return;
    }
    Put("/Encoding 256 array\n0 1 255 {1 index exch /.notdef put} for\n");
    for (int i = 0; i < 256; ++i)
    {
      const FONT::TName name = m_font.GetEncodedName(i);
      if (name.empty())
        continue;
      Put("dup ");
      PutInteger(i);
      Put(" /");
      Put(name);
      Put(" put\n");
    }
    Put("readonly def\n");
  }

  void PutData(TData data, const char* szEnd)
  {
    const int nLead = std::clamp(static_cast<int>(m_font.GetNumber(eLenIV)), -1, 64);
    Put(" ");
    PutInteger(static_cast<int>(data.size()) + std::max(nLead, 0));
    Put(" RD ");
    m_block.Truncate(0);
    CCipher cipher(CCipher::g_nCharStringKey);
    for (int i = 0; i < nLead; ++i)
      m_block.Add(cipher.Encrypt(0));
    for (const unsigned char c : data)
      m_block.Add(nLead < 0 ? c : cipher.Encrypt(c));
    Put(m_block.GetSpan());
    Put(szEnd);
  }

  // A name that occurs again gets a number, since keys of a dictionary are unique.
  void PutGlyphs()
  {
    for (int i = 0; i < m_font.GetGlyphCount(); ++i)
    {
      Put("/");
      Put(m_font.GetGlyphName(i));
      if (m_font.FindGlyph(m_font.GetGlyphName(i)) != i)
      {
        Put("_");
        PutInteger(i);
      }
      PutData(m_font.GetCharString(i), " ND\n");
    }
  }

  CPFB& m_font;
  BSE::IByteStream& m_stream;
  BSE::CBasicArray<unsigned char> m_block;
  bool m_bOk = true;
};

bool CPFB::Write(BSE::IByteStream& stream, bool bSegments)
{
  if (IsMultipleMaster() || GetGlyphCount() == 0)
    return false;
  BSE::CObjectPtr<BSE::CMemoryStream> parts[3];
  for (int i = 0; i < 3; ++i)
  {
    parts[i] = BSE::CObjectPtr<BSE::CMemoryStream>(new BSE::CMemoryStream);
    const BSE::CObjectPtr<CPFBEncryptFilter> pFilter(i == 1 ? new CPFBEncryptFilter(parts[i].Get())
                                                            : nullptr);
    CPFBWriter writer(*this, i == 1 ? static_cast<BSE::IByteStream&>(*pFilter) : *parts[i]);
    const bool bWritten =
        i == 0 ? writer.WriteClear() : (i == 1 ? writer.WritePrivate() : writer.WriteTrailer());
    if (!bWritten || (pFilter && !pFilter->Flush()))
      return false;
    m_nLengths[i] = parts[i]->GetLength();
  }
  for (int i = 0; i < 3; ++i)
  {
    unsigned char header[6] = {0x80, static_cast<unsigned char>(i == 1 ? 2 : 1)};
    BSE::StoreLittleEndian(static_cast<std::uint32_t>(m_nLengths[i]), header + 2);
    if ((bSegments && !stream.WriteAll(header, sizeof header)) || !parts[i]->Rewind() ||
        !stream.CopyFrom(parts[i].Get(), -1, false))
      return false;
  }
  static constexpr unsigned char end[] = {0x80, 3};
  return !bSegments || stream.WriteAll(end, sizeof end);
}

}  // namespace PFB
