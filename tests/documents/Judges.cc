#include "tests/documents/Judges.h"

#include <sstream>

#include "tests/support/Process.h"
#include "tests/support/Saver.h"
#include "tests/support/TempFolder.h"

namespace Documents
{

testing::AssertionResult IsSound(const std::string& sPdf)
{
  static const bool g_bInstalled = Support::HasProgram("qpdf");
  if (!g_bInstalled)
    return testing::AssertionSuccess() << "qpdf is not installed";
  const Support::CTempFolder folder;
  Support::WriteFile(folder / "out.pdf", sPdf);
  const Support::TProcessResult result = Support::RunProgram({"qpdf", "--check", folder / "out.pdf"});
  return result.nExitCode == 0 ? testing::AssertionSuccess()
                               : testing::AssertionFailure() << "qpdf: " << result.sErr << result.sOut;
}

testing::AssertionResult HasTextOfPages(const std::string& sPdf, int nPages)
{
  static const bool g_bInstalled = Support::HasProgram("pdftotext");
  if (!g_bInstalled)
    return testing::AssertionSuccess() << "pdftotext is not installed";
  const Support::CTempFolder folder;
  Support::WriteFile(folder / "out.pdf", sPdf);
  std::istringstream found(Support::RunProgram({"pdftotext", folder / "out.pdf", "-"}).sOut);
  std::string sWords;
  for (std::string sWord; found >> sWord;)
    sWords += sWord + " ";
  std::string sExpected;
  for (int i = 1; i <= nPages; ++i)
    sExpected += "Page " + std::to_string(i) + " ";
  return sWords == sExpected ? testing::AssertionSuccess()
                             : testing::AssertionFailure() << "the text is: " << sWords;
}

testing::AssertionResult Reopens(const std::string& sPdf, int nPages)
{
  Support::CSaver saver;
  if (!saver.Open(sPdf))
    return testing::AssertionFailure() << "does not open, code " << std::hex << saver.GetCode();
  if (saver.GetCode() != 0)
    return testing::AssertionFailure() << "opens with code " << std::hex << saver.GetCode();
  const int nFound = BrevexGetPageCount(saver.Get());
  return nFound == nPages ? testing::AssertionSuccess()
                          : testing::AssertionFailure() << nFound << " pages instead of " << nPages;
}

}  // namespace Documents
