#pragma once

#include "base/CharsetReader.h"

namespace PDF
{

// PDFDocEncoding to code points; every byte has one (see DecodePdfDocByte).
class CPdfDocDecodeReader : public BSE::CCharsetDecodeReader<unsigned char>
{
public:
  explicit CPdfDocDecodeReader(BSE::IByteStream* pSource, BSE::IErrorContext* pErrorContext = nullptr)
      : CCharsetDecodeReader(pSource, pErrorContext)
  {
  }

protected:
  TOutcome Convert(std::span<const unsigned char> input, std::span<wchar_t> output, std::size_t& nTaken,
                   std::size_t& nWritten) override;
};

}  // namespace PDF
