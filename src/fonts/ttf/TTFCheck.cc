#include "base/Limits.h"
#include "fonts/ttf/GlyphCheck.h"
#include "fonts/ttf/TTF.h"

namespace TTF
{

int CTTF::Check()
{
  if (!m_bChecked && HasGlyphData())
    CheckGlyphs();
  m_bChecked = true;
  const std::uint32_t nPost = m_post.m_nVersion;
  if (m_post.IsPresent() && nPost != CPost::g_nVersion1 && nPost != CPost::g_nVersion2 &&
      nPost != CPost::g_nVersion3)
    CFontLog::Note("E", "Unimplemented post table version");
  return m_log.GetFaults();
}

bool CTTF::ReadGlyphs()
{
  if (!m_loca.IsPresent())
  {
    // Without loca it is not known which data is which glyph.
    if (m_glyf.IsPresent())
      m_log.Fault("loca table too small.");
    return !m_glyf.IsPresent();
  }
  const int nGlyphs = GetGlyphCount();
  int nFormat = m_head.m_nIndexToLocFormat;
  if (nFormat != 0 && nFormat != 1)
  {
    m_log.Fault("Invalid loca table format %d.", nFormat);
    nFormat = m_loca.GetBytes().size() / 4 > static_cast<std::size_t>(nGlyphs) ? 1 : 0;
    m_head.m_nIndexToLocFormat = static_cast<std::int16_t>(nFormat);
    m_head.Serialize();
  }
  CompleteLoca(nFormat);
  m_loca.ReadOffsets(nFormat, nGlyphs);
  if (!IsLocaSound())
    RecoverGlyphs();
  return true;
}

// Some writers give it a wrong length in the directory. Readers take what is there up to the next table.
void CTTF::CompleteLoca(int nFormat)
{
  const std::span<const unsigned char> offsets = m_loca.GetBytes();
  const std::size_t nNeeded = (static_cast<std::size_t>(GetGlyphCount()) + 1) * (nFormat == 0 ? 2 : 4);
  if (offsets.size() >= nNeeded)
    return;
  const unsigned char* pEnd = m_data.GetData() + m_data.GetSize();
  for (const BSE::CPtrArray<CTable>* pTables : {&m_known, &m_others})
    for (const CTable* pTable : pTables->GetSpan())
      if (const unsigned char* pNext = pTable->GetBytes().data(); pNext > offsets.data() && pNext < pEnd)
        pEnd = pNext;
  if (nNeeded > static_cast<std::size_t>(pEnd - offsets.data()))
    return;
  m_log.Fault("loca table too small.");
  m_loca.Borrow({offsets.data(), nNeeded});
}

bool CTTF::IsLocaSound()
{
  const std::span<const std::uint32_t> offsets = m_loca.GetOffsets().GetSpan();
  bool bSound = true;
  const auto Require = [&](bool b, const char* szMessage)
  {
    if (!b)
      m_log.Fault("%s", szMessage);
    bSound = bSound && b;
  };
  Require(m_loca.GetOffsets().GetSize() == GetGlyphCount() + 1, "loca table too small.");
  Require(std::is_sorted(offsets.begin(), offsets.end()), "loca table not in ascending order.");
  const std::size_t nEnd = m_glyf.GetBytes().size();
  Require(std::all_of(offsets.begin(), offsets.end(), [nEnd](std::uint32_t n) { return n <= nEnd; }),
          "loca entry points outside glyph range.");
  return bSound;
}

// Gives each glyph the data that it has by its own offset, in a new table. Where the next offset does not
// give the end, the data itself must.
void CTTF::RecoverGlyphs()
{
  CFontLog::Note("I", "Recover loca / glyf table.");
  CGlyphCollector collector(GetGlyphCount());
  // Glyphs out of order may share data, but not all of them the same.
  std::int64_t nBudget = BSE::g_nFreeRecoveredGlyphs +
                         BSE::g_nRecoveredGlyphsRatio * static_cast<std::int64_t>(m_glyf.GetBytes().size());
  for (int i = 0; i < GetGlyphCount(); ++i)
    collector.Add(FindGlyphData(i, nBudget));
  FinishGlyphs(collector);
}

std::span<const unsigned char> CTTF::FindGlyphData(int nGlyph, std::int64_t& nBudget)
{
  const BSE::CBasicArray<std::uint32_t>& offsets = m_loca.GetOffsets();
  const std::span<const unsigned char> glyphs = m_glyf.GetBytes();
  const int nThere = offsets.GetSize();
  if (nGlyph >= nThere || (nGlyph + 1 < nThere && offsets[nGlyph] == offsets[nGlyph + 1]))
    return {};
  const std::size_t nStart = offsets[nGlyph];
  const std::size_t nEnd = nGlyph + 1 < nThere ? offsets[nGlyph + 1] : glyphs.size();
  if (nStart < glyphs.size())
  {
    std::span<const unsigned char> data = glyphs.subspan(nStart);
    bool bKnown = nEnd > nStart && nEnd <= glyphs.size();
    if (bKnown)
      data = data.first(nEnd - nStart);
    std::size_t nCost = data.size();
    // The offset of the end may lie beyond the table, which does not matter if the glyph itself ends within
    // it.
    TGlyphShape shape;
    if (!bKnown)
    {
      bKnown = MeasureGlyph(data, shape);
      nCost = shape.m_nLength + 1;
      data = data.first(std::min(shape.m_nLength, data.size()));
    }
    nBudget -= static_cast<std::int64_t>(nCost);
    if (bKnown && nBudget >= 0)
      return data;
  }
  else if (nGlyph + 1 == nThere)
    return {};
  m_log.Fault("Unable to load glyph %d.", nGlyph);
  m_log.LoseGlyph(nGlyph);
  return {};
}

void CTTF::FinishGlyphs(CGlyphCollector& collector)
{
  collector.Finish(m_glyf, m_loca);
  m_head.m_nIndexToLocFormat = static_cast<std::int16_t>(m_loca.GetFormat());
  m_head.Serialize();
}

void CTTF::CheckGlyphs()
{
  CGlyphChecker checker(m_glyf, m_maxp, m_log);
  checker.CheckAll();
  if (checker.HasRaisedLimits())
    m_maxp.Serialize();
  if (!checker.HasRefused())
    return;
  CGlyphCollector collector(GetGlyphCount());
  for (int i = 0; i < GetGlyphCount(); ++i)
    if (checker.GetRefused()[i] == 0)
      collector.Add(m_glyf.GetGlyph(i));
    else
    {
      collector.Add({});
      m_log.LoseGlyph(i);
    }
  FinishGlyphs(collector);
}

}  // namespace TTF
