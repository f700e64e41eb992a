// Reads arbitrary bytes as the objects of a document, and asks everything of those that are fonts.

#include "base/BufferedInputStream.h"
#include "base/MemoryStream.h"
#include "document/Document.h"
#include "fonts/pdf/FontRegistry.h"
#include "pdf/DictionaryObject.h"

#include <cstdlib>
#include <string>

namespace
{

constexpr int g_nObjects = 64;

void CheckSimple(PDF::CFont& font)
{
  if (font.GetWidths().size() != 256)
    std::abort();
  for (unsigned i = 0; i < 256; ++i)
  {
    char16_t units[4];
    font.GetToUnicode()->GetUnicode(i, units, 4);
    font.GetCharProc(i);
  }
}

void CheckComposite(PDF::CFont& font)
{
  for (int i = 0; i < 65536; i += i < 64 ? 1 : 999)
  {
    char16_t units[4];
    font.GetWidth(i);
    font.GetVerticalWidth(i);
    font.GetCharacterText(i, units, 4);
  }
  font.GrowUsedChars(300);
}

void CheckProgram(PDF::CFont& font, const PDF::CObjectPtr& target)
{
  PDF::CFontProgram* pProgram = font.GetProgram();
  BSE::CBasicArray<std::uint16_t> map;
  font.GetCodeToGlyphMap(map);
  if (!pProgram)
    return;
  for (const unsigned nCharacter : {1U, 32U, 65U})
    font.GetUsedChars()[nCharacter] = 1;
  font.MarkUsedGlyphs(*pProgram);
  FONT::CGlyph outline;
  for (int i = 0; i < std::min(pProgram->GetGlyphCount(), 20); ++i)
  {
    pProgram->GetUnicodeName(i);
    pProgram->GetWidth(i);
    pProgram->GetOutline(i, outline);
  }
  pProgram->ToCFF();
  pProgram->ToBareCFF();
  if (pProgram->CanSubset())
    pProgram->Subset(font.IsComposite() ? PDF::g_nUsedByCID : PDF::g_nUsedNonSymbolic);
  font.GetFontFile()->WriteProgram(*pProgram, font.IsComposite(), PDF::g_nUsedByCID, "FlateDecode", target);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* pData, std::size_t nSize)
{
  const std::string sPdf = "%PDF-1.7\n1 0 obj<</Type/Catalog>>endobj\n" +
                           std::string(reinterpret_cast<const char*>(pData), nSize) +
                           "\ntrailer<</Root 1 0 R>>\n";
  PDF::CDocument document(nullptr);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
  if (!document.Open(pInput.Get(), nullptr))
    return 0;
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  PDF::CDocument output(nullptr);
  if (!output.Create(pOutput.Get(), PDF::CString("0123456789abcdef"), false, false))
    return 0;
  const PDF::CObjectPtr target = output.GetFile().NewObject(1, 0, PDF::g_nGroupDirect);
  target->SetValueObject(new PDF::CDictionaryObject);
  PDF::CFontRegistry fonts(document);
  for (int i = 2; i < g_nObjects; ++i)
  {
    const auto pFont = fonts.CreateFont(document.GetFile().GetObject(i, 0));
    if (!pFont)
      continue;
    if (pFont != fonts.CreateFont(document.GetFile().GetObject(i, 0)))
      std::abort();
    pFont->IsSymbolic();
    pFont->GetName();
    pFont->GetSpaceWidth();
    pFont->GetFontBBox();
    if (pFont->IsComposite())
      CheckComposite(*pFont);
    else
      CheckSimple(*pFont);
    CheckProgram(*pFont, target);
  }
  return 0;
}
