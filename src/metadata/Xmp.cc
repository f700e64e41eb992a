// All changes are made in the tree of the packet and, by way of an interface, in the dictionary of the
// document. A stream without a usable tree is in one of three states. One that is empty had nothing to lose.
// One that is damaged is reported as a loss and replaced by a packet made from the dictionary. One that is
// too large for a tree is carried over as it is, and only its claim to be PDF/A is searched for in its bytes,
// piece by piece. An update first brings both sides in step, the packet's values winning, then adds what is
// missing, and writes the history last, since its events name the document's identifier and the time.

#include "metadata/Xmp.h"

#include "base/DecodeFilter.h"
#include "base/Random.h"
#include "base/Unicode.h"
#include "metadata/XmpSchema.h"

#include <algorithm>
#include <string_view>

namespace PDF
{

namespace
{

constexpr const char* g_szNoParameters = "No additional information provided";

// "urn:uuid:" with a random UUID (RFC 4122, 4.4); empty if the system gives no random numbers.
BSE::CStr8 MakeInstanceId()
{
  constexpr char digits[] = "0123456789abcdef";
  unsigned char bytes[16] = {};
  if (!BSE::GetRandomBytes(bytes))
    return {};
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
  BSE::CStr8 id("urn:uuid:");
  for (int i = 0; i < 16; ++i)
  {
    if (i == 4 || i == 6 || i == 8 || i == 10)
      id.Append('-');
    id.Append(digits[bytes[i] >> 4]);
    id.Append(digits[bytes[i] & 0x0F]);
  }
  return id;
}

BSE::CStr16 ToUtf16(const char* szText)
{
  BSE::CStr16 text;
  BSE::ConvertText(szText, text, BSE::TInvalidText::Replace);
  return text;
}

std::span<const char> TrimBlanks(std::span<const char> text)
{
  while (!text.empty() && text.front() == ' ')
    text = text.subspan(1);
  while (!text.empty() && text.back() == ' ')
    text = text.first(text.size() - 1);
  return text;
}

// The pieces in which a packet is read that is not parsed, and the bytes that a claim may take across their
// border.
constexpr int g_nPiece = 1 << 20;
constexpr int g_nOverlap = 128;

// Appends at most nMax bytes; false on failure.
bool ReadUpTo(BSE::IByteStream& stream, std::int64_t nMax, BSE::CBasicArray<unsigned char>& bytes)
{
  unsigned char buffer[4096];
  while (nMax > 0)
  {
    const std::int64_t nRead = stream.Read(buffer, std::min<std::int64_t>(nMax, sizeof buffer));
    if (nRead <= 0)
      return nRead == 0;
    bytes.Append(std::span<const unsigned char>(buffer, static_cast<std::size_t>(nRead)));
    nMax -= nRead;
  }
  return true;
}

// The value that follows the name, of an attribute or an element: one character is all that a claim has.
BSE::CStr8 FindValue(std::span<const char> text, std::string_view name)
{
  const auto found = std::search(text.begin(), text.end(), name.begin(), name.end());
  auto rest = text.subspan(static_cast<std::size_t>(found - text.begin()));
  if (rest.size() <= name.size())
    return {};
  rest = rest.subspan(name.size());
  constexpr std::string_view blanks = " \t\r\n=\"'>";
  while (!rest.empty() && blanks.find(rest.front()) != std::string_view::npos)
    rest = rest.subspan(1);
  return rest.empty() ? BSE::CStr8() : BSE::CStr8(rest.data(), 1);
}

}  // namespace

struct CXMP::TEvent
{
  BSE::CStr8 m_action;
  BSE::CStr8 m_parameters;
};

CXMP::CXMP() : m_newInstanceId(MakeInstanceId()) {}

CXMP::~CXMP()
{
  DropEvents();
}

void CXMP::DropEvents()
{
  for (TEvent* pEvent : m_events.GetSpan())
    delete pEvent;
  m_events.RemoveAll();
}

bool CXMP::Load(BSE::IByteStream* pStream)
{
  m_pPacket.Reset();
  m_bBroken = true;
  m_bCarried = false;
  BSE::CBasicArray<unsigned char> bytes;
  BSE::CObjectPtr<XMP::CPacket> pPacket(new XMP::CPacket(&m_errors));
  if (!pStream || !pStream->IsValid() || !ReadUpTo(*pStream, XMP::CPacket::g_nMaxBytes + 1, bytes))
  {
    BSE::ReportLoss(&m_errors, XMP::g_nInvalidPacket);
    return false;
  }
  if (bytes.IsEmpty())
  {
    // Nothing is lost with an empty stream, unless it only looks like one.
    if (BSE::HasGap(pStream))
      BSE::ReportLoss(&m_errors, XMP::g_nInvalidPacket);
    return false;
  }
  if (pPacket->Read(bytes.GetSpan()))
  {
    m_pPacket = std::move(pPacket);
    m_bBroken = false;
    return true;
  }
  if (!pPacket->IsTooLarge())
    return false;
  m_bCarried = true;
  m_bBroken = false;
  while (bytes.GetSize() > 0 && (m_carriedPart.IsEmpty() || m_carriedLevel.IsEmpty()))
  {
    FindClaim(bytes.GetSpan());
    // What is across the end of a piece is found by the next one.
    const BSE::CBasicArray<unsigned char> former = std::move(bytes);
    bytes = BSE::CBasicArray<unsigned char>();
    const int nKept = std::min(former.GetSize(), g_nOverlap);
    bytes.Append(former.GetSpan().last(static_cast<std::size_t>(nKept)));
    if (!ReadUpTo(*pStream, g_nPiece, bytes) || bytes.GetSize() == nKept)
      break;
  }
  return false;
}

// The claim of a packet that is not parsed. Its prefix is prescribed (ISO 19005-1, 6.7.11).
void CXMP::FindClaim(std::span<const unsigned char> bytes)
{
  const std::span<const char> text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (m_carriedPart.IsEmpty())
    m_carriedPart = FindValue(text, "pdfaid:part");
  if (m_carriedLevel.IsEmpty())
    m_carriedLevel = FindValue(text, "pdfaid:conformance");
}

void CXMP::CopyFrom(const CXMP& other)
{
  m_bBroken = other.m_bBroken;
  m_bCarried = other.m_bCarried;
  m_nPart = other.m_nPart;
  m_newInstanceId = other.m_newInstanceId;
  m_pPacket.Reset();
  if (!other.m_pPacket)
    return;
  m_pPacket = new XMP::CPacket(&m_errors);
  m_pPacket->CopyFrom(*other.m_pPacket);
}

BSE::CStr8 CXMP::GetClaimedPart() const
{
  return m_pPacket ? m_pPacket->GetText(XMP::g_szPdfAId, "part") : m_carriedPart;
}

BSE::CStr8 CXMP::GetClaimedLevel() const
{
  return m_pPacket ? m_pPacket->GetText(XMP::g_szPdfAId, "conformance") : m_carriedLevel;
}

void CXMP::SetClaim(const char* szPart, const char* szLevel)
{
  if (!m_pPacket)
    return;
  if (*szPart)
  {
    m_pPacket->SetText(XMP::g_szPdfAId, "part", szPart);
    m_pPacket->SetText(XMP::g_szPdfAId, "conformance", szLevel);
    return;
  }
  for (const char* szName : {"part", "conformance", "amd", "rev", "corr"})
    m_pPacket->Remove(XMP::g_szPdfAId, szName);
}

void CXMP::AddHistoryEvent(const char* szAction, const char* szParameters)
{
  BSE::CScopedPtr<TEvent> pEvent(new TEvent{BSE::CStr8(szAction), BSE::CStr8(szParameters)});
  m_events.Add(pEvent.Get());
  pEvent.Detach();
}

TPairValue CXMP::ReadPacket(const TInfoPair& pair, BSE::CStr16& value) const
{
  if (!m_pPacket)
    return TPairValue::Missing;
  const TPairValue found = ReadInfoPair(*m_pPacket, pair, value);
  if (found == TPairValue::Found)
    return found;
  // Some writers use other names for the title and the creator. An archival file prescribes where the title
  // is.
  const bool bTitle = std::strcmp(pair.m_szKey, "Title") == 0;
  if (bTitle && m_nPart == 0)
    for (const char* szNamespace : {XMP::g_szXmp, XMP::g_szPdf})
      if (ReadInfoPair(*m_pPacket, {"Title", szNamespace, "Title", pair.m_kind}, value) == TPairValue::Found)
        return TPairValue::Found;
  if (std::strcmp(pair.m_szKey, "Creator") == 0 &&
      ReadInfoPair(*m_pPacket, {"Creator", XMP::g_szPdf, "Creator", pair.m_kind}, value) == TPairValue::Found)
    return TPairValue::Found;
  return found;
}

bool CXMP::GetInfoEntry(const char* szKey, IInfoDictionary& info, BSE::CStr16& value) const
{
  const TInfoPair* pPair = FindInfoPair(szKey);
  if (pPair && ReadPacket(*pPair, value) == TPairValue::Found)
    return true;
  return CanReadInfo() && info.GetText(szKey, value) && !value.IsEmpty();
}

void CXMP::SetInfoEntry(const char* szKey, const BSE::CStr16& value, IInfoDictionary& info)
{
  info.SetText(szKey, value);
  const TInfoPair* pPair = FindInfoPair(szKey);
  // A former value must not win over one that only the dictionary can hold.
  if (pPair && m_pPacket && !WriteInfoPair(*m_pPacket, *pPair, value))
    WriteInfoPair(*m_pPacket, *pPair, {});
}

void CXMP::Synchronize(const TInfoPair& pair, bool bComplete, IInfoDictionary& info)
{
  BSE::CStr16 inPacket;
  BSE::CStr16 inInfo;
  const TPairValue found = ReadPacket(pair, inPacket);
  const bool bInInfo = info.GetText(pair.m_szKey, inInfo) && !inInfo.IsEmpty();
  if (found == TPairValue::Found)
  {
    if ((bInInfo || bComplete) && !IsSameInfo(pair.m_kind, inPacket, inInfo))
      info.SetText(pair.m_szKey, inPacket);
    return;
  }
  if (found == TPairValue::Invalid)
  {
    const XMP::CNode* pNode = m_pPacket->Find(pair.m_szNamespace, pair.m_szProperty);
    BSE::ReportError(&m_errors, BSE::MakeError(g_nValueRemoved, "XmpPath", XMP::GetPath(*pNode).GetText(),
                                               "cause", "because it is invalid"));
  }
  if (bInInfo && CanReadInfo())
    WriteInfoPair(*m_pPacket, pair, inInfo);
}

void CXMP::EnsureDate(const char* szKey, const XMP::TDate& now, IInfoDictionary& info)
{
  BSE::CStr16 value;
  XMP::TDate date;
  if (GetInfoEntry(szKey, info, value) && ParseInfoDate(value, date))
    return;
  char szDate[XMP::g_nDateText];
  XMP::FormatPdfDate(now, szDate);
  SetInfoEntry(szKey, ToUtf16(szDate), info);
}

// There is a place for the date, but nothing in it. What the dictionary has stays, even if it is not a date
// or not to be read for the part of PDF/A: it says more than the present time would.
bool CXMP::LacksCreationDate(IInfoDictionary& info) const
{
  BSE::CStr16 value;
  if (info.GetText("CreationDate", value))
    return value.IsEmpty();
  return m_pPacket && m_pPacket->Find(XMP::g_szXmp, "CreateDate");
}

void CXMP::EnsureKeywords()
{
  if (m_pPacket->Find(XMP::g_szDc, "subject"))
    return;
  const BSE::CStr8 keywords = m_pPacket->GetText(XMP::g_szPdf, "Keywords");
  BSE::CObjectPtr<XMP::CBag> pBag(new XMP::CBag);
  for (std::span<const char> rest = keywords.GetSpan(); !rest.empty();)
  {
    const auto end = std::find_if(rest.begin(), rest.end(), [](char c) { return c == ',' || c == ';'; });
    const auto nLength = static_cast<std::size_t>(end - rest.begin());
    const std::span<const char> word = TrimBlanks(rest.first(nLength));
    if (!word.empty())
      pBag->Add(new XMP::CLiteral(BSE::CStr8(word.data(), static_cast<int>(word.size()))));
    rest = rest.subspan(std::min(nLength + 1, rest.size()));
  }
  if (pBag->GetSize() > 0)
    m_pPacket->Set(XMP::g_szDc, "subject", pBag.Get());
}

void CXMP::UpdateMetadata(const TMetadataUpdate& update, IInfoDictionary& info)
{
  if (!m_pPacket && !m_bCarried && (update.m_nMajorVersion > 1 || update.m_bPacketWanted || m_bBroken))
    m_pPacket = new XMP::CPacket(&m_errors);
  // ISO 32000-2, 14.3.3, leaves the dictionary no more than its dates.
  const bool bComplete = update.m_nMajorVersion < 2 && CanReadInfo();
  if (m_pPacket)
    for (const TInfoPair& pair : GetInfoPairs())
      Synchronize(pair, bComplete || pair.m_kind == TInfoKind::Date, info);
  EnsureDate("ModDate", update.m_now, info);
  if (LacksCreationDate(info))
    EnsureDate("CreationDate", update.m_now, info);
  BSE::CStr16 value;
  if (!GetInfoEntry("Producer", info, value) && *update.m_szProducer)
    SetInfoEntry("Producer", BSE::CStr16(update.m_szProducer), info);
  if (!m_pPacket)
    return;
  EnsureKeywords();
  char szNow[XMP::g_nDateText];
  XMP::FormatXmpDate(update.m_now, szNow);
  m_pPacket->SetText(XMP::g_szXmp, "MetadataDate", szNow);
  WriteHistory(update, szNow);
}

void CXMP::EnsureInstanceId()
{
  if (m_pPacket->GetText(XMP::g_szXmpMM, "InstanceID").IsEmpty() && !m_newInstanceId.IsEmpty())
    m_pPacket->SetText(XMP::g_szXmpMM, "InstanceID", m_newInstanceId.GetText());
}

XMP::CSeq* CXMP::GetHistory()
{
  XMP::CNode* pNode = m_pPacket->Find(XMP::g_szXmpMM, "History");
  if (auto* pSeq = dynamic_cast<XMP::CSeq*>(pNode))
    return pSeq;
  BSE::CObjectPtr<XMP::CSeq> pSeq(new XMP::CSeq);
  if (const auto* pArray = dynamic_cast<const XMP::CArray*>(pNode))
    for (int i = 0; i < pArray->GetSize(); ++i)
      pSeq->Add(pArray->GetItem(i));
  m_pPacket->Set(XMP::g_szXmpMM, "History", pSeq.Get());
  return pSeq.Get();
}

void CXMP::WriteHistory(const TMetadataUpdate& update, const char* szNow)
{
  if (m_events.IsEmpty())
    return;
  EnsureInstanceId();
  BSE::CStr8 agent;
  BSE::ConvertText(update.m_szProducer, agent, BSE::TInvalidText::Replace);
  XMP::CSeq* pHistory = GetHistory();
  for (TEvent* pEvent : m_events.GetSpan())
  {
    BSE::CObjectPtr<XMP::CStructure> pEntry(new XMP::CStructure);
    const auto set = [&](const char* szName, const BSE::CStr8& text)
    {
      if (text.IsEmpty())
        return;
      const BSE::CObjectPtr<XMP::CNode> pText(new XMP::CLiteral(text));
      pEntry->Set(m_pPacket->GetName(XMP::g_szEvent, szName), pText.Get());
    };
    const bool bExplain = !pEvent->m_action.IsEmpty() && pEvent->m_parameters.IsEmpty();
    set("action", pEvent->m_action);
    set("instanceID", m_pPacket->GetText(XMP::g_szXmpMM, "InstanceID"));
    set("when", BSE::CStr8(szNow));
    set("softwareAgent", agent);
    set("parameters", bExplain ? BSE::CStr8(g_szNoParameters) : pEvent->m_parameters);
    pHistory->Add(pEntry.Get());
  }
  DropEvents();
}

void CXMP::WritePacket(BSE::CStr8& text) const
{
  if (m_pPacket)
    m_pPacket->Write(text);
}

}  // namespace PDF
