// A document is not known by its objects alone: at which resolution an image is shown, only the content says
// that paints it. So all of it is read once. A form that many pages draw in the same place is read for the
// first of them only, which makes the difference between the length of the file and that of its pages
// unrolled.

#include "engine/ContentAnalysis.h"

#include "base/Tracer.h"
#include "document/NameTree.h"
#include "engine/GlyphProcedures.h"
#include "engine/OptContentAnalyzer.h"
#include "images/ImageDictionary.h"
#include "pdf/File.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

constexpr double g_dPointsPerInch = 72;

// What it costs to look at a resource, in bytes of content.
constexpr std::int64_t g_nEntryWork = 16;

// Fields that lead to one another by Parent.
constexpr int g_nMaxFieldDepth = 32;

// Places that are remembered; what is beyond is read again.
constexpr int g_nMaxPlaces = 1 << 16;

// The part of the unit square, 0 to 1 in both directions, that a matrix puts inside the clip. False for a
// matrix that flattens it.
bool FindVisiblePart(const TMatrix& matrix, const TRectangle& clip, TRectangle& part)
{
  const double dDeterminant = matrix.m_dA * matrix.m_dD - matrix.m_dB * matrix.m_dC;
  if (!std::isfinite(dDeterminant) || std::abs(dDeterminant) < 1e-12)
    return false;
  part = {1, 1, 0, 0};
  for (const double dX : {clip.m_dLeft - matrix.m_dE, clip.m_dRight - matrix.m_dE})
    for (const double dY : {clip.m_dBottom - matrix.m_dF, clip.m_dTop - matrix.m_dF})
    {
      const double dU = (matrix.m_dD * dX - matrix.m_dC * dY) / dDeterminant;
      const double dV = (matrix.m_dA * dY - matrix.m_dB * dX) / dDeterminant;
      part.m_dLeft = std::min(part.m_dLeft, std::clamp(dU, 0.0, 1.0));
      part.m_dRight = std::max(part.m_dRight, std::clamp(dU, 0.0, 1.0));
      part.m_dBottom = std::min(part.m_dBottom, std::clamp(dV, 0.0, 1.0));
      part.m_dTop = std::max(part.m_dTop, std::clamp(dV, 0.0, 1.0));
      // An overflow tells nothing.
      if (!std::isfinite(dU) || !std::isfinite(dV))
        part = {0, 0, 1, 1};
    }
  return true;
}

// An entry of a dictionary or of those above it; such a one is in no page tree that could be asked.
CObjectPtr FindAbove(const CObjectPtr& object, const char* szKey)
{
  CObjectPtr next = object;
  for (int i = 0; next.IsDictionary() && i < g_nMaxFieldDepth; ++i)
  {
    if (const CObjectPtr value = next[szKey]; !IsAbsent(value))
      return value;
    next = next["Parent"];
  }
  return {};
}

class CUnknownColorSpace : public BSE::CObject, public IContentColorSpace
{
public:
  bool IsValid() const override { return true; }
  bool IsPattern() const override { return false; }
  int GetComponentCount() const override { return 0; }
  void GetInitialColor(std::span<double>) const override {}
};

}  // namespace

CAnalysisResources::CAnalysisResources(CFontRegistry& registry)
    : CFontResources(registry), m_pSpace(new CUnknownColorSpace)
{
}

// One use, in points on the page.
struct CContentAnalysis::TUse
{
  double m_dWidth = 0;
  double m_dHeight = 0;
  bool m_bFlat = false;
  TRectangle m_part = {0, 0, 1, 1};
};

CContentAnalysis::CContentAnalysis(CDocument& document, const CStandIns& standIns, CImageRecords& images,
                                   CFontRegistry* pFonts, CResourceUse* pUse)
    : m_document(document),
      m_standIns(standIns),
      m_images(images),
      m_pFonts(pFonts),
      m_pUse(pUse),
      m_pResources(pFonts ? new CAnalysisResources(*pFonts) : nullptr),
      m_environment(document, m_pResources.Get())
{
}

bool CContentAnalysis::Run()
{
  for (int nPage = 0; nPage < m_document.GetPageCount() && !IsSpent(); ++nPage)
    AnalyzePage(nPage);
  if (!IsSpent())
    KeepHidden();
  if (!IsSpent())
    KeepNamed();
  if (IsSpent())
    KeepAll();
  return !IsSpent();
}

