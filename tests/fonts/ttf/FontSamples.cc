#include "tests/fonts/ttf/FontSamples.h"

namespace Fonts
{

bool ReadFont(TTF::CTTF& font, const CBytes& data, const char* szName)
{
  return font.Read(ToArray(data), szName, true);
}

CBytes WriteFont(TTF::CTTF& font)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  return font.Write(*pStream) ? TakeBytes(*pStream) : CBytes();
}

void Put16(CBytes& bytes, unsigned n)
{
  bytes.push_back(static_cast<unsigned char>(n >> 8));
  bytes.push_back(static_cast<unsigned char>(n));
}

void Put32(CBytes& bytes, std::uint32_t n)
{
  Put16(bytes, n >> 16);
  Put16(bytes, n & 0xFFFF);
}

void Set16(CBytes& bytes, std::size_t nOffset, unsigned n)
{
  bytes[nOffset] = static_cast<unsigned char>(n >> 8);
  bytes[nOffset + 1] = static_cast<unsigned char>(n);
}

CBytes MakeSquare(int nSize)
{
  CBytes glyph;
  const auto n = static_cast<unsigned>(nSize);
  for (const unsigned nValue : {1U, 0U, 0U, n, n, 3U, 0U})
    Put16(glyph, nValue);
  glyph.insert(glyph.end(), {1 | 8, 3});  // four points on the curve
  for (const unsigned nValue : {0U, n, 0U, 0x10000U - n, 0U, 0U, n, 0U})
    Put16(glyph, nValue);
  return glyph;
}

CBytes MakeComposite(const std::vector<int>& components)
{
  CBytes glyph;
  for (const unsigned nValue : {0xFFFFU, 0U, 0U, 500U, 500U})
    Put16(glyph, nValue);
  for (std::size_t i = 0; i < components.size(); ++i)
  {
    Put16(glyph, i + 1 < components.size() ? 0x22U : 0x02U);
    Put16(glyph, static_cast<unsigned>(components[i]));
    Put16(glyph, 0x0A05);
  }
  return glyph;
}

TFontBuilder::TFontBuilder(const std::vector<CBytes>& glyphs)
{
  CBytes glyf;
  CBytes loca;
  CBytes hmtx;
  for (const CBytes& glyph : glyphs)
  {
    Put32(loca, static_cast<std::uint32_t>(glyf.size()));
    glyf.insert(glyf.end(), glyph.begin(), glyph.end());
    Put32(hmtx, 600U << 16);
  }
  Put32(loca, static_cast<std::uint32_t>(glyf.size()));
  CBytes head(54);
  Set16(head, 0, 1);
  Set16(head, 12, 0x5F0F);
  Set16(head, 14, 0x3CF5);
  Set16(head, 18, 1000);
  Set16(head, 50, 1);
  CBytes hhea(36);
  Set16(hhea, 34, static_cast<unsigned>(glyphs.size()));
  CBytes maxp(32);
  Set16(maxp, 0, 1);
  Set16(maxp, 4, static_cast<unsigned>(glyphs.size()));
  m_tables = {{"glyf", glyf}, {"head", head}, {"hhea", hhea}, {"hmtx", hmtx}, {"loca", loca}, {"maxp", maxp}};
}

CBytes& TFontBuilder::operator[](const std::string& sTag)
{
  for (auto& [sName, bytes] : m_tables)
    if (sName == sTag)
      return bytes;
  return m_tables.emplace_back(sTag, CBytes()).second;
}

CBytes TFontBuilder::Build() const
{
  CBytes file;
  Put32(file, 0x00010000);
  Put16(file, static_cast<unsigned>(m_tables.size()));
  file.resize(12);
  std::size_t nOffset = 12 + 16 * m_tables.size();
  for (const auto& [sTag, bytes] : m_tables)
  {
    file.insert(file.end(), sTag.begin(), sTag.end());
    Put32(file, 0);
    Put32(file, static_cast<std::uint32_t>(nOffset));
    Put32(file, static_cast<std::uint32_t>(bytes.size()));
    nOffset += bytes.size();
  }
  for (const auto& [sTag, bytes] : m_tables)
    file.insert(file.end(), bytes.begin(), bytes.end());
  return file;
}

}  // namespace Fonts
