#include "fonts/installed/InternalFonts.h"

#include "base/BufferStream.h"
#include "fonts/installed/FontFile.h"

namespace PDF
{

namespace
{

constexpr char g_dingbats[] =
#include "fonts/installed/Dingbats.inc"
    ;

}  // namespace

BSE::CObjectPtr<CInstalledFont> MakeInternalDingbats()
{
  const std::span data(reinterpret_cast<const unsigned char*>(g_dingbats), sizeof g_dingbats - 1);
  // Only read from.
  BSE::CBufferStream stream(const_cast<unsigned char*>(data.data()), static_cast<std::int64_t>(data.size()));
  BSE::CObjectArray<CInstalledFont> fonts;
  if (CFontFileReader(stream, "").Read(fonts) != 1)
    return nullptr;
  BSE::CObjectPtr<CInstalledFont> pFont(fonts[0]);
  pFont->m_data = data;
  pFont->m_bSymbol = 1;
  pFont->AddCoverage(CFontCharacteristics::g_nNeedsDingbats);
  return pFont;
}

}  // namespace PDF
