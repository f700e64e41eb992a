#pragma once

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "pdf/linearize/Linearizer.h"
#include "tests/support/PdfBuilder.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

namespace Linearize
{

// The linearized form, made in memory; nothing if the linearizer refuses.
inline std::optional<std::string> TryLinearize(std::string_view sPdf)
{
  BSE::CErrorHandler errors;
  PDF::CFile file(&errors);
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  if (!PDF::GetLinearizer()->LinearizeMemory(
          {reinterpret_cast<const unsigned char*>(sPdf.data()), sPdf.size()}, pOutput.Get(), file))
    return std::nullopt;
  std::string sOutput(static_cast<size_t>(pOutput->GetLength()), '\0');
  pOutput->Rewind();
  pOutput->ReadFully(reinterpret_cast<unsigned char*>(sOutput.data()), pOutput->GetLength());
  return sOutput;
}

inline std::string MustLinearize(std::string_view sPdf)
{
  const std::optional<std::string> sOutput = TryLinearize(sPdf);
  EXPECT_TRUE(sOutput) << "refused";
  return sOutput.value_or("");
}

// Reads a linearized file by what its front says, without the code under test. A file that is not laid out as
// it should be throws or fails an expectation.
class CLinearizedFile
{
public:
  explicit CLinearizedFile(std::string sPdf) : m_sPdf(std::move(sPdf))
  {
    m_nLength = GetFrontNumber("/L (\\d+)");
    m_nHintOffset = GetFrontNumber("/H \\[(\\d+)");
    m_nHintLength = GetFrontNumber("/H \\[\\d+ +(\\d+)");
    m_nFirstPage = static_cast<int>(GetFrontNumber("/O (\\d+)"));
    m_nFirstPageEnd = GetFrontNumber("/E (\\d+)");
    m_nPages = static_cast<int>(GetFrontNumber("/N (\\d+)"));
    m_nMainTable = GetFrontNumber("/T (\\d+)");
    ReadTable(m_sPdf.find("xref\n"));
    ReadTable(m_sPdf.rfind("xref\n0 "));
  }

  const std::string& GetBytes() const { return m_sPdf; }

  // Text of an object, without a stream's data behind the keyword.
  std::string GetObject(int nNumber) const
  {
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
    std::smatch match;
    const std::string sObject = GetObject(nNumber);
    const bool bFound = std::regex_search(sObject, match, std::regex("/" + sKey + "[ \\[]*(\\d+) 0 R"));
    return bFound ? std::stoi(match[1]) : 0;
  }
  int GetRoot() const { return static_cast<int>(GetFrontNumber("/Root (\\d+)")); }

  // Number of the only object whose text holds this; 0 if none does.
  int FindObject(const std::string& sText) const
  {
    for (const auto& [nNumber, nPosition] : m_positions)
    {
      if (GetObject(nNumber).find(sText) != std::string::npos)
        return nNumber;
    }
    return 0;
  }
  bool IsInFront(int nNumber) const { return m_positions.at(nNumber) < m_nFirstPageEnd; }

  size_t m_nLength = 0;
  size_t m_nHintOffset = 0;
  size_t m_nHintLength = 0;
  int m_nFirstPage = 0;
  size_t m_nFirstPageEnd = 0;
  int m_nPages = 0;
  size_t m_nMainTable = 0;
  std::map<int, size_t> m_positions;

private:
  size_t GetFrontNumber(const char* szPattern) const
  {
    const std::string sFront = m_sPdf.substr(0, m_sPdf.find("startxref"));
    std::smatch match;
    if (!std::regex_search(sFront, match, std::regex(szPattern)))
      throw std::runtime_error(szPattern);
    return std::stoul(match[1]);
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
    {
      if (sLine.find("WARNING") != std::string::npos || sLine.find("ERROR") != std::string::npos ||
          (result.nExitCode == 2 && sLine.find("qpdf") != std::string::npos))
        lines.push_back(sLine);
    }
  }
  return lines;
}

}  // namespace Linearize
