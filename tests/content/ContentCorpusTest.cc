// All content of the files from the field: pages with their forms, tiling patterns, glyphs of Type 3 fonts
// and appearances. That of sound files has to be parsed without a report that their content does not deserve.

#include "content/StatusCodes.h"
#include "tests/content/ContentPages.h"

#include <gmock/gmock.h>

namespace
{

namespace fs = std::filesystem;
using PDF::CObjectPtr;

struct TCounts
{
  int m_nStreams = 0;
  int m_nOperators = 0;
  int m_nImages = 0;
  int m_nDamaged = 0;
};

class CCounter : public PDF::CContentParser
{
public:
  CCounter(PDF::CContentEnvironment& environment, const BSE::CObjectPtr<PDF::CContentStream>& pStream,
           const PDF::TRectangle& box, BSE::IErrorContext* pErrorContext, TCounts& counts)
      : CContentParser(environment, pStream, box, 0, pErrorContext), m_counts(counts)
  {
  }
  BSE::CScopedPtr<PDF::CContentParser> CreateParser(const BSE::CObjectPtr<PDF::CContentStream>& pStream,
                                                    const PDF::TRectangle& box, int) override
  {
    return BSE::CScopedPtr<PDF::CContentParser>(
        new CCounter(GetEnvironment(), pStream, box, GetParent(), m_counts));
  }
  bool Parse(PDF::CParserContext* pContext, bool bCompatible) override
  {
    ++m_counts.m_nStreams;
    return CContentParser::Parse(pContext, bCompatible);
  }
  int ExecuteOperator(int nOperator) override
  {
    ++m_counts.m_nOperators;
    return CContentParser::ExecuteOperator(nOperator);
  }
  void InlineImage(const PDF::TInlineImage& image) override
  {
    ++m_counts.m_nImages;
    m_counts.m_nDamaged += image.m_bDamaged ? 1 : 0;
  }

private:
  TCounts& m_counts;
};

// The content of one document, wherever it is.
class CWalk
{
public:
  CWalk(PDF::CDocument& document, Content::CCorpusReports& reports, TCounts& counts)
      : m_environment(document), m_reports(reports), m_counts(counts)
  {
  }

  void Run()
  {
    PDF::CDocument& document = m_environment.GetDocument();
    for (int i = 0; i < document.GetPageCount(); ++i)
    {
      const PDF::CPage page = document.GetPage(i);
      const PDF::CResources resources = page.GetResources();
      Parse(page.FindInherited("Contents"), resources, page.GetCropBox());
      const CObjectPtr annots = page["Annots"];
      for (int n = 0; n < annots.GetSize(); ++n)
        ParseAppearance(annots[n]["AP"]["N"]);
      ParseParts(resources);
    }
  }

private:
  void Parse(const CObjectPtr& contents, const CObjectPtr& resources, const PDF::TRectangle& box)
  {
    if (!contents)
      return;
    const BSE::CObjectPtr<PDF::CContentStream> pStream(
        new PDF::CContentStream(contents, &m_environment.GetAccount()));
    PDF::CParserContext context(m_environment, resources, nullptr);
    CCounter parser(m_environment, pStream, box, &m_reports, m_counts);
    EXPECT_TRUE(parser.Parse(&context, false) || !m_reports.m_codes.empty() || !pStream->IsValid());
  }
  void ParseAppearance(const CObjectPtr& appearance)
  {
    if (appearance.IsStream())
      return ParseOnce(appearance, CObjectPtr());
    for (int i = appearance.GetBegin(); appearance.IsDictionary() && i != appearance.GetEnd();
         i = appearance.GetNext(i))
      if (appearance.GetValue(i).IsStream())
        ParseOnce(appearance.GetValue(i), CObjectPtr());
  }
  void ParseOnce(const CObjectPtr& stream, const CObjectPtr& resources)
  {
    if (!m_visited.insert(stream.GetObjNumber()).second)
      return;
    const CObjectPtr own = stream["Resources"];
    Parse(stream, own.IsDictionary() ? own : resources, {});
  }
  void ParseParts(const PDF::CResources& resources)
  {
    const CObjectPtr patterns = resources.GetCategory("Pattern");
    for (int i = patterns.GetBegin(); i != patterns.GetEnd(); i = patterns.GetNext(i))
      if (patterns.GetValue(i).IsStream())
        ParseOnce(patterns.GetValue(i), resources);
    const CObjectPtr fonts = resources.GetCategory("Font");
    for (int i = fonts.GetBegin(); i != fonts.GetEnd(); i = fonts.GetNext(i))
    {
      const CObjectPtr glyphs = fonts.GetValue(i)["CharProcs"];
      const CObjectPtr own = fonts.GetValue(i)["Resources"];
      for (int n = glyphs.GetBegin(); glyphs && n != glyphs.GetEnd(); n = glyphs.GetNext(n))
        ParseOnce(glyphs.GetValue(n), own.IsDictionary() ? own : CObjectPtr(resources));
    }
  }

  PDF::CContentEnvironment m_environment;
  Content::CCorpusReports& m_reports;
  TCounts& m_counts;
  std::set<int> m_visited;
};

// Notes are not counted: an empty path is painted in some. The glyphs of one Type 3 font have no resources of
// their own, and not all pages that name the font have those that they need.
bool IsUnexpected(const fs::path& path, unsigned nCode)
{
  return BSE::GetCodeSeverity(nCode) > 0 &&
         !(path.filename() == "pdfjs-pr4922.pdf" && nCode == PDF::g_nFontUnknown);
}

TEST(ContentCorpus, SoundFilesAreParsedWithoutAReport)
{
  if (!fs::is_directory(Support::GetCorpus() / "real"))
    GTEST_SKIP() << "needs a folder of documents in BREVEX_CORPUS";
  TCounts counts;
  Content::ForEachDocument("real",
                           [&](const fs::path& path, const std::string&, PDF::CDocument& document)
                           {
                             Content::CCorpusReports reports;
                             CWalk(document, reports, counts).Run();
                             for (const unsigned nCode : reports.m_codes)
                               if (IsUnexpected(path, nCode))
                                 ADD_FAILURE() << path.filename() << " " << std::hex << nCode;
                           });
  EXPECT_EQ(counts.m_nDamaged, 0);
  std::printf("%d streams, %d operators, %d inline images\n", counts.m_nStreams, counts.m_nOperators,
              counts.m_nImages);
}

TEST(ContentCorpus, DamagedFilesAreSurvived)
{
  if (!fs::is_directory(Support::GetCorpus() / "damaged"))
    GTEST_SKIP() << "needs a folder of documents in BREVEX_CORPUS";
  TCounts counts;
  Content::ForEachDocument("damaged",
                           [&](const fs::path&, const std::string&, PDF::CDocument& document)
                           {
                             Content::CCorpusReports reports;
                             CWalk(document, reports, counts).Run();
                           });
}

}  // namespace
