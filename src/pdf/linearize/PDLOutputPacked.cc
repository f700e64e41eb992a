#include "pdf/linearize/PDLOutput.h"

#include "base/Limits.h"

#include <algorithm>
#include <cstring>

// A linearized file with object streams. A page has an object stream of its own where that pays; what is
// little is with what pages share, and all that is outside of streams in a small document is in the stream
// of the first page.

namespace
{

// Members of an object stream that a page has for itself, and of one that pages share: a reader has to decode
// it all for one of them.
constexpr std::int64_t g_nOwnSize = 8000;
constexpr std::int64_t g_nSharedSize = 30000;

// Members in all up to which a document is small, and page tree nodes up to which the tree is.
constexpr std::int64_t g_nSmallSize = 12000;
constexpr std::int64_t g_nSmallTree = 4000;

// The node of which all others are kids, and the one below it.
constexpr std::size_t g_nTopNodes = 2;

// What a node and a kid take, about.
constexpr std::int64_t g_nNodeSize = 40;
constexpr std::int64_t g_nKidSize = 8;

constexpr char g_szFirstEnd[] = "startxref\n0\n%%EOF\n";

// The length of the first cross-reference stream depends on positions that depend on it. Room is kept for a
// little more, and in the end for a stream that is not deflated.
constexpr int g_nDeflatedTries = 6;
constexpr int g_nTries = 10;
constexpr std::int64_t g_nSlack = 16;

}  // namespace

// What is in an object stream has the cipher of streams.
bool PDLOutput::MayPack()
{
  constexpr const char* szFirstVersion = "1.5";
  if (!(m_pSecurity ? m_pSecurity->m_bOneCipher : m_input.HasOneCipher()))
    return false;
  if (std::strcmp(m_input.GetVersion(), szFirstVersion) < 0 &&
      !(m_pSecurity && std::strcmp(m_pSecurity->m_szVersion, szFirstVersion) >= 0))
    return false;
  m_directValues.Collect(m_input, m_tree);
  // Each page may have a stream and a node, and other streams have more than two members.
  const std::int64_t nPages = std::ssize(m_tree.GetPages());
  return m_input.GetCount() + m_input.GetCount() / 2 + m_directValues.GetCount() + 2 * nPages <
         BSE::g_nMaxObjNumber;
}

bool PDLOutput::Prepare()
{
  if (!m_pPacker)
  {
    CollectParts();
    AssignNumbers();
    return true;
  }
  CollectPackedParts();
  AssignPackedNumbers();
  return m_pPacker->Build(*m_pWriter);
}

int PDLOutput::GetNumber(int nItem) const
{
  return PDLPacker::IsStream(nItem) ? m_pPacker->GetNumber(nItem) : m_pWriter->GetNumber(nItem);
}

// --- Parts

void PDLOutput::SortObject(int nObject, TRun& run)
{
  if (!m_pClassifier->IsPackable(nObject))
  {
    run.m_plain.Add(nObject);
    return;
  }
  const std::int64_t nSize = m_input.GetEntry(nObject).m_nExtent;
  run.m_members.Add({nObject, nSize});
  run.m_nSize += nSize;
}

void PDLOutput::SortObjects(std::span<const int> objects, TRun& run)
{
  for (const int nObject : objects)
  {
    if (!m_tree.IsRebuilt() || m_pClassifier->GetRole(nObject) != ePDRoleNode)
      SortObject(nObject, run);
  }
}

void PDLOutput::SortCategories(std::initializer_list<int> categories, TRun& run)
{
  for (const int nCategory : categories)
    SortObjects(m_pClassifier->GetCategory(nCategory), run);
}

void PDLOutput::SortDirectValue(int nValue, TRun& run)
{
  const int nSize = m_directValues.GetValue(nValue).m_nSize;
  run.m_members.Add({m_pWriter->GetDirectValue(nValue), nSize});
  run.m_nSize += nSize;
}

// With the direct values that are objects. The first page has all that it needs.
void PDLOutput::SortPage(int nPage, TRun& run)
{
  SortObjects(m_pClassifier->GetPageObjects(nPage).GetSpan(), run);
  for (const PDLDirectValues::TUse& use : m_directValues.GetPageUses(nPage))
  {
    if (use.m_bFirst && (nPage == 0 || !m_directValues.GetValue(use.m_nValue).m_bShared))
      SortDirectValue(use.m_nValue, run);
  }
}

