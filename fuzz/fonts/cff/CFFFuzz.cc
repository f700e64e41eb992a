// A bare CFF font, which is read, drawn, closed, subset, merged and written; the first two bytes choose the
// glyphs and what is done.

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "fonts/cff/CFF.h"

#include <cstdlib>
#include <vector>

namespace
{

void Require(bool b)
{
  if (!b)
    std::abort();
}

bool Write(const CFF::CCFF& font, BSE::CBasicArray<unsigned char>& data)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  data.RemoveAll();
  return font.Write(*pStream) && pStream->Rewind() && pStream->ReadToArray(data);
}

bool Read(CFF::CCFF& font, const BSE::CBasicArray<unsigned char>& data)
{
  BSE::CBasicArray<unsigned char> copy(data);
  return font.Read(std::move(copy), "");
}

void Use(CFF::CCFF& font)
{
  FONT::CGlyph glyph;
  double dWidth = 0;
  for (int i = 0; i < std::min(font.GetGlyphCount(), 100); ++i)
  {
    font.GetGlyph(i, glyph);
    font.GetWidth(i, dWidth);
    font.FindGlyph(font.GetGlyphName(i));
    font.FindGlyphByCID(font.GetCID(i));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 2 || nSize > 1 << 16)
    return 0;
  BSE::CErrorHandler handler;
  CFF::CCFF font(&handler);
  BSE::CBasicArray<unsigned char> data;
  data.Append({pData + 2, nSize - 2});
  if (!Read(font, data))
  {
    Require(handler.GetEndCode() != 0);
    return 0;
  }
  Use(font);
  // What has been read can be written and read again, and then stays as it is. Only names that had to be made
  // up may get other numbers, and the lists of them be shorter.
  BSE::CBasicArray<unsigned char> written;
  if (!Write(font, written))
    return 0;
  CFF::CCFF again(&handler);
  Require(Read(again, written) && again.GetGlyphCount() == font.GetGlyphCount());
  for (int i = 0; i < 256; ++i)
    Require(again.GetEncodedGlyph(i) == font.GetEncodedGlyph(i));
  BSE::CBasicArray<unsigned char> twice;
  Require(Write(again, twice) && twice.GetSize() <= written.GetSize());

  BSE::CBasicArray<unsigned char> used;
  used.SetSize(font.GetGlyphCount());
  for (int i = 0; i < used.GetSize(); ++i)
    used[i] = static_cast<unsigned char>((i % 8 == 0 ? pData[1] : pData[1] >> i % 8) & 1);
  if ((pData[0] & 1) != 0)
    again.DuplicateGlyph(pData[1], pData[1], nullptr);
  if ((pData[0] & 2) != 0)
    again.MakeCIDKeyed(used);
  if (again.CloseGlyphs(used))
    again.Subset(used, (pData[0] >> 2) & 7);
  font.Merge(again, (pData[0] >> 2) & 15);
  if ((pData[0] & 64) != 0)
    again.DropUnusedSubrs();
  Use(again);
  for (const CFF::CCFF* pResult : {&again, &font})
  {
    CFF::CCFF result(&handler);
    Require(!Write(*pResult, written) || Read(result, written));
  }
  return 0;
}
