#include "fonts/pdf/CompositeFont.h"

#include "fonts/pdf/FontRegistry.h"

namespace PDF
{

namespace
{

// What a dictionary means that does not say it (ISO 32000-1, Table 117).
constexpr double g_dDefaultWidth = 1000;
constexpr double g_dDefaultOrigin = 880;
constexpr double g_dDefaultMove = -1000;

double GetNumberOr(const CObjectPtr& number, double dDefault)
{
  return number.IsNumber() ? number.GetRealValue() : dDefault;
}

void MarkGlyph(std::span<unsigned char> used, int nGlyph)
{
  if (nGlyph >= 0 && std::cmp_less(nGlyph, used.size()))
    used[static_cast<std::size_t>(nGlyph)] = 1;
}

}  // namespace

double CCIDFont::GetDefaultWidth() const
{
  return GetNumberOr(m_object["DW"], g_dDefaultWidth);
}

double CCIDFont::GetDefaultVerticalWidth() const
{
  return GetNumberOr(m_object["DW2"][1], g_dDefaultMove);
}

void CCIDFont::ReadMetrics() const
{
  if (std::exchange(m_bWidthsRead, true))
    return;
  m_pWidths = m_registry.GetWidthTable(m_object["W"], 1);
  m_pVertical = m_registry.GetWidthTable(m_object["W2"], 3);
  m_dWidth = GetDefaultWidth();
}

double CCIDFont::GetWidth(int nCharacter) const
{
  if (const auto nPlace = reinterpret_cast<std::intptr_t>(m_changes.Find(nCharacter)); nPlace > 0)
    return m_changed[static_cast<int>(nPlace - 1)];
  ReadMetrics();
  const std::span<const double> width = m_pWidths ? m_pWidths->Find(nCharacter) : std::span<const double>();
  return width.empty() ? m_dWidth : width[0];
}

TVerticalMetrics CCIDFont::GetVerticalMetrics(int nCharacter) const
{
  ReadMetrics();
  const double dWidth = GetWidth(nCharacter);
  const std::span<const double> metrics =
      m_pVertical ? m_pVertical->Find(nCharacter) : std::span<const double>();
  if (!metrics.empty())
    return {metrics[1], metrics[2], metrics[0]};
  return {dWidth / 2, GetNumberOr(m_object["DW2"][0], g_dDefaultOrigin), GetDefaultVerticalWidth()};
}

void CCIDFont::SetWidth(int nCharacter, double dWidth)
{
  const int nPlace = m_changed.Add(dWidth) + 1;
  m_changes.SetAt(nCharacter, reinterpret_cast<char*>(static_cast<std::intptr_t>(nPlace)));
}

void CCIDFont::ResetWidths()
{
  m_pWidths.Reset();
  m_pVertical.Reset();
  m_bWidthsRead = false;
  m_changed.RemoveAll();
  m_changes.RemoveAll();
}

// It is asked with CIDs.
BSE::CObjectPtr<CEncoding> CCIDFont::GetEncoding() const
{
  return new CIdentityEncoding("Identity-H", false);
}

bool CCIDFont::GetCodeToGlyphMap(BSE::CBasicArray<std::uint16_t>& map) const
{
  return GetGlyphs(GetCharCount(), map);
}

void CCIDFont::MarkUsedGlyphs(CFontProgram& program) const
{
  const std::span<unsigned char> used = program.GetUsedGlyphs();
  MarkGlyph(used, 0);
}

bool CCIDType0Font::GetGlyphs(int nCount, BSE::CBasicArray<std::uint16_t>& map) const
{
  map.RemoveAll();
  const CFontProgram* pProgram = GetProgram();
  if (!pProgram || !pProgram->IsCIDKeyed())
    return pProgram || !GetFontFile();
  map.SetSize(nCount);
  for (int i = 0; i < nCount; ++i)
    map.SetAt(i, static_cast<std::uint16_t>(pProgram->GetGlyphIndexByCID(i)));
  return true;
}

bool CCIDType2Font::GetGlyphs(int nCount, BSE::CBasicArray<std::uint16_t>& map) const
{
  map.RemoveAll();
  const CObjectPtr stream = m_object["CIDToGIDMap"];
  if (!stream.IsStream())
    return true;
  BSE::CBasicArray<unsigned char> data;
  bool bWhole = false;
  if (!ReadStream(stream, m_registry.GetAccount(), data, bWhole) || !bWhole)
    return false;
  map.SetSize(nCount);
  BSE::CByteCursor cursor(data.GetSpan());
  // What the map does not reach is its own glyph with most readers.
  for (int i = 0; i < nCount; ++i)
    map.SetAt(
        i, static_cast<std::uint16_t>(i < data.GetSize() / 2 ? cursor.Card16() : static_cast<unsigned>(i)));
  return true;
}

CType0Font::CType0Font(CFontRegistry& registry, const CObjectPtr& object,
                       const BSE::CObjectPtr<CCIDFont>& pDescendant)
    : CFont(registry, object, 0),
      m_pDescendant(pDescendant),
      m_pEncoding(CreateCMapEncoding(object["Encoding"], registry.GetAccount()))
{
  if (!m_pEncoding->IsComplete())
    SetAllGlyphsUsed();
}

double CType0Font::GetSpaceWidth() const
{
  const int nCode = GetToUnicode()->GetCode(U' ');
  const int nLength = nCode < 0 ? 0 : m_pEncoding->GetCodeLength(static_cast<unsigned>(nCode));
  if (nLength < 1 || nLength > 2)
    return 0;
  return GetWidth(nLength == 1 ? CodeToCID(static_cast<unsigned>(nCode))
                               : Code2ToCID(static_cast<unsigned>(nCode)));
}

void CType0Font::MarkUsedGlyphs(CFontProgram& program) const
{
  const std::span<unsigned char> used = program.GetUsedGlyphs();
  MarkGlyph(used, 0);
  BSE::CBasicArray<std::uint16_t> map;
  if (!GetCodeToGlyphMap(map) || AreAllGlyphsUsed())
  {
    std::fill(used.begin(), used.end(), static_cast<unsigned char>(1));
    return;
  }
  ForEachUsed(
      [&](unsigned nCode)
      {
        const auto nCID = static_cast<int>(nCode);
        const int nGlyph = map.IsEmpty() ? nCID : map[nCID];
        MarkGlyph(used, nGlyph);
        if (std::cmp_greater_equal(nGlyph, used.size()) || (nGlyph == 0 && nCID != 0 && program.IsCIDKeyed()))
          program.NoteMissingCID(program.IsCIDKeyed() ? nCID : nGlyph);
      });
}

}  // namespace PDF
