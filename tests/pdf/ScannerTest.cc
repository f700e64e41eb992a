#include "pdf/Scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace PDF;

// Keeps the text alive that the scanner reads in place.
struct TScan
{
  explicit TScan(std::string data, bool bStrict = false)
      : m_text(std::move(data)),
        m_scanner(new BSE::CMemoryInputStream(m_text.data(), static_cast<std::int64_t>(m_text.size())),
                  nullptr)
  {
    m_scanner.SetStrict(bStrict, -1, -1);
  }
  TToken Next()
  {
    m_scanner.ReadToken();
    return m_scanner.GetToken();
  }
  std::string Text() const
  {
    return {m_scanner.GetText(), static_cast<std::size_t>(m_scanner.GetTextLength())};
  }

  std::string m_text;
  CScanner m_scanner;
};

std::vector<int> Kinds(const std::string& text)
{
  TScan scan(text);
  std::vector<int> kinds;
  while (scan.Next() != eTokenEnd && kinds.size() < 100)
    kinds.push_back(scan.m_scanner.GetToken());
  return kinds;
}

TEST(Scanner, ToldApartByTheirFirstCharacter)
{
  EXPECT_EQ(Kinds("null false true 1 1.5 (s) /n [ ] << >>"),
            (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(Kinds("stream endstream R obj endobj xref trailer startxref word"),
            (std::vector<int>{12, 13, 14, 15, 16, 17, 18, 19, 20}));
  EXPECT_EQ(Kinds("1%comment 5\r2%x\n3"), (std::vector<int>{4, 4, 4}));
  EXPECT_EQ(Kinds("/a/b[/c]<</d<41>>>"), (std::vector<int>{7, 7, 8, 7, 9, 10, 7, 6, 11}));
  EXPECT_EQ(Kinds("> { }"), (std::vector<int>{22, 22, 22}));
}

TEST(Scanner, OperatorsOfContent)
{
  EXPECT_EQ(Kinds("' \" B B* y w"), (std::vector<int>{23, 24, 25, 26, 97, 96}));
  // "rl" is in the table although no operator has that name.
  EXPECT_NE(Kinds("rl")[0], eTokenKeyword);
  EXPECT_EQ(Kinds("BTx nulls"), (std::vector<int>{20, 20}));
}

TEST(Scanner, Numbers)
{
  struct TCase
  {
    const char* m_szText;
    TToken m_nToken;
    double m_dValue;
  };
  const TCase cases[] = {
      {"0", eTokenInteger, 0},
      {"-17", eTokenInteger, -17},
      {"+5", eTokenInteger, 5},
      {"--5", eTokenInteger, -5},
      {"-+5", eTokenInteger, 5},
      {"-", eTokenInteger, 0},
      {"12abc", eTokenInteger, 12},
      {".5", eTokenReal, 0.5},
      {"-.25", eTokenReal, -0.25},
      {"4.", eTokenReal, 4},
      {"123456789012345678901234", eTokenReal, 123456789012345678901234.0},
      {"2147483648", eTokenInteger, 2147483648.0},
  };
  for (const TCase& c : cases)
  {
    TScan scan(std::string(c.m_szText) + " ");
    EXPECT_EQ(scan.Next(), c.m_nToken) << c.m_szText;
    EXPECT_DOUBLE_EQ(scan.m_scanner.GetReal(), c.m_dValue) << c.m_szText;
    EXPECT_EQ(scan.Next(), eTokenEnd) << c.m_szText;
  }
  TScan twice("1.2.3");
  twice.Next();
  EXPECT_DOUBLE_EQ(twice.m_scanner.GetReal(), 1.2);
  EXPECT_EQ(twice.Next(), eTokenReal);
  EXPECT_DOUBLE_EQ(twice.m_scanner.GetReal(), 0.3);
}

TEST(Scanner, Strings)
{
  const std::pair<const char*, std::string> cases[] = {
      {"(a(b)c)", "a(b)c"},
      {"(\\n\\r\\t\\b\\f\\(\\)\\\\)", "\n\r\t\b\f()\\"},
      {"(\\101\\1012\\53x\\777)", "AA2+x\xFF"},
      {"(a\\\nb\\\r\nc\\\rd)", "abcd"},
      {"(a\rb\r\nc\nd)", "a\nb\nc\nd"},
      {"(\\q)", "q"},
      {"(open", "open"},
      {"<414 2>", "AB"},
      {"<414>", "A@"},
      {"<>", ""},
  };
  for (const auto& [szText, expected] : cases)
  {
    TScan scan(szText);
    EXPECT_EQ(scan.Next(), eTokenString) << szText;
    EXPECT_EQ(scan.Text(), expected) << szText;
  }
  TScan bad("<41Z2> 7");
  EXPECT_EQ(bad.Next(), eTokenInvalid);
  EXPECT_EQ(bad.Next(), eTokenInteger);
}

TEST(Scanner, Names)
{
  const std::pair<const char*, std::string> cases[] = {
      {"/A#42 ", "AB"},   {"/A#4 ", std::string("A\4")}, {"/# ", ""}, {"/ ", ""}, {"/A#G ", "AG"},
      {"/A;_$ ", "A;_$"},
  };
  for (const auto& [szText, expected] : cases)
  {
    TScan scan(szText);
    EXPECT_EQ(scan.Next(), eTokenName) << szText;
    EXPECT_EQ(scan.Text(), expected) << szText;
  }
  TScan sized("/" + std::string(70000, 'x') + " 1");
  EXPECT_EQ(sized.Next(), eTokenName);
  EXPECT_EQ(sized.m_scanner.GetTextLength(), 70000);
  EXPECT_EQ(sized.Next(), eTokenInteger);
}

TEST(Scanner, EndOfStreamData)
{
  const std::pair<const char*, std::int64_t> cases[] = {
      {"abc\r\nendstream", 3}, {"abc\nendstream", 3},   {"abc\rendstream", 3},
      {"abcendstream", 3},     {"abc\n\nendstream", 4}, {"abc", 3},
      {"eendstream", 1},       {"endstrendstream", 6},
  };
  for (const auto& [szText, nEnd] : cases)
  {
    TScan scan(szText);
    EXPECT_EQ(scan.m_scanner.FindEndStream(), nEnd) << szText;
  }
}

TEST(Scanner, SeparatorBehindStream)
{
  const std::pair<const char*, std::int64_t> cases[] = {
      {"\r\nX", 2}, {"\nX", 1}, {"\rX", 1}, {" \nX", 2}, {" \r\nX", 3}, {"X", 0}, {" X", 0},
  };
  for (const auto& [szText, nPos] : cases)
  {
    TScan scan(szText);
    EXPECT_EQ(scan.m_scanner.SkipStreamEol(), nPos) << szText;
  }
}

TEST(Scanner, SearchAcrossBlocks)
{
  TScan scan(std::string(5000, 's') + "startxref" + std::string(3000, ' '));
  EXPECT_EQ(scan.m_scanner.FindForward("startxref"), 5000);
  scan.m_scanner.SeekEnd();
  EXPECT_EQ(scan.m_scanner.FindBackward("startxref"), 5000);
  EXPECT_EQ(scan.m_scanner.FindForward("absent"), -1);
}

TEST(Scanner, SavedContextComesBack)
{
  TScan scan("(text) 17 /name 3.5");
  scan.Next();
  TScannerState state;
  scan.m_scanner.SaveContext(state);
  scan.Next();
  scan.Next();
  scan.m_scanner.RestoreContext(state);
  EXPECT_EQ(scan.m_scanner.GetToken(), eTokenString);
  EXPECT_EQ(scan.Text(), "text");
  EXPECT_EQ(scan.Next(), eTokenInteger);
  EXPECT_EQ(scan.m_scanner.GetInteger(), 17);
}

TEST(Scanner, StrayParenthesisEndsAtEndObj)
{
  TScan scan("(never closed endobj 5 0 obj");
  scan.m_scanner.StopStringsAtEndObj(true);
  EXPECT_EQ(scan.Next(), eTokenString);
  EXPECT_EQ(scan.Next(), eTokenInteger);
}

}  // namespace
