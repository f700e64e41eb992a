#include "metadata/InfoPairs.h"

#include "base/Unicode.h"
#include "metadata/XmlWriter.h"
#include "metadata/XmpSchema.h"

namespace PDF
{

namespace
{

// The pairs of ISO 19005-1, 6.7.3, Table 1, and Trapped.
constexpr TInfoPair g_pairs[] = {
    {"Title", XMP::g_szDc, "title", TInfoKind::LanguageText},
    {"Author", XMP::g_szDc, "creator", TInfoKind::List},
    {"Subject", XMP::g_szDc, "description", TInfoKind::LanguageText},
    {"Creator", XMP::g_szXmp, "CreatorTool", TInfoKind::Text},
    {"CreationDate", XMP::g_szXmp, "CreateDate", TInfoKind::Date},
    {"Keywords", XMP::g_szPdf, "Keywords", TInfoKind::Text},
    {"ModDate", XMP::g_szXmp, "ModifyDate", TInfoKind::Date},
    {"Producer", XMP::g_szPdf, "Producer", TInfoKind::Text},
    {"Trapped", XMP::g_szPdf, "Trapped", TInfoKind::Trapped},
};

constexpr const char* g_szJoint = "; ";

const XMP::CLiteral* AsLiteral(const XMP::CNode* pNode)
{
  return dynamic_cast<const XMP::CLiteral*>(pNode);
}

TPairValue ReadLanguageText(const XMP::CNode& node, BSE::CStr8& text)
{
  const auto* pAlt = dynamic_cast<const XMP::CAlt*>(&node);
  if (!pAlt)
    return TPairValue::Invalid;
  const int nItem = pAlt->FindLanguage(XMP::CAlt::g_szDefault);
  if (nItem < 0)
    return TPairValue::Missing;
  if (!AsLiteral(pAlt->GetItem(nItem)))
    return TPairValue::Invalid;
  text = pAlt->GetItem(nItem)->GetText();
  return TPairValue::Found;
}

TPairValue ReadList(const XMP::CNode& node, BSE::CStr8& text)
{
  const auto* pArray = dynamic_cast<const XMP::CArray*>(&node);
  if (!pArray)
    return TPairValue::Invalid;
  for (int i = 0; i < pArray->GetSize(); ++i)
  {
    if (!AsLiteral(pArray->GetItem(i)))
      return TPairValue::Invalid;
    if (i > 0)
      text.Append(g_szJoint);
    text.Append(pArray->GetItem(i)->GetText().GetText());
  }
  return TPairValue::Found;
}

// The form that the entry needs of a literal's text.
TPairValue ConvertLiteral(TInfoKind kind, BSE::CStr8& text)
{
  if (kind == TInfoKind::Trapped)
  {
    const bool bKnown = text == BSE::CStr8("True") || text == BSE::CStr8("False");
    return bKnown ? TPairValue::Found : TPairValue::Invalid;
  }
  if (kind != TInfoKind::Date)
    return TPairValue::Found;
  XMP::TDate date;
  if (!XMP::ParseXmpDate(text.GetSpan(), date))
    return TPairValue::Invalid;
  char szDate[XMP::g_nDateText];
  XMP::FormatPdfDate(date, szDate);
  text.Assign(szDate);
  return TPairValue::Found;
}

TPairValue ReadNode(const XMP::CNode& node, TInfoKind kind, BSE::CStr8& text)
{
  if (AsLiteral(&node))
  {
    text = node.GetText();
    return text.IsEmpty() ? TPairValue::Missing : ConvertLiteral(kind, text);
  }
  if (kind == TInfoKind::LanguageText)
    return ReadLanguageText(node, text);
  return kind == TInfoKind::List ? ReadList(node, text) : TPairValue::Invalid;
}

void WriteLanguageText(XMP::CPacket& packet, const TInfoPair& pair, const BSE::CStr8& text)
{
  BSE::CObjectPtr<XMP::CAlt> pAlt(
      dynamic_cast<XMP::CAlt*>(packet.Find(pair.m_szNamespace, pair.m_szProperty)));
  if (!pAlt)
  {
    pAlt = new XMP::CAlt;
    packet.Set(pair.m_szNamespace, pair.m_szProperty, pAlt.Get());
  }
  BSE::CObjectPtr<XMP::CLiteral> pItem(new XMP::CLiteral(text));
  pItem->SetLanguage(BSE::CStr8(XMP::CAlt::g_szDefault));
  const int nItem = pAlt->FindLanguage(XMP::CAlt::g_szDefault);
  if (nItem >= 0)
    pAlt->Replace(nItem, pItem.Get());
  else
    pAlt->Insert(0, pItem.Get());
}

void WriteList(XMP::CPacket& packet, const TInfoPair& pair, const BSE::CStr8& text)
{
  BSE::CObjectPtr<XMP::CSeq> pSeq(new XMP::CSeq);
  pSeq->Add(new XMP::CLiteral(text));
  packet.Set(pair.m_szNamespace, pair.m_szProperty, pSeq.Get());
}

bool WriteDate(XMP::CPacket& packet, const TInfoPair& pair, const BSE::CStr8& text)
{
  XMP::TDate date;
  if (!XMP::ParsePdfDate(text.GetSpan(), date))
    return false;
  char szDate[XMP::g_nDateText];
  XMP::FormatXmpDate(date, szDate);
  packet.SetText(pair.m_szNamespace, pair.m_szProperty, szDate);
  return true;
}

// Zeros, other control characters, and the marks around language codes (ISO 32000-1, 7.9.2.2).
bool HasForeignCharacter(std::span<const char> text)
{
  while (!text.empty())
  {
    int nUnits = 1;
    if (!XML::IsXmlCharacter(BSE::DecodeCharacter(text, nUnits)))
      return true;
    text = text.subspan(static_cast<std::size_t>(nUnits));
  }
  return false;
}

}  // namespace

std::span<const TInfoPair> GetInfoPairs()
{
  return g_pairs;
}

const TInfoPair* FindInfoPair(const char* szKey)
{
  for (const TInfoPair& pair : g_pairs)
    if (std::strcmp(pair.m_szKey, szKey) == 0)
      return &pair;
  return nullptr;
}

TPairValue ReadInfoPair(const XMP::CPacket& packet, const TInfoPair& pair, BSE::CStr16& text)
{
  const XMP::CNode* pNode = packet.Find(pair.m_szNamespace, pair.m_szProperty);
  if (!pNode)
    return TPairValue::Missing;
  BSE::CStr8 value;
  const TPairValue found = ReadNode(*pNode, pair.m_kind, value);
  if (found != TPairValue::Found)
    return found;
  BSE::ConvertText(value.GetSpan(), text, BSE::TInvalidText::Replace);
  return text.IsEmpty() ? TPairValue::Missing : TPairValue::Found;
}

bool WriteInfoPair(XMP::CPacket& packet, const TInfoPair& pair, const BSE::CStr16& text)
{
  if (text.IsEmpty())
  {
    packet.Remove(pair.m_szNamespace, pair.m_szProperty);
    return true;
  }
  BSE::CStr8 value;
  BSE::ConvertText(text.GetSpan(), value, BSE::TInvalidText::Replace);
  // A packet's value wins over the entry, so that none is better than one with characters replaced.
  if (HasForeignCharacter(value.GetSpan()))
    return false;
  switch (pair.m_kind)
  {
  case TInfoKind::LanguageText:
    WriteLanguageText(packet, pair, value);
    return true;
  case TInfoKind::List:
    WriteList(packet, pair, value);
    return true;
  case TInfoKind::Date:
    return WriteDate(packet, pair, value);
  default:
    if (ConvertLiteral(pair.m_kind, value) != TPairValue::Found)
      return false;
    packet.SetText(pair.m_szNamespace, pair.m_szProperty, value.GetText());
    return true;
  }
}

bool ParseInfoDate(const BSE::CStr16& text, XMP::TDate& date)
{
  BSE::CStr8 value;
  BSE::ConvertText(text.GetSpan(), value, BSE::TInvalidText::Replace);
  return XMP::ParsePdfDate(value.GetSpan(), date);
}

bool IsSameInfo(TInfoKind kind, const BSE::CStr16& a, const BSE::CStr16& b)
{
  if (a == b)
    return true;
  XMP::TDate first;
  XMP::TDate second;
  return kind == TInfoKind::Date && ParseInfoDate(a, first) && ParseInfoDate(b, second) && first == second;
}

}  // namespace PDF
