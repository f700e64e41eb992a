#pragma once

#include "base/ObjectBuffer.h"
#include "content/ContentParserBase.h"
#include "content/GraphicsState.h"
#include "content/InlineImage.h"
#include "content/ParserContext.h"
#include "document/Rectangle.h"

namespace PDF
{

// Where in its structure content is (ISO 32000-1, Figure 9).
enum TContentObject
{
  eObjectPage = 0,
  eObjectPath = 1,
  eObjectClippingPath = 2,
  eObjectText = 3
};

// The operands of a colour operator: components, and the name of a pattern or null.
struct TColorValue
{
  std::span<const double> m_components;
  const char* m_szPattern = nullptr;
};

// The base of everything that reads content: a page's, a form's, a glyph's, a pattern's, an appearance's. It
// calls one operation for each operator, keeps the graphics state, and draws nothing; a consumer overrides
// what concerns it, and calls the overridden operation, which updates the state. What is not as it should be
// is reported to the error context, and parsing goes on wherever that makes sense. Serves one stream; the
// forms in it have parsers of their own.
class CContentParser : public CContentParserBase
{
public:
  // Borrows the environment and the error context. The box with its rotation in degrees makes the first
  // transformation; that of a form is only kept.
  CContentParser(CContentEnvironment& environment, const BSE::CObjectPtr<CContentStream>& pStream,
                 const TRectangle& box, int nRotation, BSE::IErrorContext* pErrorContext);
  ~CContentParser() override;

  void Rewind() override;

  // State and operands decide whether the operator is carried out: then one of the operations below is
  // called.
  int ExecuteOperator(int nOperator) override;

  // Parses the whole stream. True if its end was reached: else what follows has not been seen, whatever has
  // been reported. The flag is what "BX" would set.
  virtual bool Parse(CParserContext* pContext, bool bCompatible);

  // What the content of a form is parsed with.
  virtual BSE::CScopedPtr<CContentParser> CreateParser(const BSE::CObjectPtr<CContentStream>& pStream,
                                                       const TRectangle& box, int nRotation);
  virtual BSE::CScopedPtr<CParserContext> CreateContext(const CResources& resources, CParserContext* pParent);

  // --- Operators. A pattern's or resource's name is valid until the call ends.
  virtual void Save();
  virtual void Restore();
  virtual void Transform(const TMatrix& matrix);
  virtual void SetLineWidth(double dWidth);
  virtual void SetLineCap(int nCap);
  virtual void SetLineJoin(int nJoin);
  virtual void SetMiterLimit(double dLimit);
  virtual void SetDash(std::span<const double> lengths, double dPhase);
  virtual void SetRenderingIntent(const char* szIntent);
  virtual void SetFlatness(double dFlatness);
  virtual void SetExtGState(const char* szName);
  virtual void SetStrokeColorSpace(const char* szName);
  virtual void SetFillColorSpace(const char* szName);
  virtual void SetStrokeColor(const TColorValue& color);
  virtual void SetFillColor(const TColorValue& color);
  virtual void PaintShading(const char* /*szName*/) {}
  virtual void MoveTo(double /*dX*/, double /*dY*/) {}
  virtual void LineTo(double /*dX*/, double /*dY*/) {}
  virtual void CurveTo(double /*dX1*/, double /*dY1*/, double /*dX2*/, double /*dY2*/, double /*dX3*/,
                       double /*dY3*/)
  {
  }
  virtual void Rectangle(double /*dX*/, double /*dY*/, double /*dWidth*/, double /*dHeight*/) {}
  virtual void Clip() {}
  virtual void ClosePath() {}
  virtual void SetFillRule(bool /*bEvenOdd*/) {}
  virtual void SetClipRule(bool bEvenOdd) { SetFillRule(bEvenOdd); }
  virtual void Stroke() {}
  virtual void Fill() {}
  virtual void StrokeAndFill() {}
  virtual void EndPath() {}
  virtual void InlineImage(const TInlineImage& /*image*/) {}

  // Goes on to one of the two below by what the object is, unless that is invisible.
  virtual void DoXObject(const char* szName);
  virtual void DoForm(const char* szName);
  virtual void DoImage(const char* szName);
  virtual void BeginText();
  virtual void EndText();
  virtual void MoveTextPosition(double dX, double dY);
  virtual void SetTextMatrix(const TMatrix& matrix);
  virtual void SetCharSpacing(double dSpacing);
  virtual void SetWordSpacing(double dSpacing);