// Of what is not read then, nobody knows what it shows.
bool CContentAnalysis::IsSpent()
{
  return m_environment.GetAccount().IsSpent() || (m_pFonts && m_pFonts->GetAccount().IsSpent());
}

void CContentAnalysis::KeepAll()
{
  BSE::CTracer::Trace("I", "PDF Analyzer", "Content is too much work; images and fonts stay as they are.");
  if (m_pUse)
    m_pUse->GiveUp();
  for (int i = m_images.GetBegin(); i != m_images.GetEnd(); i = m_images.GetNext(i))
    m_images.GetAt(i)->m_bKeepAsIs = true;
  for (int i = 0; m_pFonts && i < m_pFonts->GetFontCount(); ++i)
    m_pFonts->GetFont(i)->SetAllGlyphsUsed();
}

// What is shown only when something is typed into a form, or when a script asks for it.
void CContentAnalysis::KeepHidden()
{
  const CObjectPtr root = m_document.GetFile().GetRoot();
  for (const char* szTree : {"Pages", "Templates"})
    for (CNameTreeReader reader(root["Names"][szTree]); reader.Next();)
    {
      const CObjectPtr page = reader.GetValue();
      const CObjectPtr resources = FindAbove(page, "Resources");
      KeepResources(resources);
      LookAtAppearances(page["Annots"], resources, true);
    }
  for (CNameTreeReader reader(root["Names"]["AP"]); reader.Next();)
    LookAtAppearance(reader.GetValue(), {}, true);
  const CObjectPtr form = root["AcroForm"];
  ListFonts(form["DR"]);
  KeepNames(form["DA"]);
  if (m_pUse)
    m_pUse->AddAll(form["DR"]);
  KeepEntries(form["DR"], m_bDefaultText || HasTypedFields(form));
}

// What content names without drawing it, as far as this parser understands it, another reader may draw. The
// list grows on the way.
void CContentAnalysis::KeepNamed()
{
  for (int i = 0; m_pUse && m_pUse->IsActive() && i < m_pUse->GetNamedCount() && !IsSpent(); ++i)
  {
    const int nNumber = m_pUse->GetNamed(i);
    if (nNumber <= 0 || m_pUse->IsRead(nNumber) || m_images.Find(nNumber))
      continue;
    const CObjectPtr object = m_document.GetFile().GetObject(nNumber, -1);
    if (object.IsStream())
      KeepUnread(object);
    else if (object["Subtype"].IsName("Type3"))
    {
      KeepResources(object["Resources"]);
      NeedsResources(object);
    }
    if (object)
      object->Unload();
  }
}

void CContentAnalysis::KeepUnread(const CObjectPtr& content)
{
  KeepResources(content["Resources"]);
  if (content["Subtype"].IsName("Image"))
    return;
  const BSE::CObjectPtr<CContentStream> pStream(new CContentStream(content, &m_environment.GetAccount()));
  CNameCollector names;
  pStream->SetNameCollector(&names);
  pStream->Drain();
  names.End();
  m_pUse->AddNamesAnywhere(names);
  if (pStream->HasGap())
    m_pUse->GiveUp();
}

// Text that a viewer makes may be in a font of the page, or of whatever its reader likes to look at.
void CContentAnalysis::KeepNames(const CObjectPtr& defaultAppearance)
{
  if (!m_pUse || !defaultAppearance.IsString())
    return;
  CNameCollector names;
  names.Add(defaultAppearance.GetStringValue().GetSpan());
  names.End();
  m_pUse->AddNamesAnywhere(names);
}

void CContentAnalysis::AnalyzePage(int nPage)
{
  const CPage page = m_document.GetPage(nPage);
  TRectangle box = g_defaultMediaBox;
  ReadRectangle(page.FindInherited("MediaBox"), box);
  const CObjectPtr unit = page["UserUnit"];
  m_dUserUnit = unit.IsNumber() && unit.GetRealValue() > 0 ? unit.GetRealValue() : 1;
  m_nPage = nPage + 1;
  if (const CObjectPtr contents = page.FindInherited("Contents"))
  {
    const BSE::CObjectPtr<CContentStream> pStream(new CContentStream(contents, &m_environment.GetAccount()));
    COptContentAnalyzer analyzer(*this, m_environment, pStream, box, page.GetRotate(),
                                 m_document.GetErrorContext());
    CParserContext context(m_environment, page.FindInherited("Resources"), nullptr);
    analyzer.Parse(&context, false);
  }
  if (m_pUse)
    m_pUse->AddColorSpace(page["Group"]["CS"]);
  LookAtAppearances(page["Annots"], page.FindInherited("Resources"), false);
  if (page)
    page->Unload();
}

