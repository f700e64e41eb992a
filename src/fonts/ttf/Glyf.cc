#include "fonts/ttf/Glyf.h"

namespace TTF
{

namespace
{

constexpr int g_nHeaderSize = 10;

constexpr unsigned g_nXShort = 0x02;
constexpr unsigned g_nYShort = 0x04;
constexpr unsigned g_nRepeat = 0x08;
constexpr unsigned g_nXSame = 0x10;
constexpr unsigned g_nYSame = 0x20;

int GetCoordinateSize(unsigned nFlag, unsigned nShort, unsigned nSame)
{
  return (nFlag & nShort) != 0 ? 1 : ((nFlag & nSame) != 0 ? 0 : 2);
}

bool Refuse(const char* szSeverity, const char* szText)
{
  CFontLog::Note(szSeverity, "%s", szText);
  return false;
}

bool IsWithin(const BSE::CByteCursor& cursor)
{
  return !cursor.HasFailed() || Refuse("E", "Glyph larger than indicated by loca table.");
}

// Flags and coordinates of nPoints points, run by run.
bool MeasurePoints(BSE::CByteCursor& cursor, int nPoints)
{
  std::int64_t nCoordinates = 0;
  for (int nLeft = nPoints; nLeft > 0 && !cursor.HasFailed();)
  {
    const unsigned nFlag = cursor.Card8();
    int nRun = (nFlag & g_nRepeat) != 0 ? 1 + static_cast<int>(cursor.Card8()) : 1;
    if (nRun > nLeft)
    {
      CFontLog::Note("E", "Invalid repeat count");
      nRun = nLeft;
    }
    nLeft -= nRun;
    nCoordinates += std::int64_t{nRun} * (GetCoordinateSize(nFlag, g_nXShort, g_nXSame) +
                                          GetCoordinateSize(nFlag, g_nYShort, g_nYSame));
  }
  cursor.Skip(nCoordinates);
  return IsWithin(cursor);
}

bool MeasureSimple(BSE::CByteCursor& cursor, TGlyphShape& shape)
{
  int nLast = -1;
  for (int i = 0; i < shape.m_nContours; ++i)
  {
    const int nEnd = static_cast<int>(cursor.Card16());
    if (cursor.HasFailed() || nEnd <= nLast)
      return Refuse("E", "Invalid end points.");
    nLast = nEnd;
  }
  shape.m_nPoints = nLast + 1;
  // A glyph without contours may end here.
  if (shape.m_nContours == 0 && cursor.IsAtEnd())
    return true;
  shape.m_nInstructions = static_cast<int>(cursor.Card16());
  cursor.Skip(shape.m_nInstructions);
  if (cursor.HasFailed())
    return Refuse("I", "Instruction length exceeds table length.");
  return MeasurePoints(cursor, shape.m_nPoints);
}

bool MeasureComposite(std::span<const unsigned char> data, TGlyphShape& shape)
{
  shape.m_bComposite = true;
  CComponentReader reader(data);
  TComponent component;
  while (reader.Next(component))
    ++shape.m_nComponents;
  BSE::CByteCursor& cursor = reader.GetCursor();
  if (!cursor.HasFailed() && (component.m_nFlags & TComponent::g_nInstructions) != 0)
  {
    shape.m_nInstructions = static_cast<int>(cursor.Card16());
    cursor.Skip(shape.m_nInstructions);
    if (cursor.HasFailed())
      return Refuse("I", "Instruction length exceeds table length.");
  }
  shape.m_nLength = cursor.GetOffset();
  return IsWithin(cursor);
}

}  // namespace

bool IsComposite(std::span<const unsigned char> data)
{
  BSE::CByteCursor cursor(data);
  return cursor.Int16() < 0;
}

bool MeasureGlyph(std::span<const unsigned char> data, TGlyphShape& shape)
{
  shape = {};
  if (data.empty())
    return true;
  BSE::CByteCursor cursor(data);
  shape.m_nContours = cursor.Int16();
  cursor.Seek(g_nHeaderSize);
  if (cursor.HasFailed())
    return Refuse("E", "Invalid numberOfContours.");
  if (shape.m_nContours < 0)
  {
    shape.m_nContours = 0;
    return MeasureComposite(data, shape);
  }
  const bool bSound = MeasureSimple(cursor, shape);
  shape.m_nLength = cursor.GetOffset();
  return bSound;
}

CComponentReader::CComponentReader(std::span<const unsigned char> glyph) : m_cursor(glyph)
{
  m_bMore = m_cursor.Int16() < 0;
  m_cursor.Seek(g_nHeaderSize);
}

bool CComponentReader::Next(TComponent& component)
{
  if (!m_bMore || m_cursor.HasFailed())
    return false;
  TComponent next;
  next.m_nFlags = m_cursor.Card16();
  next.m_nGlyph = static_cast<int>(m_cursor.Card16());
  const bool bOffsets = (next.m_nFlags & TComponent::g_nArgumentsAreOffsets) != 0;
  for (int* pArgument : {&next.m_nArgument1, &next.m_nArgument2})
    if ((next.m_nFlags & TComponent::g_nWordArguments) != 0)
      *pArgument = bOffsets ? m_cursor.Int16() : static_cast<int>(m_cursor.Card16());
    else
      *pArgument = bOffsets ? m_cursor.Int8() : static_cast<int>(m_cursor.Card8());
  const auto ReadScale = [this] { return m_cursor.Int16() / 16384.0; };
  if ((next.m_nFlags & TComponent::g_nScale) != 0)
    next.m_dXX = next.m_dYY = ReadScale();
  else if ((next.m_nFlags & TComponent::g_nScaleXY) != 0)
  {
    next.m_dXX = ReadScale();
    next.m_dYY = ReadScale();
  }
  else if ((next.m_nFlags & TComponent::g_nMatrix) != 0)
    for (double* pScale : {&next.m_dXX, &next.m_dYX, &next.m_dXY, &next.m_dYY})
      *pScale = ReadScale();
  if (m_cursor.HasFailed())
    return false;
  m_bMore = (next.m_nFlags & TComponent::g_nMore) != 0;
  component = next;
  return true;
}

std::span<const unsigned char> CGlyf::GetGlyph(int nGlyph) const
{
  const BSE::CBasicArray<std::uint32_t>& offsets = m_loca.GetOffsets();
  if (nGlyph < 0 || nGlyph >= m_loca.GetGlyphCount() || offsets[nGlyph + 1] <= offsets[nGlyph])
    return {};
  BSE::CByteCursor cursor = GetCursor();
  cursor.Seek(offsets[nGlyph]);
  return cursor.Take(offsets[nGlyph + 1] - offsets[nGlyph]);
}

void CGlyphCollector::Add(std::span<const unsigned char> glyph)
{
  m_offsets.Add(static_cast<std::uint32_t>(m_data.GetSize()));
  m_data.Append(glyph);
  if (m_data.GetSize() % 2 != 0)
    m_data.Put(std::uint8_t{0});
}

void CGlyphCollector::Finish(CGlyf& glyf, CTTF_loca& loca)
{
  const auto nEnd = static_cast<std::uint32_t>(m_data.GetSize());
  m_offsets.Add(nEnd);
  // A table without bytes would not be written, and a font without glyf is of another kind.
  if (nEnd == 0)
    m_data.Put(std::uint8_t{0});
  glyf.SetBytes(m_data.Detach());
  loca.SetFormat(nEnd <= CTTF_loca::g_nMaxShortOffset ? 0 : 1);
  loca.SetOffsets(std::move(m_offsets));
  loca.Serialize();
}

}  // namespace TTF
