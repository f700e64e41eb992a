// Where the frame and the fonts have text, against where mutool has it: the origins of the glyphs of the
// first pages of each file.

#include "fonts/pdf/FontRegistry.h"
#include "tests/content/ContentPages.h"

#include <cmath>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using PDF::CObjectPtr;

constexpr int g_nPages = 3;
constexpr double g_dTolerance = 0.01;

// A font with widths in whole thousandths, as mutool counts, but for those of Type 3 fonts.
class CRoundedFont : public BSE::CObject, public PDF::IContentFont
{
public:
  explicit CRoundedFont(const BSE::CObjectPtr<PDF::CFont>& pFont) : m_pFont(pFont)
  {
    for (const double dWidth : pFont->GetWidths())
      m_widths.push_back(Round(dWidth));
  }
  bool IsValid() const override { return true; }
  bool IsComposite() const override { return m_pFont->IsComposite(); }
  bool IsVertical() const override { return m_pFont->IsVertical(); }
  double GetGlyphSpaceFactor() const override { return m_pFont->GetGlyphSpaceFactor(); }
  double GetSpaceWidth() const override { return m_pFont->GetSpaceWidth(); }
  double GetDefaultVerticalWidth() const override { return m_pFont->GetDefaultVerticalWidth(); }
  std::span<const double> GetWidths() const override { return m_widths; }
  int CodeToCID(unsigned nCode) const override { return m_pFont->CodeToCID(nCode); }
  int Code2ToCID(unsigned nCode) const override { return m_pFont->Code2ToCID(nCode); }
  int LongCodeToCID(unsigned nCode, int nLength) const override
  {
    return m_pFont->LongCodeToCID(nCode, nLength);
  }
  double GetWidth(int nCID) const override { return Round(m_pFont->GetWidth(nCID)); }
  double GetVerticalWidth(int nCID) const override { return m_pFont->GetVerticalWidth(nCID); }

  // Of writing to the right, from that of writing downwards.
  PDF::TVerticalMetrics GetOrigin(int nCID) const { return m_pFont->GetVerticalMetrics(nCID); }

private:
  double Round(double dWidth) const { return m_pFont->IsType3() ? dWidth : std::floor(dWidth + 0.5); }

  BSE::CObjectPtr<PDF::CFont> m_pFont;
  std::vector<double> m_widths;
};

class CRoundedFonts : public PDF::IContentResources
{
public:
  explicit CRoundedFonts(PDF::CDocument& document) : m_registry(document) {}
  BSE::CObjectPtr<PDF::IContentFont> CreateFont(const CObjectPtr& font) override
  {
    const BSE::CObjectPtr<PDF::CFont> pFont = m_registry.CreateFont(font);
    return pFont ? new CRoundedFont(pFont) : nullptr;
  }
  BSE::CObjectPtr<PDF::IContentFont> GetDefaultFont() override
  {
    return new CRoundedFont(m_registry.GetDefaultFont());
  }
  BSE::CObjectPtr<PDF::IContentColorSpace> CreateColorSpace(const CObjectPtr&) override { return nullptr; }

private:
  PDF::CFontRegistry m_registry;
};

struct TPoint
{
  double m_dX;
  double m_dY;
};

// Collects origins of glyphs, in the space of the page with its rotation.
class CGlyphCollector : public PDF::CContentParser
{
public:
  CGlyphCollector(PDF::CContentEnvironment& environment, const BSE::CObjectPtr<PDF::CContentStream>& pStream,
                  const PDF::TRectangle& box, int nRotation, std::vector<TPoint>& points)
      : CContentParser(environment, pStream, box, nRotation, nullptr), m_points(points)
  {
  }
  BSE::CScopedPtr<PDF::CContentParser> CreateParser(const BSE::CObjectPtr<PDF::CContentStream>& pStream,
                                                    const PDF::TRectangle& box, int nRotation) override
  {
    return BSE::CScopedPtr<PDF::CContentParser>(
        new CGlyphCollector(GetEnvironment(), pStream, box, nRotation, m_points));
  }
  void ShowText(std::span<const unsigned char> text) override
  {
    const PDF::TTextState& state = GetState().m_text;
    const auto* pFont = dynamic_cast<const CRoundedFont*>(state.m_pFont.Get());
    PDF::TMatrix matrix = GetState().m_textMatrix;
    for (PDF::CTextWalker walker(state, text); pFont && walker.Next();)
    {
      PDF::TMatrix place = matrix;
      place.Translate(0, state.m_dRise);
      if (state.m_bVertical)
      {
        // There a character written downwards has the far end of its displacement.
        const PDF::TVerticalMetrics origin = pFont->GetOrigin(walker.GetCID());
        const double dSize = 0.001 * state.m_dSize;
        place.Translate(-origin.m_dX * dSize * state.m_dScale, -(origin.m_dY + origin.m_dMove) * dSize);
      }
      place = place * GetCTM();
      if (walker.GetCode() != 32 && state.m_dSize != 0)
        m_points.push_back({place.m_dE, place.m_dF});
      matrix.Translate(walker.GetMoveX(), walker.GetMoveY());
    }
    CContentParser::ShowText(text);
  }

private:
  std::vector<TPoint>& m_points;
};

