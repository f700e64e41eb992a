#include "tests/support/Deflate.h"

#include <zlib.h>

#include <new>

namespace Support
{
namespace
{

constexpr size_t g_nBlock = size_t{1} << 16;

Bytef* Bytes(std::string_view sData)
{
  return const_cast<Bytef*>(reinterpret_cast<const Bytef*>(sData.data()));
}

// Runs inflate or deflate until the input is used up or it fails.
template <class TStep>
std::string Run(z_stream& stream, std::string_view sData, TStep step)
{
  stream.next_in = Bytes(sData);
  stream.avail_in = static_cast<uInt>(sData.size());
  std::string sOut;
  int nResult = Z_OK;
  while (nResult == Z_OK)
  {
    const size_t nDone = sOut.size();
    sOut.resize(nDone + g_nBlock);
    stream.next_out = reinterpret_cast<Bytef*>(sOut.data() + nDone);
    stream.avail_out = static_cast<uInt>(g_nBlock);
    nResult = step(stream);
    sOut.resize(sOut.size() - stream.avail_out);
  }
  return sOut;
}

}  // namespace

std::string Deflate(std::string_view sData, int nLevel)
{
  z_stream stream{};
  if (deflateInit(&stream, nLevel) != Z_OK)
    throw std::bad_alloc();
  std::string sOut = Run(stream, sData, [](z_stream& s) { return deflate(&s, Z_FINISH); });
  deflateEnd(&stream);
  return sOut;
}

std::string Inflate(std::string_view sData)
{
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK)
    throw std::bad_alloc();
  std::string sOut = Run(stream, sData, [](z_stream& s) { return inflate(&s, Z_NO_FLUSH); });
  inflateEnd(&stream);
  return sOut;
}

}  // namespace Support
