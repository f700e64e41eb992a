#include "base/MessageTable.h"

#include "base/Tracer.h"

#include <algorithm>

namespace BSE
{

namespace
{

constinit std::span<const TMessageRow> g_rows;

}  // namespace

void CMessageTable::Install(std::span<const TMessageRow> rows)
{
  // A second installation of the same rows only reads, so that it may meet lookups on other threads.
  if (rows.data() != g_rows.data() || rows.size() != g_rows.size())
    g_rows = rows;
}

const char16_t* CMessageTable::Find(unsigned nCode)
{
  const auto row = std::ranges::lower_bound(g_rows, nCode, {}, &TMessageRow::m_nCode);
  if (row != g_rows.end() && row->m_nCode == nCode)
    return row->m_szText;
  if (CTracer::IsOn())
    CTracer::Trace("I", "BSE Reporting", "Message 0x%08X not found.", nCode);
  return nullptr;
}

}  // namespace BSE
