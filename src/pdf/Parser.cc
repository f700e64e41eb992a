// Values by recursive descent. Only containers recurse, and no deeper than g_nMaxNesting; a value that goes
// deeper, or has more elements than it may, is given up as a whole from the outermost container, since a part
// of it would be another value. A token that has no place in a container is stepped over, unless it ends
// something around it: one stray byte then costs itself and not the rest of the object. Every integer may
// begin a reference, which takes two more tokens to see. That is decided on the bytes in the buffer wherever
// they suffice, because arrays are full of numbers, and saving and restoring the scanner for each would be
// most of the work.

#include "pdf/Parser.h"

#include "base/Checked.h"
#include "base/Limits.h"
#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "base/Unicode.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StatusCodes.h"

namespace PDF
{

namespace
{

// One more than PDF/A-1 allows: 8191 elements, 4095 entries (PDF Reference 1.4, Table C.1).
constexpr int g_nStrictArraySize = 8192;
constexpr int g_nStrictDictionarySize = 4096;
constexpr int g_nReadAhead = 8192;

// What a dictionary takes in memory, counted in elements.
constexpr int g_nDictionaryValues = 6;

bool IsUtf8(const char* pText, std::size_t nLength)
{
  std::span<const char> text(pText, nLength);
  while (!text.empty())
  {
    int nUnits = 0;
    if (BSE::DecodeCharacter(text, nUnits) >= BSE::g_nIncompleteCharacter)
      return false;
    text = text.subspan(static_cast<std::size_t>(nUnits));
  }
  return true;
}

}  // namespace

CParser::CParser(CFile* pFile)
    : m_pFile(pFile),
      m_scanner(new BSE::CBufferedInputStream(pFile->GetInput(), g_nReadAhead), pFile),
      m_pErrorContext(pFile),
      m_bFileLevel(true)
{
  m_nHeaderOffset = pFile->GetHeaderOffset();
  UpdateConformance();
}

CParser::CParser(CFile* pFile, const BSE::CObjectPtr<BSE::CBufferedInputStream>& pStream,
                 BSE::IErrorContext* pErrorContext)
    : m_pFile(pFile),
      m_scanner(pStream, pErrorContext),
      m_pErrorContext(pErrorContext),
      m_bFileLevel(pFile != nullptr)
{
  UpdateConformance();
}

void CParser::UpdateConformance()
{
  if (!m_pFile)
    return;
  const CConformance conformance = m_pFile->GetConformance();
  const auto nCode = static_cast<int>(conformance.GetCode());
  // Strings up to PDF 1.5, names in all versions 1.x (PDF Reference, Table C.1); strings from PDF/A-2 on (ISO
  // 19005-2, 6.1.13).
  int nMaxString = -1;
  if (nCode != 0 && nCode < 0x1600)
    nMaxString = 65535;
  else if (conformance.GetPart() >= 2)
    nMaxString = 32767;
  m_scanner.SetStrict(conformance.IsStrict(), nMaxString, nCode != 0 && nCode <= 8191 ? 127 : -1);
}

CConformance CParser::GetConformance() const
{
  return m_pFile ? m_pFile->GetConformance() : CConformance();
}

bool CParser::IsLimited() const
{
  const CConformance conformance = GetConformance();
  return !conformance.IsNone() && conformance.GetCode() <= 0x15FF;
}

void CParser::Report(unsigned nCode)
{
  m_nFailure = nCode;
  if (m_nObject > 0)
    BSE::ReportError(m_pErrorContext, BSE::MakeError(nCode, "Object No.", m_nObject));
  else
    BSE::ReportError(m_pErrorContext, nCode);
}

bool CParser::SeekTo(std::int64_t nPos)
{
  std::int64_t nTarget = 0;
  return nPos >= 0 && BSE::CheckedAdd(nPos, m_nHeaderOffset, nTarget) && m_scanner.Seek(nTarget) &&
         m_scanner.Tell() == nTarget;
}

CObjectPtr CParser::ParseValue()
{
  m_scanner.ReadToken();
  return ParseObject();
}

CObjectPtr CParser::ParseObject()
{
  CObjectPtr value;
  switch (m_scanner.GetToken())
  {
  case eTokenNull:
    break;
  case eTokenFalse:
    value = new CBooleanObject(false);
    break;
  case eTokenTrue:
    value = new CBooleanObject(true);
    break;
  case eTokenInteger:
    if (m_bFileLevel && IsReference())
      return ParseReference();
    value = new CIntegerObject(m_scanner.GetInteger());
    break;
  case eTokenReal:
    value = new CRealObject(m_scanner.GetReal());
    break;
  case eTokenString:
    value = ParseString();
    break;
  case eTokenName:
    value = ParseName();
    break;
  case eTokenArrayBegin:
    return ParseContainer(true);
  case eTokenDictionaryBegin:
    return ParseContainer(false);
  default:
    return CObjectPtr();
  }
  m_scanner.ReadToken();
  return value;
}

CObjectPtr CParser::ParseContainer(bool bArray)
{
  if (m_nDepth >= BSE::g_nMaxNesting)
  {
    m_bExcess = true;
    return CObjectPtr();
  }
  int& nOpen = bArray ? m_nOpenArrays : m_nOpenDictionaries;
  CObjectPtr value;
  {
    // Restored even if memory runs out.
    const BSE::CScopedValue<int> depth(m_nDepth, m_nDepth + 1);
    const BSE::CScopedValue<int> open(nOpen, nOpen + 1);
    value = bArray ? ParseArray() : ParseDictionary();
  }
  if (!m_bExcess)
    return value;
  if (m_nDepth == 0)
  {
    // Everything around the excess is given up: a value cut in its middle would be another value.
    BSE::CTracer::Trace("E", "PDF Parser", "Object %d is nested deeper than %d levels, or too large.",
                        m_nObject, BSE::g_nMaxNesting);
    Report(g_nNotRepairable);
    m_bExcess = false;
    m_bCut = true;
  }
  return CObjectPtr();
}

bool CParser::SkipStray(bool bArray)
{
  const TToken nToken = m_scanner.GetToken();
  if (nToken == (bArray ? eTokenArrayEnd : eTokenDictionaryEnd) || m_bExcess)
    return false;
  m_bCut = true;
  // The end of something around it ends it as well. In content an operator does, which would be lost.
  if (nToken == eTokenEnd || (nToken >= eTokenStream && nToken <= eTokenStartXRef && nToken != eTokenR) ||
      (nToken == eTokenArrayEnd && m_nOpenArrays > 0) ||
      (nToken == eTokenDictionaryEnd && m_nOpenDictionaries > 0) || !m_bFileLevel)
    return false;
  // In a dictionary a value without a key.
  if (!BeginsValue(nToken))
    m_scanner.ReadToken();
  else
    ParseObject();
  return true;
}

CObjectPtr CParser::ParseString()
{
  CString text(m_scanner.GetText(), m_scanner.GetTextLength());
  m_bCut = m_bCut || m_scanner.IsTextCut();
  if (m_bDecrypt)
  {
    bool bWhole = true;
    text = m_pFile->GetSecurityHandler()->DecryptString(text, m_nObject, m_nGeneration, &bWhole);
    m_bCut = m_bCut || !bWhole;
  }
  return new CStringObject(std::move(text));
}

CObjectPtr CParser::ParseName()
{
  const auto nLength = static_cast<std::size_t>(m_scanner.GetTextLength());
  if (m_scanner.IsStrict() && GetConformance().GetPart() >= 2 && !IsUtf8(m_scanner.GetText(), nLength))
    Report(g_nNotUtf8);
  return new CNameObject(CName(m_scanner.GetText(), nLength));
}

CObjectPtr CParser::ParseArray()
{
  BSE::CObjectPtr<CArrayObject> pArray(new CArrayObject);
  m_scanner.ReadToken();
  while (!m_bExcess)
  {
    if (BeginsValue(m_scanner.GetToken()))
    {
      pArray->Add(ParseObject().Get());
      CountValues(1);
    }
    else if (!SkipStray(true))
      break;
  }
  if (m_scanner.GetToken() == eTokenArrayEnd)
    m_scanner.ReadToken();
  if (m_scanner.IsStrict() && pArray->GetSize() >= g_nStrictArraySize && IsLimited())
    Report(g_nArrayTooLong);
  return pArray.Get();
}

CObjectPtr CParser::ParseDictionary()
{
  BSE::CObjectPtr<CDictionaryObject> pDictionary(new CDictionaryObject);
  CountValues(g_nDictionaryValues);
  CString contents;
  bool bContentsCut = false;
  int nEntries = 0;
  m_scanner.ReadToken();
  while (!m_bExcess)
  {
    if (m_scanner.GetToken() != eTokenName)
    {
      if (!SkipStray(false))
        break;
      continue;
    }
    const CName key(m_scanner.GetText(), static_cast<std::size_t>(m_scanner.GetTextLength()));
    if (m_scanner.IsStrict() && GetConformance().GetPart() >= 2 && !IsUtf8(key.GetText(), key.GetLength()))
      Report(g_nNotUtf8);
    m_scanner.ReadToken();
    const bool bContents = m_bDecrypt && m_scanner.GetToken() == eTokenString && key == "Contents";
    const bool bCutBefore = m_bCut;
    if (bContents)
      contents = CString(m_scanner.GetText(), m_scanner.GetTextLength());
    const CObjectPtr value = ParseObject();
    if (bContents)
      bContentsCut = std::exchange(m_bCut, bCutBefore);
    if (!value)
      continue;
    pDictionary->AddEntry(key.GetText(), value.Get());
    CountValues(1);
    ++nEntries;
  }
  // A signature is put into the finished file, and so it is plain (ISO 32000-2, 7.6.2).
  if (!contents.IsEmpty() && pDictionary->GetIndex("ByteRange") >= 0)
    pDictionary->AddEntry("Contents", new CStringObject(contents));
  else
    m_bCut = m_bCut || bContentsCut;
  if (m_scanner.GetToken() == eTokenDictionaryEnd)
    m_scanner.ReadToken();
  if (m_scanner.IsStrict() && nEntries >= g_nStrictDictionarySize && IsLimited())
    Report(g_nDictionaryTooLong);
  return pDictionary.Get();
}

CParser::TLookAhead CParser::LookAheadForReference()
{
  // Works on the bytes in the buffer; what it cannot decide there goes through the scanner.
  const std::span<const unsigned char> ahead = m_scanner.GetStream().GetBuffered();
  std::size_t i = 0;
  const std::size_t n = ahead.size();
  while (i < n && IsSpace(ahead[i]))
    ++i;
  const std::size_t nDigits = i;
  while (i < n && ahead[i] >= '0' && ahead[i] <= '9')
    ++i;
  if (i == n)
    return eUnknown;
  if (i == nDigits)
    return ahead[i] == '%' || ahead[i] == '+' || ahead[i] == '-' ? eUnknown : eNo;
  const std::size_t nSpace = i;
  while (i < n && IsSpace(ahead[i]))
    ++i;
  if (i + 1 >= n || ahead[i] == '%')
    return eUnknown;
  // No blank after the number, or more than a generation with its blanks takes: the scanner decides.
  if (i == nSpace || i - nDigits > 12)
    return eUnknown;
  return ahead[i] == 'R' && !IsRegular(ahead[i + 1]) ? eYes : eNo;
}

bool CParser::IsReference()
{
  const TLookAhead nAnswer = LookAheadForReference();
  if (nAnswer != eUnknown)
    return nAnswer == eYes;
  TScannerState state;
  m_scanner.SaveContext(state);
  m_scanner.ReadToken();
  bool bReference = false;
  if (m_scanner.GetToken() == eTokenInteger && m_scanner.GetJoined() == eTokenR)
    bReference = true;
  else if (m_scanner.GetToken() == eTokenInteger)
  {
    m_scanner.ReadToken();
    bReference = m_scanner.GetToken() == eTokenR;
  }
  m_scanner.RestoreContext(state);
  return bReference;
}

CObjectPtr CParser::ParseReference()
{
  const std::int64_t nNumber = m_scanner.GetInteger();
  m_scanner.ReadToken();
  const std::int64_t nGeneration = m_scanner.GetInteger();
  if (m_scanner.GetJoined() != eTokenR)
    m_scanner.ReadToken();
  m_scanner.ReadToken();
  if (nNumber < 1)
    return CObjectPtr();
  if (nNumber > BSE::g_nMaxObjNumber || nGeneration < 0 || nGeneration > 65535)
  {
    // It may lead to an object that is there, and is not read.
    m_bCut = true;
    return CObjectPtr();
  }
  return m_pFile->GetObject(static_cast<int>(nNumber), static_cast<int>(nGeneration));
}

}  // namespace PDF
