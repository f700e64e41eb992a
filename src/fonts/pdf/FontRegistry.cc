#include "fonts/pdf/FontRegistry.h"

#include "base/Tracer.h"
#include "document/Document.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

namespace
{

// Memory that a font takes by itself, with its widths and the names of its codes.
constexpr int g_nFontSize = 4096;

std::int64_t GetInputLength(CDocument& document)
{
  BSE::IByteStream* pInput = document.GetFile().GetInput();
  return pInput ? pInput->GetLength() : 0;
}

// What is made for an object is kept by its number; of a direct object nothing is kept.
template <class T, class F>
BSE::CObjectPtr<T> FindOrMake(BSE::CValueKeyObjectMap<int, T>& map, const CObjectPtr& object, F fnMake)
{
  const int nNumber = object.GetObjNumber();
  if (nNumber <= 0)
    return fnMake();
  if (T* pKnown = map.Find(nNumber))
    return pKnown;
  BSE::CObjectPtr<T> pMade = fnMake();
  map.SetAt(nNumber, pMade.Get());
  return pMade;
}

}  // namespace

CFontRegistry::CFontRegistry(CDocument& document)
    : m_account(GetInputLength(document), document.GetErrorContext())
{
}

CFont* CFontRegistry::FindFont(const CObjectPtr& dictionary, TObjectDigest& digest) const
{
  const int nNumber = dictionary.GetObjNumber();
  if (CFont* pFont = nNumber > 0 ? m_byNumber.Find(nNumber) : m_byAddress.Find(dictionary.Get()))
    return pFont;
  CObjectHasher hasher;
  hasher.AddValue(dictionary.IsIndirect() ? dictionary.GetValueObject() : dictionary);
  digest = hasher.GetDigest();
  return m_byDigest.Find(digest);
}

BSE::CObjectPtr<CFont> CFontRegistry::CreateFont(const CObjectPtr& object)
{
  const CObjectPtr dictionary = GetStandIn(object);
  if (!dictionary.IsDictionary())
    return nullptr;
  TObjectDigest digest{};
  const int nNumber = dictionary.GetObjNumber();
  if (CFont* pFont = FindFont(dictionary, digest))
  {
    if (nNumber <= 0)
      pFont->SetDirectUse();
    else if (!m_byNumber.Contains(nNumber))
      AddNumber(*pFont, nNumber);
    return pFont;
  }
  BSE::CObjectPtr<CFont> pFont = m_account.Charge(g_nFontSize) ? MakeFont(dictionary) : nullptr;
  if (!pFont)
  {
    NoteForeignUse(dictionary);
    return nullptr;
  }
  m_fonts.Add(pFont.Get());
  m_byDigest.SetAt(digest, pFont.Get());
  pFont->SetDigest(digest);
  if (nNumber > 0)
    AddNumber(*pFont, nNumber);
  else
  {
    m_byAddress.SetAt(dictionary.Get(), pFont.Get());
    pFont->SetDirectUse();
  }
  return pFont;
}

void CFontRegistry::AddNumber(CFont& font, int nNumber)
{
  m_byNumber.SetAt(nNumber, &font);
  font.AddNumber(nNumber);
}

void CFontRegistry::Renew(std::span<CFont* const> fonts)
{
  for (const CFont* pFont : fonts)
    m_descendants.RemoveKey(GetStandIn(pFont->GetObject()["DescendantFonts"][0]).GetObjNumber());
  for (CFont* pFont : fonts)
    if (const BSE::CObjectPtr<CFont> pNew = pFont->HasDirectUse() ? nullptr : MakeFont(pFont->GetObject()))
    {
      pNew->TakeUse(*pFont);
      Replace(*pFont, *pNew);
    }
}

// Of fonts that are direct somewhere the dictionaries cannot be changed.
void CFontRegistry::Replace(CFont& font, CFont& by)
{
  const BSE::CObjectPtr<CFont> pHeld(&font);
  for (const int nNumber : font.GetNumbers())
    m_byNumber.SetAt(nNumber, &by);
  m_byDigest.SetAt(font.GetDigest(), &by);
  m_fonts.SetAt(m_fonts.Find(&font), &by);
}

// Other readers may show text in it all the same.
void CFontRegistry::NoteForeignUse(const CObjectPtr& dictionary)
{
  const CObjectPtr descendant = GetStandIn(dictionary["DescendantFonts"][0]);
  for (const CObjectPtr& holder : {dictionary, descendant})
    if (const CObjectPtr descriptor = GetStandIn(holder["FontDescriptor"]); descriptor.IsDictionary())
      if (CFontFile* pFile = GetFontFile(GetDescriptor(descriptor)->GetFontFileStream()))
        pFile->SetForeignUse();
}

BSE::CObjectPtr<CFont> CFontRegistry::MakeFont(const CObjectPtr& dictionary)
{
  const CObjectPtr subtype = dictionary["Subtype"];
  if (subtype.IsName("Type1") || subtype.IsName("MMType1") || subtype.IsName("TrueType"))
    return MakeSimpleFont(dictionary);
  if (subtype.IsName("Type3"))
    return new CType3Font(*this, dictionary);
  if (subtype.IsName("Type0"))
    return MakeCompositeFont(dictionary);
  if (subtype.IsName("CIDFontType0") || subtype.IsName("CIDFontType2"))
    return MakeCIDFont(dictionary);
  const char* szSubtype = subtype.IsName() ? subtype.GetNameValue() : "";
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Font", "Unimplemented font type %s", szSubtype);
  return nullptr;
}

