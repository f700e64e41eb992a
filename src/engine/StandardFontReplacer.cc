#include "engine/StandardFontReplacer.h"

#include "base/BasicString.h"
#include "base/Tracer.h"
#include "document/Document.h"
#include "engine/FontUnembedder.h"
#include "fonts/pdf/StandardFonts.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <cmath>
#include <cstdio>

namespace PDF
{

namespace
{

void AddName(const CObjectPtr& dictionary, const char* szKey, const char* szName)
{
  dictionary.AddEntry(szKey, new CNameObject(szName));
}

void AddInteger(const CObjectPtr& dictionary, const char* szKey, std::int64_t nValue)
{
  dictionary.AddEntry(szKey, new CIntegerObject(nValue));
}

void AppendNumber(BSE::CStr8& text, int nNumber)
{
  char szNumber[16];
  std::snprintf(szNumber, sizeof(szNumber), "-%d", nNumber);
  text.Append(szNumber);
}

// Whether a code has to show what it did: one that is used, and where that is not known, one that the font's
// own differences give a meaning.
bool MustBeShown(CFont& font, const CEncoding& encoding, unsigned nCode)
{
  if (!font.AreAllGlyphsUsed())
    return font.GetUsedChars()[nCode] != 0;
  const auto* pDifferences = dynamic_cast<const CDifferenceEncoding*>(&encoding);
  return pDifferences && pDifferences->IsCovered(nCode) && pDifferences->GetGlyphName(nCode);
}

// What makes two replacements the same. Empty for an encoding that cannot be told from others.
BSE::CStr8 MakeKey(const TStandardFont& standard, const CObjectPtr& encoding)
{
  BSE::CStr8 key(standard.m_szName);
  if (!encoding)
    return key;
  if (encoding.IsName())
  {
    key.Append("-");
    key.Append(encoding.GetNameValue());
    return key;
  }
  if (encoding.IsIndirect())
  {
    AppendNumber(key, encoding.GetObjNumber());
    return key;
  }
  key.Append("/");
  key.Append(encoding["BaseEncoding"].IsName() ? encoding["BaseEncoding"].GetNameValue() : "");
  const CObjectPtr differences = encoding["Differences"];
  for (int i = 0; i < differences.GetSize(); ++i)
    if (differences[i].IsName())
    {
      key.Append("/");
      key.Append(differences[i].GetNameValue());
    }
    else
      AppendNumber(key, static_cast<int>(GetIntegerOr(differences[i], -1)));
  return key;
}

}  // namespace

void CStandardFontReplacer::Run()
{
  CFontRegistry& fonts = m_editor.GetFonts();
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (CFont& font = *fonts.GetFont(i); !font.IsType3() && !font.IsComposite() &&
                                         (font.m_nOptimizeState & (eFontUnembedded | eFontEmbedded)) == 0)
      Replace(font);
}

void CStandardFontReplacer::Replace(CFont& font)
{
  const TStandardFont* pStandard =
      font.GetKind() == eFontTrueType && font.IsSymbolic() ? nullptr : FindStandardFont(font.GetBaseName());
  CObjectPtr encoding;
  if (!pStandard || !KeyEquals(pStandard->m_szEncoding, "StandardEncoding") ||
      !FindEncoding(font, *pStandard, encoding))
    return;
  const CObjectPtr object = font.GetObject();
  if (!object.IsIndirect() || font.HasDirectUse())
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Optimizer", "Cannot replace direct standard font \"%s\".",
                          font.GetBaseName());
    return;
  }
  const CObjectPtr made = MakeFont(font, *pStandard, encoding);
  if (!made)
    return;
  for (const int nNumber : font.GetNumbers())
    m_editor.Replace(m_editor.GetFile().GetObject(nNumber, -1), made);
  font.m_nOptimizeState |= eFontReplaced;
}

// The encoding of the replacement, null for none. False if it does not show what the font does.
bool CStandardFontReplacer::FindEncoding(CFont& font, const TStandardFont& standard, CObjectPtr& encoding)
{
  const BSE::CObjectPtr<CEncoding> pOwn = font.GetEncoding();
  if (!font.HasToUnicode())
  {
    encoding = font.GetObject()["Encoding"];
    return HasGlyphs(font, standard);
  }
  for (unsigned nCode = 1; nCode < font.GetUsedChars().size(); ++nCode)
    if (const char* szName = FindTextName(font, nCode);
        MustBeShown(font, *pOwn, nCode) && (!szName || standard.GetWidth(szName) < 0))
      return false;
  const char* szBase = KeyEquals(pOwn->GetBaseEncoding()->GetName(), "MacRomanEncoding") ? "MacRomanEncoding"
                                                                                         : "WinAnsiEncoding";
  const CObjectPtr differences = MakeDifferences(font, *m_editor.GetFonts().GetPredefinedEncoding(szBase));
  if (differences.GetSize() == 0)
  {
    encoding = new CNameObject(szBase);
    return true;
  }
  encoding = new CDictionaryObject;
  AddName(encoding, "Type", "Encoding");
  AddName(encoding, "BaseEncoding", szBase);
  encoding.AddEntry("Differences", differences);
  return true;
}

