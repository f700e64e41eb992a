#include "pdf/PdfDocReader.h"

#include "pdf/TextString.h"

#include <algorithm>

namespace PDF
{

auto CPdfDocDecodeReader::Convert(std::span<const unsigned char> input, std::span<wchar_t> output,
                                  std::size_t& nTaken, std::size_t& nWritten) -> TOutcome
{
  nTaken = nWritten = std::min(input.size(), output.size());
  std::ranges::transform(input.first(nTaken), output.begin(),
                         [](unsigned char nByte) { return static_cast<wchar_t>(DecodePdfDocByte(nByte)); });
  return nTaken == input.size() ? TOutcome::NeedsMore : TOutcome::Done;
}

}  // namespace PDF
