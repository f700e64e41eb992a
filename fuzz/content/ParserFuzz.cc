// Parses arbitrary bytes as the content of a page whose form draws the same bytes, in parts that are cut
// anywhere. What is parsed twice gives the same calls; whatever is dropped is reported.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "content/ContentColorSpace.h"
#include "content/ContentParser.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

class CFont : public BSE::CObject, public PDF::IContentFont
{
public:
  explicit CFont(bool bComposite) : m_bComposite(bComposite) {}
  bool IsValid() const override { return true; }
  bool IsComposite() const override { return m_bComposite; }
  bool IsVertical() const override { return m_bComposite; }
  double GetGlyphSpaceFactor() const override { return 0.001; }
  double GetSpaceWidth() const override { return 250; }
  double GetDefaultVerticalWidth() const override { return -1000; }
  std::span<const double> GetWidths() const override { return {}; }
  int CodeToCID(unsigned nCode) const override { return nCode < 128 ? 1 : PDF::g_nNoCID; }
  int Code2ToCID(unsigned nCode) const override { return static_cast<int>(nCode); }
  double GetWidth(int) const override { return 500; }
  double GetVerticalWidth(int) const override { return -500; }

private:
  bool m_bComposite;
};

class CResources : public PDF::CContentColorResources
{
public:
  using CContentColorResources::CContentColorResources;
  BSE::CObjectPtr<PDF::IContentFont> CreateFont(const PDF::CObjectPtr& font) override
  {
    return new CFont(font["C"].IsNumber());
  }
  BSE::CObjectPtr<PDF::IContentFont> GetDefaultFont() override { return nullptr; }
};

// Counts what it sees, and looks at all that it is given.
class CCounter : public PDF::CContentParser
{
public:
  CCounter(PDF::CContentEnvironment& environment, const BSE::CObjectPtr<PDF::CContentStream>& pStream,
           BSE::IErrorContext* pErrorContext, unsigned& nSum)
      : CContentParser(environment, pStream, {0, 0, 100, 100}, 90, pErrorContext), m_nSum(nSum)
  {
  }
  BSE::CScopedPtr<PDF::CContentParser> CreateParser(const BSE::CObjectPtr<PDF::CContentStream>& pStream,
                                                    const PDF::TRectangle&, int) override
  {
    return BSE::CScopedPtr<PDF::CContentParser>(new CCounter(GetEnvironment(), pStream, GetParent(), m_nSum));
  }
  int ExecuteOperator(int nOperator) override
  {
    m_nSum = m_nSum * 31 + static_cast<unsigned>(nOperator);
    const auto nOperands = static_cast<int>(GetOperands().size());
    const int nConsumed = CContentParser::ExecuteOperator(nOperator);
    if (nConsumed > nOperands)
      std::abort();
    return nConsumed;
  }
  void ShowText(std::span<const unsigned char> text) override
  {
    for (const unsigned char c : text)
      m_nSum = m_nSum * 31 + c;
    CContentParser::ShowText(text);
  }
  void BeginMarkedContent(const char* szTag, std::span<const PDF::TOperand> properties) override
  {
    m_nSum +=
        static_cast<unsigned>(FindProperties(properties).GetSize()) + static_cast<unsigned char>(*szTag);
    CContentParser::BeginMarkedContent(szTag, properties);
  }
  void InlineImage(const PDF::TInlineImage& image) override
  {
    m_nSum += static_cast<unsigned>(image.m_pData->GetLength());
    unsigned char aBytes[256];
    if (const auto pData = image.GetDecodedStream(GetEnvironment().GetDocument().GetFile()))
      pData->Read(aBytes, sizeof(aBytes));
  }

private:
  unsigned& m_nSum;
};

// A document of one page, its content in two parts and again in a form.
std::string MakeDocument(const std::string& sContent)
{
  const std::size_t nCut = sContent.size() / 2;
  const auto makeStream = [](const std::string& sEntries, const std::string& sData)
  {
    return "<<" + sEntries + "/Length " + std::to_string(sData.size()) + ">>stream\n" + sData + "\nendstream";
  };
  const std::string aObjects[] = {
      "<</Type/Catalog/Pages 2 0 R/OCProperties<</OCGs[7 0 R]/D<</OFF[7 0 R]>>>>>>",
      "<</Type/Pages/Kids[3 0 R]/Count 1>>",
      "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Contents[4 0 R 5 0 R]/Resources<</XObject<</F 6 0 R>>"
      "/Font<</S<<>>/C<</C 1>>>>/Properties<</H 7 0 R>>/ColorSpace<</N[/Indexed/DeviceRGB "
      "0(abc)]/L[/Pattern[/Lab<<>>]]>>"
      "/ExtGState<</G<</LW 1/D[[1]0]/SMask/None/Font[7 0 R 2]>>>>/Pattern<</P<</PaintType 2>> >> >>>>",
      makeStream("", sContent.substr(0, nCut)),
      makeStream("", sContent.substr(nCut)),
      makeStream("/Subtype/Form/Matrix[2 0 0 2 0 0]", sContent),
      "<</Type/OCG/Name(a)>>"};
  std::string sPdf = "%PDF-1.7\n";
  std::string sTable = "xref\n0 8\n0000000000 65535 f \n";
  for (std::size_t i = 0; i < std::size(aObjects); ++i)
  {
    char szLine[32];
    std::snprintf(szLine, sizeof szLine, "%010zu 00000 n \n", sPdf.size());
    sTable += szLine;
    sPdf += std::to_string(i + 1) + " 0 obj\n" + aObjects[i] + "\nendobj\n";
  }
  const std::size_t nXRef = sPdf.size();
  return sPdf + sTable + "trailer\n<</Size 8/Root 1 0 R>>\nstartxref\n" + std::to_string(nXRef) + "\n%%EOF\n";
}

unsigned Parse(PDF::CDocument& document, BSE::IErrorContext& handler, bool bStrict)
{
  const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount);
  const BSE::CObjectPtr<DOC::CCMS> pCMS = DOC::CreateCMS("none", "", *pAccount);
  PDF::CColorSpaceFactory spaces(*pCMS);
  CResources resources(spaces);
  PDF::CContentEnvironment environment(document, &resources);
  environment.SetStrict(bStrict);
  const PDF::CPage page = document.GetPage(0);
  PDF::CParserContext context(environment, page.GetResources(), nullptr);
  const BSE::CObjectPtr<PDF::CContentStream> pStream(
      new PDF::CContentStream(page.FindInherited("Contents"), &environment.GetAccount()));
  unsigned nSum = 0;
  CCounter parser(environment, pStream, &handler, nSum);
  parser.Parse(&context, false);
  return nSum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  BSE::CErrorHandler handler;
  PDF::CDocument document(&handler);
  const std::string sPdf = MakeDocument(std::string(reinterpret_cast<const char*>(pData), nSize));
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
  if (!document.Open(pInput.Get(), nullptr))
    return 0;
  // Strict parsing takes the long way for all tokens, and sees the same.
  if (Parse(document, handler, false) != Parse(document, handler, true))
    std::abort();
  return 0;
}