void CContentAnalysis::AddImage(const CObjectPtr& image, const TMatrix& matrix, const TRectangle& clip,
                                bool bSteep)
{
  const CObjectPtr object = GetStandIn(image);
  CImageRecord* pRecord = FindOrAdd(object, eRolePainted);
  if (!pRecord)
    return;
  TUse use;
  use.m_dWidth = std::hypot(matrix.m_dA, matrix.m_dB) * m_dUserUnit;
  use.m_dHeight = std::hypot(matrix.m_dC, matrix.m_dD) * m_dUserUnit;
  use.m_bFlat = !FindVisiblePart(matrix, clip, use.m_part);
  const double dX = pRecord->m_nWidth * g_dPointsPerInch / use.m_dWidth;
  const double dY = pRecord->m_nHeight * g_dPointsPerInch / use.m_dHeight;
  if (use.m_bFlat || bSteep || !std::isfinite(dX) || !std::isfinite(dY))
    pRecord->m_bKeepAsIs = true;
  else
  {
    pRecord->m_dResolutionX = std::min(pRecord->m_dResolutionX, dX);
    pRecord->m_dResolutionY = std::min(pRecord->m_dResolutionY, dY);
    const auto scale = [](double dShare, int nSize) { return dShare * nSize; };
    const TRectangle& part = use.m_part;
    pRecord->m_nLeft =
        std::min(pRecord->m_nLeft, static_cast<int>(std::floor(scale(part.m_dLeft, pRecord->m_nWidth))));
    pRecord->m_nRight =
        std::max(pRecord->m_nRight, static_cast<int>(std::ceil(scale(part.m_dRight, pRecord->m_nWidth))));
    pRecord->m_nBottom =
        std::min(pRecord->m_nBottom, static_cast<int>(std::floor(scale(part.m_dBottom, pRecord->m_nHeight))));
    pRecord->m_nTop =
        std::max(pRecord->m_nTop, static_cast<int>(std::ceil(scale(part.m_dTop, pRecord->m_nHeight))));
  }
  AddMasks(object, *pRecord, use);
  object->Unload();
}

// An explicit mask hides a soft one from nobody: the soft one counts where both are (ISO 32000-1, Table 89).
void CContentAnalysis::AddMasks(const CObjectPtr& image, const CImageRecord& record, const TUse& use)
{
  const CObjectPtr soft = GetStandIn(image["SMask"]);
  const CObjectPtr hard = GetStandIn(image["Mask"]);
  const auto add = [&](const CObjectPtr& mask, TImageRole nRole)
  {
    CImageRecord* pMask = mask.IsStream() ? FindOrAdd(mask, nRole) : nullptr;
    if (!pMask)
      return;
    const double dX = pMask->m_nWidth * g_dPointsPerInch / use.m_dWidth;
    const double dY = pMask->m_nHeight * g_dPointsPerInch / use.m_dHeight;
    if (use.m_bFlat || !std::isfinite(dX) || !std::isfinite(dY))
      pMask->m_bKeepAsIs = true;
    pMask->m_dResolutionX = std::min(pMask->m_dResolutionX, dX);
    pMask->m_dResolutionY = std::min(pMask->m_dResolutionY, dY);
    pMask->m_nLeft = pMask->m_nBottom = 0;
    pMask->m_nRight = pMask->m_nWidth;
    pMask->m_nTop = pMask->m_nHeight;
    pMask->m_bKeepAsIs = pMask->m_bKeepAsIs || record.m_bKeepAsIs;
    mask->Unload();
  };
  add(hard, eRoleMask);
  // With colours that have been blended with it before, a soft mask cannot change alone.
  if (soft && !soft["Matte"])
    add(soft, eRoleSoftMask);
}

