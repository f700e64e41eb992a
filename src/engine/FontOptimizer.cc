// Programs are worked on one after the other, from reading to the subset, so that no more than one whole
// program is in memory at a time; what is merged later are the subsets.

#include "engine/FontOptimizer.h"

#include "base/BasicMap.h"
#include "base/Tracer.h"
#include "document/Document.h"
#include "engine/FontEmbedder.h"
#include "engine/FontMerger.h"
#include "engine/FontPreparer.h"
#include "engine/FontProgramMerger.h"
#include "engine/FontUnembedder.h"
#include "engine/FontWriter.h"
#include "engine/StandardFontReplacer.h"
#include "engine/StatusCodes.h"

namespace PDF
{

namespace
{

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

}  // namespace

CFontOptimizer::CFontOptimizer(CFontEditor& editor, const CFontEdits& edits)
    : m_editor(editor), m_edits(edits), m_options(editor.GetOptions())
{
}

void CFontOptimizer::Run()
{
  ReportUnknownNames();
  const bool bClaim = m_editor.GetDocument().GetConformance().IsArchival();
  if (m_edits.m_bUnembedFonts)
    CFontUnembedder(m_editor, m_edits).Run();
  // ISO 19005 wants all fonts embedded.
  if (m_options.m_bRemoveStandardFonts && !(bClaim && m_options.m_bVersionWithinClaim))
    CStandardFontReplacer(m_editor).Run();
  if (m_edits.m_bEmbedFonts)
    CFontEmbedder(m_editor, m_edits).Run();
  for (int i = 0; bClaim && i < m_editor.GetFonts().GetFontCount(); ++i)
    if ((m_editor.GetFonts().GetFont(i)->m_nOptimizeState & (eFontUnembedded | eFontReplaced)) != 0)
      m_bClaimLost = true;
  CFontPreparer(m_editor, m_uses).Run();
  if (m_options.m_bMergeEmbeddedFonts)
    CFontProgramMerger(m_editor, m_uses).Run();
  if (m_options.m_bMergeFonts)
    CFontMerger(m_editor).Run();
  if (m_edits.m_bRenameFonts)
    RenameFonts();
  CFontWriter writer(m_editor, m_uses);
  writer.Run();
  m_bClaimLost = m_bClaimLost || writer.IsClaimLost();
  TraceResults();
}

// A name that is misspelt would change nothing, and nobody would know.
void CFontOptimizer::ReportUnknownNames()
{
  BSE::CValueKeyPtrMap<const CFontEdit*, CFont> met;
  for (int i = 0; i < m_editor.GetFonts().GetFontCount(); ++i)
    if (CFont* pFont = m_editor.GetFonts().GetFont(i); !pFont->IsType3())
      if (const CFontEdit* pEdit = m_edits.Find(GetPlainName(*pFont)))
        met.SetAt(pEdit, pFont);
  // In one report, since those that differ in words alone count as the same.
  BSE::CStr8 unknown;
  for (int i = 0; i < m_edits.GetCount(); ++i)
  {
    const BSE::CStr8 name = m_edits.GetName(i);
    const CFontEdit* pEdit = m_edits.Find(name.GetText());
    const bool bAny = pEdit && pEdit->m_bUnembed && KeyEquals(name.GetText(), CFontEdits::g_szAnyFont);
    if (bAny || met.Contains(pEdit))
      continue;
    unknown.Append(unknown.IsEmpty() ? "" : "', '");
    unknown.Append(name.GetText());
  }
  if (!unknown.IsEmpty())
    BSE::ReportError(m_editor.GetDocument().GetErrorContext(),
                     BSE::MakeError(g_nFontUnknownName, "font", unknown.GetText()));
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
      BSE::ReportError(m_editor.GetContext(font), BSE::MakeError(g_nDirectObject, "key", "Font"));
      continue;
    }
    const char* szName = pEdit->m_sNewName.GetText();
    SetName(m_editor.EditDescriptor(font), "FontName", szName);
    SetName(m_editor.EditDescendant(font), "BaseFont", szName);
    SetName(object, "BaseFont", szName);
    font.m_nOptimizeState |= eFontRenamed;
  }
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
