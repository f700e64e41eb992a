#include "engine/FontEmbedder.h"

#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "base/Tracer.h"
#include "engine/EmbeddedGlyphs.h"
#include "engine/FontUse.h"
#include "engine/StatusCodes.h"
#include "fonts/common/StatusCodes.h"
#include "fonts/installed/FontFile.h"
#include "fonts/installed/InstalledFontCollection.h"
#include "fonts/pdf/StandardFonts.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

// What loading a program costs, in bytes that are read, and each of its glyphs.
constexpr std::int64_t g_nLoadWork = std::int64_t{1} << 20;
constexpr std::int64_t g_nGlyphWork = 256;

// Of fsType: what is not allowed.
constexpr unsigned g_nUsageRights = 0xF;
constexpr unsigned g_nRestricted = 2;
constexpr unsigned g_nNoSubset = 0x100;
constexpr unsigned g_nBitmapsOnly = 0x200;

bool MayBeEmbedded(const CFontProgram& program)
{
  const unsigned nRights = program.GetEmbeddingRights();
  return (nRights & g_nUsageRights) != g_nRestricted && (nRights & g_nBitmapsOnly) == 0;
}

// The name in a file of several fonts, and where none has it the first one's.
BSE::CScopedPtr<CFontProgram> ReadProgram(BSE::CBasicArray<unsigned char>&& data, const char* szName,
                                          BSE::IErrorContext& reports)
{
  constexpr unsigned char aCollection[] = {'t', 't', 'c', 'f'};
  const bool bCollection =
      data.GetSize() > 4 && std::equal(std::begin(aCollection), std::end(aCollection), data.GetData());
  BSE::CBasicArray<unsigned char> copy;
  if (bCollection)
    copy = data;
  BSE::CScopedPtr<CFontProgram> pProgram = CFontProgram::Create(std::move(data), szName, true, &reports);
  if (!pProgram && bCollection)
    pProgram = CFontProgram::Create(std::move(copy), "", true, &reports);
  return pProgram;
}

CObjectPtr MakeNumber(double dValue)
{
  if (!std::isfinite(dValue))
    dValue = 0;
  if (std::floor(dValue) == dValue && std::abs(dValue) < 1e9)
    return new CIntegerObject(static_cast<std::int64_t>(dValue));
  return new CRealObject(dValue);
}

void AddNumber(const CObjectPtr& dictionary, const char* szKey, double dValue)
{
  dictionary.AddEntry(szKey, MakeNumber(dValue));
}

void MarkEmbedded(CFont& font)
{
  font.m_nOptimizeState = (font.m_nOptimizeState & ~unsigned{eFontUnembedded}) | eFontEmbedded;
}

}  // namespace

void CFontEmbedder::Run()
{
  CFontRegistry& fonts = m_editor.GetFonts();
  // What has become of its encoding when a font lost its program counts.
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (CFont* pFont = fonts.GetFont(i);
        (pFont->m_nOptimizeState & eFontUnembedded) != 0 && FindEdit(*pFont) && !pFont->IsComposite())
      fonts.Renew({&pFont, 1});
  CollectGroups();
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (const CFontEdit* pEdit = FindEdit(*fonts.GetFont(i)))
      Embed(*fonts.GetFont(i), *pEdit);
}

void CFontEmbedder::CollectGroups()
{
  CFontRegistry& fonts = m_editor.GetFonts();
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (auto* pFont = dynamic_cast<CType0Font*>(fonts.GetFont(i)))
    {
      const CCIDFont* pDescendant = &pFont->GetDescendant();
      if (!m_groups.Contains(pDescendant))
        m_groups.SetAt(pDescendant, new TGroup);
      m_groups.Find(pDescendant)->m_fonts.Add(pFont);
    }
}

// Null for a font that nobody wants embedded, or that is.
const CFontEdit* CFontEmbedder::FindEdit(const CFont& font) const
{
  // A descendant by itself has no text.
  if (font.IsType3() || font.GetFontFile() || (font.m_nOptimizeState & eFontReplaced) != 0 ||
      (font.IsComposite() && !dynamic_cast<const CType0Font*>(&font)))
    return nullptr;
  const CFontEdit* pEdit = m_edits.Find(GetPlainName(font));
  return pEdit && pEdit->m_bEmbed ? pEdit : nullptr;
}

