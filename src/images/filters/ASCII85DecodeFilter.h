#pragma once

#include "base/DecodeFilter.h"

#include <cstdint>

namespace BSE
{

// Decodes base-85 groups up to "~>" (ISO 32000-1, 7.4.3). Characters below 33 are skipped. Reported, without
// an end to the data: a group above 2^32 - 1 (it counts as all ones), "z" inside a group and other characters
// (both are skipped), a last group of one character. The source's end before "~" is reported; a group that is
// open there is dropped. All of them are gaps, but for a missing end without an open group. The first
// g_nMaxReports reports of one stream go out, the rest are silent.
class CASCII85DecodeFilter final : public CBufferedDecodeFilter
{
public:
  static constexpr int g_nMaxReports = 100;

  explicit CASCII85DecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr)
      : CBufferedDecodeFilter(pSource, pErrorContext)
  {
  }

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override;

private:
  // Decodes while there is room for a whole group; returns the bytes written.
  int DecodeGroups(std::span<unsigned char> room);

  int TakeHeld(std::span<unsigned char> room);

  // Takes a character that is not a digit; returns the bytes that it gives.
  int TakeOther(int nCharacter, unsigned char* pOut);
  int FinishGroup(unsigned char* pOut);
  void StoreGroup(unsigned char* pOut);
  void Report(unsigned nCode);

  std::uint64_t m_nGroup = 0;
  int m_nGroupSize = 0;  // characters of the open group
  bool m_bDataEnd = false;
  int m_nReports = 0;

  // A group for which a reader had no room.
  unsigned char m_held[4] = {};
  int m_nHeldPos = 0;
  int m_nHeldEnd = 0;
};

}  // namespace BSE