CImageRecord* CContentAnalysis::FindOrAdd(const CObjectPtr& image, TImageRole nRole)
{
  const int nNumber = image.GetObjNumber();
  if (nNumber <= 0 || !image.IsStream())
    return nullptr;
  if (CImageRecord* pRecord = m_images.Find(nNumber))
  {
    pRecord->m_nRoles |= nRole;
    return pRecord;
  }
  const CImageDictionary dictionary(image.Get());
  const BSE::CObjectPtr<CImageRecord> pRecord(new CImageRecord);
  pRecord->m_nObjNumber = nNumber;
  pRecord->m_nRoles = nRole;
  pRecord->m_nPage = m_nPage;
  pRecord->m_nWidth = std::max(dictionary.GetWidth(), 0);
  pRecord->m_nHeight = std::max(dictionary.GetHeight(), 0);
  pRecord->m_nLeft = pRecord->m_nWidth;
  pRecord->m_nBottom = pRecord->m_nHeight;
  pRecord->m_dResolutionX = pRecord->m_dResolutionY = HUGE_VAL;
  pRecord->m_bKeepAsIs = pRecord->m_nWidth == 0 || pRecord->m_nHeight == 0;
  m_images.SetAt(nNumber, pRecord.Get());
  return pRecord.Get();
}

CObjectPtr CContentAnalysis::GetStandIn(const CObjectPtr& object) const
{
  return m_standIns.Get(m_document.GetFile(), object);
}

bool CContentAnalysis::AddPlace(const CObjectPtr& form, const TMatrix& matrix, const TRectangle& clip,
                                const IContentFont* pFont, bool bSteep)
{
  // What looks its resources up around it may find others in another place.
  if (form.GetObjNumber() <= 0 || !form["Resources"].IsDictionary())
    return true;
  struct TPlace
  {
    double m_dNumber;
    TMatrix m_matrix;
    TRectangle m_clip;
    const IContentFont* m_pFont;
    std::int64_t m_bSteep;
  };
  const TPlace place = {static_cast<double>(form.GetObjNumber()), matrix, clip, pFont, bSteep ? 1 : 0};
  if (m_places.Lookup(&place, sizeof place) >= 0)
    return false;
  if (m_places.GetCount() < g_nMaxPlaces)
    m_places.SetAt(&place, sizeof place, nullptr);
  return true;
}

void CContentAnalysis::KeepImage(const CObjectPtr& image)
{
  const CObjectPtr object = GetStandIn(image);
  const auto keep = [&](const CObjectPtr& kept, TImageRole nRole)
  {
    if (CImageRecord* pRecord = kept.IsStream() ? FindOrAdd(kept, nRole) : nullptr)
      pRecord->m_bKeepAsIs = true;
    if (kept)
      kept->Unload();
  };
  const CObjectPtr soft = GetStandIn(object["SMask"]);
  const CObjectPtr hard = GetStandIn(object["Mask"]);
  keep(object, eRolePainted);
  keep(soft, eRoleSoftMask);
  keep(hard, eRoleMask);
}

void CContentAnalysis::ListFonts(const CObjectPtr& resources)
{
  const CObjectPtr entries = resources["Font"];
  const CObjectPtr holder = entries.IsIndirect() ? entries : resources;
  if (!m_pFonts || !entries.IsDictionary() || (holder.IsIndirect() && !m_listed.Add(holder.GetObjNumber())))
    return;
  for (int i = entries.GetBegin(); i != entries.GetEnd(); i = entries.GetNext(i))
  {
    if (!m_environment.GetAccount().Charge(g_nEntryWork))
      return;
    if (const CObjectPtr font = entries.GetValue(i); font.IsIndirect())
      m_pFonts->CreateFont(font);
  }
}

void CContentAnalysis::KeepFont(const CObjectPtr& font)
{
  if (!m_pFonts)
    return;
  if (const BSE::CObjectPtr<CFont> pFont = m_pFonts->CreateFont(font))
    pFont->SetAllGlyphsUsed();
}

bool CContentAnalysis::NeedsResources(const CObjectPtr& font)
{
  const int nNumber = font.GetObjNumber();
  if (nNumber <= 0 || m_needyFonts.Contains(nNumber))
    return true;
  if (m_plainFonts.Contains(nNumber))
    return false;
  const bool bNeedy = DoGlyphsNeedResources(font, m_environment, m_pUse);
  (bNeedy ? m_needyFonts : m_plainFonts).Add(nNumber);
  return bNeedy;
}

