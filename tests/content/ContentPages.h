#pragma once

#include "content/ContentParser.h"
#include "tests/support/Corpus.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>

namespace Content
{

// Keeps the codes that are reported.
class CCorpusReports : public BSE::IErrorContext
{
public:
  BSE::CErrorHandler* OnGetErrorHandler() override { return nullptr; }
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override { m_codes.insert(pError->GetCode()); }
  void OnReport(unsigned nCode, const BSE::CErrorProperties*) override { m_codes.insert(nCode); }
  void OnAddContextInfo(BSE::IError&) override {}

  std::set<unsigned> m_codes;
};

// Opens the files of a set of the corpus that open with their passwords, one after the other.
template <class F>
void ForEachDocument(const char* szSet, F fnVisit)
{
  std::map<std::string, Support::TCorpusFile> manifest = Support::ReadManifest();
  for (const std::filesystem::path& path : Support::ListFiles(szSet))
  {
    SCOPED_TRACE(path.filename());
    const std::string sFile = Support::ReadFile(path);
    const std::string sPassword = manifest[szSet + ("/" + path.filename().string())].sPassword;
    const PDF::CString password(sPassword.c_str());
    CCorpusReports reports;
    PDF::CDocument document(&reports);
    const BSE::CObjectPtr<BSE::IByteStream> pInput(
        new BSE::CMemoryInputStream(sFile.data(), static_cast<std::int64_t>(sFile.size())));
    document.SetLenient(true);
    if (document.Open(pInput.Get(), &password))
      fnVisit(path, sPassword, document);
  }
}

}  // namespace Content
