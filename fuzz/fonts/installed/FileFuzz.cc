// A font file: what the catalogue reads of it, and a static instance of it as a variable font.

#include "base/MemoryStream.h"
#include "fonts/installed/FontFile.h"
#include "fonts/installed/VariableFont.h"

#include <cmath>
#include <cstdlib>

namespace
{

void Require(bool b)
{
  if (!b)
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pInput(
      new BSE::CMemoryStream(pData, static_cast<std::int64_t>(nSize)));
  BSE::CObjectArray<PDF::CInstalledFont> fonts;
  Require(PDF::CFontFileReader(*pInput, "font").Read(fonts) == fonts.GetSize());
  for (int i = 0; i < fonts.GetSize(); ++i)
  {
    Require(!fonts[i]->m_sName.IsEmpty() && fonts[i]->m_sName.GetLength() < 256);
    Require(std::isfinite(fonts[i]->GetDistance(*fonts[0])));
  }
  PDF::CVariableFont variable;
  double dWeight = 700;
  double dWidth = 50;
  if (!variable.Open({pData, nSize}, 0) || !variable.SetAxes(dWeight, dWidth))
    return 0;
  FONT::CGlyph glyph;
  for (const char32_t nCharacter : {U'\0', U'A', U'B'})
    variable.GetOutline(variable.GetGlyph(nCharacter), glyph);
  return 0;
}
