// A program is written only where it is shorter than what was read, or is needed for others as well, and
// never where reading it has lost something: then the data in the input are as good as they get.

#include "engine/FontWriter.h"

#include "base/Limits.h"
#include "base/Tracer.h"
#include "document/Document.h"
#include "engine/Deflater.h"
#include "fonts/pdf/Font.h"
#include "fonts/pdf/StandardFonts.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

// One part in so many less needs no proof.
constexpr int g_nClearGain = 8;

}  // namespace

// ISO 19005-1, 6.3.5, wants the glyphs of a subset listed, but for simple TrueType fonts.
bool NeedsGlyphLists(CDocument& document, const CFontUse& use)
{
  const CConformance claim = document.GetConformance();
  if (!claim.IsArchival() || claim.GetPart() != 1)
    return false;
  for (const CFont* pFont : use.m_fonts.GetSpan())
    if (pFont->IsComposite() || pFont->GetKind() != eFontTrueType)
      return true;
  return false;
}

void CFontWriter::Run()
{
  for (int i = m_uses.GetBegin(); i != m_uses.GetEnd(); i = m_uses.GetNext(i))
  {
    CFontUse& use = *m_uses.GetAt(i);
    if ((use.GetFile().m_nOptimizeState & eFileMergedAway) != 0)
      continue;
    Convert(use);
    WriteProgram(use);
    if ((use.GetFile().m_nOptimizeState & g_nFileChanged) != 0)
    {
      UpdateNames(use);
      DropGlyphLists(use);
      SetKeys(use);
    }
  }
  for (int i = 0; i < m_editor.GetFonts().GetFontCount(); ++i)
    if (CFont& font = *m_editor.GetFonts().GetFont(i);
        !font.IsType3() && (font.m_nOptimizeState & g_nFontGone) == 0)
      SimplifyFont(font);
}

void CFontWriter::Convert(CFontUse& use)
{
  CFontFile& file = use.GetFile();
  if ((!m_options.m_bConvertToCFF && !m_options.m_bConvertToType1) || use.m_bFixed)
    return;
  CFontProgram* pProgram = file.GetProgram(use.m_fonts[0]->GetBaseName());
  if (!pProgram || !file.IsWhole())
    return;
  for (CFont* pFont : use.m_fonts.GetSpan())
    if (!m_editor.EditDescriptor(*pFont))
      return;
  BSE::CScopedPtr<CFontProgram> pConverted;
  const bool bToType1 = m_options.m_bConvertToType1 && pProgram->GetKind() != eFontType1;
  if (bToType1)
    pConverted = MakeType1(use, *pProgram);
  else if (m_options.m_bConvertToCFF && pProgram->GetKind() == eFontType1)
    pConverted = pProgram->ToCFF();
  if (!pConverted)
    return;
  pConverted->SetUsage(pProgram->GetUsage());
  file.SetProgram(std::move(pConverted));
  file.m_nOptimizeState |= bToType1 ? eFileToType1 : eFileToCFF;
}

// Null where a font would not find its glyphs any more: CIDs lead to none, and the program has those names
// alone that the first font knows.
BSE::CScopedPtr<CFontProgram> CFontWriter::MakeType1(CFontUse& use, CFontProgram& program)
{
  if ((use.GetFile().m_nOptimizeState & eFileUsedByCID) != 0 || program.IsOpenType())
    return nullptr;
  const char* aNames[CSimpleFont::g_nCodes] = {};
  BSE::CBasicArray<std::uint16_t> glyphs;
  glyphs.SetSize(CSimpleFont::g_nCodes);
  for (const CFont* pFont : use.m_fonts.GetSpan())
    if (program.GetKind() == eFontTrueType && !AddCodes(*pFont, aNames, glyphs))
      return nullptr;
  BSE::CScopedPtr<CFontProgram> pType1 = program.ToType1(aNames, glyphs.GetSpan());
  if (pType1)
    for (const CFont* pFont : use.m_fonts.GetSpan())
      pFont->MarkUsedGlyphs(*pType1);
  return pType1;
}

