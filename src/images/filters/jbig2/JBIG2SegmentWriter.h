#pragma once

#include "base/BasicArray.h"
#include "base/ByteOrder.h"
#include "images/filters/jbig2/JBIG2GenericTemplate.h"
#include "images/filters/jbig2/JBIG2Segments.h"

#include <cstdint>
#include <span>

namespace BSE
{

// Data of a segment as it grows.
class CJBIG2SegmentData
{
public:
  void Put8(unsigned nValue) { m_bytes.Add(static_cast<unsigned char>(nValue)); }
  void Put16(unsigned nValue)
  {
    Put8(nValue >> 8);
    Put8(nValue & 0xFF);
  }
  void Put32(std::uint32_t nValue)
  {
    Put16(nValue >> 16);
    Put16(nValue & 0xFFFF);
  }
  void Put(std::span<const unsigned char> bytes) { m_bytes.Append(bytes); }

  // What a region begins with, and the default places of the movable pixels of a form.
  void PutRegion(const TJBIG2Region& region);
  void PutMovable(const TJBIG2GenericForm& form);

  int GetSize() const { return m_bytes.GetSize(); }
  std::span<const unsigned char> GetBytes() const { return m_bytes.GetSpan(); }

private:
  CBasicArray<unsigned char> m_bytes;
};

// Appends segments of page 1, numbered from 0 on. A segment refers to at most four that came before it.
class CJBIG2SegmentWriter
{
public:
  // Returns the number of the segment.
  unsigned Add(TJBIG2SegmentType type, const CJBIG2SegmentData& data,
               std::span<const unsigned> references = {});

  std::span<const unsigned char> GetBytes() const { return m_bytes.GetBytes(); }

private:
  CJBIG2SegmentData m_bytes;
  unsigned m_nNext = 0;
};

}  // namespace BSE
