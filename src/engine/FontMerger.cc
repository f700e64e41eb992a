#include "engine/FontMerger.h"

#include "base/ByteOrder.h"
#include "base/MemoryStream.h"
#include "base/Tracer.h"
#include "engine/FontUse.h"
#include "fonts/pdf/CompositeFont.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

// Widths that differ by no more are the same.
constexpr double g_dWidthTolerance = 1;

// Written where a descendant does not say what other CIDs have. Other readers rely on it.
constexpr int g_nWrittenDefaultWidth = 600;

constexpr int g_nSymbolicFlags = 0x24;
constexpr int g_nMaxUnits = 32;

// Fonts that one is tried with in vain, before it is left alone.
constexpr int g_nMaxFailures = 32;

bool Abort(const char* szReason)
{
  BSE::CTracer::Trace("D", "Font Optimizer", "Aborting font merge because of %s.", szReason);
  return false;
}

bool IsWidthOther(double dA, double dB)
{
  return std::abs(dA - dB) > g_dWidthTolerance;
}

int GetGlyph(const BSE::CBasicArray<std::uint16_t>& map, int nCID)
{
  if (map.IsEmpty())
    return nCID;
  return nCID < map.GetSize() ? map[nCID] : 0;
}

bool HasOtherOrigin(CFont& font, CFont& other, int nCID)
{
  const TVerticalMetrics a = font.GetVerticalMetrics(nCID);
  const TVerticalMetrics b = other.GetVerticalMetrics(nCID);
  return a.m_dX != b.m_dX || a.m_dY != b.m_dY;
}

CObjectPtr RoundWidth(double dWidth)
{
  return new CIntegerObject(static_cast<std::int64_t>(dWidth + 0.5));
}

// Text as the font's own table has it, without guesses.
int GetText(CFont& font, int nCharacter, char16_t (&units)[g_nMaxUnits])
{
  int nLength = 0;
  const std::int64_t nCode = font.GetEncoding()->FindCode(nCharacter, nLength);
  const CToUnicode* pText = font.FindToUnicode();
  if (nCode < 0 || !pText)
    return 0;
  return std::min(pText->GetUnicode(static_cast<unsigned>(nCode), units, g_nMaxUnits), g_nMaxUnits);
}

}  // namespace

CFontMerger::CFontMerger(CFontEditor& editor) : m_editor(editor) {}

void CFontMerger::Run()
{
  CFontRegistry& fonts = m_editor.GetFonts();
  BSE::CValueKeyObjectMap<const CFontFile*, TGroup> groups;
  for (int i = 0; i < fonts.GetFontCount(); ++i)
  {
    CFont& font = *fonts.GetFont(i);
    if (!IsCandidate(font))
      continue;
    const CFontFile* pFile = font.GetFontFile();
    if (!groups.Find(pFile))
      groups.SetAt(pFile, BSE::CObjectPtr<TGroup>(new TGroup).Get());
    groups.Find(pFile)->m_fonts.Add(&font);
  }
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (auto* pFont = dynamic_cast<CType0Font*>(fonts.GetFont(i)))
    {
      const CCIDFont* pDescendant = &pFont->GetDescendant();
      m_descendants.SetAt(pDescendant, m_descendants.Contains(pDescendant) ? pFont : nullptr);
    }
  for (int i = groups.GetBegin(); i != groups.GetEnd(); i = groups.GetNext(i))
    MergeGroup(groups.GetAt(i)->m_fonts.GetSpan());
}

bool CFontMerger::IsCandidate(const CFont& font) const
{
  return !font.IsType3() && (font.m_nOptimizeState & g_nFontGone) == 0 && font.GetFontFile() &&
         font.GetCharCount() > 0 && font.GetObject().IsIndirect() && !font.HasDirectUse() &&
         font.GetFontDescriptor()->GetObjNumber() > 0;
}

