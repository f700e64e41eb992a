#include "pdf/Conformance.h"

namespace PDF
{

namespace
{

struct TRow
{
  unsigned m_nCode;
  int m_nPart;
  int m_nLevel;
  const char* m_szText;
};

constexpr TRow g_rows[] = {
    {0x1000, 0, 0, "PDF 1.0"},  {0x1100, 0, 0, "PDF 1.1"},  {0x1200, 0, 0, "PDF 1.2"},
    {0x1300, 0, 0, "PDF 1.3"},  {0x1400, 0, 0, "PDF 1.4"},  {0x1401, 1, 1, "PDF/A-1b"},
    {0x1402, 1, 3, "PDF/A-1a"}, {0x1500, 0, 0, "PDF 1.5"},  {0x1600, 0, 0, "PDF 1.6"},
    {0x1700, 0, 0, "PDF 1.7"},  {0x1701, 2, 1, "PDF/A-2b"}, {0x1702, 2, 2, "PDF/A-2u"},
    {0x1703, 2, 3, "PDF/A-2a"}, {0x1711, 3, 1, "PDF/A-3b"}, {0x1712, 3, 2, "PDF/A-3u"},
    {0x1713, 3, 3, "PDF/A-3a"}, {0x2000, 0, 0, "PDF 2.0"},
};

const TRow* FindRow(unsigned nCode)
{
  for (const TRow& row : g_rows)
    if (row.m_nCode == nCode)
      return &row;
  return nullptr;
}

}  // namespace

int CConformance::GetPart() const
{
  const TRow* pRow = FindRow(m_nCode);
  return pRow ? pRow->m_nPart : 0;
}

int CConformance::GetLevel() const
{
  const TRow* pRow = FindRow(m_nCode);
  return pRow ? pRow->m_nLevel : 0;
}

const char* CConformance::GetText() const
{
  const TRow* pRow = FindRow(m_nCode);
  return pRow ? pRow->m_szText : "";
}

}  // namespace PDF
