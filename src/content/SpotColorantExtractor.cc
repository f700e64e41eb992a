#include "content/SpotColorantExtractor.h"

#include "content/ContentParser.h"
#include "images/color/ColorSpaceObject.h"

#include <cstring>

namespace PDF
{

// Fonts are of no interest: no text is measured.
class CSpotColorantExtractor::CColorResources : public CContentColorResources
{
public:
  using CContentColorResources::CContentColorResources;
  BSE::CObjectPtr<IContentFont> CreateFont(const CObjectPtr&) override { return nullptr; }
  BSE::CObjectPtr<IContentFont> GetDefaultFont() override { return nullptr; }
};

// Follows the content to all that colours are chosen by.
class CSpotColorantExtractor::CFinder : public CContentParser
{
public:
  CFinder(CSpotColorantExtractor& owner, const BSE::CObjectPtr<CContentStream>& pStream,
          const TRectangle& box, BSE::IErrorContext* pErrorContext)
      : CContentParser(owner.m_environment, pStream, box, 0, pErrorContext), m_owner(owner)
  {
  }

  void ReadAppearances(const CObjectPtr& appearance, const CResources& resources);

  BSE::CScopedPtr<CContentParser> CreateParser(const BSE::CObjectPtr<CContentStream>& pStream,
                                               const TRectangle& box, int) override
  {
    return BSE::CScopedPtr<CContentParser>(new CFinder(m_owner, pStream, box, GetParent()));
  }
  void SetStrokeColorSpace(const char* szName) override
  {
    CContentParser::SetStrokeColorSpace(szName);
    m_owner.Add(m_owner.m_pResources->GetSpace(m_state.m_stroke));
  }
  void SetFillColorSpace(const char* szName) override
  {
    CContentParser::SetFillColorSpace(szName);
    m_owner.Add(m_owner.m_pResources->GetSpace(m_state.m_fill));
  }
  void SetStrokeColor(const TColorValue& color) override
  {
    CContentParser::SetStrokeColor(color);
    ReadPattern(m_state.m_stroke, color.m_szPattern);
  }
  void SetFillColor(const TColorValue& color) override
  {
    CContentParser::SetFillColor(color);
    ReadPattern(m_state.m_fill, color.m_szPattern);
  }
  void PaintShading(const char* szName) override
  {
    AddSpaceOf(GetContext()->FindResource("Shading", szName));
  }
  void DoImage(const char* szName) override { AddSpaceOf(FindXObject(szName)); }
  void InlineImage(const TInlineImage& image) override { AddSpaceOf(image.m_dictionary); }
  void DoForm(const char* szName) override
  {
    if (const CObjectPtr form = FindXObject(szName); m_owner.IsNew(form))
      CContentParser::DoForm(szName);
  }
  void SetExtGState(const char* szName) override
  {
    const CObjectPtr group = GetContext()->FindResource("ExtGState", szName)["SMask"]["G"];
    if (group.IsStream() && m_owner.IsNew(group))
      ParseContent(group, GetResources(), GetCTM(), szName);
  }
  void SetFont(const char* szName, double) override
  {
    const CObjectPtr font = GetContext()->FindResource("Font", szName);
    if (font["Subtype"].IsName("Type3") && m_owner.IsNew(font))
      ReadGlyphs(font["CharProcs"], font["Resources"], szName);
  }
  void ShowText(std::span<const unsigned char>) override {}

private:
  const CResources& GetResources() const { return GetContext()->GetResources(); }
  void AddSpaceOf(const CObjectPtr& object) { m_owner.AddObject(object["ColorSpace"], GetResources()); }
  void ReadGlyphs(const CObjectPtr& glyphs, const CResources& resources, const char* szName);
  void ReadPattern(const TColorState& state, const char* szName);