void CFontMerger::MergeGroup(std::span<CFont* const> fonts)
{
  for (std::size_t i = 0; i < fonts.size(); ++i)
  {
    CFont& font = *fonts[i];
    if ((font.m_nOptimizeState & (eFontMerged | eFontMergedAway)) != 0)
      continue;
    TMerged merged;
    int nFailures = 0;
    for (std::size_t j = i + 1; j < fonts.size() && nFailures < g_nMaxFailures; ++j)
      if ((fonts[j]->m_nOptimizeState & (eFontMerged | eFontMergedAway)) == 0 &&
          !TryMerge(font, *fonts[j], merged))
        ++nFailures;
    if (merged.m_bAny)
      WriteBack(font, merged);
  }
}

bool CFontMerger::TryMerge(CFont& font, CFont& other, TMerged& merged)
{
  BSE::CBasicArray<std::uint16_t> map;
  if (font.AreAllGlyphsUsed() != other.AreAllGlyphsUsed() || !HaveSameKind(font, other, merged, map) ||
      !Agree(font, other, merged, map))
    return false;
  const CObjectPtr object = m_editor.EditFont(font);
  const CObjectPtr descriptor = m_editor.EditDescriptor(font);
  if (!object || !descriptor)
    return false;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PDF Optimizer", "Merge fonts \"%s\" (obj. %d) and \"%s\" (obj. %d).",
                        font.GetBaseName(), object.GetObjNumber(), other.GetBaseName(),
                        other.GetObject().GetObjNumber());
  const CObjectPtr otherDescriptor = other.GetFontDescriptor()->GetObject();
  for (int i = otherDescriptor.GetBegin(); i != otherDescriptor.GetEnd(); i = otherDescriptor.GetNext(i))
    if (!descriptor[otherDescriptor.GetKey(i)])
      descriptor.AddEntry(otherDescriptor.GetKey(i), otherDescriptor.GetValue(i));
  TakeOver(font, other, merged, map);
  // Fonts that are not merged may have it too, and their widths must not change.
  if (font.GetFontDescriptor()->GetNumber("MissingWidth") ==
      other.GetFontDescriptor()->GetNumber("MissingWidth"))
    m_editor.Replace(otherDescriptor, descriptor);
  for (const int nNumber : other.GetNumbers())
    m_editor.Replace(m_editor.GetFile().GetObject(nNumber, -1), object);
  other.m_nOptimizeState |= eFontMergedAway;
  merged.m_bAny = true;
  return true;
}

bool CFontMerger::HaveSameKind(CFont& font, CFont& other, TMerged& merged,
                               BSE::CBasicArray<std::uint16_t>& map)
{
  if (((font.GetFontDescriptor()->GetFlags() ^ other.GetFontDescriptor()->GetFlags()) & g_nSymbolicFlags) !=
          0 ||
      font.IsComposite() != other.IsComposite())
    return false;
  if (font.IsComposite())
  {
    if (!HaveSameDescendants(font, other))
      return false;
    if (font.GetKind() == eFontTrueType)
    {
      if (!merged.m_bMapRead && !font.GetCodeToGlyphMap(merged.m_map))
        return Abort("invalid CIDToGIDMap");
      merged.m_bMapRead = true;
      if (!other.GetCodeToGlyphMap(map))
        return Abort("invalid CIDToGIDMap");
    }
  }
  const CObjectPtr encoding = m_editor.GetStandIn(font.GetObject()["Encoding"]);
  if (!m_comparer.Equal(encoding, m_editor.GetStandIn(other.GetObject()["Encoding"])))
    return Abort("difference in Encoding");
  // Readers take text from the collection of a CMap, but no more once there is a table for some of the codes.
  if (font.IsComposite() && font.HasToUnicode() != other.HasToUnicode() && !encoding.IsName("Identity-H") &&
      !encoding.IsName("Identity-V"))
    return Abort("ToUnicode collision");
  return true;
}

bool CFontMerger::IsDescendantShared(const CFont& font) const
{
  const auto* pFont = dynamic_cast<const CType0Font*>(&font);
  return pFont && m_descendants.Find(&pFont->GetDescendant());
}