using TCells = std::multimap<std::pair<long, long>, TPoint>;

std::pair<long, long> GetCell(double dX, double dY)
{
  return {std::lround(dX * 10), std::lround(dY * 10)};
}

// The characters of one page of mutool's structured text.
TCells ReadCharacters(const std::string& sPage)
{
  TCells cells;
  for (std::size_t nPos = sPage.find("<char "); nPos != std::string::npos;
       nPos = sPage.find("<char ", nPos + 1))
  {
    TPoint point{};
    const std::size_t nPlace = sPage.find("\" x=\"", nPos);
    if (nPlace != std::string::npos &&
        std::sscanf(sPage.c_str() + nPlace, "\" x=\"%lf\" y=\"%lf\"", &point.m_dX, &point.m_dY) == 2)
      cells.emplace(GetCell(point.m_dX, point.m_dY), point);
  }
  return cells;
}

bool IsThere(const TCells& cells, const TPoint& point)
{
  const auto [nX, nY] = GetCell(point.m_dX, point.m_dY);
  for (long x = nX - 1; x <= nX + 1; ++x)
    for (long y = nY - 1; y <= nY + 1; ++y)
      for (auto [it, end] = cells.equal_range({x, y}); it != end; ++it)
        if (std::abs(it->second.m_dX - point.m_dX) <= g_dTolerance &&
            std::abs(it->second.m_dY - point.m_dY) <= g_dTolerance)
          return true;
  return false;
}

std::vector<TPoint> Collect(PDF::CDocument& document, int nPage)
{
  std::vector<TPoint> points;
  CRoundedFonts fonts(document);
  PDF::CContentEnvironment environment(document, &fonts);
  const PDF::CPage page = document.GetPage(nPage);
  PDF::CParserContext context(environment, page.GetResources(), nullptr);
  const BSE::CObjectPtr<PDF::CContentStream> pStream(
      new PDF::CContentStream(page.FindInherited("Contents"), &environment.GetAccount()));
  const PDF::TRectangle box = page.GetCropBox();
  CGlyphCollector parser(environment, pStream, box, page.GetRotate(), points);
  parser.Parse(&context, false);
  const bool bTurned = page.GetRotate() % 180 != 0;
  for (TPoint& point : points)
    point.m_dY = (bTurned ? box.GetWidth() : box.GetHeight()) - point.m_dY;
  return points;
}

bool IsOnPage(const PDF::CPage& page, const TPoint& point)
{
  const PDF::TRectangle box = page.GetCropBox();
  const bool bTurned = page.GetRotate() % 180 != 0;
  return point.m_dX >= 0 && point.m_dX <= (bTurned ? box.GetHeight() : box.GetWidth()) && point.m_dY >= 0 &&
         point.m_dY <= (bTurned ? box.GetWidth() : box.GetHeight());
}

// Glyphs that mutool has elsewhere, or not at all: it cuts widths of Type 3 fonts to whole thousandths after
// it has scaled them, so that 0.8 becomes 0.799; and it leaves some spaces out that have another code
// than 32.
std::size_t CountKnown(const std::string& sName)
{
  static const std::map<std::string, std::size_t> known = {{"pdfminer-2b.pdf", 27},
                                                           {"pdfjs-smaskdim.pdf", 5}};
  const auto it = known.find(sName);
  return it == known.end() ? 0 : it->second;
}

TEST(TextPositions, AgreeWithMutool)
{
  if (!fs::is_directory(Support::GetCorpus() / "real") || !Support::HasProgram("mutool"))
    GTEST_SKIP() << "needs mutool and a folder of documents in BREVEX_CORPUS";
  std::size_t nAll = 0;
  Content::ForEachDocument(
      "real",
      [&](const fs::path& path, const std::string& sPassword, PDF::CDocument& document)
      {
        const std::string sOut = Support::RunProgram({"mutool", "draw", "-q", "-p", sPassword, "-F", "stext",
                                                      "-o", "-", path, "1-" + std::to_string(g_nPages)})
                                     .sOut;
        std::size_t nPos = 0;
        std::size_t nMissing = 0;
        std::size_t nPoints = 0;
        for (int i = 0; i < std::min(g_nPages, document.GetPageCount()); ++i)
        {
          nPos = sOut.find("<page ", nPos);
          if (nPos == std::string::npos)
            break;
          const std::size_t nEnd = sOut.find("</page>", nPos);
          const TCells cells = ReadCharacters(sOut.substr(nPos, nEnd - nPos));
          const PDF::CPage page = document.GetPage(i);
          for (const TPoint& point : Collect(document, i))
          {
            // What is beside the page is left out there.
            if (!IsOnPage(page, point))
              continue;
            ++nPoints;
            if (!IsThere(cells, point))
            {
              ++nMissing;
              if (nMissing <= 3)
                std::printf("%s page %d: %.4f %.4f\n", path.filename().c_str(), i + 1, point.m_dX,
                            point.m_dY);
            }
          }
          nPos = nEnd;
        }
        nAll += nPoints;
        EXPECT_EQ(nMissing, CountKnown(path.filename().string())) << path.filename() << " of " << nPoints;
      });
  std::printf("%zu glyphs\n", nAll);
  EXPECT_GT(nAll, 0U);
}

}  // namespace
