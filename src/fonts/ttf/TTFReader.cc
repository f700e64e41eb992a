// The directory is read, and tables become parts of the data of the font; those that the program works with
// are parsed, others are carried along. head, maxp, hhea and hmtx must be there, since no reader draws a
// glyph without them; in the others, and in values that follow from the rest of the font, damage is repaired
// or the table is dropped. The order counts: maxp has the number of glyphs that metrics and glyph data are
// measured by.

#include "fonts/ttf/TTF.h"

#include "base/Limits.h"
#include "base/Tracer.h"

namespace TTF
{

namespace
{

constexpr std::uint32_t g_nCollection = MakeTag("ttcf");

bool SkipToDirectory(BSE::CByteCursor& cursor, std::uint32_t nOffset, int& nTables)
{
  cursor.Seek(nOffset);
  cursor.Skip(4);
  nTables = static_cast<int>(cursor.Card16());
  cursor.Skip(6);
  return !cursor.HasFailed();
}

}  // namespace

bool CTTF::Read(BSE::IByteStream& stream, const char* szName, bool bCheck)
{
  BSE::CBasicArray<unsigned char> data;
  if (stream.ReadToArray(data, BSE::g_nMaxDecodedSize))
    return Read(std::move(data), szName, bCheck);
  CFontLog(m_log.GetErrorContext(), szName).ReportEnd();
  return false;
}

bool CTTF::Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck)
{
  m_sName.Assign(szName);
  m_log = CFontLog(m_log.GetErrorContext(), m_sName.GetText());
  CFontLog::Note("I", "Reading TrueType font \"%s\"...", m_sName.GetText());
  m_data = std::move(data);
  m_nDataSize = m_data.GetSize();
  if (!ReadTables(bCheck))
  {
    m_log.ReportEnd();
    return false;
  }
  if (m_log.GetFaults() > 0)
    m_log.ReportRepair();
  return true;
}

bool CTTF::IsSfnt(std::uint32_t nVersion) const
{
  return nVersion == MakeTag("true") || nVersion == MakeTag("OTTO") || nVersion == 0x00010000;
}

bool CTTF::ReadTables(bool bCheck)
{
  std::uint32_t nOffset = 0;
  BSE::CByteCursor cursor(m_data.GetSpan());
  if (cursor.Card32() == g_nCollection && !FindInCollection(m_sName.GetText(), nOffset))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("I", "TTCF", "Font \"%s\" not found in collection.", m_sName.GetText());
    return false;
  }
  if (!ReadDirectory(nOffset) || !ReadHead() || !ReadMaxp() || !ReadMetrics() || !ReadGlyphs())
    return false;
  ReadVerticalMetrics();
  if (m_cmap.IsPresent())
    m_cmap.Read(m_log);
  if (m_os2.IsPresent() && !m_os2.Parse())
    m_log.Fault("Invalid OS/2 table.");
  if (m_post.IsPresent() && !m_post.Parse())
    m_log.Fault("Invalid post table.");
  m_name.Parse();
  if (bCheck)
    Check();
  return true;
}

bool CTTF::FindInCollection(const char* szName, std::uint32_t& nOffset) const
{
  BSE::CByteCursor cursor(m_data.GetSpan());
  cursor.Skip(8);
  const std::uint32_t nFonts = cursor.Card32();
  // Fonts of a collection share tables, so that a hostile one could have the same table of names searched for
  // a million fonts.
  std::int64_t nBudget = 16 * std::int64_t{m_data.GetSize()};
  for (std::uint32_t i = 0; i < nFonts && nBudget > 0; ++i)
  {
    nOffset = cursor.Card32();
    if (cursor.HasFailed())
      return false;
    if (*szName == 0 || HasNameAt(nOffset, szName, nBudget))
      return true;
  }
  return false;
}

bool CTTF::HasNameAt(std::uint32_t nOffset, const char* szName, std::int64_t& nBudget) const
{
  const BSE::CByteCursor file(m_data.GetSpan());
  BSE::CByteCursor cursor = file;
  int nTables = 0;
  SkipToDirectory(cursor, nOffset, nTables);
  for (int i = 0; i < nTables && !cursor.HasFailed(); ++i)
  {
    nBudget -= 16;
    const std::uint32_t nTag = cursor.Card32();
    cursor.Skip(4);
    const std::uint32_t nTable = cursor.Card32();
    const std::uint32_t nLength = cursor.Card32();
    if (nTag != MakeTag("name"))
      continue;
    nBudget -= nLength;
    CName name;
    name.Borrow(file.GetPart(nTable, nLength).Take(nLength));
    return name.Parse() && name.HasName(szName);
  }
  return false;
}

bool CTTF::ReadDirectory(std::uint32_t nOffset)
{
  BSE::CByteCursor cursor(m_data.GetSpan());
  cursor.Seek(nOffset);
  m_nVersion = cursor.Card32();
  int nTables = 0;
  if (!IsSfnt(m_nVersion) || !SkipToDirectory(cursor, nOffset, nTables))
    return false;
  std::int64_t nBudget = m_data.GetSize();
  for (int i = 0; i < nTables; ++i)
  {
    TEntry entry;
    entry.m_nTag = cursor.Card32();
    cursor.Skip(4);
    entry.m_nOffset = cursor.Card32();
    entry.m_nLength = cursor.Card32();
    if (cursor.HasFailed())
    {
      m_log.Fault("Offset table contains invalid entries.");
      break;
    }
    AddTable(entry, nBudget);
  }
  return true;
}