bool CFontMerger::HaveSameDescendants(CFont& font, CFont& other)
{
  const CObjectPtr own = m_editor.GetStandIn(font.GetObject()["DescendantFonts"][0]);
  const CObjectPtr others = m_editor.GetStandIn(other.GetObject()["DescendantFonts"][0]);
  if (own == others)
    return true;
  // What a third font has of one of them must not change.
  if (IsDescendantShared(font) || IsDescendantShared(other))
    return false;
  for (const char* szKey : {"Subtype", "CIDSystemInfo"})
    if (!m_comparer.Equal(own[szKey], others[szKey]))
    {
      BSE::CTracer::Trace("D", "Font Optimizer", "Aborting font merge because of %s difference in CIDFont.",
                          szKey);
      return false;
    }
  return true;
}

bool CFontMerger::Agree(CFont& font, CFont& other, const TMerged& merged,
                        const BSE::CBasicArray<std::uint16_t>& map)
{
  for (int i = 0; i < other.GetCharCount(); ++i)
  {
    if (!other.IsUsed(i))
      continue;
    const bool bUsed = font.IsUsed(i);
    if (bUsed && IsWidthOther(font.GetWidth(i), other.GetWidth(i)))
      return Abort("width collision");
    if (font.IsComposite() && (font.GetVerticalWidth(i) != other.GetVerticalWidth(i) ||
                               (font.IsVertical() && HasOtherOrigin(font, other, i))))
      return Abort("vertical width collision");
    if (!AgreeOnText(font, other, i))
      return false;
    if (bUsed && merged.m_bMapRead && GetGlyph(merged.m_map, i) != GetGlyph(map, i))
      return Abort("CIDToGIDMap collision");
  }
  return true;
}

// A text that is there and says something else stays where it is: nothing can replace it.
bool CFontMerger::AgreeOnText(CFont& font, CFont& other, int nCharacter)
{
  char16_t own[g_nMaxUnits];
  char16_t others[g_nMaxUnits];
  const int nOthers = GetText(other, nCharacter, others);
  const int nOwn = nOthers > 0 ? GetText(font, nCharacter, own) : 0;
  if (nOthers == 0 || (nOwn == nOthers && std::equal(own, own + nOwn, others)))
    return true;
  if (nOwn > 0)
    return Abort("ToUnicode collision");
  const BSE::CObjectPtr<CToUnicode> pText = font.GetWritableToUnicode();
  if (!pText || !pText->IsWritable() ||
      !WriteToUnicode(nullptr, nullptr, *pText, *font.GetEncoding(), font.GetUsedChars(), false))
    return Abort("not mergeable ToUnicode");
  return true;
}

void CFontMerger::TakeOver(CFont& font, CFont& other, TMerged& merged,
                           const BSE::CBasicArray<std::uint16_t>& map)
{
  font.GrowUsedChars(other.GetCharCount());
  for (int i = 0; i < other.GetCharCount(); ++i)
  {
    if (!other.IsUsed(i))
      continue;
    char16_t own[g_nMaxUnits];
    char16_t others[g_nMaxUnits];
    if (const int nUnits = GetText(other, i, others); nUnits > 0 && GetText(font, i, own) == 0)
    {
      int nLength = 0;
      const auto nCode = static_cast<unsigned>(font.GetEncoding()->FindCode(i, nLength));
      merged.m_bText =
          font.GetWritableToUnicode()->AddMapping(nCode, nCode, {others, static_cast<std::size_t>(nUnits)}) ||
          merged.m_bText;
    }
    if (font.IsUsed(i))
      continue;
    font.GetUsedChars()[static_cast<std::size_t>(i)] = 1;
    if (IsWidthOther(font.GetWidth(i), other.GetWidth(i)))
    {
      font.SetWidth(i, other.GetWidth(i));
      merged.m_bWidths = true;
    }
    if (!merged.m_bMapRead || GetGlyph(merged.m_map, i) == GetGlyph(map, i))
      continue;
    if (merged.m_map.IsEmpty())
      for (int j = 0; j < font.GetCharCount(); ++j)
        merged.m_map.Add(static_cast<std::uint16_t>(j));
    if (merged.m_map.GetSize() <= i)
      merged.m_map.SetSize(i + 1);
    merged.m_map.SetAt(i, static_cast<std::uint16_t>(GetGlyph(map, i)));
    merged.m_bMap = true;
  }
}

