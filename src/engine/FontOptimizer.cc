// Programs are worked on one after the other, from reading to the subset, so that no more than one whole
// program is in memory at a time; what is merged later are the subsets. A program is written only where it is
// shorter than what was read, or is needed for others as well, and never where reading it has lost something:
// then the data in the input are as good as they get.

#include "engine/FontOptimizer.h"

#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "base/Tracer.h"
#include "document/Document.h"
#include "engine/Deflater.h"
#include "engine/FontMerger.h"
#include "engine/FontProgramMerger.h"
#include "engine/FontUnembedder.h"
#include "engine/StandardFontReplacer.h"
#include "fonts/pdf/CompositeFont.h"
#include "fonts/pdf/StandardFonts.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

#include <algorithm>

namespace PDF
{

namespace
{

// One part in so many less needs no proof.
constexpr int g_nClearGain = 8;

constexpr const char* g_fileKeys[] = {"FontFile", "FontFile2", "FontFile3"};

constexpr struct
{
  unsigned m_nBit;
  const char* m_szWord;
} g_fontWords[] = {{eFontUnembedded, "unembedded, "},
                   {eFontEmbedded, "embedded, "},
                   {eFontMerged, "merged, "},
                   {eFontMergedAway, "merged dup, "},
                   {eFontRenamed, "renamed, "},
                   {eFontEncodingSimpler, "optimized, "},
                   {eFontReplaced, "repl with std font, "}},
  g_fileWords[] = {{eFileSubset, "subsetted, "},         {eFileMerged, "merged fp, "},
                   {eFileMergedAway, "merged fp dup, "}, {eFileToCFF, "conv to CFF, "},
                   {eFileToType1, "conv to T1, "},       {eFileUpdated, "updated, "}};

void SetName(const CObjectPtr& dictionary, const char* szKey, const char* szName)
{
  if (dictionary && !dictionary[szKey].IsName(szName))
    dictionary.AddEntry(szKey, new CNameObject(szName));
}

}  // namespace

CFontOptimizer::CFontOptimizer(CFontEditor& editor, const CFontEdits& edits)
    : m_editor(editor), m_edits(edits), m_options(editor.GetOptions())
{
}

void CFontOptimizer::Run()
{
  const bool bClaim = m_editor.GetDocument().GetConformance().IsArchival();
  if (m_edits.m_bUnembedFonts)
    CFontUnembedder(m_editor, m_edits).Run();
  // ISO 19005 wants all fonts embedded.
  if (m_options.m_bRemoveStandardFonts && !(bClaim && m_options.m_bVersionWithinClaim))
    CStandardFontReplacer(m_editor).Run();
  for (int i = 0; bClaim && i < m_editor.GetFonts().GetFontCount(); ++i)
    if ((m_editor.GetFonts().GetFont(i)->m_nOptimizeState & (eFontUnembedded | eFontReplaced)) != 0)
      m_bClaimLost = true;
  CollectUses();
  PrepareFonts();
  if (m_options.m_bMergeEmbeddedFonts)
    CFontProgramMerger(m_editor, m_uses).Run();
  if (m_options.m_bMergeFonts)
    CFontMerger(m_editor).Run();
  if (m_edits.m_bRenameFonts)
    RenameFonts();
  WriteBackFonts();
  TraceResults();
}

void CFontOptimizer::CollectUses()
{
  for (int i = 0; i < m_editor.GetFonts().GetFontCount(); ++i)
  {
    CFont& font = *m_editor.GetFonts().GetFont(i);
    CFontFile* pFile = font.GetFontFile();
    if (!pFile || font.IsType3() || (font.m_nOptimizeState & g_nFontGone) != 0)
      continue;
    CFontUse* pUse = m_uses.Find(pFile);
    if (!pUse)
    {
      const BSE::CObjectPtr<CFontUse> pNew(new CFontUse(*pFile));
      m_uses.SetAt(pFile, pNew.Get());
      pUse = pNew.Get();
    }
    pUse->m_fonts.Add(&font);
    // A descendant that is a font by itself shows nobody knows what.
    const bool bBare = dynamic_cast<CCIDFont*>(&font) != nullptr;
    unsigned& nState = pFile->m_nOptimizeState;
    if (font.AreAllGlyphsUsed() || bBare || pFile->HasForeignUse())
      nState |= eFileWhole;
    pUse->m_bFixed = pUse->m_bFixed || pFile->HasForeignUse();
    if (font.IsComposite())
      nState |= eFileUsedByCID;
    else
      nState |= font.IsSymbolic() ? eFileUsedSymbolic : eFileUsedNonSymbolic;
  }
}

void CFontOptimizer::PrepareFonts()
{
  if (!m_options.m_bSubsetFonts && !m_options.m_bMergeEmbeddedFonts && !m_options.m_bMergeFonts)
    return;
  for (int i = m_uses.GetBegin(); i != m_uses.GetEnd(); i = m_uses.GetNext(i))
    Prepare(*m_uses.GetAt(i));
}

void CFontOptimizer::Prepare(CFontUse& use)
{
  CFontFile& file = use.GetFile();
  CFontProgram* pProgram = file.GetProgram(use.m_fonts[0]->GetBaseName());
  // What reading has lost is still in the data.
  if (!pProgram || !file.IsWhole() || (m_options.m_bVersionWithinClaim && NeedsGlyphLists(use)))
  {
    file.m_nOptimizeState |= eFileWhole;
    use.m_bFixed = use.m_bKept = true;
    return;
  }
  // Names of codes are the program's before it changes.
  for (const CFont* pFont : use.m_fonts.GetSpan())
    pFont->GetEncoding();
  CorrectDictionaries(use, *pProgram);
  if (m_options.m_bSubsetFonts || m_options.m_bMergeEmbeddedFonts)
    StripWrapper(use);
  pProgram = file.GetProgram(nullptr);
  for (const CFont* pFont : use.m_fonts.GetSpan())
    pFont->MarkUsedGlyphs(*pProgram);
  const unsigned nUsage = file.m_nOptimizeState & eFileUsage;
  pProgram->SetUsage(nUsage);
  if (!m_options.m_bSubsetFonts && !m_options.m_bMergeEmbeddedFonts)
    return;
  if (nUsage == eFileUsedByCID && pProgram->GetKind() == eFontType1C && !pProgram->IsCIDKeyed() &&
      pProgram->MakeCIDKeyed())
    // Nothing else has changed with it, so that the program of the input would do as well.
    file.m_nOptimizeState |= eFileUpdated;
  if (m_options.m_bSubsetFonts && (file.m_nOptimizeState & eFileWhole) == 0 && pProgram->CanSubset() &&
      pProgram->Subset(nUsage))
    file.m_nOptimizeState |= eFileSubset;
}

// The kind of the program is that of the font, whatever the dictionaries say.
void CFontOptimizer::CorrectDictionaries(CFontUse& use, const CFontProgram& program)
{
  const bool bTrueType = program.GetKind() == eFontTrueType;
  for (CFont* pFont : use.m_fonts.GetSpan())
  {
    const bool bComposite = pFont->IsComposite();
    const char* szRight =
        bTrueType ? (bComposite ? "CIDFontType2" : "TrueType") : (bComposite ? "CIDFontType0" : "Type1");
    const CObjectPtr holder =
        bComposite ? m_editor.GetStandIn(pFont->GetObject()["DescendantFonts"][0]) : pFont->GetObject();
    const CFontDescriptor* pDescriptor = pFont->GetFontDescriptor();
    const char* szKey = g_fileKeys[program.GetFontFileKey() - 1];
    const bool bSubtype = program.IsOpenType() || holder["Subtype"].IsName(szRight);
    const bool bKey = KeyEquals(pDescriptor->GetFontFileKey(), szKey);
    if (bSubtype && bKey)
      continue;
    // By which way a reader finds glyphs where kinds disagree is anybody's guess.
    if (bComposite)
      use.GetFile().m_nOptimizeState |= eFileWhole;
    use.m_bFixed = true;
    if (!bSubtype && !(holder["Subtype"].IsName("MMType1") && !bTrueType))
      SetName(m_editor.EditDescendant(*pFont), "Subtype", szRight);
  }
}

// The tables of OpenType around the outlines of CFF tell nothing that a document does not say itself.
void CFontOptimizer::StripWrapper(CFontUse& use)
{
  CFontFile& file = use.GetFile();
  CFontProgram* pProgram = file.GetProgram(nullptr);
  if (!pProgram->IsOpenType() || pProgram->GetKind() != eFontType1C || use.m_bFixed ||
      (file.m_nOptimizeState & eFileWhole) != 0)
    return;
  for (CFont* pFont : use.m_fonts.GetSpan())
  {
    const CObjectPtr descendant = m_editor.GetStandIn(pFont->GetObject()["DescendantFonts"][0]);
    if (pFont->IsComposite() && descendant["CIDToGIDMap"].IsStream())
      return;
    // Whether a CID is a glyph then or leads to one by the program, readers do not agree.
    if (pFont->IsComposite() && pProgram->IsCIDKeyed() && descendant["Subtype"].IsName("CIDFontType2"))
    {
      file.m_nOptimizeState |= eFileWhole;
      return;
    }
    if (!m_editor.EditDescendant(*pFont) || !m_editor.EditDescriptor(*pFont))
      return;
  }
  BSE::CScopedPtr<CFontProgram> pBare = pProgram->ToBareCFF();
  if (!pBare)
    return;
  for (CFont* pFont : use.m_fonts.GetSpan())
  {
    const CObjectPtr holder = m_editor.EditDescendant(*pFont);
    SetName(holder, "Subtype", pFont->IsComposite() ? "CIDFontType0" : "Type1");
    holder.DeleteEntry("CIDToGIDMap");
  }
  use.m_bNeeded = true;
  file.SetProgram(std::move(pBare));
  file.m_nOptimizeState |= eFileUpdated;
}

void CFontOptimizer::RenameFonts()
{
  for (int i = 0; i < m_editor.GetFonts().GetFontCount(); ++i)
  {
    CFont& font = *m_editor.GetFonts().GetFont(i);
    const CFontEdit* pEdit = m_edits.Find(GetPlainName(font));
    if (!pEdit || !pEdit->m_bRename || font.IsType3() || (font.m_nOptimizeState & eFontReplaced) != 0)
      continue;
    const CObjectPtr object = m_editor.EditFont(font);
    if (!object)
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("I", "PDF Optimizer", "Font \"%s\" keeps its name.", font.GetBaseName());
      continue;
    }
    const char* szName = pEdit->m_sNewName.GetText();
    SetName(m_editor.EditDescriptor(font), "FontName", szName);
    SetName(m_editor.EditDescendant(font), "BaseFont", szName);
    SetName(object, "BaseFont", szName);
    font.m_nOptimizeState |= eFontRenamed;
  }
}