// Those that are not of one page.
void PDLOutput::SortDirectValues(TRun& top, TRun& shared, TRun& document)
{
  for (int i = 0; i < m_directValues.GetCount(); ++i)
  {
    const PDLDirectValues::TValue& value = m_directValues.GetValue(i);
    if (value.m_bShared && !value.m_bFirstPage)
      SortDirectValue(i, shared);
  }
  for (const PDLDirectValues::TUse& use : m_directValues.GetCatalogueUses())
    SortDirectValue(use.m_nValue, m_directValues.GetValue(use.m_nValue).m_bLate ? document : top);
}

// A reader looks at the top of the tree before it shows a page.
void PDLOutput::SortTree(TRun& top, TRun& rest)
{
  SortCategories({ePDCategoryPages}, rest);
  if (!m_tree.IsRebuilt())
    return;
  TRun nodes;
  for (const TPDTreeNode& node : m_tree.GetNodes())
  {
    const std::int64_t nSize = g_nNodeSize + g_nKidSize * node.m_nKidCount;
    nodes.m_members.Add({node.m_nObject, nSize});
    nodes.m_nSize += nSize;
  }
  const bool bSmall = nodes.m_nSize <= g_nSmallTree;
  for (std::size_t i = 0; i < nodes.m_members.GetSpan().size(); ++i)
  {
    TRun& run = bSmall || i < g_nTopNodes ? top : rest;
    const PDLPacker::TMember member = nodes.m_members[static_cast<int>(i)];
    run.m_members.Add(member);
    run.m_nSize += member.m_nSize;
  }
}

void PDLOutput::Move(TRun& from, TRun& to)
{
  to.m_members.Append(from.m_members.GetSpan());
  to.m_nSize += from.m_nSize;
  from.m_members.RemoveAll();
  from.m_nSize = 0;
}

void PDLOutput::PackRun(const TRun& run, std::int64_t nMaxSize, TPart& part)
{
  m_pPacker->Pack(run.m_members.GetSpan(), nMaxSize, part.m_objects);
  part.m_objects.Append(run.m_plain.GetSpan());
}

void PDLOutput::CollectPackedParts()
{
  if (m_input.GetEncrypt() >= 0 && !m_pSecurity)
    m_head.m_objects.Add(m_input.GetEncrypt());
  m_head.m_objects.Add(m_input.GetRoot());

  TRun top;
  TRun first;
  TRun tree;
  TRun outlines;
  TRun shared;
  TRun document;
  TRun structure;
  SortTree(top, tree);
  SortPage(0, first);
  SortCategories({ePDCategoryOutlines}, outlines);
  SortObjects(m_pClassifier->GetSharedObjects(), shared);
  SortCategories({ePDCategoryThreads, ePDCategoryNames}, document);
  if (m_input.GetInfo() >= 0)
    SortObject(m_input.GetInfo(), document);
  SortCategories({ePDCategoryAcroForm, ePDCategoryPageLabels, ePDCategoryOther}, document);
  SortCategories({ePDCategoryStructure}, structure);
  SortDirectValues(top, shared, document);

  TRun* runs[] = {&tree, &shared, &document, &structure};
  const bool bSmall = IsSmall(top.m_nSize + first.m_nSize, runs);
  if (bSmall)
  {
    for (TRun* pRun : runs)
      Move(*pRun, first);
  }
  PackPages(bSmall, bSmall ? first : shared);
  PackFirst(top, first);
  if (m_pClassifier->IsOutlinesFirst())
    PackOutlines(outlines, m_first);

  m_nSharedStart = m_rest.m_objects.GetSize();
  PackRun(shared, std::min(m_nStreamSize, g_nSharedSize), m_rest);
  m_nSharedCount = m_rest.m_objects.GetSize() - m_nSharedStart;
  for (TRun* pRun : {&tree, &structure})
  {
    if (pRun->m_nSize <= g_nSmallSize)
      Move(*pRun, document);
  }
  PackRun(tree, m_nStreamSize, m_rest);
  if (!m_pClassifier->IsOutlinesFirst())
    PackOutlines(outlines, m_rest);
  PackRun(document, m_nStreamSize, m_rest);
  PackRun(structure, m_nStreamSize, m_rest);
}