void CFontEmbedder::Embed(CFont& font, const CFontEdit& edit)
{
  if (!m_editor.EditDescendant(font))
  {
    BSE::ReportError(m_editor.GetContext(font), BSE::MakeError(g_nDirectObject, "key", "Font"));
    return;
  }
  TChoice choice;
  if (!Choose(font, edit, choice))
    return;
  if (!MayBeEmbedded(*choice.m_pProgram))
    BSE::ReportError(font.GetObject().Get(), BSE::MakeError(g_nFontLicence, "font", font.GetBaseName()));
  else if (font.IsComposite())
    EmbedComposite(font, choice);
  else
    EmbedSimple(font, choice);
}

bool CFontEmbedder::Choose(CFont& font, const CFontEdit& edit, TChoice& choice)
{
  // A small file may have many fonts that a large program does not fit.
  CFontAccount& account = m_editor.GetFonts().GetAccount();
  if (account.IsSpent())
    return ReportUnreadable(font, font.GetBaseName());
  const bool bNearest = edit.m_sFontFile.IsEmpty();
  if (bNearest)
    LoadNearest(font, choice);
  else if (!TakeStream(font, &edit, choice))
    LoadFile(font, edit, choice);
  if (!choice.m_pOwn)
    return choice.m_pProgram != nullptr;
  choice.m_pProgram = choice.m_pOwn.Get();
  account.Charge(g_nLoadWork + g_nGlyphWork * choice.m_pProgram->GetGlyphCount());
  // Of a font of which glyphs are lost nobody can tell which were shown. They are not lost in the document.
  if (!choice.m_reports.IsEmpty())
    return ReportUnreadable(font, bNearest ? font.GetBaseName() : edit.m_sFontFile.GetText());
  return true;
}

void CFontEmbedder::LoadNearest(CFont& font, TChoice& choice) const
{
  const CInstalledFont* pInstalled =
      CInstalledFontCollection::GetInstance().GetNearestFont(font, choice.m_pOwn);
  if (!choice.m_pOwn && pInstalled && !TakeStream(font, pInstalled, choice))
    choice.m_pOwn = CInstalledFontCollection::LoadProgram(*pInstalled, &choice.m_reports);
  if (!choice.m_pOwn && !choice.m_pProgram)
    BSE::ReportError(font.GetObject().Get(), BSE::MakeError(g_nFontMissing, "font", font.GetBaseName()));
}

// A file that cannot be opened is reported with the error of the system too, which does not name it.
void CFontEmbedder::LoadFile(CFont& font, const CFontEdit& edit, TChoice& choice)
{
  const auto pFile = OpenRegularFile(edit.m_sFontFile.GetText(), BSE::g_nMaxFontFile, font.GetObject().Get());
  BSE::CBasicArray<unsigned char> data;
  if (pFile && pFile->ReadToArray(data, BSE::g_nMaxFontFile))
    choice.m_pOwn = ReadProgram(std::move(data), GetPlainName(font), choice.m_reports);
  if (!choice.m_pOwn)
    ReportUnreadable(font, edit.m_sFontFile.GetText());
}

// The program of a stream that other fonts have already.
bool CFontEmbedder::TakeStream(const CFont& font, const void* pKey, TChoice& choice) const
{
  choice.m_pKey = pKey;
  const TStreams* pStreams = m_streams.Find(pKey);
  if (pStreams)
    choice.m_stream = font.IsComposite() ? pStreams->m_composite : pStreams->m_simple;
  CFontFile* pFile = choice.m_stream ? m_editor.GetFonts().GetFontFile(choice.m_stream) : nullptr;
  choice.m_pProgram = pFile ? pFile->GetProgram(font.GetBaseName()) : nullptr;
  return choice.m_pProgram != nullptr;
}

bool CFontEmbedder::ReportUnreadable(CFont& font, const char* szProgram)
{
  BSE::ReportError(font.GetObject().Get(), BSE::MakeError(FONT::g_nFontUnreadable, "font", szProgram));
  return false;
}

bool CFontEmbedder::ReportMissing(CFont& font, int nCharacter)
{
  BSE::ReportError(font.GetObject().Get(),
                   BSE::MakeError(FONT::g_nGlyphMissing, "cid", nCharacter, "font", font.GetBaseName()));
  return false;
}

