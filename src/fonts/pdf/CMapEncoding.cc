#include "fonts/pdf/CMapEncoding.h"

#include "base/Tracer.h"
#include "fonts/pdf/StatusCodes.h"
#include "pdf/SimpleObjects.h"

#include <cstring>

namespace PDF
{

namespace
{

// CMaps that go on each other: real ones have two levels.
constexpr int g_nMaxCMapNesting = 8;

// Ranges of codes of one CMap: real ones have less than ten.
constexpr int g_nMaxCodeSpaces = 100;

constexpr int g_nMaxCID = 65535;

unsigned GetByte(std::uint32_t nValue, int nBytes, int nIndex)
{
  return nValue >> (8 * (nBytes - 1 - nIndex)) & 0xFF;
}

}  // namespace

bool ReadStream(const CObjectPtr& stream, CFontAccount& account, BSE::CBasicArray<unsigned char>& data,
                bool& bWhole)
{
  data.RemoveAll();
  bWhole = false;
  if (!stream.IsStream() || account.IsSpent())
    return false;
  const BSE::CObjectPtr<BSE::IByteStream> pStream = stream.GetDecodedStream();
  if (!pStream)
    return false;
  bWhole = pStream->ReadToArray(data, BSE::g_nMaxDecodedSize);
  if (account.Charge(data.GetSize()) && (bWhole || !data.IsEmpty()))
    return true;
  data.RemoveAll();
  return bWhole = false;
}

int CCMapEncoding::GetCID(std::uint32_t nCode, int nLength) const
{
  if (!IsInCodeSpace(nCode, nLength, nLength))
    return g_nNoCharacter;
  const int nCID = FindCID(nCode, nLength);
  return nCID < 0 || nCID >= g_nMaxCID ? 0 : nCID;
}

int CCMapEncoding::GetCodeLength(unsigned nCode) const
{
  for (int nLength = 1; nLength <= DOC::CCmapParser::g_nMaxCodeLength; ++nLength)
    if ((nLength == 4 || nCode >> (8 * nLength) == 0) && IsInCodeSpace(nCode, nLength, nLength))
      return nLength;
  return 0;
}

void CCMapEncoding::EnterCodes(BSE::CBasicArray<TCodes>& codes, int nLength, std::uint32_t nFirst,
                               std::uint32_t nLast, int nCID)
{
  for (std::uint32_t nCode = nFirst; nCID >= 0 && nCID < codes.GetSize(); ++nCode, ++nCID)
  {
    TCodes& entry = codes[nCID];
    if (entry.m_nLength == 0 || entry.m_nLength > nLength ||
        (entry.m_nLength == nLength && entry.m_nCode > nCode))
      entry = {nCode, nLength};
    if (nCode == nLast)
      break;
  }
}

std::int64_t CCMapEncoding::FindCode(int nCID, int& nLength) const
{
  if (m_codes.IsEmpty())
  {
    m_codes.SetSize(g_nMaxCID + 1);
    CollectCodes(m_codes);
  }
  const TCodes& entry = m_codes[nCID];
  nLength = entry.m_nLength;
  return nLength > 0 ? std::int64_t{entry.m_nCode} : -1;
}

std::int64_t CIdentityEncoding::FindCode(int nCID, int& nLength) const
{
  nLength = 2;
  return nCID >= 0 && nCID <= g_nMaxCID ? nCID : -1;
}

CStandardCMapEncoding::CStandardCMapEncoding(const char* szName)
    : CCMapEncoding(szName),
      m_cmap(szName),
      m_ordering(reinterpret_cast<const char*>(m_cmap.GetOrdering().data()), m_cmap.GetOrdering().size())
{
}

void CStandardCMapEncoding::CollectCodes(BSE::CBasicArray<TCodes>& codes) const
{
  m_cmap.ForEachRange([&](int nLength, std::uint32_t nFirst, std::uint32_t nLast, int nCID)
                      { EnterCodes(codes, nLength, nFirst, nLast, nCID); });
}

CEmbeddedCMapEncoding::CEmbeddedCMapEncoding(const CObjectPtr& stream, CFontAccount& account, int nDepth)
    : CCMapEncoding(stream["CMapName"].GetNameValue()), m_account(account)
{
  BSE::CBasicArray<unsigned char> data;
  // What is loaded for another CMap is loaded before this one is read.
  const CObjectPtr parent = stream["UseCMap"];
  if (parent)
    UseCMap(parent, nDepth + 1);
  bool bWhole = false;
  if (ReadStream(stream, account, data, bWhole))
    Parse(data.GetSpan());
  if (!bWhole)
    Fault("data is missing");
  ReadKeys(stream);
  for (CCodeMap* pMaps : {m_aCIDs, m_aNotdefs})
    for (int i = 0; i < g_nMaxCodeLength; ++i)
      pMaps[i].Finish(true);
  CompleteCodeSpaces();
}

void CEmbeddedCMapEncoding::Fault(const char* szMessage)
{
  SetIncomplete();
  if (!std::exchange(m_bFaultReported, true))
    BSE::ReportError(m_account.GetErrorContext(), BSE::MakeError(g_nCMapFormat, "msg", szMessage));
}

void CEmbeddedCMapEncoding::UseCMap(const CObjectPtr& cmap, int nDepth)
{
  if (m_pParent)
    return;
  if (nDepth >= g_nMaxCMapNesting)
  {
    Fault("too many CMaps that use each other");
    return;
  }
  m_pParent = CreateCMapEncoding(cmap, m_account, nDepth);
  if (m_pParent->IsComplete())
    return;
  SetIncomplete();
  if (cmap.IsName())
    BSE::ReportError(m_account.GetErrorContext(),
                     BSE::MakeError(g_nInvalidValue, "key", "UseCMap", "v1", cmap.GetNameValue(), "v2",
                                    "a predefined CMap"));
}

void CEmbeddedCMapEncoding::OnUseCMap(const char* szName)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "CMap Encoding", "Operator usecmap: %s", szName);
  // The dictionary has told it already, where it is another stream.
  UseCMap(CObjectPtr(new CNameObject(szName)), 0);
}