void CFontOptimizer::WriteBackFonts()
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

void CFontOptimizer::Convert(CFontUse& use)
{
  CFontFile& file = use.GetFile();
  if (!m_options.m_bConvertToCFF || use.m_bFixed)
    return;
  CFontProgram* pProgram = file.GetProgram(use.m_fonts[0]->GetBaseName());
  if (!pProgram || !file.IsWhole() || pProgram->GetKind() != eFontType1)
    return;
  for (CFont* pFont : use.m_fonts.GetSpan())
    if (!m_editor.EditDescriptor(*pFont))
      return;
  if (BSE::CScopedPtr<CFontProgram> pCFF = pProgram->ToCFF())
  {
    pCFF->SetUsage(pProgram->GetUsage());
    file.SetProgram(std::move(pCFF));
    file.m_nOptimizeState |= eFileToCFF;
  }
}

// What is hardly shorter by itself may be longer once both are compressed.
bool CFontOptimizer::IsWorthWriting(CFontFile& file, CFontProgram& program)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pData(new BSE::CMemoryStream);
  BSE::CBasicArray<unsigned char> data;
  if (!program.Write(*pData, file.m_nOptimizeState & eFileUsage, nullptr) || !pData->Rewind() ||
      !pData->ReadToArray(data))
    return false;
  if (data.GetSize() < file.GetDataLength() / g_nClearGain * (g_nClearGain - 1))
    return true;
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

