#include "engine/FontUnembedder.h"

#include "base/Tracer.h"
#include "engine/StatusCodes.h"
#include "fonts/pdf/StandardFonts.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

namespace
{

void DropPrefix(const CObjectPtr& dictionary, const char* szKey)
{
  const CObjectPtr name = dictionary[szKey];
  if (const int nPrefix = name.IsName() ? GetSubsetPrefixLength(name.GetNameValue()) : 0; nPrefix > 0)
    dictionary.AddEntry(szKey, new CNameObject(name.GetNameValue() + nPrefix));
}

}  // namespace

const char* FindTextName(CFont& font, unsigned nCode)
{
  char16_t unit = 0;
  const CToUnicode* pText = font.FindToUnicode();
  const int nUnits = pText ? pText->GetUnicode(nCode, &unit, 1) : 0;
  // What is several characters has a name of its own, as ligatures do.
  const char* szOwn = nUnits > 1 ? font.GetEncoding()->GetGlyphName(nCode) : nullptr;
  if (szOwn && FindGlyphName(szOwn) >= 0)
    return szOwn;
  if (nUnits != 1 || unit == 0 || (unit >= 0xD800 && unit <= 0xDFFF))
    return nullptr;
  return FindCharacterName(unit);
}

CObjectPtr MakeDifferences(CFont& font, const CSimpleEncoding& base)
{
  CObjectPtr differences(new CArrayObject);
  unsigned nNext = 0;
  for (unsigned nCode = 1; std::cmp_less(nCode, font.GetCharCount()); ++nCode)
  {
    const char* szName = font.IsUsed(static_cast<int>(nCode)) ? FindTextName(font, nCode) : nullptr;
    if (!szName || KeyEquals(base.GetGlyphName(nCode), szName))
      continue;
    if (nCode != nNext)
      differences.Add(new CIntegerObject(static_cast<int>(nCode)));
    differences.Add(new CNameObject(szName));
    nNext = nCode + 1;
  }
  return differences;
}

void CFontUnembedder::Run()
{
  CFontRegistry& fonts = m_editor.GetFonts();
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (CFont& font = *fonts.GetFont(i); IsWanted(font) && CanUnembed(font))
      font.m_nOptimizeState |= eFontUnembedded;
  CollectShared();
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (CFont& font = *fonts.GetFont(i); (font.m_nOptimizeState & eFontUnembedded) != 0)
      Unembed(font);
}

bool CFontUnembedder::IsWanted(const CFont& font) const
{
  if (font.IsType3() || !font.GetFontFile())
    return false;
  for (const char* szName : {GetPlainName(font), CFontEdits::g_szAnyFont})
    if (const CFontEdit* pEdit = m_edits.Find(szName); pEdit && pEdit->m_bUnembed)
      return true;
  return false;
}

// Without a text for its codes nobody knows what a simple font shows.
bool CFontUnembedder::HasText(CFont& font)
{
  bool bText = font.IsComposite() || font.HasToUnicode();
  for (unsigned nCode = 1; !font.IsComposite() && bText && nCode < font.GetUsedChars().size(); ++nCode)
    bText = font.GetUsedChars()[nCode] == 0 || FindTextName(font, nCode);
  return bText;
}

bool CFontUnembedder::CanUnembed(CFont& font)
{
  if (HasText(font) && m_editor.EditDescendant(font) && m_editor.EditDescriptor(font))
    return true;
  ReportKept(font);
  return false;
}

// Who asks for all fonts gets those that can do without.
void CFontUnembedder::ReportKept(const CFont& font) const
{
  if (const CFontEdit* pEdit = m_edits.Find(GetPlainName(font)); pEdit && pEdit->m_bUnembed)
    BSE::ReportError(m_editor.GetContext(font),
                     BSE::MakeError(g_nFontStaysEmbedded, "font", font.GetBaseName()));
  else if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "PDF Optimizer", "Font \"%s\" stays embedded.", font.GetBaseName());
}

void CFontUnembedder::CollectShared()
{
  CFontRegistry& fonts = m_editor.GetFonts();
  for (int i = 0; i < fonts.GetFontCount(); ++i)
  {
    CFont& font = *fonts.GetFont(i);
    if ((font.m_nOptimizeState & eFontUnembedded) != 0)
      continue;
    if (const CFontDescriptor* pDescriptor = font.GetFontDescriptor();
        pDescriptor && pDescriptor->GetObjNumber() > 0)
      m_shared.Add(pDescriptor->GetObjNumber());
    if (const CObjectPtr descendant = m_editor.GetStandIn(font.GetObject()["DescendantFonts"][0]);
        descendant.GetObjNumber() > 0)
      m_shared.Add(descendant.GetObjNumber());
  }
}

bool CFontUnembedder::IsShared(const CObjectPtr& object) const
{
  return object.IsIndirect() && m_shared.Contains(object.GetObjNumber());
}

// A descriptor that other fonts need as it is stays, and the font gets a copy of it.
CObjectPtr CFontUnembedder::OwnDescriptor(CFont& font)
{
  CObjectPtr descriptor = m_editor.EditDescriptor(font);
  if (!IsShared(descriptor))
    return descriptor;
  CObjectPtr own = m_editor.NewDictionary();
  if (!own)
    return own;
  for (int i = descriptor.GetBegin(); i != descriptor.GetEnd(); i = descriptor.GetNext(i))
    own.AddEntry(descriptor.GetKey(i), descriptor.GetValue(i));
  m_editor.EditDescendant(font).AddEntry("FontDescriptor", own);
  return own;
}

void CFontUnembedder::Unembed(CFont& font)
{
  const CObjectPtr object = m_editor.EditFont(font);
  const CObjectPtr descendant = m_editor.EditDescendant(font);
  const CObjectPtr descriptor =
      font.IsComposite() && IsShared(descendant) ? CObjectPtr() : OwnDescriptor(font);
  if (!descriptor)
  {
    font.m_nOptimizeState &= ~unsigned{eFontUnembedded};
    ReportKept(font);
    return;
  }
  if (font.IsComposite())
    descendant.DeleteEntry("CIDToGIDMap");
  else
  {
    const BSE::CObjectPtr<CSimpleEncoding> pBase =
        m_editor.GetFonts().GetPredefinedEncoding("WinAnsiEncoding");
    if (const CObjectPtr differences = MakeDifferences(font, *pBase); differences.GetSize() > 0)
    {
      const CObjectPtr encoding(new CDictionaryObject);
      encoding.AddEntry("Type", new CNameObject("Encoding"));
      encoding.AddEntry("BaseEncoding", new CNameObject("WinAnsiEncoding"));
      encoding.AddEntry("Differences", differences);
      object.AddEntry("Encoding", encoding);
    }
    else
      object.AddEntry("Encoding", new CNameObject("WinAnsiEncoding"));
    const std::int64_t nFlags = GetIntegerOr(descriptor["Flags"], 0);
    descriptor.AddEntry("Flags", new CIntegerObject((nFlags | g_nNonsymbolicFlag) & ~g_nSymbolicFlag));
    if (object["Subtype"].IsName("Type1C"))
      object.AddEntry("Subtype", new CNameObject("Type1"));
  }
  DropPrefix(object, "BaseFont");
  DropPrefix(descendant, "BaseFont");
  DropPrefix(descriptor, "FontName");
  for (const char* szKey : {"FontFile", "FontFile2", "FontFile3", "CharSet", "CIDSet"})
    descriptor.DeleteEntry(szKey);
}

}  // namespace PDF