void CContentAnalysis::AddText(CFont& font, std::span<const unsigned char> text)
{
  if (!font.IsComposite())
  {
    const std::span<unsigned char> used = font.GetUsedChars();
    for (const unsigned char nCode : text)
      used[nCode] = 1;
    return;
  }
  const bool bIdentity = dynamic_cast<const CIdentityEncoding*>(font.GetEncoding().Get()) != nullptr;
  for (CCodeWalker walker(font, true, text); walker.Next();)
  {
    // Readers do not agree on how long a code is that there is not, or that means nothing.
    if (walker.IsInvalid() || (walker.GetCID() == 0 && !bIdentity))
      return font.SetAllGlyphsUsed();
    int nCID = walker.GetCID();
    if (nCID >= font.GetCharCount() && !font.GrowUsedChars(nCID + 1))
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("I", "PDF Analyzer", "CID of text out of range (%d, max %d).", nCID,
                            font.GetCharCount() - 1);
      nCID = 0;
    }
    if (nCID < font.GetCharCount())
      font.GetUsedChars()[static_cast<std::size_t>(nCID)] = 1;
  }
}

void CContentAnalysis::KeepResources(const CObjectPtr& resources)
{
  KeepEntries(resources, true);
}

// A list in place of recursion: resources lead to others in any depth.
void CContentAnalysis::KeepEntries(const CObjectPtr& resources, bool bFonts)
{
  CNumberSet& known = bFonts ? m_kept : m_keptImages;
  BSE::CObjectArray<CObject> list;
  const auto addResources = [&](const CObjectPtr& holder)
  {
    if (holder.GetObjNumber() <= 0 || known.Add(holder.GetObjNumber()))
      if (const CObjectPtr own = holder["Resources"]; own.IsDictionary())
        list.Add(own.Get());
  };
  if (!resources.IsDictionary() || (resources.IsIndirect() && !known.Add(resources.GetObjNumber())))
    return;
  list.Add(resources.Get());
  while (list.GetSize() > 0)
  {
    const CObjectPtr next = list[list.GetSize() - 1];
    list.RemoveAt(list.GetSize() - 1);
    if (bFonts && m_pUse)
      m_pUse->AddAll(next);
    for (const char* szCategory : {"XObject", "Pattern", "Font", "ExtGState"})
    {
      const CObjectPtr entries = next[szCategory];
      for (int i = entries.GetBegin(); i != entries.GetEnd(); i = entries.GetNext(i))
      {
        const CObjectPtr entry = entries.GetValue(i);
        if (!m_environment.GetAccount().Charge(g_nEntryWork))
          return;
        const CObjectPtr font = KeyEquals(szCategory, "Font") ? entry : entry["Font"][0];
        if (bFonts && font)
          KeepFont(font);
        if (entry["Subtype"].IsName("Image"))
          KeepImage(entry);
        else if (const CObjectPtr group = entry["SMask"]["G"])
          addResources(group);
        else
          addResources(entry);
        if (entry)
          entry->Unload();
      }
    }
  }
}

// What has no resources of its own takes those of the page with many readers, and what they lack too.
void CContentAnalysis::LookAtForm(const CObjectPtr& form, const CObjectPtr& resources, bool bKeep)
{
  const CObjectPtr own = form["Resources"];
  const int nNumber = form.GetObjNumber();
  const bool bRead = nNumber > 0 && own.IsDictionary() && !m_readAppearances.Add(nNumber);
  if (!own.IsDictionary() || (bRead && IsBorrower(form)))
  {
    NoteBorrowing();
    KeepResources(resources);
  }
  if (!own.IsDictionary())
    return;
  if (bKeep && (nNumber <= 0 || m_kept.Add(nNumber)))
    KeepResources(own);
  if (bRead)
    return;
  KeepImages(own);
  if (!m_pFonts && !m_pUse)
    return;
  const std::int64_t nBorrowings = m_nBorrowings;
  const BSE::CObjectPtr<CContentStream> pStream(new CContentStream(form, &m_environment.GetAccount()));
  COptContentAnalyzer analyzer(*this, m_environment, pStream, g_defaultMediaBox, 0,
                               m_document.GetErrorContext());
  CParserContext around(m_environment, resources, nullptr);
  CParserContext context(m_environment, own, &around);
  analyzer.Parse(&context, false);
  if (m_nBorrowings != nBorrowings)
    AddBorrower(form);
}

