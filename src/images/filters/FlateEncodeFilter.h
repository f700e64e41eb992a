#pragma once

#include "base/EncodeFilter.h"
#include "images/filters/FlateFormat.h"

struct z_stream_s;

namespace BSE
{

// Deflates what is written (ISO 32000-1, 7.4.4). A failure of zlib is reported and ends the writing. Not
// valid if zlib could not start.
class CFlateEncodeFilter final : public CEncodeFilter
{
public:
  // The level is one of zlib's, -1 (its own default) to 9.
  explicit CFlateEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext = nullptr,
                              int nLevel = g_nFlateLevelDefault, TFlateFormat eFormat = TFlateFormat::Zlib);
  ~CFlateEncodeFilter() override;

  bool IsValid() const override { return m_pStream && CEncodeFilter::IsValid(); }

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool Finish() override;

private:
  // Runs zlib until it has taken the input (or, to finish, given all output); full output blocks go to the
  // sink.
  bool Deflate(int nFlush);

  bool WriteOutput();
  bool Fail(int nStatus);

  z_stream_s* m_pStream = nullptr;
  CBasicArray<unsigned char> m_output;
};

}  // namespace BSE
