#pragma once

#include "content/ContentEnvironment.h"
#include "content/ContentStream.h"
#include "content/Operator.h"
#include "pdf/Parser.h"

namespace PDF
{

// One token before an operator, by value.
struct TOperand
{
  TToken m_nType = eTokenNone;
  int m_nLength = 0;  // of the text of a string or name
  int m_nText = 0;    // where that is
  // A number's value, truncated; 0 or 1 for false or true; for "]" and ">>" the records from the opening one
  // to this one, 1 if there is none.
  std::int64_t m_nCount = 0;
  double m_dNumber = 0;
};

// Cuts content into operators with their operands, without an allocation for any of them. Operands are what
// is on the stack when ExecuteOperator is called; they and their texts are valid until it returns.
class CContentParserBase : public BSE::CBasicErrorContext, public CParser
{
public:
  CContentParserBase(CContentEnvironment& environment, const BSE::CObjectPtr<CContentStream>& pStream,
                     BSE::IErrorContext* pErrorContext);

  // Back to the start, without operands.
  virtual void Rewind();

  // Collects operands up to an operator and has that executed; returns its token. eTokenEnd at the end of the
  // content, eTokenInvalid, reported, where it cannot be parsed any further.
  virtual int ParseNextOperator();

  // Carries out an operator; returns the operands that it takes from the top of the stack, -1 to stop.
  virtual int ExecuteOperator(int nOperator) = 0;

  CContentEnvironment& GetEnvironment() const { return m_environment; }

protected:
  std::span<const TOperand> GetOperands() const { return m_operands.GetSpan(); }

  // Ended by zero.
  const char* GetText(const TOperand& operand) const { return m_text.GetData() + operand.m_nText; }
  std::span<const unsigned char> GetString(const TOperand& operand) const
  {
    return {reinterpret_cast<const unsigned char*>(GetText(operand)),
            static_cast<std::size_t>(operand.m_nLength)};
  }

  // The value of the operands as an object: of the first one, or with it of all up to where it is closed.
  // Null for null, and for one that is nested too deep.
  CObjectPtr MakeObject(std::span<const TOperand> operands) const;

  // Whether the scanner reports what is beyond the limits of an archival file.
  void SetScannerStrict(bool bStrict);

  CContentStream& GetContent() { return *m_pContent; }

  // Something is not as it should be, but nothing is lost by it.
  template <class... P>
  void Report(unsigned nCode, P... properties)
  {
    m_environment.GetAccount().Charge(BSE::g_nReportWork);
    BSE::ReportError(this, BSE::MakeError(nCode, properties...));
  }

  // Something of the content is not carried out.
  template <class... P>
  void ReportDropped(unsigned nCode, P... properties)
  {
    m_environment.GetAccount().Charge(BSE::g_nReportWork);
    BSE::CScopedPtr<BSE::IError> pError = BSE::MakeError(nCode, properties...);
    pError->SetConsequence(m_environment.GetConsequence());
    BSE::ReportError(this, std::move(pError));
  }

  // Reports, once for the document, that the content takes too much work.
  void ReportRefusal();

  // Makes the scanner's current token the next one.
  void KeepToken() { m_bTokenKept = true; }

private:
  // The next token, with its value in the operand.
  int ReadToken(TOperand& operand);

  // Most tokens are in the buffer as a whole, and of a simple form. False where that is not so: then nothing
  // has been taken.
  bool ReadSimpleToken(TOperand& operand, int& nToken);
  bool ReadSimpleBracket(std::span<const unsigned char> ahead, int& nToken);
  bool ReadSimpleNumber(std::span<const unsigned char> ahead, TOperand& operand);
  bool ReadSimpleOperator(std::span<const unsigned char> ahead, int& nToken);
  static bool IsSimpleEnd(std::span<const unsigned char> ahead, std::size_t nPos)
  {
    return nPos < ahead.size() && !IsRegular(ahead[nPos]);
  }
  bool ReadSimpleName(std::span<const unsigned char> ahead, TOperand& operand);
  bool ReadSimpleString(std::span<const unsigned char> ahead, TOperand& operand);
  bool ReadSimpleHex(std::span<const unsigned char> ahead, TOperand& operand);
  int ReadScannerToken(TOperand& operand);
  int TakeScannerToken(TOperand& operand);
  int PeekTokenStart();
  void SetText(TOperand& operand, const char* pText, std::size_t nLength);
  bool Push(TOperand& operand);

  // Notes an opening bracket, and gives a closing one its distance.
  void MatchBracket(TOperand& operand);
  int EndOfContent();
  int Stop(unsigned nCode);
  CObjectPtr MakeValue(std::span<const TOperand> operands, std::size_t& nNext, int nDepth) const;

  CContentEnvironment& m_environment;
  BSE::CObjectPtr<CContentStream> m_pContent;
  BSE::CBasicArray<TOperand> m_operands;
  BSE::CBasicArray<char> m_text;
  BSE::CBasicArray<int> m_openArrays;  // "[" among the operands that are not closed yet
  BSE::CBasicArray<int> m_openDictionaries;
  bool m_bTokenKept = false;
  TToken m_nJoined = eTokenNone;  // an operator that the last number has brought with it
};

}  // namespace PDF