void CEmbeddedCMapEncoding::OnCodeSpaceRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high)
{
  if (m_spaces.GetSize() >= g_nMaxCodeSpaces)
    Fault("too many codespace ranges");
  else
    m_spaces.Add({low.m_nCode, high.m_nCode, low.m_nLength});
}

void CEmbeddedCMapEncoding::OnCIDRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high, int nCID)
{
  m_aCIDs[low.m_nLength - 1].Add(low.m_nCode, high.m_nCode, static_cast<std::uint32_t>(nCID));
}

void CEmbeddedCMapEncoding::OnNotdefRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high, int nCID)
{
  m_aNotdefs[low.m_nLength - 1].Add(low.m_nCode, high.m_nCode, static_cast<std::uint32_t>(nCID));
}

void CEmbeddedCMapEncoding::OnNumber(const char* szKey, int nValue)
{
  if (KeyEquals(szKey, "WMode"))
    m_nWMode = nValue;
  else if (KeyEquals(szKey, "Supplement"))
    m_nSupplement = nValue;
}

void CEmbeddedCMapEncoding::OnText(const char* szKey, const char* szText)
{
  if (KeyEquals(szKey, "Ordering"))
    m_ordering = szText;
}

// What the dictionary says goes before what the program says.
void CEmbeddedCMapEncoding::ReadKeys(const CObjectPtr& stream)
{
  if (const CObjectPtr mode = stream["WMode"]; mode.IsNumber())
    m_nWMode = static_cast<int>(mode.GetIntegerValue() != 0);
  if (m_nWMode < 0)
    m_nWMode = m_pParent ? m_pParent->GetWMode() : 0;
  const CObjectPtr info = stream["CIDSystemInfo"];
  if (const CObjectPtr supplement = info["Supplement"]; supplement.IsInteger())
    m_nSupplement = BSE::ClampTo<int>(supplement.GetIntegerValue());
  if (const CObjectPtr ordering = info["Ordering"]; ordering.IsString())
    m_ordering = CName(reinterpret_cast<const char*>(ordering.GetStringValue().GetData()),
                       static_cast<std::size_t>(ordering.GetStringValue().GetLength()));
}

// Some writers leave them out.
void CEmbeddedCMapEncoding::CompleteCodeSpaces()
{
  if (!m_spaces.IsEmpty() || m_pParent)
    return;
  for (int i = 0; i < g_nMaxCodeLength; ++i)
    for (const TCodeRange& range :
         {m_aCIDs[i].GetRanges().empty() ? TCodeRange{} : m_aCIDs[i].GetRanges().front()})
      if (!m_aCIDs[i].IsEmpty())
        m_spaces.Add({range.m_nFirst, m_aCIDs[i].GetRanges().back().m_nLast, i + 1});
  if (m_spaces.IsEmpty())
    m_spaces.Add({0, 0xFFFF, 2});
}

