#pragma once

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "pdf/linearize/Linearizer.h"
#include "pdf/linearize/PDLOutput.h"
#include "tests/support/PdfBuilder.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Linearize
{

// The linearized form, made in memory, with object streams or without; nothing if the linearizer refuses.
inline std::optional<std::string> TryLinearize(std::string_view sPdf,
                                               PDF::IStreamDeflater* pDeflater = nullptr, bool bPack = false)
{
  BSE::CErrorHandler errors;
  PDF::CFile file(&errors);
  file.SetStreamDeflater(pDeflater);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  std::int64_t nWritten = 0;
  if (PDF::GetLinearizer(bPack)->LinearizeStream(pInput.Get(), pOutput.Get(), file, -1, nWritten) !=
      PDF::TLinearized::Done)
    return std::nullopt;
  EXPECT_EQ(nWritten, pOutput->GetLength());
  std::string sOutput(static_cast<size_t>(pOutput->GetLength()), '\0');
  pOutput->Rewind();
  pOutput->ReadFully(reinterpret_cast<unsigned char*>(sOutput.data()), pOutput->GetLength());
  return sOutput;
}

inline std::string MustLinearize(std::string_view sPdf, PDF::IStreamDeflater* pDeflater = nullptr,
                                 bool bPack = false)
{
  const std::optional<std::string> sOutput = TryLinearize(sPdf, pDeflater, bPack);
  EXPECT_TRUE(sOutput) << "refused";
  return sOutput.value_or("");
}

// The form with object streams, nothing in it compressed.
inline std::string PackPlainly(std::string_view sPdf)
{
  constexpr int nStreamSize = 15000;
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  PDLInput input;
  EXPECT_EQ(input.Open(pInput.Get(), nullptr), PDLInput::TState::Opened);
  PDLOutput output(input, nullptr, nullptr);
  output.SetObjectStreams(nStreamSize);
  EXPECT_TRUE(output.Write(pOutput.Get()));
  std::string sOutput(static_cast<size_t>(pOutput->GetLength()), '\0');
  pOutput->Rewind();
  pOutput->ReadFully(reinterpret_cast<unsigned char*>(sOutput.data()), pOutput->GetLength());
  return sOutput;
}

// Reads a linearized file by what its front says, without the code under test; of one with compressed
// cross-reference streams the front alone. A file that is not laid out as it should be throws or fails an
// expectation.
class CLinearizedFile
{
public:
  explicit CLinearizedFile(std::string sPdf) : m_sPdf(std::move(sPdf))
  {
    m_nLength = GetFrontNumber("/L ");
    m_nHintOffset = GetFrontNumber("/H [");
    m_nHintLength = GetFrontNumber("/H [" + std::to_string(m_nHintOffset));
    m_nFirstPage = static_cast<int>(GetFrontNumber("/O "));
    m_nFirstPageEnd = GetFrontNumber("/E ");
    m_nPages = static_cast<int>(GetFrontNumber("/N "));
    m_nMainTable = GetFrontNumber("/T ");
    const size_t nStream = m_sPdf.find("endobj\n") + 7;
    m_bPacked = m_sPdf.find("/XRef") < m_sPdf.find("startxref");
    const size_t nHolder = m_sPdf.find("/Type/ObjStm");
    const bool bPlain =
        m_sPdf.find("/Filter") > m_sPdf.find("stream") &&
        (nHolder == std::string::npos || m_sPdf.find("/Filter", nHolder) > m_sPdf.find("stream", nHolder));
    if (m_bPacked && bPlain)
    {
      m_nFirstCount = ReadXRefStream(nStream);
      m_nMainCount = ReadXRefStream(m_nMainTable);
    }
    if (m_bPacked)
      return;
    ReadTable(m_sPdf.find("xref\n"));
    ReadTable(m_sPdf.rfind("xref\n0 "));
  }

  const std::string& GetBytes() const { return m_sPdf; }

  // Text of an object, without a stream's data after the keyword.
  std::string GetObject(int nNumber) const
  {
    if (const auto member = m_members.find(nNumber); member != m_members.end())
      return member->second;
    const auto found = m_positions.find(nNumber);
    if (found == m_positions.end())
      return "missing";
    const std::string sHead = std::to_string(nNumber) + " 0 obj\n";
    EXPECT_EQ(m_sPdf.compare(found->second, sHead.size(), sHead), 0) << nNumber;
    const size_t nStart = found->second + sHead.size();
    return m_sPdf.substr(nStart, m_sPdf.find("\nend", nStart) - nStart);
  }
  size_t GetPosition(int nNumber) const { return m_positions.at(nNumber); }

  // Number of the object that the value of a key refers to, 0 without one.
  int GetReference(int nNumber, const std::string& sKey) const
  {
    const std::string sObject = GetObject(nNumber);
    const std::string sName = "/" + sKey;
    for (size_t nKey = sObject.find(sName); nKey != std::string::npos; nKey = sObject.find(sName, nKey + 1))
    {
      const size_t nValue = sObject.find_first_not_of(" [", nKey + sName.size());
      const size_t nEnd = std::min(sObject.find_first_not_of("0123456789", nValue), sObject.size());
      if (nEnd > nValue && sObject.compare(nEnd, 4, " 0 R") == 0)
        return std::stoi(sObject.substr(nValue));
    }
    return 0;
  }
  int GetRoot() const { return static_cast<int>(GetFrontNumber("/Root ")); }

  // Number of the only object whose text holds this; 0 if none does.
  int FindObject(const std::string& sText) const
  {
    for (const auto& [nNumber, sMember] : m_members)
      if (sMember.find(sText) != std::string::npos)
        return nNumber;
    for (const auto& [nNumber, nPosition] : m_positions)
      if (GetObject(nNumber).find("/Type/ObjStm") != 0 && GetObject(nNumber).find(sText) != std::string::npos)
        return nNumber;
    return 0;
  }
  bool IsInFront(int nNumber) const
  {
    const auto holder = m_holders.find(nNumber);
    return m_positions.at(holder != m_holders.end() ? holder->second : nNumber) < m_nFirstPageEnd;
  }

  size_t m_nLength = 0;
  size_t m_nHintOffset = 0;
  size_t m_nHintLength = 0;
  int m_nFirstPage = 0;
  size_t m_nFirstPageEnd = 0;
  int m_nPages = 0;
  size_t m_nMainTable = 0;
  std::map<int, size_t> m_positions;
  std::map<int, int> m_holders;          // object streams, of the objects in them
  std::map<int, std::string> m_members;  // what these are
  bool m_bPacked = false;
  int m_nFirstCount = 0;  // rows of the cross-reference streams
  int m_nMainCount = 0;

private:
  // The number after a mark in an object's dictionary; 0 without the mark.
  size_t GetEntry(size_t nObject, const std::string& sMark) const
  {
    const size_t nMark = m_sPdf.find(sMark, nObject);
    return nMark < m_sPdf.find("stream", nObject) ? std::stoul(m_sPdf.substr(nMark + sMark.size(), 20)) : 0;
  }
  size_t GetData(size_t nObject) const
  {
    const size_t nData = m_sPdf.find("stream", nObject) + 6;
    return nData + (m_sPdf[nData] == '\r' ? 2 : 1);
  }

  int ReadXRefStream(size_t nObject)
  {
    size_t widths[3] = {};
    const size_t nWidths = m_sPdf.find("/W[", nObject);
    EXPECT_EQ(std::sscanf(m_sPdf.c_str() + nWidths, "/W[%zu %zu %zu]", &widths[0], &widths[1], &widths[2]),
              3);
    const size_t nRow = widths[0] + widths[1] + widths[2];
    const auto nFirst = static_cast<int>(GetEntry(nObject, "/Index["));
    const size_t nCount = GetEntry(nObject, "/Length ") / nRow;
    size_t nAt = GetData(nObject);
    std::vector<std::pair<int, std::pair<int, int>>> members;
    for (size_t i = 0; i < nCount; ++i)
    {
      size_t fields[3] = {};
      for (size_t nField = 0; nField < 3; ++nField)
        for (size_t n = 0; n < widths[nField]; ++n)
          fields[nField] = fields[nField] << 8 | static_cast<unsigned char>(m_sPdf[nAt++]);
      const int nNumber = nFirst + static_cast<int>(i);
      if (fields[0] == 1)
        m_positions[nNumber] = fields[1];
      else if (fields[0] == 2)
        members.push_back({nNumber, {static_cast<int>(fields[1]), static_cast<int>(fields[2])}});
    }
    for (const auto& [nNumber, place] : members)
      ReadMember(nNumber, place.first, place.second);
    return static_cast<int>(nCount);
  }

  void ReadMember(int nNumber, int nHolder, int nIndex)
  {
    const size_t nObject = m_positions.at(nHolder);
    const size_t nFirst = GetEntry(nObject, "/First ");
    const std::string sData = m_sPdf.substr(GetData(nObject), GetEntry(nObject, "/Length "));
    std::istringstream head(sData.substr(0, nFirst));
    int nFound = 0;
    size_t nStart = 0;
    for (int i = 0; i <= nIndex; ++i)
      head >> nFound >> nStart;
    EXPECT_EQ(nFound, nNumber);
    size_t nEnd = sData.size() - nFirst;
    if (size_t nNext = 0; head >> nFound >> nNext)
      nEnd = nNext;
    m_holders[nNumber] = nHolder;
    m_members[nNumber] = sData.substr(nFirst + nStart, nEnd - nStart - 1);
  }

  size_t GetFrontNumber(const std::string& sMark) const
  {
    const size_t nMark = m_sPdf.find(sMark);
    if (nMark == std::string::npos || nMark > m_sPdf.find("startxref"))
      throw std::runtime_error(sMark);
    return std::stoul(m_sPdf.substr(nMark + sMark.size(), 20));
  }

  void ReadTable(size_t nPos)
  {
    int nFirst = 0;
    int nCount = 0;
    int nUsed = 0;
    ASSERT_EQ(std::sscanf(m_sPdf.c_str() + nPos, "xref %d %d%n", &nFirst, &nCount, &nUsed), 2);
    nPos += static_cast<size_t>(nUsed) + 1;
    for (int i = 0; i < nCount; ++i)
    {
      const std::string sEntry = m_sPdf.substr(nPos + 20 * static_cast<size_t>(i), 20);
      if (sEntry[17] == 'n')
        m_positions[nFirst + i] = std::stoul(sEntry);
    }
  }

  std::string m_sPdf;
};

// Lines with which the tool's check of a linearized file finds fault; empty without the tool.
inline std::vector<std::string> GetComplaints(const std::string& sPdf, const std::string& sPassword = {})
{
  std::vector<std::string> lines;
  if (!Support::HasProgram("qpdf"))
    return lines;
  const Support::CTempFolder folder;
  Support::WriteFile(folder / "file.pdf", sPdf);
  for (const char* szCheck : {"--check", "--check-linearization"})
  {
    const Support::TProcessResult result =
        Support::RunProgram({"qpdf", "--password=" + sPassword, szCheck, folder / "file.pdf"});
    std::istringstream text(result.sOut + result.sErr);
    for (std::string sLine; std::getline(text, sLine);)
      if (sLine.find("WARNING") != std::string::npos || sLine.find("ERROR") != std::string::npos ||
          (result.nExitCode == 2 && sLine.find("qpdf") != std::string::npos))
        lines.push_back(sLine);
  }
  return lines;
}

}  // namespace Linearize