bool CFontEmbedder::EmbedSimple(CFont& font, TChoice& choice)
{
  CFontProgram& program = *choice.m_pProgram;
  CSimpleGlyphs glyphs(font, program);
  int nMissing = 0;
  if (!glyphs.Find(nMissing))
    return ReportMissing(font, nMissing);
  const bool bTrueType = program.GetKind() == eFontTrueType;
  const bool bIntrinsic = glyphs.IsIntrinsic();
  int nFlags = program.GetFontFlags();
  if (bTrueType || bIntrinsic)
    nFlags = (nFlags & ~(g_nSymbolicFlag | g_nNonsymbolicFlag)) |
             (bIntrinsic ? g_nSymbolicFlag : g_nNonsymbolicFlag);
  const unsigned nUsage = (nFlags & g_nSymbolicFlag) != 0 ? g_nUsedSymbolic : g_nUsedNonSymbolic;
  const CObjectPtr descriptor = MakeDescriptor(font, program, nFlags, GetStream(choice, nUsage));
  const CObjectPtr object = m_editor.EditFont(font);
  if (!descriptor || !object)
    return ReportUnreadable(font, font.GetBaseName());
  AddWidths(object, font, glyphs);
  if (!bIntrinsic && !glyphs.IsEncodingKept())
    object.AddEntry("Encoding", glyphs.MakeEncoding());
  object.AddEntry("FontDescriptor", descriptor);
  SetName(object, "BaseFont", BSE::CStr8(GetPlainName(font)).GetText());
  SetName(object, "Subtype", bTrueType ? "TrueType" : "Type1");
  MarkEmbedded(font);
  CFont* pFont = &font;
  m_editor.GetFonts().Renew({&pFont, 1});
  return true;
}

bool CFontEmbedder::EmbedComposite(CFont& font, TChoice& choice)
{
  TGroup* pGroup = m_groups.Find(&dynamic_cast<CType0Font&>(font).GetDescendant());
  if (!pGroup)
    return false;
  CCompositeGlyphs glyphs(pGroup->m_fonts.GetSpan(), *choice.m_pProgram, !choice.m_pKey);
  int nMissing = 0;
  if (!glyphs.Find(nMissing))
    return ReportMissing(font, nMissing);
  BSE::CScopedPtr<CFontProgram> pMade;
  if (!glyphs.IsProgramKept())
    pMade = glyphs.MakeProgram();
  CFontProgram* pProgram = glyphs.IsProgramKept() ? choice.m_pProgram : pMade.Get();
  if (!pProgram || !choice.m_reports.IsEmpty())
    return ReportMissing(font, 0);
  const bool bTrueType = pProgram->GetKind() == eFontTrueType;
  const CObjectPtr stream = pMade ? MakeStream(*pMade, g_nUsedByCID) : GetStream(choice, g_nUsedByCID);
  const CObjectPtr descriptor = MakeDescriptor(font, *pProgram, pProgram->GetFontFlags(), stream);
  const CObjectPtr map = bTrueType ? m_editor.NewStream(glyphs.MakeMap().Get()) : CObjectPtr();
  const CObjectPtr descendant = m_editor.EditDescendant(font);
  if (!descriptor || !descendant || (bTrueType && !map))
    return ReportUnreadable(font, font.GetBaseName());
  const BSE::CStr8 name(GetPlainName(font));
  descendant.AddEntry("FontDescriptor", descriptor);
  SetName(descendant, "BaseFont", name.GetText());
  SetName(descendant, "Subtype", bTrueType ? "CIDFontType2" : "CIDFontType0");
  descendant.DeleteEntry("CIDToGIDMap");
  if (bTrueType)
    descendant.AddEntry("CIDToGIDMap", map);
  for (CFont* pFont : pGroup->m_fonts.GetSpan())
  {
    if (const CObjectPtr object = m_editor.EditFont(*pFont))
      SetName(object, "BaseFont", name.GetText());
    MarkEmbedded(*pFont);
  }
  m_editor.GetFonts().Renew(pGroup->m_fonts.GetSpan());
  return true;
}