bool CEmbeddedCMapEncoding::IsInCodeSpace(std::uint32_t nCode, int nBytes, int nLength) const
{
  for (const TCodeSpace& space : m_spaces.GetSpan())
  {
    bool bInside = space.m_nLength == nLength && nBytes <= nLength;
    for (int i = 0; bInside && i < nBytes; ++i)
    {
      const unsigned nByte = GetByte(nCode, nBytes, i);
      bInside = nByte >= GetByte(space.m_nLow, nLength, i) && nByte <= GetByte(space.m_nHigh, nLength, i);
    }
    if (bInside)
      return true;
  }
  return m_pParent && m_pParent->IsInCodeSpace(nCode, nBytes, nLength);
}

int CEmbeddedCMapEncoding::FindCID(std::uint32_t nCode, int nLength) const
{
  if (const TCodeRange* pRange = m_aCIDs[nLength - 1].Find(nCode))
    return static_cast<int>(
        std::min<std::uint64_t>(std::uint64_t{pRange->m_nValue} + pRange->GetStep(nCode), g_nMaxCID));
  if (const int nCID = m_pParent ? m_pParent->FindCID(nCode, nLength) : -1; nCID >= 0)
    return nCID;
  const TCodeRange* pNotdef = m_aNotdefs[nLength - 1].Find(nCode);
  return pNotdef ? static_cast<int>(std::min<std::uint32_t>(pNotdef->m_nValue, g_nMaxCID)) : -1;
}

void CEmbeddedCMapEncoding::CollectCodes(BSE::CBasicArray<TCodes>& codes) const
{
  for (int i = 0; i < g_nMaxCodeLength; ++i)
    for (const TCodeRange& range : m_aCIDs[i].GetRanges())
      EnterCodes(codes, i + 1, range.m_nFirst, range.m_nLast,
                 static_cast<int>(std::min<std::uint64_t>(
                     std::uint64_t{range.m_nValue} + range.GetStep(range.m_nFirst), g_nMaxCID)));
  // Codes that this one gives another CID do not lead to that of the other.
  for (int nCID = 0; m_pParent && nCID < codes.GetSize(); ++nCID)
  {
    int nLength = 0;
    const std::int64_t nCode = m_pParent->FindCode(nCID, nLength);
    if (nCode >= 0 && FindCID(static_cast<std::uint32_t>(nCode), nLength) == nCID)
      EnterCodes(codes, nLength, static_cast<std::uint32_t>(nCode), static_cast<std::uint32_t>(nCode), nCID);
  }
}

namespace
{

BSE::CObjectPtr<CCMapEncoding> CreateNamedCMap(const char* szName)
{
  if (KeyEquals(szName, "Identity-H") || KeyEquals(szName, "Identity"))
    return new CIdentityEncoding(szName, false);
  if (KeyEquals(szName, "Identity-V"))
    return new CIdentityEncoding(szName, true);
  const BSE::CObjectPtr<CStandardCMapEncoding> pStandard(new CStandardCMapEncoding(szName));
  if (pStandard->IsKnown())
    return pStandard;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "Font Encoding", "Unknown encoding %s.", szName ? szName : "");
  const std::size_t nLength = szName ? std::strlen(szName) : 0;
  const BSE::CObjectPtr<CCMapEncoding> pUnknown(
      new CIdentityEncoding(szName, nLength > 1 && std::strcmp(szName + nLength - 2, "-V") == 0));
  pUnknown->SetIncomplete();
  return pUnknown;
}

}  // namespace

BSE::CObjectPtr<CCMapEncoding> CreateCMapEncoding(const CObjectPtr& encoding, CFontAccount& account,
                                                  int nDepth)
{
  if (!encoding.IsStream() || nDepth >= g_nMaxCMapNesting)
    return CreateNamedCMap(encoding.IsName() ? encoding.GetNameValue() : nullptr);
  const int nNumber = encoding.GetObjNumber();
  if (BSE::IObject* pKnown = account.GetCMaps().Find(nNumber))
    return dynamic_cast<CCMapEncoding*>(pKnown);
  BSE::CObjectPtr<CCMapEncoding> pEncoding(new CEmbeddedCMapEncoding(encoding, account, nDepth));
  account.GetCMaps().SetAt(nNumber, pEncoding.Get());
  return pEncoding;
}

}  // namespace PDF