// Whether all that may be in object streams, besides what is in front, is little, but enough for a stream.
bool PDLOutput::IsSmall(std::int64_t nFrontSize, std::span<TRun* const> runs)
{
  std::int64_t nSize = 0;
  for (const TRun* pRun : runs)
    nSize += pRun->m_nSize;
  const int nPages = static_cast<int>(m_tree.GetPages().size());
  for (int nPage = 1; nPage < nPages && nSize <= g_nSmallSize; ++nPage)
  {
    TRun page;
    SortPage(nPage, page);
    nSize += page.m_nSize;
  }
  return nSize <= g_nSmallSize && nFrontSize + nSize >= PDLPacker::g_nMinSize;
}

// All pages but the first. What has no stream of its own goes to the other run.
void PDLOutput::PackPages(bool bAllApart, TRun& apart)
{
  const int nPages = static_cast<int>(m_tree.GetPages().size());
  for (int nPage = 1; nPage < nPages; ++nPage)
  {
    TRun page;
    SortPage(nPage, page);
    if (bAllApart || page.m_nSize < g_nOwnSize)
    {
      for (const PDLPacker::TMember& member : page.m_members.GetSpan())
        m_apart.Add({nPage + 1, member.m_nObject});
      Move(page, apart);
    }
    for (const PDLDirectValues::TUse& use : m_directValues.GetPageUses(nPage))
    {
      const PDLDirectValues::TValue& value = m_directValues.GetValue(use.m_nValue);
      if (value.m_bShared || value.m_bFirstPage)
        m_apart.Add({nPage + 1, m_pWriter->GetDirectValue(use.m_nValue)});
    }
    const int nStart = m_rest.m_objects.GetSize();
    PackPage(nPage, page, m_rest);
    m_pageCounts.Add(m_rest.m_objects.GetSize() - nStart);
  }
}

// The page itself comes first, then what its dictionaries are in, and last what is no part of its picture.
void PDLOutput::PackPage(int nPage, const TRun& run, TPart& part)
{
  const TPDPage& page = m_tree.GetPages()[static_cast<std::size_t>(nPage)];
  const auto isLate = [this, &page](int nObject)
  { return nObject == page.m_nThumbnail || m_pClassifier->IsBeside(nObject); };
  part.m_objects.Add(page.m_nObject);
  m_pPacker->Pack(run.m_members.GetSpan(), m_nStreamSize, part.m_objects);
  for (const bool bLate : {false, true})
  {
    for (const int nObject : run.m_plain.GetSpan())
    {
      if (nObject != page.m_nObject && isLate(nObject) == bLate)
        part.m_objects.Add(nObject);
    }
  }
}

// The top of the tree is in the stream of the first page, if there is one, and in front of the page if not.
void PDLOutput::PackFirst(TRun& top, TRun& first)
{
  const bool bStream = top.m_nSize + first.m_nSize >= PDLPacker::g_nMinSize;
  if (!bStream)
    PackRun(top, m_nStreamSize, m_head);
  else
  {
    Move(first, top);
    Move(top, first);
  }
  PackPage(0, first, m_first);
}

void PDLOutput::PackOutlines(const TRun& outlines, TPart& part)
{
  const int nStart = part.m_objects.GetSize();
  PackRun(outlines, m_nStreamSize, part);
  if (part.m_objects.GetSize() > nStart)
    m_outlines = {&part, nStart, part.m_objects.GetSize() - nStart};
}

// --- Numbers

// Those in object streams have the highest numbers of each section.
void PDLOutput::AssignPackedNumbers()
{
  int nNumber = NumberItems(m_rest, 0);
  m_nMainXRefNumber = ++nNumber;
  nNumber = NumberMembers(m_rest, nNumber);
  m_nLinearizationNumber = ++nNumber;
  m_nFirstXRefNumber = ++nNumber;
  if (m_pSecurity)
    m_nEncryptNumber = ++nNumber;
  nNumber = NumberItems(m_head, nNumber);
  m_nHintNumber = ++nNumber;
  nNumber = NumberItems(m_first, nNumber);
  nNumber = NumberMembers(m_first, nNumber);
  m_nObjectCount = nNumber + 1;
  if (!m_tree.IsRebuilt())
    return;
  // Whatever refers to a node that is gone refers to the root.
  const int nRoot = m_pWriter->GetNumber(m_tree.GetNodes()[0].m_nObject);
  for (const int nObject : m_pClassifier->GetCategory(ePDCategoryPages))
  {
    if (m_pClassifier->GetRole(nObject) == ePDRoleNode)
      m_pWriter->SetNumber(nObject, nRoot);
  }
}

