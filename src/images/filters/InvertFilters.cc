#include "images/filters/InvertFilters.h"

#include <algorithm>

namespace BSE
{

namespace
{

unsigned char Invert(unsigned char n)
{
  return static_cast<unsigned char>(~n);
}

}  // namespace

int CInvertDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  const auto nRead = static_cast<int>(m_pInput->Read(block.data(), static_cast<std::int64_t>(block.size())));
  std::transform(block.data(), block.data() + nRead, block.data(), Invert);
  m_bEnd = nRead == 0;
  return nRead;
}

bool CInvertEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  unsigned char inverted[512];
  while (!block.empty())
  {
    const std::size_t nPart = std::min(block.size(), sizeof inverted);
    std::transform(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(nPart), inverted, Invert);
    if (!m_pOutput->WriteAll(inverted, static_cast<std::int64_t>(nPart)))
      return false;
    block = block.subspan(nPart);
  }
  return true;
}

}  // namespace BSE