// Whether the names of all codes that are used are those of glyphs that the standard font has, and mean the
// same there.
bool CStandardFontReplacer::HasGlyphs(CFont& font, const TStandardFont& standard) const
{
  const BSE::CObjectPtr<CEncoding> pOwn = font.GetEncoding();
  const CObjectPtr entry = font.GetObject()["Encoding"];
  const bool bOwnBase = !entry || (entry.IsDictionary() && !entry["BaseEncoding"]);
  const BSE::CObjectPtr<CSimpleEncoding> pStandard =
      m_editor.GetFonts().GetPredefinedEncoding("StandardEncoding");
  const auto* pDifferences = dynamic_cast<const CDifferenceEncoding*>(pOwn.Get());
  // Nobody knows which of the program's own names count.
  if (font.AreAllGlyphsUsed() && bOwnBase && font.GetFontFile())
    return false;
  for (unsigned nCode = 1; nCode < font.GetUsedChars().size(); ++nCode)
  {
    if (!MustBeShown(font, *pOwn, nCode))
      continue;
    const char* szName = pOwn->GetGlyphName(nCode);
    if (!szName || standard.GetWidth(szName) < 0)
      return false;
    // The program's own names do not come along.
    if (bOwnBase && !(pDifferences && pDifferences->IsCovered(nCode)) &&
        !KeyEquals(pStandard->GetGlyphName(nCode), szName))
      return false;
  }
  return true;
}

// Where text would move, the widths come along.
bool CStandardFontReplacer::HasSameWidths(CFont& font, const TStandardFont& standard,
                                          const CSimpleEncoding& encoding)
{
  if (!font.GetObject()["Widths"])
    return true;
  for (unsigned nCode = 1; nCode < font.GetUsedChars().size(); ++nCode)
    if (const int nWidth = standard.GetWidth(encoding.GetGlyphName(nCode));
        font.IsUsed(static_cast<int>(nCode)) && nWidth >= 0 &&
        std::abs(font.GetWidth(static_cast<int>(nCode)) - nWidth) > 1)
      return false;
  return true;
}

CObjectPtr CStandardFontReplacer::MakeFont(CFont& font, const TStandardFont& standard,
                                           const CObjectPtr& encoding)
{
  const CObjectPtr dictionary(new CDictionaryObject);
  AddName(dictionary, "Type", "Font");
  AddName(dictionary, "Subtype", "Type1");
  AddName(dictionary, "BaseFont", standard.m_szName);
  if (encoding)
    dictionary.AddEntry("Encoding", encoding);
  const BSE::CObjectPtr<CFont> pMade = m_editor.GetFonts().MakeUnlisted(dictionary);
  const auto* pNames = pMade ? dynamic_cast<const CSimpleEncoding*>(pMade->GetEncoding().Get()) : nullptr;
  if (!pNames)
    return {};
  BSE::CStr8 key = MakeKey(standard, encoding);
  const bool bOwnWidths = !HasSameWidths(font, standard, *pNames);
  if (bOwnWidths)
    AppendNumber(key, font.GetObject().GetObjNumber());
  const auto nKey = static_cast<std::size_t>(key.GetLength());
  if (const int nPos = m_made.Lookup(key.GetText(), nKey); nPos >= 0)
    return static_cast<CObject*>(m_made.GetValue(nPos));
  CObjectPtr object = m_editor.NewDictionary();
  if (!object)
    return object;
  object->SetValueObject(dictionary);
  if (bOwnWidths)
    for (const char* szKey : {"FirstChar", "LastChar", "Widths"})
      dictionary.AddEntry(szKey, font.GetObject()[szKey]);
  if (m_editor.GetDocument().GetMajorVersion() >= 2)
    AddMetrics(dictionary, *pMade, standard);
  // The file holds it as long as it is open.
  m_made.SetAt(key.GetText(), nKey, object.Get());
  return object;
}

// From version 2.0 on readers need not know the fonts.
void CStandardFontReplacer::AddMetrics(const CObjectPtr& dictionary, CFont& font,
                                       const TStandardFont& standard)
{
  const BSE::CObjectPtr<CEncoding> pNames = font.GetEncoding();
  const auto getWidth = [&](int nCode)
  { return standard.GetWidth(pNames->GetGlyphName(static_cast<unsigned>(nCode))); };
  int nFirst = 1;
  int nLast = CSimpleFont::g_nCodes - 1;
  while (nFirst < nLast && getWidth(nFirst) < 0)
    ++nFirst;
  while (nLast > nFirst && getWidth(nLast) < 0)
    --nLast;
  if (!dictionary["Widths"])
  {
    const CObjectPtr widths(new CArrayObject);
    for (int i = nFirst; i <= nLast; ++i)
      widths.Add(new CIntegerObject(getWidth(i) < 0 ? standard.m_nMissingWidth : getWidth(i)));
    AddInteger(dictionary, "FirstChar", nFirst);
    AddInteger(dictionary, "LastChar", nLast);
    dictionary.AddEntry("Widths", widths);
  }
  const CObjectPtr descriptor = m_editor.NewDictionary();
  if (!descriptor)
    return;
  AddName(descriptor, "Type", "FontDescriptor");
  AddName(descriptor, "FontName", standard.m_szName);
  AddInteger(descriptor, "FontWeight", standard.m_nWeight);
  AddInteger(descriptor, "Flags", standard.m_nFlags);
  const CObjectPtr box(new CArrayObject);
  for (const int nSide : standard.m_aBox)
    box.Add(new CIntegerObject(nSide));
  descriptor.AddEntry("FontBBox", box);
  descriptor.AddEntry("ItalicAngle", new CRealObject(standard.m_dItalicAngle));
  AddInteger(descriptor, "Ascent", standard.m_nAscent);
  AddInteger(descriptor, "Descent", standard.m_nDescent);
  AddInteger(descriptor, "CapHeight", standard.m_nCapHeight);
  AddInteger(descriptor, "StemV", standard.m_nStemV);
  AddInteger(descriptor, "MissingWidth", standard.m_nMissingWidth);
  dictionary.AddEntry("FontDescriptor", descriptor);
}

}  // namespace PDF