int PDLOutput::NumberItems(const TPart& part, int nNumber)
{
  for (const int nItem : part.m_objects.GetSpan())
  {
    ++nNumber;
    if (PDLPacker::IsStream(nItem))
      m_pPacker->SetNumber(nItem, nNumber);
    else
      m_pWriter->SetNumber(nItem, nNumber);
  }
  return nNumber;
}

int PDLOutput::NumberMembers(const TPart& part, int nNumber)
{
  for (const int nItem : part.m_objects.GetSpan())
  {
    if (!PDLPacker::IsStream(nItem))
      continue;
    for (const int nObject : m_pPacker->GetMembers(nItem))
      m_pWriter->SetNumber(nObject, ++nNumber);
  }
  return nNumber;
}

// --- Positions

bool PDLOutput::Place()
{
  if (!m_pPacker)
    return BuildHints() && PlaceParts() && PlaceEnd();
  for (int i = 0; i < g_nTries; ++i)
  {
    if (!BuildHints() || !PlaceParts())
      return false;
    BuildFirstXRef(i < g_nDeflatedTries);
    const std::int64_t nLength = m_firstXRef.GetSize();
    if (nLength <= m_nFirstXRefLength)
    {
      EndFirstXRef();
      BuildMainXRef();
      return PlaceEnd();
    }
    m_nFirstXRefLength = nLength + g_nSlack;
  }
  return Fail("The first cross-reference stream cannot be placed.");
}

void PDLOutput::AddRows(const TPart& part, std::int64_t nPos, PDLXRefStream& rows) const
{
  for (const std::int64_t nLength : part.m_lengths.GetSpan())
  {
    rows.AddPosition(nPos);
    nPos += nLength;
  }
}

void PDLOutput::AddMemberRows(const TPart& part, PDLXRefStream& rows) const
{
  for (const int nItem : part.m_objects.GetSpan())
  {
    if (!PDLPacker::IsStream(nItem))
      continue;
    const int nCount = static_cast<int>(m_pPacker->GetMembers(nItem).size());
    for (int i = 0; i < nCount; ++i)
      rows.AddMember(m_pPacker->GetNumber(nItem), i);
  }
}

void PDLOutput::BuildFirstXRef(bool bDeflate)
{
  PDLXRefStream rows;
  rows.AddPosition(m_nLinearization);
  rows.AddPosition(m_nFirstXRef);
  if (m_pSecurity)
    rows.AddPosition(m_nEncrypt);
  AddRows(m_head, m_nHead, rows);
  rows.AddPosition(m_nHintOffset);
  AddRows(m_first, m_nHintEnd, rows);
  AddMemberRows(m_first, rows);
  BSE::CBasicArray<unsigned char> entries;
  PDWriter text(entries);
  text.Put("/Index[");
  text.PutNumber(m_nLinearizationNumber);
  text.PutByte(' ');
  text.PutNumber(rows.GetCount());
  text.Put("]");
  WriteTrailer(text);
  m_firstXRef.RemoveAll();
  PDWriter output(m_firstXRef);
  rows.Write(m_nFirstXRefNumber, entries.GetSpan(), bDeflate ? m_pDeflater : nullptr, output);
  output.Put(g_szFirstEnd);
}

// Blanks fill the room that was kept.
void PDLOutput::EndFirstXRef()
{
  const int nEnd = static_cast<int>(std::strlen(g_szFirstEnd));
  const auto nBlanks = m_nFirstXRefLength - m_firstXRef.GetSize();
  m_firstXRef.Truncate(m_firstXRef.GetSize() - nEnd);
  PDWriter output(m_firstXRef);
  for (std::int64_t i = 0; i < nBlanks; ++i)
    output.PutByte(' ');
  output.Put(g_szFirstEnd);
}

void PDLOutput::BuildMainXRef()
{
  PDLXRefStream rows;
  rows.AddFree();
  AddRows(m_rest, m_nFirstPageEnd, rows);
  rows.AddPosition(m_nMainXRef);
  AddMemberRows(m_rest, rows);
  BSE::CBasicArray<unsigned char> entries;
  PDWriter text(entries);
  text.Put("/Size ");
  text.PutNumber(m_nLinearizationNumber);
  m_mainXRef.RemoveAll();
  PDWriter output(m_mainXRef);
  rows.Write(m_nMainXRefNumber, entries.GetSpan(), m_pDeflater, output);
  output.Put("startxref\n");
  output.PutNumber(m_nFirstXRef);
  output.Put("\n%%EOF\n");
}
