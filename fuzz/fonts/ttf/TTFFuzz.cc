// A font file, which is read, drawn, subset and written; the first two bytes choose the glyphs and what is
// kept.

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "fonts/ttf/OTF.h"

#include <cstdlib>
#include <vector>

namespace
{

void Require(bool b)
{
  if (!b)
    std::abort();
}

std::vector<unsigned char> Write(OTF::COTF& font)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  Require(font.Write(*pStream) && pStream->Rewind());
  std::vector<unsigned char> data(static_cast<std::size_t>(pStream->GetLength()));
  Require(pStream->ReadFully(data.data(), pStream->GetLength()) == pStream->GetLength());
  return data;
}

bool Read(OTF::COTF& font, std::span<const unsigned char> data)
{
  BSE::CBasicArray<unsigned char> bytes;
  bytes.Append(data);
  return font.Read(std::move(bytes), "", true);
}

void Use(OTF::COTF& font)
{
  TTF::COutline outline;
  for (int i = 0; i < std::min(font.GetGlyphCount(), 200); ++i)
  {
    font.GetOutline(i, outline);
    font.GetHmtx().GetBearing(i);
    font.GetVmtx().GetAdvance(i);
    font.GetPost().GetGlyphName(i);
    if (font.ReadOrigins())
      font.GetVORG().GetOrigin(i);
  }
  BSE::CBasicArray<TTF::TMapping> mappings;
  for (int i = 0; i < std::min(font.GetCMap().GetSubtableCount(), 4); ++i)
  {
    font.GetCMap().GetMappings(i, 0xFFFF, font.GetGlyphCount(), mappings);
    for (int n = 0; n < std::min(mappings.GetSize(), 100); ++n)
      font.GetCMap().GetGlyph(i, mappings[n].m_nCode);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 2 || nSize > 1 << 16)
    return 0;
  BSE::CErrorHandler handler;
  OTF::COTF font(&handler);
  const std::span<const unsigned char> data(pData + 2, nSize - 2);
  if (!Read(font, data))
  {
    Require(handler.GetEndCode() != 0);
    return 0;
  }
  // A few bytes can say that there are many glyphs, which takes time but shows nothing more.
  if (font.GetGlyphCount() > 1 << 12)
    return 0;
  Use(font);
  // What has been repaired once is sound, and small files do not make large ones.
  const std::vector<unsigned char> written = Write(font);
  Require(written.size() <= 16 * data.size() + (1 << 20));
  OTF::COTF again(&handler);
  Require(Read(again, written) && again.GetGlyphCount() == font.GetGlyphCount());
  for (int i = 0; i < font.GetGlyphCount(); ++i)
    Require(font.GetGlyph(i).size() == again.GetGlyph(i).size());

  if ((pData[0] & 2) != 0)
    again.ConvertCMap((pData[0] & 4) != 0);
  BSE::CBasicArray<unsigned char> used;
  used.SetSize(font.GetGlyphCount());
  for (int i = 0; i < used.GetSize(); ++i)
    used[i] = static_cast<unsigned char>((i % 8 == 0 ? pData[1] : pData[1] >> i % 8) & 1);
  Require(again.Subset(used) == again.HasGlyphData());
  if ((pData[0] & 8) != 0)
    again.ClearMetrics(used);
  again.DropUnneeded((pData[0] & 1) != 0);
  OTF::COTF subset(&handler);
  Require(Read(subset, Write(again)));
  return 0;
}
