#pragma once

#include "base/DecodeFilter.h"
#include "base/EncodeFilter.h"

#include <limits>

namespace BSE
{

// Delivers the complement of every byte.
class CInvertDecodeFilter final : public CBufferedDecodeFilter
{
public:
  explicit CInvertDecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr)
      : CBufferedDecodeFilter(pSource, pErrorContext)
  {
  }

protected:
  int DecodeBlock(std::span<unsigned char> block) override;

  // As many bytes as the source gives.
  std::int64_t GetSizeLimit() const override { return std::numeric_limits<std::int64_t>::max(); }
};

// Writes the complement of every byte.
class CInvertEncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CInvertEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext = nullptr)
      : CBufferedEncodeFilter(pSink, pErrorContext)
  {
  }
  ~CInvertEncodeFilter() override { CloseOnRelease(); }

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
};

}  // namespace BSE
