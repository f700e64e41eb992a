#include "engine/FontPreparer.h"

#include "engine/FontWriter.h"
#include "fonts/pdf/CompositeFont.h"

#include <algorithm>

namespace PDF
{

void CFontPreparer::Run()
{
  CollectUses();
  PrepareFonts();
}

void CFontPreparer::CollectUses()
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

void CFontPreparer::PrepareFonts()
{
  if (!m_options.m_bSubsetFonts && !m_options.m_bMergeEmbeddedFonts && !m_options.m_bMergeFonts)
    return;
  for (int i = m_uses.GetBegin(); i != m_uses.GetEnd(); i = m_uses.GetNext(i))
    Prepare(*m_uses.GetAt(i));
}

void CFontPreparer::Prepare(CFontUse& use)
{
  CFontFile& file = use.GetFile();
  CFontProgram* pProgram = file.GetProgram(use.m_fonts[0]->GetBaseName());
  // What reading has lost is still in the data.
  if (!pProgram || !file.IsWhole() ||
      (m_options.m_bVersionWithinClaim && NeedsGlyphLists(m_editor.GetDocument(), use)))
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
void CFontPreparer::CorrectDictionaries(CFontUse& use, const CFontProgram& program)
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
    const char* szKey = g_fontFileKeys[program.GetFontFileKey() - 1];
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
void CFontPreparer::StripWrapper(CFontUse& use)
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

}  // namespace PDF
