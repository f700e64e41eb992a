#include "pdf/linearize/PDLOutput.h"

#include <algorithm>
#include <numeric>
#include <utility>

std::int64_t PDLOutput::TPart::GetLength(int nFirst, int nCount) const
{
  const auto lengths =
      m_lengths.GetSpan().subspan(static_cast<std::size_t>(nFirst), static_cast<std::size_t>(nCount));
  return std::accumulate(lengths.begin(), lengths.end(), std::int64_t{0});
}

bool PDLOutput::Write(BSE::IByteStream* pOutput)
{
  if (!m_tree.Load(m_input))
    return Fail(m_tree.GetMessage());
  m_pClassifier.Reset(new PDLClassifier(m_input, m_tree));
  if (!m_pClassifier->Classify())
    return Fail(m_pClassifier->GetMessage());
  m_pClassifier->ReleaseEdges();
  const bool bPack = m_nStreamSize > 0 && MayPack();
  if (bPack)
    m_tree.Rebuild(m_input);
  m_pWriter.Reset(new PDLObjectWriter(m_input, m_tree, *m_pClassifier, m_pCryptor));
  if (bPack)
  {
    m_pWriter->SetDirectValues(m_directValues);
    m_pPacker.Reset(new PDLPacker(m_pWriter->GetDirectValue(m_directValues.GetCount()),
                                  m_input.GetFileLength(), m_pDeflater));
  }
  if (m_bCompressMetadata)
    m_pWriter->SetMetadataDeflater(m_pDeflater);
  if (m_pSecurity)
    m_pWriter->SetNewKeys(m_pSecurity->m_bPlainMetadata);
  if (!Prepare() || !Measure() || !Place())
    return Fail(m_pWriter->GetMessage());
  if (m_input.HasReadFailed())
    return Fail("The input cannot be read.");
  m_bTooLong = m_nMaxLength >= 0 && m_nFileLength > m_nMaxLength;
  if (m_bTooLong)
    return false;
  m_pOutput.Reset(new PDWriter(pOutput));
  if (!WriteDocument(*m_pOutput) || !m_pOutput->Flush())
    return Fail("The output cannot be written.");
  return !m_input.HasReadFailed() || Fail("The input cannot be read.");
}

// --- Numbering

void PDLOutput::AddCategories(std::initializer_list<int> categories, TPart& part)
{
  for (const int nCategory : categories)
  {
    const std::span<const int> objects = m_pClassifier->GetCategory(nCategory);
    if (nCategory == ePDCategoryOutlines)
      m_outlines = {&part, part.m_objects.GetSize(), static_cast<int>(objects.size())};
    AddPart(part, objects);
  }
}

void PDLOutput::CollectParts()
{
  const bool bOutlinesFirst = m_pClassifier->IsOutlinesFirst();
  if (m_input.GetEncrypt() >= 0 && !m_pSecurity)
    m_head.m_objects.Add(m_input.GetEncrypt());
  m_head.m_objects.Add(m_input.GetRoot());
  AddCategories({7, 8, 6}, m_head);

  AddPart(m_first, m_pClassifier->GetPageObjects(0).GetSpan());
  if (bOutlinesFirst)
    AddCategories({ePDCategoryOutlines}, m_first);

  const int nPages = static_cast<int>(m_tree.GetPages().size());
  for (int nPage = 1; nPage < nPages; ++nPage)
  {
    const BSE::CBasicArray<int> objects = m_pClassifier->GetPageObjects(nPage);
    m_pageCounts.Add(objects.GetSize());
    AddPart(m_rest, objects.GetSpan());
  }
  m_nSharedStart = m_rest.m_objects.GetSize();
  AddPart(m_rest, m_pClassifier->GetSharedObjects());
  m_nSharedCount = m_rest.m_objects.GetSize() - m_nSharedStart;
  AddCategories({ePDCategoryPages}, m_rest);
  if (!bOutlinesFirst)
    AddCategories({ePDCategoryOutlines}, m_rest);
  AddCategories({ePDCategoryThreads, ePDCategoryNames}, m_rest);
  if (m_input.GetInfo() >= 0)
    m_rest.m_objects.Add(m_input.GetInfo());
  AddCategories({ePDCategoryAcroForm, ePDCategoryPageLabels, ePDCategoryOther, ePDCategoryStructure}, m_rest);
}

