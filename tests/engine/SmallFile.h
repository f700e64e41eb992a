#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"

namespace Engine
{

// A file made quickly: objects one after the other, pages in one node. 1 is the catalogue, 2 the node.
class CSmallFile
{
public:
  CSmallFile() : m_bodies(3) {}

  int Add(const std::string& sBody)
  {
    m_bodies.push_back(sBody);
    return GetCount() - 1;
  }
  void Set(int nNumber, const std::string& sBody) { m_bodies[static_cast<std::size_t>(nNumber)] = sBody; }
  int AddStream(const std::string& sData, const std::string& sEntries)
  {
    return Add("<<" + sEntries + "/Length " + std::to_string(sData.size()) + ">>stream\n" + sData +
               "\nendstream");
  }
  int AddPage(const std::string& sEntries)
  {
    m_pages.push_back(Add("<</Type/Page/Parent 2 0 R" + sEntries + ">>"));
    return m_pages.back();
  }
  int GetCount() const { return static_cast<int>(m_bodies.size()); }

  // Entries of the node and of the catalogue. Without a page the node has no kids.
  std::string Build(const std::string& sNode, const std::string& sCatalog = {})
  {
    std::string sKids;
    for (const int nPage : m_pages)
      sKids += std::to_string(nPage) + " 0 R ";
    if (!m_pages.empty())
      sKids = "/Count " + std::to_string(m_pages.size()) + "/Kids[" + sKids + "]";
    m_bodies[1] = "<</Type/Catalog/Pages 2 0 R" + sCatalog + ">>";
    m_bodies[2] = "<</Type/Pages" + sKids + sNode + ">>";
    std::string sText = "%PDF-1.7\n";
    std::string sTable = "0000000000 65535 f \n";
    for (std::size_t i = 1; i < m_bodies.size(); ++i)
    {
      const std::string sOffset = std::to_string(sText.size());
      sTable += std::string(10 - sOffset.size(), '0') + sOffset + " 00000 n \n";
      sText += std::to_string(i) + " 0 obj\n" + m_bodies[i] + "\nendobj\n";
    }
    const std::string sSize = std::to_string(m_bodies.size());
    const std::string sStart = std::to_string(sText.size());
    return sText + "xref\n0 " + sSize + "\n" + sTable + "trailer\n<</Root 1 0 R/Size " + sSize +
           ">>\nstartxref\n" + sStart + "\n%%EOF\n";
  }

private:
  std::vector<std::string> m_bodies;
  std::vector<int> m_pages;
};

inline BSE::CObjectPtr<BSE::IByteStream> MakeStream(const std::string& sBytes)
{
  return new BSE::CMemoryStream(sBytes.data(), static_cast<std::int64_t>(sBytes.size()));
}

inline std::string ReadAll(BSE::IByteStream* pStream)
{
  BSE::CBasicArray<unsigned char> bytes;
  if (!pStream || !pStream->ReadToArray(bytes))
    return "failed";
  return std::string(bytes.GetSpan().begin(), bytes.GetSpan().end());
}

struct TReport
{
  unsigned m_nCode;
  BSE::TConsequence m_consequence;
  bool m_bOnPage;
};

// Keeps what is reported.
class CReports : public BSE::CErrorHandler
{
public:
  void OnNoteError(BSE::IError& error) override
  {
    const BSE::CErrorProperties* pProperties = error.GetProperties();
    m_reports.push_back(
        {error.GetCode(), error.GetConsequence(), pProperties && pProperties->Find("Page No.")});
  }
  int CountLosses(unsigned nCode) const
  {
    int nCount = 0;
    for (const TReport& report : m_reports)
      nCount += report.m_nCode == nCode && report.m_consequence == BSE::eContentLost ? 1 : 0;
    return nCount;
  }

  std::vector<TReport> m_reports;
};

struct TLoadCounter : PDF::CFileEventListener
{
  void OnObjectLoading(PDF::CFile&, int, int) override { ++m_nLoads; }
  int m_nLoads = 0;
};

}  // namespace Engine
