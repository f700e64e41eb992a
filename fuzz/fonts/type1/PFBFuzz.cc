// A Type 1 font, which is read, drawn, closed, subset, merged, converted and written; the first two bytes
// choose the glyphs and what is done.

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "fonts/cff/Type1Conversion.h"

#include <cstdlib>

namespace
{

void Require(bool b)
{
  if (!b)
    std::abort();
}

template <class TFont>
bool Write(TFont& font, BSE::CBasicArray<unsigned char>& data)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  data.RemoveAll();
  return font.Write(*pStream) && pStream->Rewind() && pStream->ReadToArray(data);
}

template <class TFont>
bool Read(TFont& font, const BSE::CBasicArray<unsigned char>& data)
{
  BSE::CBasicArray<unsigned char> copy(data);
  return font.Read(std::move(copy), "");
}

void Use(PFB::CPFB& font)
{
  FONT::CGlyph glyph;
  for (int i = 0; i < std::min(font.GetGlyphCount(), 100); ++i)
    font.GetGlyph(i, glyph);
}

void Convert(PFB::CPFB& font)
{
  CFF::CCFF made;
  BSE::CBasicArray<unsigned char> data;
  if (!CFF::CType1ToType2Converter(made, font).Convert() || !Write(made, data))
    return;
  CFF::CCFF cff;
  Require(Read(cff, data) && cff.GetGlyphCount() == font.GetGlyphCount());
  PFB::CPFB back;
  if (!CFF::CType2ToType1Converter(back, cff).Convert())
    return;
  Require(Write(back, data));
  PFB::CPFB again;
  Require(Read(again, data) && again.GetGlyphCount() == font.GetGlyphCount());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 2 || nSize > 1 << 16)
    return 0;
  BSE::CErrorHandler handler;
  PFB::CPFB font(&handler);
  BSE::CBasicArray<unsigned char> data;
  data.Append({pData + 2, nSize - 2});
  if (!Read(font, data))
  {
    Require(handler.GetEndCode() != 0);
    return 0;
  }
  Use(font);
  Convert(font);
  BSE::CBasicArray<unsigned char> written;
  if (!Write(font, written))
    return 0;
  PFB::CPFB again(&handler);
  if (!Read(again, written))
    return 0;
  BSE::CBasicArray<unsigned char> used;
  used.SetSize(again.GetGlyphCount());
  for (int i = 0; i < used.GetSize(); ++i)
    used[i] = static_cast<unsigned char>((i % 8 == 0 ? pData[1] : pData[1] >> i % 8) & 1);
  if ((pData[0] & 1) != 0)
    again.DuplicateGlyph(pData[1], pData[1], nullptr);
  if (again.CloseGlyphs(used))
    again.Subset(used);
  font.Merge(again, (pData[0] & 2) != 0);
  Use(again);
  Write(again, written);
  Write(font, written);
  return 0;
}