void PDLOutput::AssignNumbers()
{
  int nNumber = 0;
  for (const int nObject : m_rest.m_objects.GetSpan())
    m_pWriter->SetNumber(nObject, ++nNumber);
  m_nLinearizationNumber = ++nNumber;
  if (m_pSecurity)
    m_nEncryptNumber = ++nNumber;
  for (const int nObject : m_head.m_objects.GetSpan())
    m_pWriter->SetNumber(nObject, ++nNumber);
  m_nHintNumber = ++nNumber;
  for (const int nObject : m_first.m_objects.GetSpan())
    m_pWriter->SetNumber(nObject, ++nNumber);
  m_nObjectCount = nNumber + 1;
}

// --- Measuring

bool PDLOutput::Measure()
{
  return MeasurePart(m_head) && MeasurePart(m_first) && MeasurePart(m_rest);
}

bool PDLOutput::MeasurePart(TPart& part)
{
  part.m_lengths.Reserve(part.m_objects.GetSize());
  for (const int nObject : part.m_objects.GetSpan())
  {
    PDWriter counter;
    if (!WriteItem(nObject, counter))
      return false;
    part.m_lengths.Add(counter.Tell());
  }
  return true;
}

// Locations leave the hint stream out, so that it can be built before its own length is known.
bool PDLOutput::BuildHints()
{
  PDWriter counter;
  WriteHeader(counter);
  m_nLinearization = counter.Tell();
  WriteLinearization(counter);
  m_nFirstXRef = counter.Tell();
  if (m_pPacker)
    counter.Skip(m_nFirstXRefLength);
  else
    WriteFirstSection(counter);
  m_nEncrypt = counter.Tell();
  WriteEncrypt(counter);
  m_nHead = counter.Tell();
  m_nHintOffset = m_nHead + m_head.GetLength();

  PDLHints hints;
  const std::int64_t nRestLocation = m_nHintOffset + m_first.GetLength();
  hints.m_nFirstPageLocation = m_nHintOffset;
  AddPageHints(hints);
  AddSharedHints(hints, nRestLocation);
  AddOutlineHints(hints, nRestLocation);
  if (!hints.Build(m_hintData))
    return Fail("The document is too large for hint tables.");
  m_hintEntries.RemoveAll();
  hints.AppendEntries(m_hintEntries);

  BSE::CBasicArray<unsigned char> deflated;
  if (!m_pDeflater || !m_pDeflater->Deflate(m_hintData.GetSpan(), deflated) ||
      deflated.GetSize() >= m_hintData.GetSize())
    return true;
  std::swap(m_hintData, deflated);
  constexpr unsigned char filter[] = {'/', 'F', 'i', 'l', 't', 'e', 'r', '/', 'F', 'l',
                                      'a', 't', 'e', 'D', 'e', 'c', 'o', 'd', 'e'};
  m_hintEntries.Append(filter);
  return true;
}

void PDLOutput::AddPageHints(PDLHints& hints)
{
  const int nPages = static_cast<int>(m_tree.GetPages().size());
  BSE::CBasicArray<int> starts;
  BSE::CBasicArray<int> identifiers;
  AddPageUses(nPages, starts, identifiers);
  hints.AddPage(m_first.m_objects.GetSize(), m_first.GetLength());
  int nStart = 0;
  for (int nPage = 2; nPage <= nPages; ++nPage)
  {
    const int nCount = m_pageCounts[nPage - 2];
    hints.AddPage(nCount, m_rest.GetLength(nStart, nCount));
    nStart += nCount;
    const std::span<int> own = identifiers.GetSpan().subspan(
        static_cast<std::size_t>(starts[nPage]), static_cast<std::size_t>(starts[nPage + 1] - starts[nPage]));
    std::sort(own.begin(), own.end());
    // Objects in one object stream are one.
    for (std::size_t i = 0; i < own.size(); ++i)
    {
      if (i == 0 || own[i] != own[i - 1])
        hints.AddSharedReference(own[i]);
    }
  }
}