  // In percent.
  virtual void SetHorizontalScaling(double dScale);

  // As "TL" has it: positive for lines that go down.
  virtual void SetLeading(double dLeading);
  virtual void SetFont(const char* szName, double dSize);
  virtual void SetRenderMode(int nMode);
  virtual void SetRise(double dRise);
  virtual void ShowString(std::span<const unsigned char> text) { ShowText(text); }

  // Moves the text matrix by the widths, where there is a font that knows them.
  virtual void ShowText(std::span<const unsigned char> text);
  virtual void AdjustText(double dValue);

  // The records between the brackets.
  virtual void ShowTextArray(std::span<const TOperand> elements);
  virtual void SetGlyphWidth(double /*dX*/, double /*dY*/) {}
  virtual void SetGlyphWidthAndBBox(double /*dX*/, double /*dY*/, const TRectangle& /*box*/) {}

  // Properties are a name's record, those of a dictionary with its brackets, or none; see FindProperties.
  virtual void BeginMarkedContent(const char* szTag, std::span<const TOperand> properties);
  virtual void MarkPoint(const char* /*szTag*/, std::span<const TOperand> /*properties*/) {}
  virtual void EndMarkedContent();
  virtual void SetStructParent(std::int64_t /*nKey*/) {}
  virtual void SetStructParents(std::int64_t /*nKey*/) {}

  // Before a stream with its context, after it with null.
  virtual void Begin(CParserContext* pContext) { m_pContext = pContext; }

  // --- What is known
  const CGraphicsState& GetState() const { return m_state; }
  const TMatrix& GetCTM() const { return m_state.m_ctm; }
  const TRectangle& GetBox() const { return m_box; }
  CParserContext* GetContext() const { return m_pContext; }
  TContentObject GetObject() const { return m_nObject; }

  // True inside "BX" and "EX".
  bool IsCompatible() const { return m_bCompatible; }

  // True unless the marked content around this is hidden.
  bool IsVisible() const { return m_aVisible[m_nMarked] != 0; }
  int GetMarkedContentLevel() const { return m_nMarked; }

  // Whether optional content is shown whatever its configuration says; handed on to forms.
  void IgnoreOptionalContent(bool bIgnore) { m_bIgnoreOptional = bIgnore; }

  // False once anything visible has been painted.
  bool IsEmpty() const { return m_bEmpty; }

  // Forms that this content is inside of.
  int GetDepth() const { return m_nFormDepth; }

protected:
  // For a parser of the content of something other than a page.
  void SetState(const CGraphicsState& state) { m_state = state; }

  // The dictionary that properties are or name; null if there is none.
  CObjectPtr FindProperties(std::span<const TOperand> properties);

  // Sets a font that is not a resource, as from a graphics state dictionary.
  void SetFontObject(const CObjectPtr& font, const BSE::CObjectPtr<IContentFont>& pFont, double dSize);

  // The XObject of a name, as DoXObject has found it.
  CObjectPtr FindXObject(const char* szName);

  // False, reported, if content with this object is being parsed around this, or too much else is.
  bool CanEnter(const CObjectPtr& form, const char* szName);

  // For a form that is nested too deep to be entered: nothing of it will be parsed here.
  virtual void PassOver(const CObjectPtr& form);

  // Parses the content of a form, or of what has its content as a form does: a pattern, a glyph, an
  // appearance. Resources stand in where it has none; the matrix is the one around it. What cannot be entered
  // or read is reported by the name.
  void ParseContent(const CObjectPtr& form, const CResources& standIn, const TMatrix& around,
                    const char* szName);

  // The matrix of a page's box with its rotation.
  static TMatrix GetBoxMatrix(const TRectangle& box, int nRotation);

  bool m_bEmpty = true;
  CGraphicsState m_state;

private:
  struct TNumbers;

  // --- Which operators are admitted where; false drops the operator. In ContentStates.cc.
  bool Admit(int nOperator, TOperatorClass nClass);
  bool AdmitOnPage(int nOperator, TOperatorClass nClass);
  bool AdmitInPath(int nOperator, TOperatorClass nClass);

  // For BT and ET outside a text object, where the second is dropped.
  bool BeginText(int nOperator);
  bool AdmitInText(int nOperator, TOperatorClass nClass);
  bool AdmitPathInText(int nOperator);
  bool StartPath(int nOperator, unsigned nCode);
  void ResumeText();
  void InterruptText();
  bool IsOtherTextObject() const;
  void ReportPlace(unsigned nCode, int nOperator);
  void ReportPlaceStrict(unsigned nCode, int nOperator);

