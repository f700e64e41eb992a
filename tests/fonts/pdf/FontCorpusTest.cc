// The fonts of real documents by the text that is shown in them. Widths in dictionaries are those of the
// glyphs that codes lead to, and differ where a code leads to another glyph; what is used stays as it is in a
// subset.

#include "base/MemoryStream.h"
#include "fonts/pdf/FontRegistry.h"
#include "tests/content/ContentPages.h"

#include <cmath>

namespace
{

constexpr int g_nPages = 5;

// Thousandths: dictionaries have whole ones, and some are made of other units.
constexpr double g_dTolerance = 3;

// Marks the characters that are shown.
class CMarkingParser : public PDF::CContentParser
{
public:
  using CContentParser::CContentParser;
  BSE::CScopedPtr<PDF::CContentParser> CreateParser(const BSE::CObjectPtr<PDF::CContentStream>& pStream,
                                                    const PDF::TRectangle& box, int nRotation) override
  {
    return BSE::CScopedPtr<PDF::CContentParser>(
        new CMarkingParser(GetEnvironment(), pStream, box, nRotation, nullptr));
  }
  void ShowText(std::span<const unsigned char> text) override
  {
    auto* pFont = dynamic_cast<PDF::CFont*>(GetState().m_text.m_pFont.Get());
    for (PDF::CTextWalker walker(GetState().m_text, text); pFont && walker.Next();)
      if (pFont->GrowUsedChars(walker.GetCID() + 1))
        pFont->GetUsedChars()[static_cast<std::size_t>(walker.GetCID())] = 1;
    CContentParser::ShowText(text);
  }
};

class CResources : public PDF::CFontResources
{
public:
  using CFontResources::CFontResources;
  BSE::CObjectPtr<PDF::IContentColorSpace> CreateColorSpace(const PDF::CObjectPtr&) override
  {
    return nullptr;
  }
};

void MarkPages(PDF::CDocument& document, PDF::CFontRegistry& fonts)
{
  CResources resources(fonts);
  PDF::CContentEnvironment environment(document, &resources);
  for (int i = 0; i < std::min(g_nPages, document.GetPageCount()); ++i)
  {
    const PDF::CPage page = document.GetPage(i);
    PDF::CParserContext context(environment, page.GetResources(), nullptr);
    const BSE::CObjectPtr<PDF::CContentStream> pStream(
        new PDF::CContentStream(page.FindInherited("Contents"), &environment.GetAccount()));
    CMarkingParser parser(environment, pStream, page.GetCropBox(), 0, nullptr);
    parser.Parse(&context, false);
  }
}

// Calls fnVisit(character, glyph) for the characters that are used.
template <class F>
void ForEachGlyph(PDF::CFont& font, F fnVisit)
{
  BSE::CBasicArray<std::uint16_t> map;
  font.GetCodeToGlyphMap(map);
  for (int i = 0; i < font.GetCharCount(); ++i)
    if (font.GetUsedChars()[static_cast<std::size_t>(i)] != 0)
      fnVisit(i, map.IsEmpty() ? i : map[i]);
}

struct TCounts
{
  int m_nFonts = 0;
  int m_nPrograms = 0;
  int m_nCharacters = 0;
  int m_nOther = 0;
  int m_nNone = 0;
};

void CompareWidths(const std::string& sFile, PDF::CFont& font, PDF::CFontProgram& program, TCounts& counts)
{
  int nOther = 0;
  int nNone = 0;
  ForEachGlyph(font,
               [&](int nCharacter, int nGlyph)
               {
                 const bool bOther =
                     std::abs(font.GetWidth(nCharacter) - program.GetWidth(nGlyph)) > g_dTolerance;
                 ++counts.m_nCharacters;
                 // Blanks are often not in the program.
                 (nGlyph == 0 ? nNone : nOther) += bOther ? 1 : 0;
               });
  counts.m_nOther += nOther;
  counts.m_nNone += nNone;
  if (nOther + nNone > 0)
    std::printf("%s: %s, %d others, %d none\n", sFile.c_str(), font.GetBaseName(), nOther, nNone);
}

using CWidths = std::map<std::pair<int, int>, double>;

CWidths CollectWidths(PDF::CFontRegistry& fonts)
{
  CWidths widths;
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (PDF::CFontProgram* pProgram = fonts.GetFont(i)->GetProgram())
      ForEachGlyph(*fonts.GetFont(i),
                   [&](int nCharacter, int nGlyph) {
                     widths[{i, nCharacter}] = pProgram->GetWidth(nGlyph);
                   });
  return widths;
}

// Subsets, writes and reads the programs.
void SubsetPrograms(PDF::CFontRegistry& fonts)
{
  std::map<PDF::CFontFile*, unsigned> usages;
  for (int i = 0; i < fonts.GetFontCount(); ++i)
  {
    PDF::CFont& font = *fonts.GetFont(i);
    PDF::CFontProgram* pProgram = font.GetProgram();
    if (!pProgram)
      continue;
    font.MarkUsedGlyphs(*pProgram);
    usages[font.GetFontFile()] |= font.IsComposite()  ? PDF::g_nUsedByCID
                                  : font.IsSymbolic() ? PDF::g_nUsedSymbolic
                                                      : PDF::g_nUsedNonSymbolic;
  }
  for (const auto& [pFile, nUsage] : usages)
  {
    PDF::CFontProgram& program = *pFile->GetProgram("");
    if (!program.CanSubset())
      continue;
    program.Subset(nUsage);
    const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
    ASSERT_TRUE(program.Write(*pStream, nUsage, nullptr) && pStream->Rewind());
    BSE::CScopedPtr<PDF::CFontProgram> pRead = PDF::CFontProgram::Create(*pStream, "", true, nullptr);
    ASSERT_TRUE(pRead);
    pFile->SetProgram(std::move(pRead));
  }
}

void CheckDocument(const std::string& sFile, PDF::CDocument& document, TCounts& counts)
{
  PDF::CFontRegistry fonts(document);
  MarkPages(document, fonts);
  counts.m_nFonts += fonts.GetFontCount();
  for (int i = 0; i < fonts.GetFontCount(); ++i)
  {
    PDF::CFont& font = *fonts.GetFont(i);
    PDF::CFontProgram* pProgram = font.GetProgram();
    EXPECT_TRUE(pProgram || !font.GetFontFile()) << font.GetBaseName();
    if (!pProgram)
      continue;
    ++counts.m_nPrograms;
    CompareWidths(sFile, font, *pProgram, counts);
  }
  const CWidths before = CollectWidths(fonts);
  SubsetPrograms(fonts);
  const CWidths after = CollectWidths(fonts);
  EXPECT_EQ(before.size(), after.size());
  for (const auto& [place, dWidth] : after)
    EXPECT_NEAR(dWidth, before.at(place), 1e-6) << fonts.GetFont(place.first)->GetBaseName() << place.second;
}

TEST(FontCorpus, CodesLeadToTheirGlyphs)
{
  if (!std::filesystem::is_directory(Support::GetCorpus() / "real"))
    GTEST_SKIP() << "needs a folder of documents in BREVEX_CORPUS";
  TCounts counts;
  Content::ForEachDocument(
      "real", [&](const std::filesystem::path& path, const std::string&, PDF::CDocument& document)
      { CheckDocument(path.filename(), document, counts); });
  std::printf("%d fonts, %d programs, %d characters, %d of another width, %d without a glyph\n",
              counts.m_nFonts, counts.m_nPrograms, counts.m_nCharacters, counts.m_nOther, counts.m_nNone);
  // Some writers give programs other widths.
  EXPECT_LE(counts.m_nOther, counts.m_nCharacters / 100);
}

}  // namespace