// What the program is, whatever the entry is called that has it.
TFontFormat CFontRegistry::FindFormat(const CObjectPtr& dictionary)
{
  const CObjectPtr object = dictionary["FontDescriptor"];
  if (!object.IsDictionary())
    return eFormatUnknown;
  CFontFile* pFile = GetFontFile(GetDescriptor(object)->GetFontFileStream());
  return pFile ? pFile->GetFormat() : eFormatUnknown;
}

BSE::CObjectPtr<CFont> CFontRegistry::MakeSimpleFont(const CObjectPtr& dictionary)
{
  switch (FindFormat(dictionary))
  {
  case eFormatTrueType:
    return new CTrueTypeFont(*this, dictionary);
  case eFormatOpenType:
  case eFormatCFF:
    return new CType1CFont(*this, dictionary);
  case eFormatType1:
    return new CType1Font(*this, dictionary);
  default:
    break;
  }
  if (dictionary["Subtype"].IsName("TrueType"))
    return new CTrueTypeFont(*this, dictionary);
  return new CType1Font(*this, dictionary);
}

BSE::CObjectPtr<CFont> CFontRegistry::MakeCompositeFont(const CObjectPtr& dictionary)
{
  const CObjectPtr descendant = GetStandIn(dictionary["DescendantFonts"][0]);
  if (!descendant.IsDictionary())
    return nullptr;
  const BSE::CObjectPtr<CFont> pFont =
      FindOrMake(m_descendants, descendant, [&] { return BSE::CObjectPtr<CFont>(MakeCIDFont(descendant)); });
  const BSE::CObjectPtr<CCIDFont> pDescendant(dynamic_cast<CCIDFont*>(pFont.Get()));
  return new CType0Font(*this, dictionary, pDescendant);
}

// One that does not say what it is, is what its program is.
BSE::CObjectPtr<CCIDFont> CFontRegistry::MakeCIDFont(const CObjectPtr& dictionary)
{
  const TFontFormat nFormat = FindFormat(dictionary);
  const bool bType2 =
      nFormat == eFormatUnknown ? dictionary["Subtype"].IsName("CIDFontType2") : nFormat == eFormatTrueType;
  if (bType2 || (nFormat == eFormatOpenType && dictionary["Subtype"].IsName("CIDFontType2")))
    return new CCIDType2Font(*this, dictionary);
  if (nFormat == eFormatCFF)
    return new CCIDType0CFont(*this, dictionary);
  return new CCIDType0Font(*this, dictionary);
}

BSE::CObjectPtr<CFont> CFontRegistry::GetDefaultFont()
{
  if (!m_pDefault)
  {
    const CObjectPtr dictionary(new CDictionaryObject);
    static constexpr const char* aEntries[][2] = {
        {"Type", "Font"}, {"Subtype", "Type1"}, {"BaseFont", "Helvetica"}, {"Encoding", "WinAnsiEncoding"}};
    for (const auto& entry : aEntries)
      dictionary.AddEntry(entry[0], new CNameObject(entry[1]));
    m_pDefault = new CType1Font(*this, dictionary);
  }
  return m_pDefault;
}

BSE::CObjectPtr<CFontDescriptor> CFontRegistry::GetDescriptor(const CObjectPtr& object)
{
  const CObjectPtr dictionary = GetStandIn(object);
  return FindOrMake(m_descriptors, dictionary,
                    [&] { return BSE::CObjectPtr<CFontDescriptor>(new CFontDescriptor(dictionary)); });
}

CFontFile* CFontRegistry::GetFontFile(const CObjectPtr& object)
{
  const CObjectPtr stream = GetStandIn(object);
  if (!stream.IsStream() || stream.GetObjNumber() <= 0)
    return nullptr;
  return FindOrMake(m_files, stream,
                    [&] { return BSE::CObjectPtr<CFontFile>(new CFontFile(stream, m_account)); })
      .Get();
}

BSE::CObjectPtr<CToUnicode> CFontRegistry::GetToUnicode(const CObjectPtr& object)
{
  const CObjectPtr map = GetStandIn(object);
  if (!map)
    return nullptr;
  return FindOrMake(m_toUnicode, map,
                    [&] { return BSE::CObjectPtr<CToUnicode>(new CToUnicode(map, m_account)); });
}

BSE::CObjectPtr<CWidthTable> CFontRegistry::GetWidthTable(const CObjectPtr& array, int nPerCID)
{
  if (!array.IsArray())
    return nullptr;
  const auto fnMake = [&]
  { return BSE::CObjectPtr<CWidthTable>(new CWidthTable(array, nPerCID, m_account)); };
  return nPerCID == 1 ? FindOrMake(m_widths, array, fnMake) : fnMake();
}

// Known by the array where that is an object, and by the dictionary otherwise.
BSE::CObjectPtr<CDifferences> CFontRegistry::GetDifferences(const CObjectPtr& encoding)
{
  const CObjectPtr array = GetStandIn(encoding["Differences"]);
  if (!array.IsArray())
    return nullptr;
  return FindOrMake(m_differences, array.GetObjNumber() > 0 ? array : GetStandIn(encoding),
                    [&]
                    {
                      const bool bPaid = m_account.Charge(array.GetSize());
                      return BSE::CObjectPtr<CDifferences>(new CDifferences(bPaid ? array : CObjectPtr()));
                    });
}

BSE::CObjectPtr<CSimpleEncoding> CFontRegistry::GetPredefinedEncoding(const char* szName)
{
  if (!szName)
    return nullptr;
  for (int i = 0; i < m_encodings.GetSize(); ++i)
    if (KeyEquals(m_encodings[i]->GetName(), szName))
      return m_encodings[i];
  BSE::CObjectPtr<CSimpleEncoding> pEncoding = CreatePredefinedEncoding(szName);
  if (pEncoding)
    m_encodings.Add(pEncoding.Get());
  return pEncoding;
}

}  // namespace PDF
