#include "images/filters/jbig2/JBIG2MMR.h"

#include "base/BufferedInputStream.h"
#include "images/filters/FaxCodes.h"
#include "images/filters/FaxRowDecoder.h"

#include <utility>

namespace BSE
{

namespace
{

// The end of the block: two end-of-line codes.
void TakeBlockEnd(CFaxBitReader& reader)
{
  const int nBits = 2 * g_faxEndOfLine.m_nLength;
  const unsigned nEnd = unsigned{g_faxEndOfLine.m_nBits} << g_faxEndOfLine.m_nLength | g_faxEndOfLine.m_nBits;
  if (reader.Peek(nBits) == nEnd)
    reader.Take(nBits);
}

}  // namespace

bool DecodeJBIG2MMR(CJBIG2Run& run, std::span<const unsigned char> data, CJBIG2Bitmap& bitmap,
                    std::size_t& nTaken)
{
  CMemoryInputStream input(data.data(), static_cast<std::int64_t>(data.size()));
  CFaxBitReader reader(input);
  CFaxRow above(bitmap.GetWidth());
  CFaxRow row(bitmap.GetWidth());
  bool bDone = true;
  for (int y = 0; bDone && y < bitmap.GetHeight() && bitmap.GetWidth() > 0; ++y)
  {
    if (DecodeFaxRow2D(reader, above, row) != eFaxRowDone)
      bDone = run.Fail("an MMR code is invalid or missing");
    else
      bDone = run.Spend(1 + row.GetCount() + bitmap.GetStride() / 8);
    const int* const pPositions = row.GetPositions();
    for (int i = 0; bDone && i < row.GetCount(); i += 2)
      bitmap.FillRun(y, pPositions[i], pPositions[i + 1]);
    std::swap(above, row);
  }
  TakeBlockEnd(reader);
  reader.AlignToByte();
  reader.ReturnUnread();
  nTaken = static_cast<std::size_t>(input.Tell());
  return bDone;
}

}  // namespace BSE