// The font's descriptor with the program's metrics (ISO 32000-1, Table 122).
CObjectPtr CFontEmbedder::MakeDescriptor(CFont& font, CFontProgram& program, int nFlags,
                                         const CObjectPtr& stream)
{
  CObjectPtr descriptor = stream ? m_editor.NewDictionary() : CObjectPtr();
  if (!descriptor)
    return descriptor;
  const TFontBox box = program.GetFontBBox();
  SetName(descriptor, "Type", "FontDescriptor");
  SetName(descriptor, "FontName", GetPlainName(font));
  AddNumber(descriptor, "FontWeight", program.GetWeightClass());
  AddNumber(descriptor, "Flags", nFlags);
  descriptor.AddEntry("FontBBox", MakeRectangle({std::floor(box.m_dLeft), std::floor(box.m_dBottom),
                                                 std::ceil(box.m_dRight), std::ceil(box.m_dTop)}));
  const struct
  {
    const char* m_szKey;
    double m_dValue;
  } aNumbers[] = {{"ItalicAngle", program.GetItalicAngle()},
                  {"Ascent", program.GetAscent()},
                  {"Descent", program.GetDescent()},
                  {"Leading", program.GetLeading()},
                  {"CapHeight", program.GetCapHeight()},
                  {"XHeight", program.GetXHeight()},
                  {"StemV", program.GetStemV()},
                  {"StemH", program.GetStemH()},
                  {"MissingWidth", program.GetWidth(0)}};
  for (const auto& number : aNumbers)
    AddNumber(descriptor, number.m_szKey, std::round(number.m_dValue));
  descriptor.AddEntry(g_fontFileKeys[program.GetFontFileKey() - 1], stream);
  return descriptor;
}

// That of the choice, which is made if there is none.
CObjectPtr CFontEmbedder::GetStream(TChoice& choice, unsigned nUsage)
{
  if (choice.m_stream)
    return choice.m_stream;
  choice.m_stream = MakeStream(*choice.m_pProgram, nUsage);
  if (!choice.m_pKey || !choice.m_stream)
    return choice.m_stream;
  if (!m_streams.Contains(choice.m_pKey))
    m_streams.SetAt(choice.m_pKey, new TStreams);
  TStreams& streams = *m_streams.Find(choice.m_pKey);
  (nUsage == g_nUsedByCID ? streams.m_composite : streams.m_simple) = choice.m_stream;
  return choice.m_stream;
}

// A small file may have many fonts that all want a large program.
CObjectPtr CFontEmbedder::MakeStream(CFontProgram& program, unsigned nUsage)
{
  TWrittenProgram written;
  program.SetUsage(nUsage);
  // The next font looks for its glyphs in the tables that glyphs by CIDs do without.
  if (!written.Write(program, nUsage == g_nUsedByCID ? 0 : nUsage) ||
      !m_editor.GetFonts().GetAccount().Charge(written.m_pData->GetLength()))
    return {};
  const CObjectPtr stream = m_editor.NewStream(written.m_pData.Get());
  CFontFile* pFile = stream ? m_editor.GetFonts().GetFontFile(stream) : nullptr;
  if (!pFile)
    return {};
  pFile->PutProgram(written, program, nUsage == g_nUsedByCID, "FlateDecode", stream);
  if ((program.GetEmbeddingRights() & g_nNoSubset) != 0)
    pFile->m_nOptimizeState |= eFileWhole;
  return stream;
}

// A standard font need not say its widths, but one that has a program does. Where it has none, readers go by
// the glyph that they find elsewhere.
void CFontEmbedder::AddWidths(const CObjectPtr& object, CFont& font, const CSimpleGlyphs& glyphs)
{
  const TStandardFont* pStandard = FindStandardFont(font.GetBaseName());
  if (object["Widths"] || !pStandard)
    return;
  const BSE::CObjectPtr<CEncoding> pEncoding = font.GetEncoding();
  const auto [nFirst, nLast] = FindUsedCodes(font);
  const CObjectPtr widths(new CArrayObject);
  for (int i = nFirst; i <= nLast; ++i)
  {
    const auto nCode = static_cast<unsigned>(i);
    const bool bStandard = pStandard->GetWidth(pEncoding->GetGlyphName(nCode)) >= 0;
    widths.Add(MakeNumber(bStandard ? font.GetWidth(i) : std::round(glyphs.GetWidth(nCode))));
  }
  AddNumber(object, "FirstChar", nFirst);
  AddNumber(object, "LastChar", nLast);
  object.AddEntry("Widths", widths);
}

}  // namespace PDF