void CFontMerger::WriteBack(CFont& font, const TMerged& merged)
{
  font.m_nOptimizeState |= eFontMerged;
  if (merged.m_bText)
    WriteText(font);
  if (!font.IsComposite())
  {
    if (merged.m_bWidths)
      WriteSimpleWidths(font);
    return;
  }
  if (merged.m_bWidths)
    WriteWidths(font);
  if (merged.m_bMap)
    WriteMap(font, merged);
}

void CFontMerger::WriteText(CFont& font)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pData(new BSE::CMemoryStream);
  const BSE::CStr16 name = font.GetName();
  if (!WriteToUnicode(pData.Get(), name.GetText(), *font.GetWritableToUnicode(), *font.GetEncoding(),
                      font.GetUsedChars(), false) ||
      !pData->Rewind())
    return;
  if (const CObjectPtr stream = m_editor.NewStream(pData.Get()))
    m_editor.EditFont(font).AddEntry("ToUnicode", stream);
}

void CFontMerger::WriteSimpleWidths(CFont& font)
{
  const auto [nFirst, nLast] = FindUsedCodes(font);
  const CObjectPtr widths(new CArrayObject);
  for (int i = nFirst; i <= nLast; ++i)
    widths.Add(RoundWidth(font.GetWidth(i)));
  const CObjectPtr object = m_editor.EditFont(font);
  object.AddEntry("FirstChar", new CIntegerObject(nFirst));
  object.AddEntry("LastChar", new CIntegerObject(nLast));
  object.AddEntry("Widths", widths);
}

// The descendant is this font's alone, since widths differ only where descendants do.
void CFontMerger::WriteWidths(CFont& font)
{
  const CObjectPtr descendant = m_editor.EditDescendant(font);
  if (!descendant["DW"].IsNumber())
    descendant.AddEntry("DW", new CIntegerObject(g_nWrittenDefaultWidth));
  const double dDefault = descendant["DW"].GetRealValue();
  const CObjectPtr widths(new CArrayObject);
  CObjectPtr run;
  for (int i = 0; i < font.GetCharCount(); ++i)
  {
    const double dWidth = font.IsUsed(i) ? font.GetWidth(i) : dDefault;
    if (dWidth == dDefault)
    {
      run.Reset();
      continue;
    }
    if (!run)
    {
      run = new CArrayObject;
      widths.Add(new CIntegerObject(i));
      widths.Add(run);
    }
    run.Add(RoundWidth(dWidth));
  }
  descendant.AddEntry("W", widths);
}

void CFontMerger::WriteMap(CFont& font, const TMerged& merged)
{
  const CObjectPtr descendant = m_editor.EditDescendant(font);
  bool bIdentity = true;
  for (int i = 0; i < merged.m_map.GetSize(); ++i)
    bIdentity = bIdentity && (!font.IsUsed(i) || merged.m_map[i] == i);
  if (bIdentity)
  {
    descendant.AddEntry("CIDToGIDMap", new CNameObject("Identity"));
    return;
  }
  const BSE::CObjectPtr<BSE::CMemoryStream> pData(new BSE::CMemoryStream);
  for (const std::uint16_t nGlyph : merged.m_map.GetSpan())
  {
    unsigned char bytes[2];
    BSE::StoreBigEndian(nGlyph, bytes);
    pData->WriteAll(bytes, sizeof(bytes));
  }
  pData->Rewind();
  if (const CObjectPtr stream = m_editor.NewStream(pData.Get()))
    descendant.AddEntry("CIDToGIDMap", stream);
}

}  // namespace PDF
