#include "images/filters/jbig2/JBIG2SegmentWriter.h"

namespace BSE
{

void CJBIG2SegmentData::PutRegion(const TJBIG2Region& region)
{
  Put32(static_cast<std::uint32_t>(region.m_nWidth));
  Put32(static_cast<std::uint32_t>(region.m_nHeight));
  Put32(static_cast<std::uint32_t>(region.m_x));
  Put32(static_cast<std::uint32_t>(region.m_y));
  Put8(region.m_nFlags);
}

void CJBIG2SegmentData::PutMovable(const TJBIG2GenericForm& form)
{
  for (int i = 0; i < form.GetMovableCount(); ++i)
  {
    Put8(static_cast<unsigned>(form.GetDefault(i).m_x) & 0xFF);
    Put8(static_cast<unsigned>(form.GetDefault(i).m_y) & 0xFF);
  }
}

unsigned CJBIG2SegmentWriter::Add(TJBIG2SegmentType type, const CJBIG2SegmentData& data,
                                  std::span<const unsigned> references)
{
  m_bytes.Put32(m_nNext);
  m_bytes.Put8(type);
  m_bytes.Put8(static_cast<unsigned>(references.size()) << 5);
  for (const unsigned nReference : references)
    m_bytes.Put8(nReference);
  m_bytes.Put8(1);
  m_bytes.Put32(static_cast<std::uint32_t>(data.GetSize()));
  m_bytes.Put(data.GetBytes());
  return m_nNext++;
}

}  // namespace BSE
