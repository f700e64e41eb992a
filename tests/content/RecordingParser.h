#pragma once

#include "content/ContentParser.h"
#include "tests/document/TestDocument.h"
#include "tests/support/PdfBuilder.h"

#include <string>

namespace Content
{

// Writes down what it is called for, in a form like content.
class CRecordingParser : public PDF::CContentParser
{
public:
  using Base = PDF::CContentParser;
  using Text = std::span<const unsigned char>;
  using Operands = std::span<const PDF::TOperand>;

  CRecordingParser(PDF::CContentEnvironment& environment, const BSE::CObjectPtr<PDF::CContentStream>& pStream,
                   const PDF::TRectangle& box, int nRotation, BSE::IErrorContext* pErrorContext,
                   std::string& log)
      : Base(environment, pStream, box, nRotation, pErrorContext), m_log(log)
  {
  }

  BSE::CScopedPtr<PDF::CContentParser> CreateParser(const BSE::CObjectPtr<PDF::CContentStream>& pStream,
                                                    const PDF::TRectangle& box, int nRotation) override
  {
    return BSE::CScopedPtr<PDF::CContentParser>(
        new CRecordingParser(GetEnvironment(), pStream, box, nRotation, GetParent(), m_log));
  }

  void Save() override { Write("q"), Base::Save(); }
  void Restore() override { Write("Q"), Base::Restore(); }
  void Transform(const PDF::TMatrix& m) override { WriteMatrix("cm", m), Base::Transform(m); }
  void SetLineWidth(double d) override { Write("w", d), Base::SetLineWidth(d); }
  void SetLineCap(int n) override { Write("J", n), Base::SetLineCap(n); }
  void SetLineJoin(int n) override { Write("j", n), Base::SetLineJoin(n); }
  void SetMiterLimit(double d) override { Write("M", d), Base::SetMiterLimit(d); }
  void SetDash(std::span<const double> lengths, double dPhase) override
  {
    m_log += "[";
    for (const double d : lengths)
      m_log += Number(d) + " ";
    m_log += "]";
    Write("d", dPhase), Base::SetDash(lengths, dPhase);
  }
  void SetRenderingIntent(const char* sz) override { WriteName("ri", sz), Base::SetRenderingIntent(sz); }
  void SetFlatness(double d) override { Write("i", d), Base::SetFlatness(d); }
  void SetExtGState(const char* sz) override { WriteName("gs", sz), Base::SetExtGState(sz); }
  void SetStrokeColorSpace(const char* sz) override { WriteName("CS", sz), Base::SetStrokeColorSpace(sz); }
  void SetFillColorSpace(const char* sz) override { WriteName("cs", sz), Base::SetFillColorSpace(sz); }
  void SetStrokeColor(const PDF::TColorValue& c) override { WriteColor("SC", c), Base::SetStrokeColor(c); }
  void SetFillColor(const PDF::TColorValue& c) override { WriteColor("sc", c), Base::SetFillColor(c); }
  void PaintShading(const char* sz) override { WriteName("sh", sz); }
  void MoveTo(double x, double y) override { Write("m", x, y); }
  void LineTo(double x, double y) override { Write("l", x, y); }
  void CurveTo(double a, double b, double c, double d, double e, double f) override
  {
    Write("c", a, b, c, d, e, f);
  }
  void Rectangle(double x, double y, double w, double h) override { Write("re", x, y, w, h); }
  void Clip() override { Write("W"); }
  void ClosePath() override { Write("h"); }
  void SetFillRule(bool bEvenOdd) override { m_log += bEvenOdd ? "evenodd " : ""; }
  void Stroke() override { Write("S"); }
  void Fill() override { Write("f"); }
  void StrokeAndFill() override { Write("B"); }
  void EndPath() override { Write("n"); }
  void InlineImage(const PDF::TInlineImage& image) override
  {
    m_log += "BI " + PDF::Describe(image.m_dictionary, 1) + " ID " + PDF::GetBytes(*image.m_pData) +
             (image.m_bDamaged ? " damaged" : "") + " EI\n";
  }
  void DoImage(const char* sz) override { WriteName("image", sz), Base::DoImage(sz); }
  void DoForm(const char* sz) override { WriteName("form", sz), Base::DoForm(sz), WriteName("end", sz); }
  void BeginText() override { Write("BT"), Base::BeginText(); }
  void EndText() override { Write("ET"), Base::EndText(); }
  void MoveTextPosition(double x, double y) override { Write("Td", x, y), Base::MoveTextPosition(x, y); }
  void SetTextMatrix(const PDF::TMatrix& m) override { WriteMatrix("Tm", m), Base::SetTextMatrix(m); }
  void SetCharSpacing(double d) override { Write("Tc", d), Base::SetCharSpacing(d); }
  void SetWordSpacing(double d) override { Write("Tw", d), Base::SetWordSpacing(d); }
  void SetHorizontalScaling(double d) override { Write("Tz", d), Base::SetHorizontalScaling(d); }
  void SetLeading(double d) override { Write("TL", d), Base::SetLeading(d); }
  void SetFont(const char* sz, double d) override
  {
    m_log += std::string("/") + sz + " ";
    Write("Tf", d), Base::SetFont(sz, d);
  }
  void SetRenderMode(int n) override { Write("Tr", n), Base::SetRenderMode(n); }
  void SetRise(double d) override { Write("Ts", d), Base::SetRise(d); }
  void ShowText(Text text) override
  {
    m_log += "(" + std::string(text.begin(), text.end()) + ")";
    Write("Tj"), Base::ShowText(text);
  }
  void AdjustText(double d) override { Write("adjust", d), Base::AdjustText(d); }
  void SetGlyphWidth(double x, double y) override { Write("d0", x, y); }
  void SetGlyphWidthAndBBox(double x, double y, const PDF::TRectangle& box) override
  {
    Write("d1", x, y, box.m_dLeft, box.m_dBottom, box.m_dRight, box.m_dTop);
  }
  void BeginMarkedContent(const char* sz, Operands properties) override
  {
    WriteMarked("BMC", sz, properties);
    Base::BeginMarkedContent(sz, properties);
  }
  void MarkPoint(const char* sz, Operands properties) override { WriteMarked("MP", sz, properties); }
  void EndMarkedContent() override { Write("EMC"), Base::EndMarkedContent(); }
  void SetStructParents(std::int64_t n) override { Write("StructParents", static_cast<double>(n)); }
  void SetStructParent(std::int64_t n) override { Write("StructParent", static_cast<double>(n)); }

private:
  static std::string Number(double d)
  {
    char szText[32];
    std::snprintf(szText, sizeof szText, "%.6g", d);
    return szText;
  }
  template <class... N>
  void Write(const char* szOperator, N... numbers)
  {
    ((m_log += Number(numbers) + " "), ...);
    m_log += szOperator + std::string("\n");
  }
  void WriteName(const char* szOperator, const char* szName)
  {
    m_log += std::string("/") + szName + " " + szOperator + "\n";
  }
  void WriteMatrix(const char* szOperator, const PDF::TMatrix& m)
  {
    Write(szOperator, m.m_dA, m.m_dB, m.m_dC, m.m_dD, m.m_dE, m.m_dF);
  }
  void WriteColor(const char* szOperator, const PDF::TColorValue& color)
  {
    for (const double d : color.m_components)
      m_log += Number(d) + " ";
    m_log += color.m_szPattern ? std::string("/") + color.m_szPattern + " " : "";
    Write(szOperator);
  }
  void WriteMarked(const char* szOperator, const char* szTag, Operands properties)
  {
    m_log += std::string("/") + szTag + " ";
    if (!properties.empty())
      m_log += PDF::Describe(MakeObject(properties), 3) + " ";
    Write(szOperator);
  }

