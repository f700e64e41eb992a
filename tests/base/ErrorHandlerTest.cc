#include "base/ErrorHandler.h"

#include "base/APIErrorHandler.h"
#include "base/ConsoleErrorHandler.h"
#include "base/MemoryStream.h"
#include "base/MessageTable.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace BSE
{
namespace
{

constexpr unsigned g_nError = 0x80410101U;
constexpr unsigned g_nWarning = 0x00418102U;
constexpr unsigned g_nNote = 0x00410003U;

constexpr TMessageRow g_rows[] = {
    {g_nNote, u"- Page %d of %s, 0x%04X\n"},
    {g_nWarning, u"Odd %n1%."},
    {g_nError, u"Bad \u00fc %n1%."},
};

class CErrorHandlerTest : public testing::Test
{
protected:
  void SetUp() override { CMessageTable::Install(g_rows); }
  void TearDown() override { CMessageTable::Install({}); }
};

class CCollector : public IErrorObserver
{
public:
  void OnError(CScopedPtr<IError> pError) override { m_errors.push_back(std::move(pError)); }
  std::vector<CScopedPtr<IError>> m_errors;
};

class CPageContext : public CBasicErrorContext
{
public:
  explicit CPageContext(int nPage) : m_nPage(nPage) {}
  void OnAddContextInfo(IError& error) override { error.GetProperties()->Set("Page No.", m_nPage); }
  int m_nPage;
};

std::string GetText(CMemoryStream& stream)
{
  CBasicArray<unsigned char> bytes;
  stream.Rewind();
  stream.ReadToArray(bytes);
  const auto span = bytes.GetSpan();
  return std::string(span.begin(), span.end());
}

TEST_F(CErrorHandlerTest, FiltersBySeverity)
{
  const struct
  {
    unsigned m_nThreshold;
    unsigned m_nCode;
    bool m_bPasses;
    unsigned m_nAccumulated;
  } cases[] = {
      {0x80000000U, g_nError, true, g_nError},
      {0x80000000U, g_nWarning, false, g_nWarning},
      {0x8000U, g_nWarning, true, g_nWarning},
      {0x8000U, g_nNote, false, g_nNote},
      {0, g_nNote, true, g_nNote},
      {0x80000000U, ENOENT, true, 0x80000000U},
      {0xF0000000U, ENOENT, false, 0x80000000U},
      {0xF0000000U, g_nError, false, g_nError},
  };
  for (const auto& c : cases)
  {
    CErrorHandler handler;
    CCollector collector;
    handler.SetObserver(&collector);
    handler.SetThreshold(c.m_nThreshold);
    handler.OnReportError(MakeError(c.m_nCode));
    EXPECT_EQ(collector.m_errors.size(), c.m_bPasses ? 1U : 0U) << std::hex << c.m_nCode;
    EXPECT_EQ(handler.GetLastCode(), c.m_nCode);
    EXPECT_EQ(handler.GetAccumulated(), c.m_nAccumulated);
  }
}

TEST_F(CErrorHandlerTest, InnermostContextWins)
{
  CErrorHandler handler;
  CCollector collector;
  handler.SetObserver(&collector);
  CPageContext outer(1);
  CPageContext inner(2);
  CDynamicContextGuard outerGuard(&handler, &outer);
  {
    CDynamicContextGuard innerGuard(&handler, &inner);
    CBasicErrorContext child(&handler);
    child.OnReportError(MakeError(g_nError));
  }
  handler.OnReportError(MakeError(g_nError));
  ASSERT_EQ(collector.m_errors.size(), 2U);
  EXPECT_EQ(collector.m_errors[0]->GetProperties()->Find("Page No.")->GetValue(), 2);
  EXPECT_EQ(collector.m_errors[1]->GetProperties()->Find("Page No.")->GetValue(), 1);
}

TEST_F(CErrorHandlerTest, SuppressorLeavesNoTrace)
{
  CErrorHandler handler;
  CCollector collector;
  handler.SetObserver(&collector);
  handler.OnReportError(MakeError(g_nWarning));
  {
    CErrorSuppressor suppressor(&handler);
    handler.OnReportError(MakeError(g_nError));
  }
  EXPECT_EQ(handler.GetLastCode(), g_nWarning);
  EXPECT_EQ(handler.GetAccumulated(), g_nWarning);
  handler.OnReportError(MakeError(g_nError));
  EXPECT_EQ(collector.m_errors.size(), 1U);
}

TEST_F(CErrorHandlerTest, StreamHandlerWritesUnusedProperties)
{
  CObjectPtr<CMemoryStream> pStream(new CMemoryStream());
  CStreamErrorHandler handler(pStream.Get());
  handler.OnReportError(MakeError(g_nError, "n1", 3, "Object No.", 12, "File", "a.pdf"));
  CErrorProperties properties;
  properties.Set("a", 7);
  properties.Set("b", "x");
  properties.Set("c", 0xAB);
  {
    CIndentGuard guard(handler);
    handler.OnReportError(CScopedPtr<IError>(new CErrnoError(ENOENT)));
    handler.OnReport(g_nNote, &properties);
    handler.OnReport(0x00410004U, &properties);
  }
  EXPECT_EQ(GetText(*pStream),
            "0x80410101 - E - Bad \u00fc 3.\n    - Object No.: 12\n    - File: a.pdf\n"
            "  0x00000002 - E - No such file or directory\n"
            "  - Page 7 of x, 0x00AB\n");
}

TEST_F(CErrorHandlerTest, ApiHandlerKeepsAndLogs)
{
  CObjectPtr<CMemoryStream> pLog(new CMemoryStream());
  CAPIErrorHandler handler(pLog.Get());
  handler.OnReportError(MakeError(g_nError, "n1", 1));
  handler.SetLogging(false);
  handler.OnReportError(MakeError(g_nError, "n1", 2));
  handler.OnReportError(MakeError(g_nWarning, "n1", 3));
  EXPECT_EQ(handler.GetLastCode(), g_nWarning);
  ASSERT_TRUE(handler.GetLastError());
  EXPECT_EQ(handler.GetLastError()->GetProperties()->Find("n1")->GetValue(), 2);
  EXPECT_EQ(GetText(*pLog), "0x80410101 - E - Bad \u00fc 1.\n");
  handler.SetKeepLastError(false);
  handler.OnReportError(MakeError(g_nError, "n1", 4));
  EXPECT_EQ(handler.GetLastError()->GetProperties()->Find("n1")->GetValue(), 2);
}

TEST_F(CErrorHandlerTest, ConsoleAndFileHandlersWriteTheSameText)
{
  const std::string path = testing::TempDir() + "brevex_log_" + std::to_string(getpid());
  const auto read = [&path]
  {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  {
    CFileLogErrorHandler handler(path.c_str());
    ASSERT_TRUE(handler.IsOpen());
    handler.OnReportError(MakeError(g_nError, "x", 1));
  }
  EXPECT_EQ(read(), "0x80410101 - E - Bad \u00fc %n1%.\n    - x: 1\n");
  for (const bool bVerbose : {false, true})
  {
    std::FILE* pFile = std::fopen(path.c_str(), "w");
    ASSERT_TRUE(pFile);
    CConsoleErrorHandler handler(pFile, bVerbose);
    handler.SetIndent(1);
    handler.OnReportError(MakeError(g_nError, "x", 1));
    EXPECT_EQ(read(),
              std::string("  0x80410101 - E - Bad \u00fc %n1%.\n") + (bVerbose ? "      - x: 1\n" : ""));
    std::fclose(pFile);
  }
  std::remove(path.c_str());
  EXPECT_FALSE(CFileLogErrorHandler("/nonexistent/folder/log").IsOpen());
}

}  // namespace
}  // namespace BSE