void CFontOptimizer::WriteProgram(CFontUse& use)
{
  CFontFile& file = use.GetFile();
  constexpr unsigned nChanged = eFileSubset | eFileMerged | eFileUpdated | eFileToCFF | eFileToType1;
  unsigned& nState = file.m_nOptimizeState;
  if ((nState & nChanged) == 0)
    return;
  CFontProgram* pProgram = file.GetProgram(nullptr);
  const bool bCID = (nState & eFileUsedByCID) != 0;
  const CObjectPtr stream = file.GetObject();
  const bool bNeeded = (nState & eFileMerged) != 0 || use.m_bNeeded;
  if (!pProgram || (!bNeeded && !IsWorthWriting(file, *pProgram)) || !CFontEditor::Edit(stream) ||
      !file.WriteProgram(*pProgram, bCID, nState & eFileUsage, "FlateDecode", stream))
  {
    nState &= ~nChanged;
    file.DetachProgram();
    return;
  }
  m_editor.ForgetData(stream);
}

void CFontOptimizer::UpdateNames(CFontUse& use)
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

// ISO 19005-1, 6.3.5, wants the glyphs of a subset listed, but for simple TrueType fonts.
bool CFontOptimizer::NeedsGlyphLists(const CFontUse& use) const
{
  const CConformance claim = m_editor.GetDocument().GetConformance();
  if (!claim.IsArchival() || claim.GetPart() != 1)
    return false;
  for (const CFont* pFont : use.m_fonts.GetSpan())
    if (pFont->IsComposite() || pFont->GetKind() != eFontTrueType)
      return true;
  return false;
}

