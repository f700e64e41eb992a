// Content is postfix: operands are collected until an operator comes, which takes them from the top. They are
// flat records in one array with their texts in another, both kept from operator to operator, so that reading
// allocates nothing. A closing bracket knows how many records back its partner is; objects are made of the
// records only where somebody asks for them. Most tokens are cut straight from the buffer (SimpleTokens.cc),
// and whatever is not plain there goes through the scanner. Operands and their texts are limited, since data
// that is not content may go on without an operator for ever, and after each operator the account of the
// document's work is asked whether to go on.

#include "content/ContentParserBase.h"

#include "base/Tracer.h"
#include "content/StatusCodes.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

CContentParserBase::CContentParserBase(CContentEnvironment& environment,
                                       const BSE::CObjectPtr<CContentStream>& pStream,
                                       BSE::IErrorContext* pErrorContext)
    : BSE::CBasicErrorContext(pErrorContext),
      CParser(nullptr, pStream.Get(), this),
      m_environment(environment),
      m_pContent(pStream)
{
  SetScannerStrict(environment.IsStrict());
}

void CContentParserBase::SetScannerStrict(bool bStrict)
{
  // Strings have at most 65535 bytes in PDF/A-1, names 127 (PDF Reference 1.4, Table C.1); strings 32767 from
  // PDF/A-2 on (ISO 19005-2, 6.1.13).
  const bool bFirst = m_environment.GetDocument().GetFile().GetConformance().GetPart() == 1;
  const int nMaxString = bFirst ? 65535 : 32767;
  GetScanner().SetStrict(bStrict, bStrict ? nMaxString : -1, bStrict && bFirst ? 127 : -1);
}

void CContentParserBase::Rewind()
{
  m_pContent->Rewind();
  m_operands.Truncate(0);
  m_text.Truncate(0);
  m_bTokenKept = false;
  m_nJoined = eTokenNone;
}

int CContentParserBase::Stop(unsigned nCode)
{
  ReportDropped(nCode);
  return eTokenInvalid;
}

void CContentParserBase::ReportRefusal()
{
  if (!m_environment.NoteRefusal())
    return;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Content Parser", "The content takes too much work for its file.");
  ReportDropped(g_nNotRepairable);
}

int CContentParserBase::EndOfContent()
{
  if (m_pContent->WasRefused())
  {
    ReportRefusal();
    return eTokenInvalid;
  }
  if (m_pContent->HasGap() && m_pContent->HasRead())
    ReportDropped(g_nNotRepairable);
  if (!m_operands.IsEmpty())
    ReportDropped(g_nOperandCount);
  m_operands.Truncate(0);
  return eTokenEnd;
}

int CContentParserBase::ParseNextOperator()
{
  // The parsers of forms inside each other would each hold on to a long text.
  constexpr int g_nMaxKeptText = 65536;
  if (m_text.GetSize() > g_nMaxKeptText)
    m_text.RemoveAll();
  m_operands.Truncate(0);
  m_text.Truncate(0);
  m_openArrays.Truncate(0);
  m_openDictionaries.Truncate(0);
  for (;;)
  {
    TOperand operand;
    const int nToken = ReadToken(operand);
    if (nToken >= eTokenFirstOperator)
    {
      const int nConsumed = ExecuteOperator(nToken);
      if (nConsumed < 0)
        return eTokenInvalid;
      m_operands.Truncate(std::max(m_operands.GetSize() - nConsumed, 0));
      if (!m_environment.GetAccount().IsSpent())
        return nToken;
      ReportRefusal();
      return eTokenInvalid;
    }
    if (nToken == eTokenEnd)
      return EndOfContent();
    if (m_pContent->WasTokenCut())
      return Stop(g_nOperandOverflow);
    if (nToken == eTokenInvalid)
      return Stop(g_nUnexpectedToken);
    if (nToken > eTokenDictionaryEnd)
      return Stop(g_nInvalidOperator);
    operand.m_nType = static_cast<TToken>(nToken);
    if (!Push(operand))
      return Stop(g_nOperandOverflow);
  }
}

bool CContentParserBase::Push(TOperand& operand)
{
  if (m_operands.GetSize() >= BSE::g_nMaxOperands || m_text.GetSize() > BSE::g_nMaxOperandText)
    return false;
  if (operand.m_nType >= eTokenArrayBegin)
    MatchBracket(operand);
  m_operands.Add(operand);
  return true;
}

void CContentParserBase::MatchBracket(TOperand& operand)
{
  const bool bArray = operand.m_nType == eTokenArrayBegin || operand.m_nType == eTokenArrayEnd;
  BSE::CBasicArray<int>& open = bArray ? m_openArrays : m_openDictionaries;
  if (operand.m_nType == eTokenArrayBegin || operand.m_nType == eTokenDictionaryBegin)
  {
    open.Add(m_operands.GetSize());
    return;
  }
  operand.m_nCount = 1;
  if (open.IsEmpty())
    return;
  operand.m_nCount = m_operands.GetSize() - open[open.GetSize() - 1] + 1;
  open.Truncate(open.GetSize() - 1);
}

