#include "tests/support/PdfLayout.h"

#include <algorithm>
#include <cstdio>

#include "tests/support/Deflate.h"

namespace Support
{
namespace
{

constexpr size_t g_nRowBytes = 7;  // one row of a cross-reference stream with /W [1 4 2]

std::string Digits(size_t nValue, int nWidth)
{
  char szText[32];
  std::snprintf(szText, sizeof szText, "%0*zu", nWidth, nValue);
  return szText;
}

void AppendBytes(std::string& sOut, size_t nValue, int nBytes)
{
  for (int i = nBytes - 1; i >= 0; --i)
    sOut += static_cast<char>(nValue >> (8 * i) & 0xFF);
}

// The PNG predictor "up", which writers use for cross-reference streams (ISO 32000-1, 7.4.4.4).
std::string PredictUp(const std::string& sRows)
{
  std::string sOut;
  for (size_t i = 0; i < sRows.size(); ++i)
  {
    if (i % g_nRowBytes == 0)
      sOut += '\2';
    const int nAbove = i < g_nRowBytes ? 0 : sRows[i - g_nRowBytes];
    sOut += static_cast<char>(sRows[i] - nAbove);
  }
  return sOut;
}

// Calls function(first, count) for each run of consecutive numbers.
template <class TPlaces, class TFunction>
void ForEachRun(const TPlaces& places, TFunction function)
{
  for (auto it = places.begin(); it != places.end();)
  {
    const int nFirst = it->first;
    int nCount = 0;
    while (it != places.end() && it->first == nFirst + nCount)
    {
      ++nCount;
      ++it;
    }
    function(nFirst, nCount);
  }
}

}  // namespace

std::string CPdfLayout::Write()
{
  m_nNextNumber = m_builder.m_nNextNumber;
  WriteHeader();
  if (m_builder.m_bLinearizedLike)
  {
    WriteLinearizedLike(m_builder.m_revisions.front());
    return std::move(m_sOut);
  }
  for (const TRevision& revision : m_builder.m_revisions)
    WriteRevision(revision);
  return std::move(m_sOut);
}

void CPdfLayout::WriteHeader()
{
  m_sOut = m_builder.m_sPrefix;
  m_nHeader = m_sOut.size();
  m_sOut += "%PDF-" + m_builder.m_sVersion + "\n%\xE2\xE3\xCF\xD3\n";
}

void CPdfLayout::WriteObject(int nNumber, const std::string& sBody, TPlaces& places)
{
  places[nNumber] = {1, GetOffset(), 0};
  m_sOut += std::to_string(nNumber) + " 0 obj\n" + sBody + "\nendobj\n";
}

bool CPdfLayout::IsPacked(const CPdfBuilder::TEntry& entry) const
{
  const bool bAllowed =
      m_builder.m_form == TXRefForm::Stream || (m_builder.m_form == TXRefForm::Hybrid && !entry.bOutside);
  return bAllowed && m_builder.m_nPerObjectStream > 0 && !entry.bStream && !entry.bFree;
}

void CPdfLayout::WriteRevision(const TRevision& revision)
{
  TPlaces places;
  TPlaces packedPlaces;
  std::vector<int> packed;
  if (m_nPrevious == 0)
    places[0] = {0, 0, 65535};
  for (const auto& [nNumber, entry] : revision)
    if (entry.bFree)
      places[nNumber] = {0, 0, 1};
    else if (IsPacked(entry))
      packed.push_back(nNumber);
    else
      WriteObject(nNumber, entry.sBody, places);
  if (!packed.empty())
    WriteObjectStreams(packed, revision, packedPlaces);

  if (m_builder.m_form == TXRefForm::Stream)
  {
    places.merge(packedPlaces);
    WriteEnd(WriteXRefStream(std::move(places), GetTrailerEntries()));
    return;
  }
  std::string sEntries = GetTrailerEntries();
  if (!packedPlaces.empty())
  {
    for (const int nNumber : packed)
      places[nNumber] = {0, 0, 65535};
    const size_t nStream = WriteXRefStream(std::move(packedPlaces), "");
    sEntries += " /XRefStm " + std::to_string(nStream);
  }
  const size_t nStart = GetOffset();
  WriteTable(places, sEntries);
  WriteEnd(nStart);
}

void CPdfLayout::WriteObjectStreams(const std::vector<int>& numbers, const TRevision& revision,
                                    TPlaces& places)
{
  const size_t nPerStream = static_cast<size_t>(m_builder.m_nPerObjectStream);
  for (size_t i = 0; i < numbers.size(); i += nPerStream)
  {
    const size_t nEnd = std::min(numbers.size(), i + nPerStream);
    WriteObjectStream({numbers.begin() + static_cast<std::ptrdiff_t>(i),
                       numbers.begin() + static_cast<std::ptrdiff_t>(nEnd)},
                      revision, places);
  }
}

void CPdfLayout::WriteObjectStream(const std::vector<int>& numbers, const TRevision& revision,
                                   TPlaces& places)
{
  const int nStream = m_nNextNumber++;
  std::string sIndex;
  std::string sBodies;
  for (size_t i = 0; i < numbers.size(); ++i)
  {
    places[numbers[i]] = {2, static_cast<size_t>(nStream), i};
    sIndex += std::to_string(numbers[i]) + " " + std::to_string(sBodies.size()) + " ";
    sBodies += revision.at(numbers[i]).sBody + "\n";
  }
  const std::string sData = Deflate(sIndex + sBodies);
  WriteObject(nStream,
              "<< /Type /ObjStm /N " + std::to_string(numbers.size()) + " /First " +
                  std::to_string(sIndex.size()) + " /Filter /FlateDecode /Length " +
                  std::to_string(sData.size()) + " >>\nstream\n" + sData + "\nendstream",
              places);
}

std::string CPdfLayout::GetTrailerEntries() const
{
  std::string sEntries = "/Root " + std::to_string(CPdfBuilder::g_nCatalog) + " 0 R";
  if (m_nPrevious != 0)
    sEntries += " /Prev " + std::to_string(m_nPrevious);
  return sEntries + " " + m_builder.m_sTrailerEntries;
}

void CPdfLayout::WriteTable(const TPlaces& places, const std::string& sEntries)
{
  m_sOut += "xref\n";
  ForEachRun(places,
             [&](int nFirst, int nCount)
             {
               m_sOut += std::to_string(nFirst) + " " + std::to_string(nCount) + "\n";
               for (int i = nFirst; i < nFirst + nCount; ++i)
               {
                 const TPlace& place = places.at(i);
                 m_sOut += Digits(place.nFirst, 10) + " " + Digits(place.nSecond, 5) +
                           (place.nType == 0 ? " f \n" : " n \n");
               }
             });
  m_sOut += "trailer\n<< /Size " + std::to_string(m_nNextNumber) + " " + sEntries + " >>\n";
}

size_t CPdfLayout::WriteXRefStream(TPlaces places, const std::string& sEntries)
{
  const int nNumber = m_nNextNumber++;
  const size_t nStart = GetOffset();
  places[nNumber] = {1, nStart, 0};
  std::string sRows;
  for (const auto& [nObject, place] : places)
  {
    AppendBytes(sRows, static_cast<size_t>(place.nType), 1);
    AppendBytes(sRows, place.nFirst, 4);
    AppendBytes(sRows, place.nSecond, 2);
  }
  std::string sIndex;
  ForEachRun(places, [&](int nFirst, int nCount)
             { sIndex += std::to_string(nFirst) + " " + std::to_string(nCount) + " "; });
  const std::string sData = Deflate(PredictUp(sRows));
  TPlaces ignored;
  WriteObject(nNumber,
              "<< /Type /XRef /Size " + std::to_string(m_nNextNumber) + " /W [1 4 2] /Index [" + sIndex +
                  "] " + sEntries + " /Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns " +
                  std::to_string(g_nRowBytes) + " >> /Length " + std::to_string(sData.size()) +
                  " >>\nstream\n" + sData + "\nendstream",
              ignored);
  return nStart;
}

void CPdfLayout::WriteEnd(size_t nStart)
{
  m_sOut += "startxref\n" + std::to_string(nStart) + "\n%%EOF\n";
  m_nPrevious = nStart;
}

void CPdfLayout::Patch(size_t nPosition, size_t nValue)
{
  m_sOut.replace(nPosition, 10, Digits(nValue, 10));
}

// The objects of the upper half are first, as those of a first page do; their table, the one that startxref
// names, is before them and leads to the table of the rest at the end.
void CPdfLayout::WriteLinearizedLike(const TRevision& revision)
{
  const int nSplit = m_nNextNumber / 2 + 1;
  const int nDictionary = m_nNextNumber++;
  const std::string sOpen(10, '0');
  TPlaces first;
  TPlaces rest;
  rest[0] = {0, 0, 65535};

  WriteObject(nDictionary,
              "<< /Linearized 1 /L " + sOpen + " /H [ 0 0 ] /O " + std::to_string(m_builder.m_pages.front()) +
                  " /E " + sOpen + " /N " + std::to_string(m_builder.m_pages.size()) + " /T " + sOpen + " >>",
              first);
  const size_t nDictionaryAt = m_sOut.rfind("/Linearized");
  const size_t nTableAt = m_sOut.size();
  const size_t nTable = GetOffset();
  for (auto it = revision.lower_bound(nSplit); it != revision.end(); ++it)
    first[it->first] = {1, 0, 0};
  const std::string sFirstEntries = GetTrailerEntries() + " /Prev " + sOpen;
  WriteTable(first, sFirstEntries);
  const size_t nPrevAt = m_sOut.rfind(sOpen);
  m_sOut += "startxref\n0\n%%EOF\n";
  for (auto it = revision.lower_bound(nSplit); it != revision.end(); ++it)
    WriteObject(it->first, it->second.sBody, first);
  const size_t nFirstEnd = GetOffset();
  for (auto it = revision.begin(); it != revision.lower_bound(nSplit); ++it)
    WriteObject(it->first, it->second.sBody, rest);
  const size_t nMain = GetOffset();
  WriteTable(rest, GetTrailerEntries());
  WriteEnd(nTable);

  std::string sFile = std::move(m_sOut);
  m_sOut.clear();
  WriteTable(first, sFirstEntries);
  sFile.replace(nTableAt, m_sOut.size(), m_sOut);
  m_sOut = std::move(sFile);
  Patch(m_sOut.find("/L ", nDictionaryAt) + 3, m_sOut.size() - m_nHeader);
  Patch(m_sOut.find("/E ", nDictionaryAt) + 3, nFirstEnd);
  Patch(m_sOut.find("/T ", nDictionaryAt) + 3, nMain);
  Patch(nPrevAt, nMain);
}

}  // namespace Support