  // --- Operands, and the calls
  int ExecuteNumbers(int nOperator, int nCount);
  void ExecuteSimple(int nOperator);
  void ExecuteState(int nOperator, const double* pNumbers);
  void ExecutePath(int nOperator, const double* pNumbers);
  void ExecuteText(int nOperator, const double* pNumbers);
  void ExecuteDeviceColor(int nOperator, std::span<const double> numbers);
  void ExecutePaint(int nOperator);
  int ExecuteNamed(int nOperator);
  int ExecuteFont();
  int ExecuteDash();
  int ExecuteColor(int nOperator);
  int ExecuteShow(int nOperator);
  int ExecuteShowSpaced();
  int ExecuteShowArray();
  int ExecuteMarked(int nOperator);
  int ExecuteInlineImage();
  bool ReadImageDictionary(const CObjectPtr& dictionary);
  bool GetNumber(const TOperand& operand, double& dNumber);
  std::span<const TOperand> GetArray(std::span<const TOperand> operands) const;
  bool CheckRange(double dValue, double dMax);
  int DropOperator(unsigned nCode);

  bool ChooseColorSpace(TColorState& state, const char* szName);
  void ChooseColor(TColorState& state, const TColorValue& color);
  void ApplyExtGState(const CObjectPtr& dictionary);
  void ApplyLineEntries(const CObjectPtr& dictionary);
  void ApplyDeviceEntries(const CObjectPtr& dictionary);
  void ApplyFontEntry(const CObjectPtr& font);
  bool ParseForm(const CObjectPtr& form, const CResources& standIn, const TMatrix& around);
  void MoveBy(double dX, double dY);

  CParserContext* m_pContext = nullptr;
  CContentParser* m_pAround = nullptr;  // the parser of the content that draws this form
  CObjectPtr m_form;                    // what is parsed, if it is a form
  TRectangle m_box;
  int m_nRotation;
  int m_nFormDepth = 0;
  BSE::CObjectBuffer<CGraphicsState, true, 10> m_saved;
  int m_nSaved = 0;  // the buffer does not shrink, so that its last states are not moved again and again
  TContentObject m_nObject = eObjectPage;
  bool m_bPathOpen = false;
  bool m_bTextInterrupted = false;
  TMatrix m_interruptedText;
  TMatrix m_interruptedLine;
  double m_dX = 0;  // current point, and the start of the subpath
  double m_dY = 0;
  double m_dStartX = 0;
  double m_dStartY = 0;
  bool m_bCompatible = false;
  bool m_bIgnoreOptional = false;
  bool m_bStopped = false;
  int m_nMarked = 0;
  int m_nUnmarked = 0;  // levels beyond those
  unsigned char m_aVisible[50] = {1};
};

// Goes through the codes of a text that is shown in a font (ISO 32000-1, 9.7.6).
class CCodeWalker
{
public:
  // Borrows the font.
  CCodeWalker(const IContentFont& font, bool bComposite, std::span<const unsigned char> text)
      : m_font(font), m_rest(text), m_bComposite(bComposite)
  {
  }

  // The next code; false at the end.
  bool Next();

  unsigned GetCode() const { return m_nCode; }
  int GetCodeLength() const { return m_nCodeLength; }

  // The CID in a composite font, the code in a simple one.
  int GetCID() const { return m_nCID; }

  // Whether the font has no codes that begin so.
  bool IsInvalid() const { return m_bInvalid; }

private:
  void ReadCompositeCode();

  const IContentFont& m_font;
  std::span<const unsigned char> m_rest;
  bool m_bComposite;
  unsigned m_nCode = 0;
  int m_nCodeLength = 0;
  int m_nCID = 0;
  bool m_bInvalid = false;
};

// The same, with what each glyph moves the text position by (ISO 32000-1, 9.4.4). The state has a font.
class CTextWalker : public CCodeWalker
{
public:
  CTextWalker(const TTextState& state, std::span<const unsigned char> text)
      : CCodeWalker(*state.m_pFont, state.m_bComposite, text), m_state(state)
  {
  }
  bool Next();

  // What the glyph moves the text position by, spacing included.
  double GetMoveX() const { return m_state.m_bVertical ? 0 : m_dMove; }
  double GetMoveY() const { return m_state.m_bVertical ? m_dMove : 0; }

private:
  const TTextState& m_state;
  double m_dMove = 0;
};

}  // namespace PDF
