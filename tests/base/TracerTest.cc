#include "base/Tracer.h"

#include "base/ErrorContext.h"
#include "base/TraceFormat.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace BSE
{
namespace
{

std::string Format(int nSize, const char* szFormat, ...)
{
  std::vector<char> buffer(static_cast<std::size_t>(nSize), '?');
  va_list arguments;
  va_start(arguments, szFormat);
  const int nLength = FormatTraceMessage(buffer.data(), nSize, szFormat, arguments);
  va_end(arguments);
  EXPECT_EQ(std::string(buffer.data()).size(), static_cast<std::size_t>(nLength));
  return buffer.data();
}

TEST(TraceFormat, FollowsPrintf)
{
  EXPECT_EQ(Format(100, "%d %i %u %c %%", -5, 6, 7U, 'x'), "-5 6 7 x %");
  EXPECT_EQ(Format(100, "%08X|%-5d|%+d|% d|%#x|%#o", 0xABCU, 3, 4, 5, 255U, 8U),
            "00000ABC|3    |+4| 5|0xff|010");
  EXPECT_EQ(Format(100, "%ld %lld %hd %zu", -1L, 1LL << 40, 70000, std::size_t{9}),
            "-1 1099511627776 4464 9");
  EXPECT_EQ(Format(100, "%.3f %g %e %*d", 1.5, 0.25, 100.0, 4, 7), "1.500 0.25 1.000000e+02    7");
  EXPECT_EQ(Format(100, "%s|%.2s|%5s", "abc", "abc", "ab"), "abc|ab|   ab");
  EXPECT_EQ(Format(100, "%s", static_cast<const char*>(nullptr)), "(null)");
  EXPECT_EQ(Format(100, "%S", L"\u20ac\U0001F600"), "\u20ac\U0001F600");
  EXPECT_EQ(Format(100, "a\\n\\t\\\\\\101"), "a\n\t\\A");
  EXPECT_EQ(Format(5, "%s", "abcdefgh"), "abcd");
  EXPECT_EQ(Format(1, "%d", 12345), "");
}

class CTracerTest : public testing::Test
{
protected:
  void SetUp() override
  {
    m_path = testing::TempDir() + "brevex_trace_" + std::to_string(getpid());
    ASSERT_TRUE(CTracer::SetOutput(m_path.c_str()));
  }
  void TearDown() override
  {
    CTracer::SetProduct("");
    CTracer::Close();
    std::remove(m_path.c_str());
  }

  std::vector<std::string> ReadLines() const
  {
    std::ifstream file(m_path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
      lines.push_back(line);
    return lines;
  }

  // What follows the time, the process and the thread.
  static std::string Tail(const std::string& line)
  {
    std::size_t nPos = 0;
    for (int i = 0; i < 3; ++i)
      nPos = line.find(',', nPos) + 1;
    return line.substr(nPos);
  }

  std::string m_path;
};

TEST_F(CTracerTest, WritesOnePhysicalLine)
{
  CTracer::SetProduct("Product");
  CTracer::Trace("E", "BSE Object", "say \"%s\"\nand %d", "no", 3);
  // Quotes are doubled on both sides of the pieces in which the text is written.
  const std::string quotes(600, '"');
  CTracer::Trace("D", "Component", "%s", quotes.c_str());
  {
    const CTraceBlock block("Block", "page %d", 4);
  }
  const std::vector<std::string> lines = ReadLines();
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[0], "Time,Process,Thread,Severity,Product,Component,Message");
  EXPECT_EQ(Tail(lines[1]), "E,Product,BSE Object,\"say \"\"no\"\"and 3\"");
  EXPECT_NE(lines[1].find("," + std::to_string(getpid()) + ","), std::string::npos);
  EXPECT_EQ(Tail(lines[2]), "D,Product,Component,\"" + quotes + quotes + "\"");
  EXPECT_EQ(Tail(lines[3]), "I,Product,Block,\"Begin page 4\"");
  EXPECT_EQ(Tail(lines[4]), "I,Product,Block,\"End page 4\"");
}

TEST_F(CTracerTest, SharesItsFileAmongThreadsAndProcesses)
{
  constexpr int nLines = 15;
  const auto work = []
  {
    for (int i = 0; i < nLines; ++i)
      CTracer::Trace("I", "Work", "line %d", i);
  };
  const pid_t nChild = fork();
  if (nChild == 0)
  {
    work();
    _exit(0);
  }
  std::thread other(work);
  work();
  other.join();
  waitpid(nChild, nullptr, 0);
  const std::vector<std::string> lines = ReadLines();
  ASSERT_EQ(lines.size(), 1U + 3 * nLines);
  for (std::size_t i = 1; i < lines.size(); ++i)
    EXPECT_EQ(Tail(lines[i]).substr(0, 13), "I,,Work,\"line") << lines[i];
}

TEST_F(CTracerTest, PutsTheDateIntoThePath)
{
  ASSERT_TRUE(CTracer::SetOutput((m_path + "%s").c_str()));
  CTracer::Trace("I", "Dated", "line");
  const std::time_t nNow = std::time(nullptr);
  char szDate[32];
  std::strftime(szDate, sizeof(szDate), "%Y-%m-%d", std::localtime(&nNow));
  const std::string path = m_path + szDate;
  EXPECT_TRUE(std::ifstream(path).good());
  std::remove(path.c_str());
}

TEST_F(CTracerTest, FailureToOpenSilencesTheOutput)
{
  testing::internal::CaptureStderr();
  EXPECT_FALSE(CTracer::SetOutput("/nonexistent/folder/trace"));
  CTracer::Trace("I", "Nowhere", "line");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Failed to open trace file.\n");
  EXPECT_FALSE(CTracer::IsOn());
}

TEST_F(CTracerTest, TellsOfReportsWithoutContext)
{
  ReportError(nullptr, MakeError(0x80410101U));
  CBasicErrorContext orphan;
  orphan.OnReport(7, nullptr);
  EXPECT_EQ(orphan.OnGetErrorHandler(), nullptr);
  const std::vector<std::string> lines = ReadLines();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(Tail(lines[1]), "I,,BSE Reporting,\"Error 0x80410101 not reported.\"");
  EXPECT_EQ(Tail(lines[2]), "I,,BSE Reporting,\"Message 7 not reported.\"");
  EXPECT_EQ(Tail(lines[3]), "I,,BSE Reporting,\"No error context.\"");
}

}  // namespace
}  // namespace BSE