void CContentAnalysis::LookAtAppearance(const CObjectPtr& appearance, const CObjectPtr& resources, bool bKeep)
{
  if (appearance.IsStream())
    return LookAtForm(appearance, resources, bKeep);
  for (int i = appearance.GetBegin(); i != appearance.GetEnd(); i = appearance.GetNext(i))
    if (const CObjectPtr state = appearance.GetValue(i); state.IsStream())
      LookAtForm(state, resources, bKeep);
}

// A list in place of recursion. Whoever has no kids and no type may be anything.
bool CContentAnalysis::HasTypedFields(const CObjectPtr& form)
{
  const CObjectPtr fields = form["Fields"];
  if (form["XFA"] || !fields.IsArray() || fields.GetSize() == 0)
    return true;
  CNumberSet seen;
  BSE::CObjectArray<CObject> lists;
  lists.Add(fields.Get());
  while (lists.GetSize() > 0)
  {
    const CObjectPtr list = lists[lists.GetSize() - 1];
    lists.RemoveAt(lists.GetSize() - 1);
    for (int i = 0; i < list.GetSize(); ++i)
    {
      const CObjectPtr field = list[i];
      if (!m_environment.GetAccount().Charge(g_nEntryWork))
        return true;
      if (field.IsIndirect() && !seen.Add(field.GetObjNumber()))
        continue;
      const CObjectPtr type = field["FT"];
      const CObjectPtr kids = field["Kids"];
      if (type ? !type.IsName("Sig") : !kids.IsArray())
        return true;
      // Kids of a signature are its widgets.
      if (!type)
        lists.Add(kids.Get());
      field->Unload();
    }
  }
  return false;
}

// Fields of old have the resources of their text in themselves or above them. A field without a type may be
// one of text.
bool CContentAnalysis::KeepDefaults(const CObjectPtr& field)
{
  CObjectPtr type;
  CObjectPtr next = field;
  for (int i = 0; next.IsDictionary() && i < g_nMaxFieldDepth; ++i)
  {
    KeepResources(next["DR"]);
    KeepNames(next["DA"]);
    if (!type)
      type = next["FT"];
    next = next["Parent"];
  }
  // Writers give signatures a default appearance too, which no viewer ever types with.
  const bool bSignature = type.IsName("Sig");
  const bool bField = field["Subtype"].IsName("Widget") && !bSignature;
  m_bDefaultText = m_bDefaultText || bField || (!bSignature && field["DA"].IsString());
  return bField && !type.IsName("Btn");
}

void CContentAnalysis::LookAtAppearances(const CObjectPtr& annots, const CObjectPtr& resources, bool bHidden)
{
  if (!annots.IsArray())
    return;
  const std::int64_t nBorrowings = m_nBorrowings;
  if (annots.IsIndirect() && !m_appearances.Add(annots.GetObjNumber()))
  {
    if (IsBorrower(annots))
      KeepResources(resources);
    return;
  }
  for (int i = 0; i < annots.GetSize(); ++i)
  {
    const CObjectPtr annotation = annots[i];
    LookAtAnnotation(annotation, resources, bHidden);
    if (annotation)
      annotation->Unload();
  }
  if (annots.IsIndirect() && m_nBorrowings != nBorrowings)
    AddBorrower(annots);
}

// An appearance is scaled to its annotation and may be shown anywhere.
void CContentAnalysis::LookAtAnnotation(const CObjectPtr& annotation, const CObjectPtr& resources,
                                        bool bHidden)
{
  const std::int64_t nBorrowings = m_nBorrowings;
  if (annotation.IsIndirect() && !m_appearances.Add(annotation.GetObjNumber()))
  {
    if (!IsBorrower(annotation))
      return;
    NoteBorrowing();
    return KeepResources(resources);
  }
  const bool bKeep = KeepDefaults(annotation) || bHidden;
  for (const char* szKey : {"N", "R", "D"})
    LookAtAppearance(annotation["AP"][szKey], resources, bKeep);
  for (const char* szKey : {"I", "RI", "IX"})
    LookAtAppearance(annotation["MK"][szKey], resources, bKeep);
  LookAtAppearance(annotation["RO"], resources, bKeep);
  if (annotation.IsIndirect() && m_nBorrowings != nBorrowings)
    AddBorrower(annotation);
}

}  // namespace PDF
