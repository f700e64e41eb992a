#include "fonts/ttf/TTF.h"

#include "base/Limits.h"
#include "fonts/ttf/GlyphCheck.h"

namespace TTF
{

namespace
{

// What a reader of documents looks into besides the outlines. gasp and the programs are for hinting.
constexpr std::uint32_t g_neededTags[] = {MakeTag("head"), MakeTag("hhea"), MakeTag("maxp"), MakeTag("hmtx"),
                                          MakeTag("vhea"), MakeTag("vmtx"), MakeTag("loca"), MakeTag("glyf"),
                                          MakeTag("cvt "), MakeTag("fpgm"), MakeTag("prep"), MakeTag("gasp"),
                                          MakeTag("CFF "), MakeTag("VORG"), MakeTag("cmap"), MakeTag("post")};

constexpr std::uint32_t g_codeTags[] = {MakeTag("cmap"), MakeTag("post")};

bool Contains(std::span<const std::uint32_t> tags, std::uint32_t nTag)
{
  return std::find(tags.begin(), tags.end(), nTag) != tags.end();
}

}  // namespace

CTTF::CTTF(BSE::IErrorContext* pErrorContext)
    : m_log(pErrorContext, nullptr),
      m_glyf(m_loca),
      m_cvt(MakeTag("cvt ")),
      m_fpgm(MakeTag("fpgm")),
      m_prep(MakeTag("prep"))
{
  CTable* const tables[] = {&m_head, &m_hhea, &m_maxp, &m_os2,  &m_post, &m_vhea, &m_hmtx, &m_vmtx,
                            &m_name, &m_cmap, &m_loca, &m_glyf, &m_cvt,  &m_fpgm, &m_prep};
  for (CTable* pTable : tables)
    m_known.Add(pTable);
}

CTTF::~CTTF()
{
  for (CTable* pTable : m_others.GetSpan())
    delete pTable;
}

CTable* CTTF::FindTable(std::uint32_t nTag)
{
  for (CTable* pTable : m_known.GetSpan())
    if (pTable->GetTag() == nTag)
      return pTable->IsPresent() ? pTable : nullptr;
  for (CTable* pTable : m_others.GetSpan())
    if (pTable->GetTag() == nTag && pTable->IsPresent())
      return pTable;
  return nullptr;
}

const CTable* CTTF::FindTable(std::uint32_t nTag) const
{
  return const_cast<CTTF*>(this)->FindTable(nTag);
}

bool CTTF::GetOutline(int nGlyph, COutline& outline)
{
  outline.RemoveAll();
  if (nGlyph < 0 || nGlyph >= m_glyf.GetGlyphCount())
    return false;
  m_outlined.SetSize(m_glyf.GetGlyphCount());
  const bool bPaid = m_outlined[nGlyph] != 0;
  if (!bPaid &&
      BSE::IsOutOfProportion(m_nOutlineWork, BSE::g_nFreeOutlineWork, BSE::g_nOutlineWorkRatio, m_nDataSize))
  {
    m_log.LoseGlyph(nGlyph);
    return false;
  }
  COutliner outliner(m_glyf);
  const bool bDrawn = outliner.Get(nGlyph, outline);
  if (!bPaid)
    m_nOutlineWork += outliner.GetWork();
  m_outlined[nGlyph] = 1;
  if (!bDrawn)
    m_log.LoseGlyph(nGlyph);
  const int nShift = GetOutlineShift(nGlyph);
  for (TPoint& point : outline.GetSpan())
    point.m_dX += nShift;
  return bDrawn;
}

// A component that gives a composite its metrics gives it its bearing and its box.
int CTTF::GetOutlineShift(int nGlyph) const
{
  for (int nDepth = 0; nDepth < BSE::g_nMaxComponentDepth; ++nDepth)
  {
    CComponentReader reader(GetGlyph(nGlyph));
    TComponent component;
    int nLender = -1;
    while (reader.Next(component))
      if ((component.m_nFlags & TComponent::g_nMetrics) != 0)
        nLender = component.m_nGlyph;
    if (nLender < 0)
      break;
    nGlyph = nLender;
  }
  BSE::CByteCursor cursor(GetGlyph(nGlyph));
  cursor.Skip(2);
  const int nXMin = cursor.Int16();
  return m_hmtx.GetBearing(nGlyph) - nXMin;
}

bool CTTF::CloseGlyphs(BSE::CBasicArray<unsigned char>& used) const
{
  if (!HasGlyphData())
    return false;
  TTF::CloseGlyphs(m_glyf, used);
  return true;
}

bool CTTF::Subset(const BSE::CBasicArray<unsigned char>& used)
{
  BSE::CBasicArray<unsigned char> closed(used);
  if (!CloseGlyphs(closed))
    return false;
  CGlyphCollector collector(closed.GetSize());
  for (int i = 0; i < closed.GetSize(); ++i)
  {
    std::span<const unsigned char> data;
    if (closed[i] != 0)
      data = m_glyf.GetGlyph(i);
    // What comes after the end of the glyph in its data is dropped; a glyph that cannot be read stays as it
    // is.
    TGlyphShape shape;
    collector.Add(MeasureGlyph(data, shape) ? data.first(shape.m_nLength) : data);
  }
  FinishGlyphs(collector);
  ReleaseData();
  return true;
}

// A document may have many fonts of which a few glyphs each are left, and the data of most are those of
// glyphs. Tables may share bytes, so that copies of them may be longer than the file.
void CTTF::ReleaseData()
{
  std::int64_t nBorrowed = 0;
  for (const BSE::CPtrArray<CTable>* pTables : {&m_known, &m_others})
    for (const CTable* pTable : pTables->GetSpan())
      nBorrowed += pTable->IsBorrowing() ? static_cast<std::int64_t>(pTable->GetBytes().size()) : 0;
  if (nBorrowed > m_nDataSize / 2)
    return;
  for (const BSE::CPtrArray<CTable>* pTables : {&m_known, &m_others})
    for (CTable* pTable : pTables->GetSpan())
      pTable->Keep();
  m_data.RemoveAll();
}

void CTTF::ClearMetrics(const BSE::CBasicArray<unsigned char>& used)
{
  BSE::CBasicArray<unsigned char> closed(used);
  closed.SetSize(GetGlyphCount());
  CloseGlyphs(closed);
  m_hmtx.Clear(closed);
  if (m_vhea.IsPresent())
    m_vmtx.Clear(closed);
}

void CTTF::DropCodes(const BSE::CBasicArray<unsigned char>& used)
{
  BSE::CBasicArray<unsigned char> marked(used);
  marked.SetSize(GetGlyphCount());
  m_cmap.KeepCodes(marked, m_log);
  m_post.KeepNames(marked);
}

void CTTF::DropUnneeded(bool bCodes)
{
  // Something else draws the glyphs of such a font, and may need anything.
  if (!HasGlyphData() && !FindTable(MakeTag("CFF ")))
    return;
  const auto IsNeeded = [&](std::uint32_t nTag)
  {
    // Without vertical metrics the programs of glyphs see points that are made from OS/2.
    if (nTag == m_os2.GetTag())
      return m_maxp.m_nMaxSizeOfInstructions > 0 && !m_vhea.IsPresent();
    return Contains(g_neededTags, nTag) && (bCodes || !Contains(g_codeTags, nTag));
  };
  for (const BSE::CPtrArray<CTable>* pTables : {&m_known, &m_others})
    for (CTable* pTable : pTables->GetSpan())
      if (!IsNeeded(pTable->GetTag()))
        pTable->Remove();
}

}  // namespace TTF