// Enters names and glyphs of the codes that a font uses. False for one that has another name or glyph than
// for the fonts before, or whose glyph no name leads to, or that of another code does.
bool CFontWriter::AddCodes(const CFont& font, std::span<const char*, CSimpleFont::g_nCodes> names,
                           BSE::CBasicArray<std::uint16_t>& glyphs)
{
  BSE::CBasicArray<std::uint16_t> map;
  if (!font.GetCodeToGlyphMap(map) || map.GetSize() != CSimpleFont::g_nCodes)
    return false;
  const BSE::CObjectPtr<CEncoding> pEncoding = font.GetEncoding();
  for (unsigned i = 0; i < names.size(); ++i)
  {
    const int nCode = static_cast<int>(i);
    if (!font.IsUsed(nCode) || map[nCode] == 0)
      continue;
    const char* szName = pEncoding->GetGlyphName(i);
    if (KeyEquals(szName, ".notdef"))
      szName = nullptr;
    const bool bSame = szName ? KeyEquals(names[i], szName) : !names[i];
    // A code without a name finds its glyph by the program's own encoding.
    if ((!szName && font.GetObject()["Encoding"]) ||
        (glyphs[nCode] != 0 && (!bSame || glyphs[nCode] != map[nCode])))
      return false;
    names[i] = szName;
    glyphs[nCode] = map[nCode];
    for (unsigned n = 0; n < names.size() && szName; ++n)
      if (KeyEquals(names[n], szName) && glyphs[static_cast<int>(n)] != map[nCode])
        return false;
  }
  return true;
}

// What is hardly shorter by itself may be longer once both are compressed.
bool CFontWriter::IsWorthWriting(CFontFile& file, const TWrittenProgram& written) const
{
  BSE::CBasicArray<unsigned char> data;
  const bool bRead = written.m_pData->ReadToArray(data) && written.m_pData->Rewind();
  if (!bRead || data.GetSize() < file.GetDataLength() / g_nClearGain * (g_nClearGain - 1))
    return bRead;
  BSE::CBasicArray<unsigned char> before;
  const BSE::CObjectPtr<BSE::IByteStream> pBefore = file.GetObject().GetDecodedStream();
  if (!pBefore || !pBefore->ReadToArray(before, BSE::g_nMaxDecodedSize))
    return false;
  CDeflater deflater(m_options.m_nEffort);
  CByteBuffer encoded;
  const auto nBound = deflater.GetBound(before.GetSpan().size()) + 1;
  if (!deflater.Deflate(before.GetSpan(), nBound, encoded))
    return true;
  return deflater.Deflate(data.GetSpan(), encoded.GetSize(), encoded);
}

void CFontWriter::WriteProgram(CFontUse& use)
{
  CFontFile& file = use.GetFile();
  constexpr unsigned nChanged = eFileSubset | eFileMerged | eFileUpdated | eFileToCFF | eFileToType1;
  unsigned& nState = file.m_nOptimizeState;
  if ((nState & nChanged) == 0)
    return;
  CFontProgram* pProgram = file.GetProgram(nullptr);
  const CObjectPtr stream = file.GetObject();
  const bool bNeeded = (nState & (eFileMerged | eFileToType1)) != 0 || use.m_bNeeded;
  TWrittenProgram written;
  if (!pProgram || !written.Write(*pProgram, nState & eFileUsage) ||
      (!bNeeded && !IsWorthWriting(file, written)) || !CFontEditor::Edit(stream))
  {
    nState &= ~nChanged;
    file.DetachProgram();
    return;
  }
  file.PutProgram(written, *pProgram, (nState & eFileUsedByCID) != 0, "FlateDecode", stream);
  m_editor.ForgetData(stream);
}

void CFontWriter::UpdateNames(CFontUse& use)
{
  // Of no name: the prefix alone, which is the same for all.
  const BSE::CStr8 prefix = use.m_fonts[0]->MakeSubsetName("");
  const auto update = [&](const CObjectPtr& dictionary, const char* szKey)
  {
    const char* szName = dictionary[szKey].IsName() ? dictionary[szKey].GetNameValue() : nullptr;
    if (!szName || prefix.IsEmpty())
      return;
    BSE::CStr8 name = prefix;
    name.Append(szName + GetSubsetPrefixLength(szName));
    SetName(dictionary, szKey, name.GetText());
  };
  for (CFont* pFont : use.m_fonts.GetSpan())
  {
    update(m_editor.EditFont(*pFont), "BaseFont");
    update(m_editor.EditDescendant(*pFont), "BaseFont");
    update(m_editor.EditDescriptor(*pFont), "FontName");
  }
}

