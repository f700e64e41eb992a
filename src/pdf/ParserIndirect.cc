// Indirect objects and stream data of CParser. The Length of a stream is believed only if "endstream" or
// "endobj" is after the data that it measures; otherwise the end of the data is searched for, and what was
// found serves every stream that begins in between, so that a file without a single right Length is still
// searched once only. The Length may be a reference, and following it uses this very parser: what is needed
// afterwards is put aside first.

#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/FilterFactory.h"
#include "pdf/Parser.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StatusCodes.h"
#include "pdf/StreamObjects.h"

#include <algorithm>

namespace PDF
{

namespace
{

bool IsEol(int c)
{
  return c == '\r' || c == '\n';
}

}  // namespace

bool CParser::ParseIndirectObject(CIndirectObject* pObject, std::int64_t nPos)
{
  m_nObject = pObject && pObject->GetGenNumber() >= 0 ? pObject->GetObjNumber() : -1;
  m_nGeneration = 0;
  m_nDepth = 0;
  m_bDecrypt = false;
  m_nOpenArrays = m_nOpenDictionaries = 0;
  m_nFailure = 0;
  if (!ReadObjectHeader(pObject, nPos))
    return false;
  CSecurityHandler* pSecurity = m_pFile->GetSecurityHandler();
  m_bDecrypt = pSecurity && pObject && !pSecurity->HasPlainStrings(*pObject);
  m_nValueStart = m_scanner.Tell();
  m_scanner.ReadToken();
  CObjectPtr stream;
  const CObjectPtr value = ParseDictionaryOrStream(pObject, stream);
  m_bDecrypt = false;
  if (pObject)
    pObject->SetParsed(value.Get(), stream.Get());
  if (!value)
    BSE::ReportError(m_pErrorContext,
                     BSE::MakeError(g_nEmptyObject, "obj", m_nObject, "Object No.", m_nObject));
  CheckEndOfObject();
  return true;
}

void CParser::NoteDamage(CIndirectObject* pObject, unsigned nCode)
{
  if (pObject && pObject->GetFile())
    pObject->GetFile()->NoteDamage(m_nObject, nCode);
}

bool CParser::IsAtEndStream() const
{
  constexpr char szWord[] = "endstream";
  constexpr int nLength = sizeof(szWord) - 1;
  return m_scanner.GetToken() == eTokenEndStream ||
         (m_scanner.GetToken() == eTokenKeyword && m_scanner.GetTextLength() > nLength &&
          std::memcmp(m_scanner.GetText(), szWord, nLength) == 0);
}

bool CParser::ReadObjectHeader(CIndirectObject* pObject, std::int64_t nPos)
{
  if (!SeekTo(nPos))
  {
    Report(g_nBadPosition);
    return false;
  }
  if (m_scanner.IsStrict() && nPos > 0)
  {
    // One byte earlier, so that the scanner sees what separates the object from what comes before it.
    SeekTo(nPos - 1);
    const int nBefore = m_scanner.GetStream().GetByte();
    const int nFirst = m_scanner.GetStream().PeekByte();
    if (!IsSpace(nBefore) || nFirst < '0' || nFirst > '9')
      Report(g_nWrongOffset);
    else
      SeekTo(nPos - 1);
  }
  m_scanner.ReadToken();
  if (m_scanner.GetToken() != eTokenInteger)
  {
    Report(g_nNoObjectNumber);
    return false;
  }
  ReportStrict(m_scanner.IsEolAtEnd(), g_nNumberSeparator);
  const std::int64_t nNumber = m_scanner.GetInteger();
  m_scanner.ReadToken();
  if (m_scanner.GetToken() != eTokenInteger)
  {
    Report(g_nNoGeneration);
    return false;
  }
  ReportStrict(m_scanner.HasSpaceBefore(), g_nGenerationSeparator);
  const std::int64_t nGeneration = m_scanner.GetInteger();
  m_scanner.ReadToken();
  if (m_scanner.GetToken() != eTokenObj)
  {
    Report(g_nNoObj);
    return false;
  }
  ReportStrict(m_scanner.HasSpaceBefore(), g_nObjSeparator);
  ReportStrict(IsEol(m_scanner.GetStream().PeekByte()), g_nAfterObj);
  if (nNumber < 0 || nNumber > INT32_MAX || nGeneration < 0 || nGeneration > INT32_MAX)
    return false;
  const auto nObject = static_cast<int>(nNumber);
  const auto nGen = static_cast<int>(nGeneration);
  if (pObject && pObject->GetGenNumber() >= 0)
  {
    if (pObject->GetObjNumber() != nObject)
      BSE::ReportError(m_pErrorContext,
                       BSE::MakeError(g_nOtherObject, "n1", nObject, "n2", pObject->GetObjNumber(),
                                      "Object No.", pObject->GetObjNumber()));
    else if (pObject->GetGenNumber() != nGen && !m_pFile->NoteOtherGeneration(nObject))
      BSE::ReportError(m_pErrorContext, BSE::MakeError(g_nOtherGeneration, "n1", nGen, "n2",
                                                       pObject->GetGenNumber(), "Object No.", nObject));
    // Another generation of the same number is used all the same.
    if (pObject->GetObjNumber() != nObject)
      return false;
  }
  else if (pObject)
    pObject->SetNumbers(nObject, nGen);
  m_nObject = nObject;
  m_nGeneration = nGen;
  return true;
}

CObjectPtr CParser::ParseDictionaryOrStream(CIndirectObject* pObject, CObjectPtr& stream)
{
  const TToken nFirst = m_scanner.GetToken();
  BeginValue();
  CObjectPtr value = ParseObject();
  if (pObject)
    pObject->SetCost(m_scanner.Tell() - m_nValueStart);
  if (IsCut() || (!value && nFirst >= eTokenObj && nFirst != eTokenEndObj))
    NoteDamage(pObject, g_nNotRepairable);
  if (m_scanner.GetToken() != eTokenStream || !value || value.GetType() != eDictionary)
  {
    if (value && HasRest(value))
      NoteDamage(pObject, g_nNoEndObj);
    return value;
  }
  // The stream may ask for its length through objects that use this parser too.
  const int nObject = m_nObject;
  const int nGeneration = m_nGeneration;
  bool bKept = true;
  stream = ParseStreamData(pObject, static_cast<CDictionaryObject&>(*value), bKept);
  m_nObject = nObject;
  m_nGeneration = nGeneration;
  if (!bKept)
    stream = nullptr;
  return value;
}

// Text that is not a token of a value hides nothing, unless it is where the data of a stream should begin.
bool CParser::HasRest(const CObjectPtr& value)
{
  const TToken nToken = m_scanner.GetToken();
  if (nToken == eTokenKeyword)
    return value.GetType() == eDictionary && value["Length"] &&
           std::strncmp(m_scanner.GetText(), "end", 3) != 0;
  if (nToken != eTokenInteger)
    return BeginsValue(nToken) || nToken == eTokenStream;
  // Where "endobj" is missing, the next object follows.
  TScannerState state;
  m_scanner.SaveContext(state);
  m_scanner.ReadToken();
  const bool bNumbers = m_scanner.GetToken() == eTokenInteger;
  m_scanner.ReadToken();
  const bool bRest = !bNumbers || m_scanner.GetToken() != eTokenObj;
  m_scanner.RestoreContext(state);
  return bRest;
}

std::int64_t CParser::FindStreamLength(CDictionaryObject& dictionary, std::int64_t nData)
{
  CObjectPtr length = dictionary.GetEntry("Length");
  const int nObject = m_nObject;
  std::int64_t nLength = GetIntegerOr(length, -1);
  m_nObject = nObject;
  std::int64_t nEnd = -1;
  if (nLength >= 0 && !__builtin_add_overflow(nData, nLength, &nEnd) && m_scanner.Seek(nEnd) &&
      m_scanner.Tell() == nEnd && m_scanner.ReadToken() &&
      (IsAtEndStream() || m_scanner.GetToken() == eTokenEndObj))
    return nLength;
  Report(g_nWrongLength);
  if (nData < m_nSearchStart || nData > m_nSearchEnd)
  {
    // Remembered, so that streams which all lack their end do not each read the rest of the file.
    m_scanner.Seek(nData);
    m_nSearchEnd = m_scanner.FindEndStream();
    m_nSearchStart = nData;
  }
  nLength = m_nSearchEnd - nData;
  dictionary.AddEntry("Length", new CIntegerObject(nLength));
  return nLength;
}

CObjectPtr CParser::ParseStreamData(CIndirectObject* pObject, CDictionaryObject& dictionary, bool& bKept)
{
  const std::int64_t nData = m_scanner.SkipStreamEol();
  ReportStrict(m_scanner.IsStreamEolOk(), g_nStreamSeparator);
  const std::int64_t nLength = FindStreamLength(dictionary, nData);
  m_scanner.Seek(nData + nLength);
  m_scanner.ReadToken();
  if (!IsAtEndStream())
  {
    Report(g_nNoEndStream);
    // Data up to the end of the object is whole, up to the end of the file it is what is left.
    const bool bWhole = m_scanner.GetToken() == eTokenEndObj;
    bKept = bWhole || (m_scanner.GetToken() == eTokenEnd && nLength > 0);
    if (!bWhole)
      NoteDamage(pObject, g_nNoEndStream);
    if (!bKept)
      return CObjectPtr();
  }
  else
  {
    ReportStrict(m_scanner.HasEolBefore(), g_nEndStreamSeparator);
    // "endstreamendobj" ends the object as well.
    if (m_scanner.GetToken() == eTokenEndStream)
      m_scanner.ReadToken();
  }
  if (m_scanner.IsStrict())
    ReportStrict(
        !dictionary.GetEntry("F") && !dictionary.GetEntry("FFilter") && !dictionary.GetEntry("FDecodeParms"),
        g_nExternalData);
  if (nLength < 1)
    return new CStreamObject(new BSE::CMemoryStream);
  BSE::CObjectPtr<CEncodedStreamObject> pPart(
      new CEncodedStreamObject(m_pFile, nData, nLength, m_nObject, m_nGeneration));
  CSecurityHandler* pSecurity = m_pFile->GetSecurityHandler();
  if (pSecurity && pObject)
  {
    pObject->SetParsed(&dictionary, nullptr);
    ChooseCrypt(*pSecurity, *pObject, dictionary, *pPart);
  }
  return pPart.Get();
}

// A named crypt filter is applied where the data are read. It is removed from the other filters, so that a
// copy in a file that does not know the name needs none.
void CParser::ChooseCrypt(CSecurityHandler& security, CIndirectObject& object, CDictionaryObject& dictionary,
                          CEncodedStreamObject& part)
{
  const CObjectPtr name = GetCryptFilterName(&object);
  if (IsPlainByFilter(&object) || security.HasPlainStrings(object) || (!name && security.IsExempt(object)) ||
      m_pFile->IsXRefStream(object))
    return part.SetPlain();
  part.SetCrypt(security.FindStreamCrypt(object, name.GetNameValue()));
  if (name)
    RemoveFirstFilter(dictionary);
}

void CParser::CheckEndOfObject()
{
  if (m_scanner.GetToken() != eTokenEndObj && !IsAtEndStream())
  {
    Report(g_nNoEndObj);
    return;
  }
  ReportStrict(m_scanner.HasEolBefore(), g_nEndObjSeparator);
  ReportStrict(IsEol(m_scanner.GetStream().PeekByte()), g_nAfterEndObj);
}

bool CParser::IsObjectAt(int nObjNumber, std::int64_t nPos)
{
  if (!SeekTo(nPos))
    return false;
  m_scanner.ReadToken();
  if (m_scanner.GetToken() != eTokenInteger || m_scanner.GetInteger() != nObjNumber)
    return false;
  m_scanner.ReadToken();
  if (m_scanner.GetToken() != eTokenInteger)
    return false;
  m_scanner.ReadToken();
  return m_scanner.GetToken() == eTokenObj;
}

}  // namespace PDF
