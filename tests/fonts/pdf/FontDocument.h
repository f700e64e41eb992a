#pragma once

#include "base/MemoryStream.h"
#include "document/Document.h"
#include "fonts/pdf/FontRegistry.h"
#include "tests/support/PdfBuilder.h"

#include <gtest/gtest.h>

#include <string>

namespace Fonts
{

// Keeps the codes that are reported.
class CReports : public BSE::IErrorContext
{
public:
  BSE::CErrorHandler* OnGetErrorHandler() override { return nullptr; }
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override { m_codes.push_back(pError->GetCode()); }
  void OnReport(unsigned nCode, const BSE::CErrorProperties*) override { m_codes.push_back(nCode); }
  void OnAddContextInfo(BSE::IError&) override {}

  std::vector<unsigned> m_codes;
};

// A document that was built, with its fonts.
class CFontDocument
{
public:
  explicit CFontDocument(const std::string& sPdf) : m_document(&m_reports)
  {
    // Objects can be changed.
    const BSE::CObjectPtr<BSE::IByteStream> pInput(
        new BSE::CMemoryStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
    EXPECT_TRUE(m_document.Open(pInput.Get(), nullptr, true));
    m_pFonts.Reset(new PDF::CFontRegistry(m_document));
  }
  PDF::CObjectPtr GetObject(int nNumber) { return m_document.GetFile().GetObject(nNumber, 0); }
  BSE::CObjectPtr<PDF::CFont> GetFont(int nNumber) { return m_pFonts->CreateFont(GetObject(nNumber)); }
  PDF::CFontRegistry& GetFonts() { return *m_pFonts; }
  const std::vector<unsigned>& GetReports() const { return m_reports.m_codes; }

private:
  CReports m_reports;
  PDF::CDocument m_document;
  BSE::CScopedPtr<PDF::CFontRegistry> m_pFonts;
};

inline std::u16string GetText(const PDF::IToUnicode& toUnicode, unsigned nCode)
{
  char16_t units[PDF::CToUnicode::g_nMaxUnits];
  const int nUnits = toUnicode.GetUnicode(nCode, units, PDF::CToUnicode::g_nMaxUnits);
  return {units, static_cast<std::size_t>(nUnits)};
}

}  // namespace Fonts