// They are of the program that was (ISO 32000-1, Table 122).
void CFontOptimizer::DropGlyphLists(CFontUse& use)
{
  for (CFont* pFont : use.m_fonts.GetSpan())
    if (const CObjectPtr descriptor = m_editor.EditDescriptor(*pFont))
      for (const char* szKey : {"CharSet", "CIDSet"})
        descriptor.DeleteEntry(szKey);
  if (NeedsGlyphLists(use) && !std::exchange(m_bClaimLost, true))
    BSE::CTracer::Trace("I", "PDF Optimizer", "The claim of PDF/A-1 is lost with lists of glyphs.");
}

void CFontOptimizer::SetKeys(CFontUse& use)
{
  CFontProgram* pProgram = use.GetFile().GetProgram(nullptr);
  if (!pProgram || use.m_bFixed)
    return;
  const char* szKey = g_fileKeys[pProgram->GetFontFileKey() - 1];
  for (CFont* pFont : use.m_fonts.GetSpan())
  {
    const CObjectPtr descriptor = m_editor.EditDescriptor(*pFont);
    if (!descriptor || KeyEquals(pFont->GetFontDescriptor()->GetFontFileKey(), szKey))
      continue;
    for (const char* szOther : g_fileKeys)
      descriptor.DeleteEntry(szOther);
    descriptor.AddEntry(szKey, use.GetFile().GetObject());
  }
}

void CFontOptimizer::SimplifyFont(CFont& font)
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

void CFontOptimizer::SimplifyEncoding(CFont& font)
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

void CFontOptimizer::AddWidths(CFont& font)
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

void CFontOptimizer::TraceResults()
{
  if (!BSE::CTracer::IsOn())
    return;
  for (int i = 0; i < m_editor.GetFonts().GetFontCount(); ++i)
  {
    const CFont& font = *m_editor.GetFonts().GetFont(i);
    const CFontFile* pFile = font.GetFontFile();
    BSE::CStr8 words;
    for (const auto& word : g_fontWords)
      if ((font.m_nOptimizeState & word.m_nBit) != 0)
        words.Append(word.m_szWord);
    for (const auto& word : g_fileWords)
      if (pFile && (pFile->m_nOptimizeState & word.m_nBit) != 0)
        words.Append(word.m_szWord);
    if (!font.IsType3() && words.GetLength() > 0)
      BSE::CTracer::Trace("D", "PDF Optimizer", "Font \"%s\" (obj. %d) was: %s", font.GetBaseName(),
                          font.GetObject().GetObjNumber(), words.GetText());
  }
}

}  // namespace PDF