void CContentParserBase::SetText(TOperand& operand, const char* pText, std::size_t nLength)
{
  operand.m_nText = m_text.GetSize();
  operand.m_nLength = static_cast<int>(nLength);
  m_text.Append({pText, nLength});
  m_text.Add('\0');
}

int CContentParserBase::ReadToken(TOperand& operand)
{
  int nToken = eTokenNone;
  if (m_nJoined != eTokenNone)
    return std::exchange(m_nJoined, eTokenNone);
  if (m_bTokenKept)
  {
    m_bTokenKept = false;
    return TakeScannerToken(operand);
  }
  return ReadSimpleToken(operand, nToken) ? nToken : ReadScannerToken(operand);
}

// The first byte of the next token, which stays.
int CContentParserBase::PeekTokenStart()
{
  int c = m_pContent->PeekByte();
  while (IsSpace(c) || c == '%')
  {
    if (c == '%')
      while (c >= 0 && c != '\r' && c != '\n')
      {
        m_pContent->GetByte();
        c = m_pContent->PeekByte();
      }
    else
    {
      m_pContent->GetByte();
      c = m_pContent->PeekByte();
    }
  }
  return c;
}

int CContentParserBase::ReadScannerToken(TOperand& operand)
{
  const int c = PeekTokenStart();
  const bool bString = c == '(' || c == '<';
  if (bString)
    m_pContent->SetOpenToken(BSE::g_nMaxOperandText);
  GetScanner().ReadToken();
  if (bString)
    m_pContent->SetOpenToken(-1);
  return TakeScannerToken(operand);
}

int CContentParserBase::TakeScannerToken(TOperand& operand)
{
  const CScanner& scanner = GetScanner();
  const TToken nToken = scanner.GetToken();
  switch (nToken)
  {
  case eTokenTrue:
    operand.m_nCount = 1;
    break;
  case eTokenInteger:
  case eTokenReal:
    operand.m_nCount = scanner.GetInteger();
    operand.m_dNumber = scanner.GetReal();
    m_nJoined = scanner.GetJoined() >= eTokenFirstOperator ? scanner.GetJoined() : eTokenNone;
    break;
  case eTokenString:
  case eTokenName:
    SetText(operand, scanner.GetText(), static_cast<std::size_t>(scanner.GetTextLength()));
    break;
  default:
    break;
  }
  return nToken;
}

CObjectPtr CContentParserBase::MakeObject(std::span<const TOperand> operands) const
{
  std::size_t nNext = 0;
  return MakeValue(operands, nNext, 0);
}

CObjectPtr CContentParserBase::MakeValue(std::span<const TOperand> operands, std::size_t& nNext,
                                         int nDepth) const
{
  if (nNext >= operands.size() || nDepth > BSE::g_nMaxNesting)
    return nullptr;
  const TOperand& operand = operands[nNext++];
  switch (operand.m_nType)
  {
  case eTokenFalse:
  case eTokenTrue:
    return new CBooleanObject(operand.m_nType == eTokenTrue);
  case eTokenInteger:
    return new CIntegerObject(operand.m_nCount);
  case eTokenReal:
    return new CRealObject(operand.m_dNumber);
  case eTokenString:
    return new CStringObject(CString(GetText(operand), operand.m_nLength));
  case eTokenName:
    return new CNameObject(CName(GetText(operand), static_cast<std::size_t>(operand.m_nLength)));
  case eTokenArrayBegin:
  {
    const CObjectPtr array = new CArrayObject;
    while (nNext < operands.size() && BeginsValue(operands[nNext].m_nType))
      array.Add(MakeValue(operands, nNext, nDepth + 1));
    if (nNext < operands.size() && operands[nNext].m_nType == eTokenArrayEnd)
      ++nNext;
    return array;
  }
  case eTokenDictionaryBegin:
  {
    const CObjectPtr dictionary = new CDictionaryObject;
    while (nNext < operands.size() && operands[nNext].m_nType == eTokenName)
    {
      const char* szKey = GetText(operands[nNext++]);
      if (nNext >= operands.size() || !BeginsValue(operands[nNext].m_nType))
        continue;
      if (const CObjectPtr value = MakeValue(operands, nNext, nDepth + 1))
        dictionary.AddEntry(szKey, value);
    }
    if (nNext < operands.size() && operands[nNext].m_nType == eTokenDictionaryEnd)
      ++nNext;
    return dictionary;
  }
  default:
    return nullptr;
  }
}

}  // namespace PDF