  std::string& m_log;
};

// What became of some content.
struct TResult
{
  bool m_bParsed = false;
  bool m_bEmpty = true;
  std::string m_log;
  std::multiset<unsigned> m_codes;
  std::multiset<unsigned> m_losses;
  PDF::CGraphicsState m_state;
};

class CCodes : public BSE::IErrorContext
{
public:
  explicit CCodes(TResult& result) : m_result(result) {}
  BSE::CErrorHandler* OnGetErrorHandler() override { return nullptr; }
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override
  {
    m_result.m_codes.insert(pError->GetCode());
    if (pError->GetConsequence() == BSE::eContentLost)
      m_result.m_losses.insert(pError->GetCode());
  }
  void OnReport(unsigned nCode, const BSE::CErrorProperties*) override { m_result.m_codes.insert(nCode); }
  void OnAddContextInfo(BSE::IError&) override {}

private:
  TResult& m_result;
};

// A document whose only page has the content that is parsed.
class CSample
{
public:
  CSample() = default;

  // Objects from number 10 on, such as forms.
  CSample& Add(int nNumber, std::string sBody)
  {
    m_objects[nNumber] = std::move(sBody);
    return *this;
  }
  CSample& AddStream(int nNumber, const std::string& sEntries, const std::string& sData)
  {
    return Add(nNumber, "<<" + sEntries + "/Length " + std::to_string(sData.size()) + ">>stream\n" + sData +
                            "\nendstream");
  }
  CSample& SetResources(std::string sResources)
  {
    m_sResources = std::move(sResources);
    return *this;
  }
  CSample& SetStrict() { return m_bStrict = true, *this; }
  CSample& SetFonts(PDF::IContentResources* pFonts) { return m_pFonts = pFonts, *this; }
  CSample& SetCatalog(std::string sEntries) { return m_sCatalog = std::move(sEntries), *this; }

  TResult Parse(const std::string& sContent)
  {
    AddStream(5, "", sContent);
    return ParseObject("5 0 R");
  }

  // With "Contents" as told.
  TResult ParseObject(const std::string& sContents)
  {
    m_objects[1] = "<</Type/Catalog/Pages 2 0 R" + m_sCatalog + ">>";
    m_objects[2] = "<</Type/Pages/Kids[3 0 R]/Count 1>>";
    m_objects[3] = "<</Type/Page/Parent 2 0 R/MediaBox[0 0 600 800]/Contents " + sContents + "/Resources<<" +
                   m_sResources + ">>>>";
    PDF::TOpenDocument document(PDF::MakePdf(m_objects));
    TResult result;
    CCodes codes(result);
    const PDF::CPage page = document->GetPage(0);
    PDF::CContentEnvironment environment(document.m_document, m_pFonts);
    environment.SetStrict(m_bStrict);
    environment.SetConsequence(BSE::eContentLost);
    PDF::CParserContext context(environment, page.GetResources(), nullptr);
    const BSE::CObjectPtr<PDF::CContentStream> pStream(
        new PDF::CContentStream(page.FindInherited("Contents"), &environment.GetAccount()));
    CRecordingParser parser(environment, pStream, page.GetCropBox(), 0, &codes, result.m_log);
    result.m_bParsed = parser.Parse(&context, false);
    result.m_bEmpty = parser.IsEmpty();
    result.m_state = parser.GetState();
    return result;
  }

private:
  PDF::TObjects m_objects;
  std::string m_sResources;
  std::string m_sCatalog;
  PDF::IContentResources* m_pFonts = nullptr;
  bool m_bStrict = false;
};

}  // namespace Content
