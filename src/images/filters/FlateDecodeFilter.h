#pragma once

#include "base/DecodeFilter.h"
#include "images/filters/FlateFormat.h"

struct z_stream_s;

namespace BSE
{

// Inflates (ISO 32000-1, 7.4.4; RFC 1950, 1951) straight into the reader's memory. After a damaged stretch
// decoding resumes at the next flush point, silently; without one the data error is reported once and the
// data ends. A source that ends early ends the data without a report. Any other failure of zlib is reported
// and ends the data. Not valid if zlib could not start.
class CFlateDecodeFilter final : public CDecodeFilter
{
public:
  explicit CFlateDecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr,
                              TFlateFormat eFormat = TFlateFormat::Zlib);
  ~CFlateDecodeFilter() override;

  bool IsValid() const override { return m_pStream && CDecodeFilter::IsValid(); }

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override;
  void ReturnUnread() override;

private:
  // Loads the next block of the source; false at its end.
  bool Refill();

  // Looks for the next flush point, through the rest of the source if need be.
  bool Resynchronize();

  void Fail(int nStatus);

  TFlateFormat m_eFormat;
  z_stream_s* m_pStream = nullptr;
  CBasicArray<unsigned char> m_input;
};

}  // namespace BSE
