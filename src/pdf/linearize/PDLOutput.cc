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
  m_pWriter.Reset(new PDLObjectWriter(m_input, m_tree, *m_pClassifier, m_pCryptor));
  if (m_bCompressMetadata)
    m_pWriter->SetMetadataDeflater(m_pDeflater);
  if (m_pSecurity)
    m_pWriter->SetNewKeys(m_pSecurity->m_bPlainMetadata);
  CollectParts();
  AssignNumbers();
  if (!Measure() || !BuildHints() || !PlaceParts())
    return Fail(m_pWriter->GetMessage());
  m_pOutput.Reset(new PDWriter(pOutput));
  return (WriteDocument(*m_pOutput) && m_pOutput->Flush()) || Fail("The output cannot be written.");
}

// --- Numbering

void PDLOutput::AddCategories(std::initializer_list<int> categories, TPart& part)
{
  for (const int nCategory : categories)
  {
    if (nCategory == ePDCategoryOutlines)
      m_nOutlinesStart = part.m_objects.GetSize();
    AddPart(part, m_pClassifier->GetCategory(nCategory));
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
  m_nFirstPageCount = m_first.m_objects.GetSize();
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
    if (!m_pWriter->WriteObject(nObject, counter))
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

// Identifiers count the objects of the first section, then the shared ones.
void PDLOutput::AddPageHints(PDLHints& hints)
{
  const int nPages = static_cast<int>(m_tree.GetPages().size());
  const std::span<const PDLClassifier::TUse> uses = m_pClassifier->GetUses();
  const int nFirstNumber = m_pWriter->GetNumber(m_first.m_objects[0]);
  BSE::CBasicArray<int> starts;
  starts.SetSize(nPages + 2);
  for (const PDLClassifier::TUse& use : uses)
    ++starts[use.m_nPage + 1];
  for (int i = 1; i < nPages + 2; ++i)
    starts[i] += starts[i - 1];
  BSE::CBasicArray<int> identifiers;
  identifiers.SetSize(static_cast<int>(uses.size()));
  BSE::CBasicArray<int> next = starts;
  for (const PDLClassifier::TUse& use : uses)
  {
    const int nNumber = m_pWriter->GetNumber(use.m_nObject);
    identifiers[next[use.m_nPage]++] = m_pClassifier->IsFirstPage(use.m_nObject)
                                           ? nNumber - nFirstNumber
                                           : m_first.m_objects.GetSize() + nNumber - m_nSharedStart - 1;
  }
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
    for (const int nIdentifier : own)
      hints.AddSharedReference(nIdentifier);
  }
}

void PDLOutput::AddSharedHints(PDLHints& hints, std::int64_t nRestLocation)
{
  hints.m_nFirstPageEntries = m_first.m_objects.GetSize();
  for (const std::int64_t nLength : m_first.m_lengths.GetSpan())
    hints.AddSharedObject(nLength);
  const int nShared = static_cast<int>(m_pClassifier->GetSharedObjects().size());
  if (nShared == 0)
    return;
  hints.m_nSharedNumber = m_pWriter->GetNumber(m_rest.m_objects[m_nSharedStart]);
  hints.m_nSharedLocation = nRestLocation + m_rest.GetLength(0, m_nSharedStart);
  for (int i = 0; i < nShared; ++i)
    hints.AddSharedObject(m_rest.m_lengths[m_nSharedStart + i]);
}

void PDLOutput::AddOutlineHints(PDLHints& hints, std::int64_t nRestLocation)
{
  const int nCount = static_cast<int>(m_pClassifier->GetCategory(ePDCategoryOutlines).size());
  if (nCount == 0)
    return;
  const bool bFirst = m_pClassifier->IsOutlinesFirst();
  const TPart& part = bFirst ? m_first : m_rest;
  hints.m_outlines = {m_pWriter->GetNumber(part.m_objects[m_nOutlinesStart]),
                      (bFirst ? m_nHintOffset : nRestLocation) + part.GetLength(0, m_nOutlinesStart), nCount,
                      part.GetLength(m_nOutlinesStart, nCount)};
}

bool PDLOutput::PlaceParts()
{
  // Ten digits are the room for a position in a cross-reference table.
  constexpr std::int64_t nMaxPosition = 9999999999;
  PDWriter counter;
  if (!WriteHints(counter))
    return false;
  m_nHintEnd = m_nHintOffset + counter.Tell();
  m_nFirstPageEnd = m_nHintEnd + m_first.GetLength();
  m_nMainXRef = m_nFirstPageEnd + m_rest.GetLength();
  PDWriter main;
  WriteMainSection(main);
  m_nFileLength = m_nMainXRef + main.Tell();
  return m_nFileLength <= nMaxPosition || Fail("The document is too large to be linearized.");
}