  CSpotColorantExtractor& m_owner;
};

void CSpotColorantExtractor::CFinder::ReadGlyphs(const CObjectPtr& glyphs, const CResources& resources,
                                                 const char* szName)
{
  for (int i = glyphs.GetBegin(); i != glyphs.GetEnd(); i = glyphs.GetNext(i))
    if (const CObjectPtr glyph = glyphs.GetValue(i); glyph.IsStream() && m_owner.IsNew(glyph))
      ParseContent(glyph, resources ? resources : GetResources(), GetCTM(), szName);
}

void CSpotColorantExtractor::CFinder::ReadPattern(const TColorState& state, const char* szName)
{
  const CObjectPtr pattern = szName ? state.m_pattern : CObjectPtr();
  if (pattern["Shading"])
    AddSpaceOf(pattern["Shading"]);
  else if (pattern.IsStream() && m_owner.IsNew(pattern))
    ParseContent(pattern, GetResources(), GetCTM(), szName);
}

void CSpotColorantExtractor::CFinder::ReadAppearances(const CObjectPtr& appearance,
                                                      const CResources& resources)
{
  CParserContext context(m_owner.m_environment, resources, nullptr);
  Begin(&context);
  for (int i = appearance.GetBegin(); i != appearance.GetEnd(); i = appearance.GetNext(i))
  {
    const CObjectPtr form = appearance.GetValue(i);
    if (form.IsStream() && m_owner.IsNew(form))
      ParseContent(form, resources, GetCTM(), appearance.GetKey(i));
    else if (form.IsDictionary())
      ReadGlyphs(form, resources, appearance.GetKey(i));
  }
  Begin(nullptr);
}

CSpotColorantExtractor::CSpotColorantExtractor(CDocument& document, CColorSpaceFactory& spaces,
                                               BSE::IErrorContext* pErrorContext)
    : m_document(document),
      m_spaces(spaces),
      m_pErrorContext(pErrorContext),
      m_pResources(new CColorResources(spaces)),
      m_environment(document, m_pResources.Get())
{
}

CSpotColorantExtractor::~CSpotColorantExtractor() = default;

BSE::CObjectPtr<DOC::IColorSpace> CSpotColorantExtractor::GetNext()
{
  while (m_nNext == m_found.GetSize() && m_nPage < m_document.GetPageCount())
    ReadPage(m_document.GetPage(m_nPage++));
  return m_nNext < m_found.GetSize() ? m_found[m_nNext++] : nullptr;
}

void CSpotColorantExtractor::ReadPage(const CPage& page)
{
  const CResources resources = page.FindInherited("Resources");
  CParserContext context(m_environment, resources, nullptr);
  const BSE::CObjectPtr<CContentStream> pStream(
      new CContentStream(page.FindInherited("Contents"), &m_environment.GetAccount()));
  CFinder finder(*this, pStream, page.GetCropBox(), m_pErrorContext);
  finder.Parse(&context, false);
  const CObjectPtr annotations = page["Annots"];
  for (int i = 0; i < annotations.GetSize(); ++i)
    if (const CObjectPtr appearance = annotations[i]["AP"])
      finder.ReadAppearances(appearance, resources);
}

bool CSpotColorantExtractor::IsNew(const CObjectPtr& object)
{
  const int nNumber = object.GetObjNumber();
  if (nNumber <= 0)
    return true;
  static char cRead = 'r';
  const bool bNew = !m_read.Contains(nNumber);
  // Without resources of its own it may mean something else elsewhere.
  if (bNew && (object["Resources"] || !object.IsStream()))
    m_read.SetAt(nNumber, &cRead);
  return bNew;
}

void CSpotColorantExtractor::AddObject(const CObjectPtr& space, const CResources& resources)
{
  if (space)
    Add(m_spaces.Create(space, resources).Get());
}

void CSpotColorantExtractor::Add(DOC::IColorSpace* pSpace)
{
  // A pattern or table counts as the space that it is based on. The chain is short, since the factory refuses
  // a longer one.
  while (pSpace && (pSpace->GetType() == DOC::ePattern || pSpace->GetType() == DOC::eIndexed))
    pSpace = pSpace->GetAlternate();
  const DOC::ITintColorSpace* pTint = pSpace ? pSpace->GetTint() : nullptr;
  if (!pTint)
    return;
  // A space that is written out anew in each place is known by its name.
  const bool bSeparation = pSpace->GetType() == DOC::eSeparation;
  const char* szKey = *pSpace->GetKey() || !bSeparation ? pSpace->GetKey() : pTint->GetColorant(0);
  if (m_known.Lookup(szKey, std::strlen(szKey)) >= 0)
    return;
  if (*szKey)
    m_known.SetAt(szKey, std::strlen(szKey), this);
  if (bSeparation)
    m_found.Add(pSpace);
  else if (const auto* pObject = dynamic_cast<const CColorSpace*>(pSpace))
    AddColorants(pObject->GetObject()[4]["Colorants"], *pTint);
}

void CSpotColorantExtractor::AddColorants(const CObjectPtr& colorants, const DOC::ITintColorSpace& tint)
{
  for (int i = 0; *tint.GetColorant(i); ++i)
    if (const CObjectPtr space = colorants[tint.GetColorant(i)]; space[0].IsName("Separation"))
      AddObject(space, nullptr);
}

}  // namespace PDF
