#include "fonts/type1/Scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace PS
{

namespace
{

std::span<const unsigned char> GetBytes(std::string_view text)
{
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// All tokens, each as a letter with its value.
std::string Scan(std::string_view text)
{
  static constexpr char szKinds[] = ".iRnlIs{}[]<>?";
  CScanner scanner(GetBytes(text));
  std::string sResult;
  while (scanner.ReadToken() != eTokenEnd)
  {
    sResult += szKinds[scanner.GetToken()];
    if (scanner.GetToken() == eTokenInteger)
      sResult += std::to_string(scanner.GetInteger());
    else if (scanner.GetToken() == eTokenReal)
      sResult += std::to_string(scanner.GetReal());
    else
      sResult.append(scanner.GetText().begin(), scanner.GetText().end());
    sResult += scanner.IsCut() ? "! " : " ";
  }
  return sResult;
}

}  // namespace

TEST(PostScriptScannerTest, NumbersAndNames)
{
  EXPECT_EQ(Scan("12 -7 +3 .5 -.25 1e3 4. 16#fF 2#101 3000000000 8#777777777777"),
            "i12 i-7 i3 R0.500000 R-0.250000 R1000.000000 R4.000000 i255 i5 R3000000000.000000 "
            "n8#777777777777 ");
  EXPECT_EQ(Scan("1a - + . -| |- inf nan 1-2 37#1 2#3 --1 +-1 1e 1e999"),
            "n1a n- n+ n. n-| n|- ninf nnan n1-2 n37#1 n2#3 n--1 n+-1 n1e R0.000000 ");
  EXPECT_EQ(Scan("/a//b/ c{d}[e]<</f 1>>)%x\r>g"), "la Ib l nc { nd } [ ne ] < lf i1 > ? ? ng ");
}

TEST(PostScriptScannerTest, Strings)
{
  EXPECT_EQ(Scan("(a(b)c)(\\(\\101\\7\\x\\\r\nz)(1\r\n2\r3)"), "sa(b)c s(A\7xz s1\n2\n3 ");
  EXPECT_EQ(Scan("<41 4x2 5><>"), "sABP s ");
  EXPECT_EQ(Scan("<~87cURDZ~>x"), "sHello nx ");
  EXPECT_EQ(Scan("(a(b"), "sa(b! ");
  EXPECT_EQ(Scan("(a\\"), "sa! ");
  EXPECT_EQ(Scan("<4"), "s@! ");
  EXPECT_EQ(Scan("<~87"), "sH! ");
}

TEST(PostScriptScannerTest, BinaryData)
{
  const std::string_view text("4 RD (%<\n ND 5 RD");
  CScanner scanner(GetBytes(text));
  scanner.ReadToken();
  scanner.ReadToken();
  EXPECT_TRUE(scanner.TakeBinary(100).empty() || scanner.TakeBinary(-1).empty());
  EXPECT_EQ(scanner.TakeBinary(4).data() - GetBytes(text).data(), 5);
  scanner.ReadToken();
  EXPECT_TRUE(scanner.HasText("ND"));
  while (scanner.ReadToken() != eTokenEnd)
    continue;
  EXPECT_TRUE(scanner.TakeBinary(0).empty());
}

}  // namespace PS
