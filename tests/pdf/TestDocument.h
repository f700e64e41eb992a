#pragma once

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "pdf/File.h"

#include <cstdio>
#include <string>
#include <vector>

namespace PDF
{

// A document with a cross-reference table, made from numbered objects.
class CTestDocument
{
public:
  explicit CTestDocument(const char* szHeader = "%PDF-1.4\n") : m_text(szHeader) { m_offsets.push_back(0); }

  CTestDocument& Add(const std::string& value)
  {
    m_offsets.push_back(m_text.size() - m_nBase);
    m_text += std::to_string(m_offsets.size() - 1) + " 0 obj\n" + value + "\nendobj\n";
    return *this;
  }
  void SetBase(std::size_t nBase) { m_nBase = nBase; }
  void MoveOffset(std::size_t nObject, long nBy) { m_offsets[nObject] += static_cast<std::size_t>(nBy); }
  std::string Finish(const std::string& extra = "")
  {
    const std::size_t nXRef = m_text.size() - m_nBase;
    std::string text = m_text + "xref\n0 " + std::to_string(m_offsets.size()) + "\n0000000000 65535 f \n";
    for (std::size_t i = 1; i < m_offsets.size(); ++i)
    {
      char szLine[32];
      std::snprintf(szLine, sizeof(szLine), "%010zu 00000 n \n", m_offsets[i]);
      text += szLine;
    }
    return text + "trailer\n<</Size " + std::to_string(m_offsets.size()) + "/Root 1 0 R" + extra +
           ">>\nstartxref\n" + std::to_string(nXRef) + "\n%%EOF\n";
  }

private:
  std::string m_text;
  std::vector<std::size_t> m_offsets;
  std::size_t m_nBase = 0;
};

inline CTestDocument Simple(const char* szHeader = "%PDF-1.4\n")
{
  CTestDocument document(szHeader);
  const std::string header(szHeader);
  document.SetBase(header.find("%PDF-"));
  document.Add("<</Type/Catalog/Pages 2 0 R>>").Add("<</Type/Pages/Count 0/Kids[]>>").Add("(three)");
  return document;
}

struct TOpened
{
  explicit TOpened(const std::string& text, BSE::IErrorObserver* pObserver = nullptr,
                   unsigned nConformance = 0, bool bLenient = false)
      : m_file(&m_handler)
  {
    m_handler.SetThreshold(0);
    m_handler.SetObserver(pObserver);
    m_file.SetConformance(CConformance(nConformance));
    m_file.SetLenient(bLenient);
    BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
    pStream->Write(reinterpret_cast<const unsigned char*>(text.data()),
                   static_cast<std::int64_t>(text.size()));
    pStream->Rewind();
    m_bOpened = m_file.Open(pStream.Get());
  }
  std::string String(int nNumber)
  {
    const CObjectPtr object = m_file.GetObject(nNumber, 0);
    const CString& value = object.GetStringValue();
    return {reinterpret_cast<const char*>(value.GetData()), static_cast<std::size_t>(value.GetLength())};
  }

  BSE::CErrorHandler m_handler;
  CFile m_file;
  bool m_bOpened = false;
};

}  // namespace PDF
