#include "fonts/ttf/Table.h"

#include "base/Tracer.h"
#include "fonts/ttf/FontLog.h"
#include "fonts/ttf/StatusCodes.h"

#include <cstdarg>
#include <cstdio>

namespace TTF
{

namespace
{

// The trace has no form that takes a list of arguments.
void TraceLine(const char* szSeverity, const char* szFormat, std::va_list arguments)
{
  char szLine[256];
  std::vsnprintf(szLine, sizeof szLine, szFormat, arguments);
  BSE::CTracer::Trace(szSeverity, "TTF", "%s", szLine);
}

}  // namespace

void CTable::Borrow(std::span<const unsigned char> bytes)
{
  m_own.RemoveAll();
  m_bOwn = false;
  m_borrowed = bytes;
}

void CTable::SetBytes(BSE::CBasicArray<unsigned char>&& bytes)
{
  BSE::CBasicArray<unsigned char> own(std::move(bytes));
  m_own = std::move(own);
  m_bOwn = true;
  m_borrowed = {};
}

std::uint32_t CTable::GetChecksum(std::span<const unsigned char> bytes)
{
  std::uint32_t nSum = 0;
  std::size_t i = 0;
  for (; i + 4 <= bytes.size(); i += 4)
    nSum += BSE::LoadBigEndian<std::uint32_t>(bytes.data() + i);
  for (unsigned nShift = 24; i < bytes.size(); ++i, nShift -= 8)
    nSum += std::uint32_t{bytes[i]} << nShift;
  return nSum;
}

void CFontLog::Fault(const char* szFormat, ...)
{
  ++m_nFaults;
  if (!BSE::CTracer::IsOn())
    return;
  std::va_list arguments;
  va_start(arguments, szFormat);
  TraceLine("E", szFormat, arguments);
  va_end(arguments);
}

void CFontLog::Note(const char* szSeverity, const char* szFormat, ...)
{
  if (!BSE::CTracer::IsOn())
    return;
  std::va_list arguments;
  va_start(arguments, szFormat);
  TraceLine(szSeverity, szFormat, arguments);
  va_end(arguments);
}

void CFontLog::LoseGlyph(int nGlyph)
{
  BSE::ReportLoss(m_pErrorContext, BSE::MakeError(g_nGlyphMissing, "cid", nGlyph, "font", m_szFont));
}

void CFontLog::LosePart()
{
  BSE::ReportLoss(m_pErrorContext, BSE::MakeError(g_nFontRepaired, "font", m_szFont));
}

}  // namespace TTF