void CTTF::AddTable(const TEntry& entry, std::int64_t& nBudget)
{
  if (entry.m_nLength == 0)
    return;
  const BSE::CByteCursor file(m_data.GetSpan());
  std::int64_t nLength = entry.m_nLength;
  // Metrics that are cut off still hold those of the first glyphs.
  if (entry.m_nTag == m_hmtx.GetTag() || entry.m_nTag == m_vmtx.GetTag())
    nLength = std::min(nLength, std::max<std::int64_t>(0, m_data.GetSize() - std::int64_t{entry.m_nOffset}));
  const std::span<const unsigned char> bytes = file.GetPart(entry.m_nOffset, nLength).Take(nLength);
  if (bytes.empty())
  {
    m_log.Fault("Offset table contains invalid entries.");
    CFontLog::Note("I", "TTF: Unable to read data of table 0x%08x", entry.m_nTag);
    m_log.LosePart();
  }
  else if (FindTable(entry.m_nTag))
    m_log.Fault("Offset table contains invalid entries.");
  else if (const int n =
               static_cast<int>(std::find_if(m_known.GetSpan().begin(), m_known.GetSpan().end(),
                                             [&](const CTable* p) { return p->GetTag() == entry.m_nTag; }) -
                                m_known.GetSpan().begin());
           n < m_known.GetSize())
    m_known[n]->Borrow(bytes);
  else
    AddOther(entry, bytes, nBudget);
}

// Tables that are not read here are copied as they are. If they overlap, a small file could become a large
// one.
void CTTF::AddOther(const TEntry& entry, std::span<const unsigned char> bytes, std::int64_t& nBudget)
{
  if (std::cmp_greater(bytes.size(), nBudget) || m_others.GetSize() >= BSE::g_nMaxFontTables)
  {
    m_log.Fault("Offset table contains invalid entries.");
    m_log.LosePart();
    return;
  }
  nBudget -= static_cast<std::int64_t>(bytes.size());
  BSE::CScopedPtr<CTable> pTable(new CTable(entry.m_nTag));
  pTable->Borrow(bytes);
  m_others.Add(pTable.Get());
  pTable.Detach();
}

bool CTTF::ReadHead()
{
  if (!m_head.IsPresent() || !m_head.Parse())
  {
    m_log.Fault("head table missing.");
    return false;
  }
  if (m_head.m_nMagicNumber == CHead::g_nMagic)
    return true;
  m_log.Fault("head magicNumber wrong.");
  m_head.m_nMagicNumber = CHead::g_nMagic;
  m_head.Serialize();
  return true;
}

bool CTTF::ReadMaxp()
{
  if (!m_maxp.IsPresent() || !m_maxp.Parse())
  {
    m_log.Fault("maxp table missing.");
    return false;
  }
  const bool bTrueType = m_loca.IsPresent();
  const bool bKnown =
      m_maxp.m_nVersion == Cmaxp::g_nVersionTrueType || m_maxp.m_nVersion == Cmaxp::g_nVersionCFF;
  if (!bKnown)
    m_log.Fault("Invalid maxp version 0x%08X.", m_maxp.m_nVersion);
  if (!bTrueType && m_maxp.IsCut())
    m_maxp.m_nVersion = Cmaxp::g_nVersionCFF;
  else if (!bTrueType || (m_maxp.m_nVersion != Cmaxp::g_nVersionCFF && !m_maxp.IsCut()))
  {
    if (bKnown)
      return true;
    m_maxp.m_nVersion = bTrueType ? Cmaxp::g_nVersionTrueType : Cmaxp::g_nVersionCFF;
  }
  else
  {
    // Limits of glyphs are counted later; those of programs are not known, so they are generous.
    m_log.Fault("Invalid maxp version 0x%08X.", m_maxp.m_nVersion);
    m_maxp.m_nVersion = Cmaxp::g_nVersionTrueType;
    m_maxp.m_nMaxZones = 2;
    m_maxp.m_nMaxTwilightPoints = m_maxp.m_nMaxStorage = m_maxp.m_nMaxInstructionDefs = 64;
    m_maxp.m_nMaxFunctionDefs = 256;
    m_maxp.m_nMaxStackElements = 1024;
  }
  m_maxp.Serialize();
  return true;
}

bool CTTF::ReadMetrics()
{
  if (!m_hhea.IsPresent() || !m_hhea.Parse())
  {
    m_log.Fault("hhea table missing.");
    return false;
  }
  if (!m_hmtx.IsPresent())
  {
    m_log.Fault("hmtx table missing.");
    return false;
  }
  m_hmtx.SetCounts(m_hhea.m_nNumberOfMetrics, GetGlyphCount());
  if (!m_hmtx.IsTooShort())
    return true;
  m_log.Fault("hmtx table too short.");
  m_hmtx.FillUp();
  return true;
}

void CTTF::ReadVerticalMetrics()
{
  if (!m_vhea.IsPresent())
    return;
  if (!m_vmtx.IsPresent() || !m_vhea.Parse())
  {
    m_log.Fault("vmtx table missing.");
    m_vhea.Remove();
    m_vmtx.Remove();
    m_log.LosePart();
    return;
  }
  m_vmtx.SetCounts(m_vhea.m_nNumberOfMetrics, GetGlyphCount());
  if (m_vmtx.IsTooShort())
  {
    m_log.Fault("vmtx table too short.");
    m_vmtx.FillUp();
  }
}

}  // namespace TTF