// What each page shares, the pages one after the other. Identifiers count the items of the first section,
// then the shared ones.
void PDLOutput::AddPageUses(int nPages, BSE::CBasicArray<int>& starts,
                            BSE::CBasicArray<int>& identifiers) const
{
  const std::span<const PDLClassifier::TUse> lists[] = {m_pClassifier->GetUses(), m_apart.GetSpan()};
  const int nFirstNumber = GetNumber(m_first.m_objects[0]);
  starts.SetSize(nPages + 2);
  for (const auto& uses : lists)
  {
    for (const PDLClassifier::TUse& use : uses)
      ++starts[use.m_nPage + 1];
  }
  for (int i = 1; i < nPages + 2; ++i)
    starts[i] += starts[i - 1];
  identifiers.SetSize(starts[nPages + 1]);
  BSE::CBasicArray<int> next = starts;
  for (const auto& uses : lists)
  {
    for (const PDLClassifier::TUse& use : uses)
    {
      const int nNumber = GetNumber(m_pPacker ? m_pPacker->GetItem(use.m_nObject) : use.m_nObject);
      identifiers[next[use.m_nPage]++] = nNumber >= nFirstNumber
                                             ? nNumber - nFirstNumber
                                             : m_first.m_objects.GetSize() + nNumber - m_nSharedStart - 1;
    }
  }
}

void PDLOutput::AddSharedHints(PDLHints& hints, std::int64_t nRestLocation)
{
  hints.m_nFirstPageEntries = m_first.m_objects.GetSize();
  for (const std::int64_t nLength : m_first.m_lengths.GetSpan())
    hints.AddSharedObject(nLength);
  if (m_nSharedCount == 0)
    return;
  hints.m_nSharedNumber = GetNumber(m_rest.m_objects[m_nSharedStart]);
  hints.m_nSharedLocation = nRestLocation + m_rest.GetLength(0, m_nSharedStart);
  for (int i = 0; i < m_nSharedCount; ++i)
    hints.AddSharedObject(m_rest.m_lengths[m_nSharedStart + i]);
}

void PDLOutput::AddOutlineHints(PDLHints& hints, std::int64_t nRestLocation)
{
  if (m_outlines.m_nCount == 0)
    return;
  const TPart& part = *m_outlines.m_pPart;
  hints.m_outlines = {
      GetNumber(part.m_objects[m_outlines.m_nStart]),
      (&part == &m_first ? m_nHintOffset : nRestLocation) + part.GetLength(0, m_outlines.m_nStart),
      m_outlines.m_nCount, part.GetLength(m_outlines.m_nStart, m_outlines.m_nCount)};
}

bool PDLOutput::PlaceParts()
{
  PDWriter counter;
  if (!WriteHints(counter))
    return false;
  m_nHintEnd = m_nHintOffset + counter.Tell();
  m_nFirstPageEnd = m_nHintEnd + m_first.GetLength();
  m_nMainXRef = m_nFirstPageEnd + m_rest.GetLength();
  return true;
}

bool PDLOutput::PlaceEnd()
{
  // Ten digits are the room for a position in a cross-reference table.
  constexpr std::int64_t nMaxPosition = 9999999999;
  PDWriter main;
  WriteMainSection(main);
  m_nFileLength = m_nMainXRef + main.Tell();
  return m_nFileLength <= nMaxPosition || Fail("The document is too large to be linearized.");
}
