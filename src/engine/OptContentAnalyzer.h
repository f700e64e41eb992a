#pragma once

#include "content/ContentParser.h"
#include "engine/ContentAnalysis.h"

namespace PDF
{

// Reads content for the analysis: follows the transformation and a rectangle around the clip, and enters the
// images that are painted. Whether optional content is shown plays no part.
class COptContentAnalyzer : public CContentParser
{
public:
  // Of the content of a page. Borrows the analysis.
  COptContentAnalyzer(CContentAnalysis& analysis, CContentEnvironment& environment,
                      const BSE::CObjectPtr<CContentStream>& pStream, const TRectangle& box, int nRotation,
                      BSE::IErrorContext* pErrorContext);

  // What has not been read to its end may paint anything: its images stay as they are.
  bool Parse(CParserContext* pContext, bool bCompatible) override;
  BSE::CScopedPtr<CContentParser> CreateParser(const BSE::CObjectPtr<CContentStream>& pStream,
                                               const TRectangle& box, int nRotation) override;
  void Begin(CParserContext* pContext) override;

  void Save() override;
  void Restore() override;
  void SetExtGState(const char* szName) override;
  void SetStrokeColorSpace(const char* szName) override;
  void SetFillColorSpace(const char* szName) override;
  void SetStrokeColor(const TColorValue& color) override;
  void SetFillColor(const TColorValue& color) override;
  void SetFont(const char* szName, double dSize) override;
  void ShowText(std::span<const unsigned char> text) override;
  void MoveTo(double dX, double dY) override { AddPoint(dX, dY); }
  void LineTo(double dX, double dY) override { AddPoint(dX, dY); }
  void CurveTo(double dX1, double dY1, double dX2, double dY2, double dX3, double dY3) override;
  void Rectangle(double dX, double dY, double dWidth, double dHeight) override;
  void Clip() override;
  void Stroke() override { EndPath(); }
  void Fill() override { EndPath(); }
  void StrokeAndFill() override { EndPath(); }
  void EndPath() override { m_bPathBox = false; }
  void DoXObject(const char* szName) override;
  void DoForm(const char* szName) override;
  void DoImage(const char* szName) override;

protected:
  // Readers that nest deeper show what is in it.
  void PassOver(const CObjectPtr& form) override;

private:
  COptContentAnalyzer(const COptContentAnalyzer& around, const BSE::CObjectPtr<CContentStream>& pStream,
                      const TRectangle& box, int nRotation);
  void TraceSpace(const char* szName);
  void AddPoint(double dX, double dY);
  const IContentFont* GetFontAround() const
  {
    return m_state.m_text.m_pFont ? m_state.m_text.m_pFont.Get() : m_pInherited.Get();
  }
  void KeepFontAround();
  void AnalyzePattern(const CObjectPtr& pattern);
  void KeepGlyphs(const CObjectPtr& font);

  // Takes note of the names in a content that has been read, be it as a whole or not.
  void CollectNames();
  void AddNames(CParserContext& context, bool bWhole);

  // False for what has been analyzed, of which all is kept that it may find around it here.
  bool Enter(const CObjectPtr& form, const TMatrix& matrix, const TRectangle& clip);
  void Leave(const CObjectPtr& form, std::int64_t nBorrowings);

  // Whether the smallest error of a picture that is drawn here may become a large one.
  bool IsSteep() const;

  // All that the resources of this content lead to, and those around it for a name that they lack. Once for
  // the whole content.
  void KeepOwn();
  void KeepAround();

  CContentAnalysis& m_analysis;
  CNameCollector m_names;
  TMatrix m_base;     // the matrix at the start of this content, which patterns go by
  TRectangle m_clip;  // around the clip, in the same system as the transformation leads to
  BSE::CBasicArray<TRectangle> m_clips;
  int m_nUnsaved = 0;  // states beyond the limit
  TRectangle m_pathBox;
  bool m_bPathBox = false;
  bool m_bNested = false;
  bool m_bSteep = false;  // all of this content
  bool m_bOwnKept = false;
  bool m_bAroundKept = false;
  BSE::CObjectPtr<IContentFont> m_pInherited;  // what text is shown in that sets no font in this content
};

}  // namespace PDF