// They are of the program that was (ISO 32000-1, Table 122).
void CFontWriter::DropGlyphLists(CFontUse& use)
{
  for (CFont* pFont : use.m_fonts.GetSpan())
    if (const CObjectPtr descriptor = m_editor.EditDescriptor(*pFont))
      for (const char* szKey : {"CharSet", "CIDSet"})
        descriptor.DeleteEntry(szKey);
  if (NeedsGlyphLists(m_editor.GetDocument(), use) && !std::exchange(m_bClaimLost, true))
    BSE::CTracer::Trace("I", "PDF Optimizer", "The claim of PDF/A-1 is lost with lists of glyphs.");
}

void CFontWriter::SetKeys(CFontUse& use)
{
  CFontProgram* pProgram = use.GetFile().GetProgram(nullptr);
  if (!pProgram || use.m_bFixed)
    return;
  const char* szKey = g_fontFileKeys[pProgram->GetFontFileKey() - 1];
  for (CFont* pFont : use.m_fonts.GetSpan())
  {
    const CObjectPtr descriptor = m_editor.EditDescriptor(*pFont);
    if (!descriptor || KeyEquals(pFont->GetFontDescriptor()->GetFontFileKey(), szKey))
      continue;
    if ((use.GetFile().m_nOptimizeState & eFileToType1) != 0)
      SetName(m_editor.EditFont(*pFont), "Subtype", "Type1");
    for (const char* szOther : g_fontFileKeys)
      descriptor.DeleteEntry(szOther);
    descriptor.AddEntry(szKey, use.GetFile().GetObject());
  }
}

void CFontWriter::SimplifyFont(CFont& font)
{
  const CObjectPtr object = font.GetObject();
  if (object["Name"] || object["ResName"])
    if (const CObjectPtr edited = m_editor.EditFont(font))
    {
      edited.DeleteEntry("Name");
      edited.DeleteEntry("ResName");
    }
  if (font.IsComposite())
    return;
  SimplifyEncoding(font);
  if (!object["Widths"] && font.GetFontDescriptor() && font.GetProgram())
    AddWidths(font);
}

void CFontWriter::SimplifyEncoding(CFont& font)
{
  const BSE::CObjectPtr<CEncoding> pEncoding = font.GetEncoding();
  const CEncoding* pBase = pEncoding->GetBaseEncoding();
  if (!pBase || pBase == pEncoding.Get() || !font.GetObject()["Encoding"].IsDictionary())
    return;
  for (const char* szName : {"WinAnsiEncoding", "MacRomanEncoding", "MacExpertEncoding"})
    if (KeyEquals(pBase->GetName(), szName) && pEncoding->HasSameNames(*pBase))
      if (const CObjectPtr edited = m_editor.EditFont(font))
      {
        edited.AddEntry("Encoding", new CNameObject(szName));
        font.m_nOptimizeState |= eFontEncodingSimpler;
      }
}

void CFontWriter::AddWidths(CFont& font)
{
  const CObjectPtr edited = m_editor.EditFont(font);
  if (!edited)
    return;
  const int nCount = font.GetCharCount();
  int nFirst = font.IsUsed(0) ? 0 : 1;
  while (nFirst < nCount && !font.IsUsed(nFirst))
    ++nFirst;
  int nLast = nCount - 1;
  while (nLast > nFirst && !font.IsUsed(nLast))
    --nLast;
  if (nFirst >= nCount)
    nFirst = nLast = 32;
  const CObjectPtr widths(new CArrayObject);
  for (int i = nFirst; i <= nLast; ++i)
    widths.Add(new CRealObject(font.GetWidth(i)));
  edited.AddEntry("FirstChar", new CIntegerObject(nFirst));
  edited.AddEntry("LastChar", new CIntegerObject(nLast));
  edited.AddEntry("Widths", widths);
}

}  // namespace PDF
