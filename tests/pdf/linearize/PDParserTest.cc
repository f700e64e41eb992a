#include "pdf/linearize/PDParser.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

std::span<const unsigned char> Bytes(const std::string& sText)
{
  return {reinterpret_cast<const unsigned char*>(sText.data()), sText.size()};
}

// A value as the parser sees it: containers with counts, leaves with a letter for their type.
std::string Describe(const PDObj& object, int nNode)
{
  static const char letters[] = "0bifnshR";
  const auto text = object.GetText(nNode);
  if (!object.IsContainer(nNode))
    return letters[object.GetType(nNode)] + std::string(text.begin(), text.end());
  std::string sText = object.GetType(nNode) == ePDArray ? "[" : "<";
  for (int i = nNode + 1; i < object.GetNext(nNode); i = object.GetNext(i))
    sText += Describe(object, i) + " ";
  return sText + std::to_string(object.CountItems(nNode));
}

std::string Parse(const std::string& sText)
{
  PDObj object;
  PDParser parser(Bytes(sText), true);
  switch (parser.ParseValue(object))
  {
  case TPDResult::Complete:
    return Describe(object, 0);
  case TPDResult::Damaged:
    return "damaged";
  default:
    return "incomplete";
  }
}

TEST(PDParser, ReadsValues)
{
  const struct
  {
    const char* szText;
    const char* szExpected;
  } cases[] = {
      {" % comment\n 12", "i12"},
      {"-.5", "f-.5"},
      {"/Na#20me", "n/Na#20me"},
      {"(a(b)\\)c)", "s(a(b)\\)c)"},
      {"<41 4>", "h<41 4>"},
      {"[true null false]", "[btrue 0null bfalse 3"},
      {"12 0 R", "R12 0 R"},
      {"[1 2 3 0 R 4]", "[i1 i2 R3 0 R i4 4"},
      {"[[1 2] 5 0 R]", "[[i1 i2 2 R5 0 R 2"},
      {"<</A 1/B[<</C()>>]>>", "<n/A i1 n/B [<n/C s() 1 1 2"},
      {"<<>>", "<0"},
      {"[0 0 R 1 70000 R 99999999 0 R]", "[00 0 R 01 70000 R 099999999 0 R 3"},
      {"[[1 2] R]", "damaged"},
      {"[1 R]", "damaged"},
      {"<</A>>", "damaged"},
      {"<<1 2>>", "damaged"},
      {"[>>", "damaged"},
      {"]", "damaged"},
      {"endobj", "damaged"},
      {"(a", "damaged"},
      {"<41", "damaged"},
      {"", "damaged"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Parse(c.szText), c.szExpected) << c.szText;
}

// A text that was cut anywhere asks for more; it never passes for another value.
TEST(PDParser, AsksForMore)
{
  const std::string sText = "<</Key[12 0 R(te\\)xt)<4142>-1.5 true]/Other 7 0 R>> ";
  for (size_t n = 0; n + 1 < sText.size(); ++n)
  {
    PDObj object;
    const std::string sCut = sText.substr(0, n);
    EXPECT_EQ(PDParser(Bytes(sCut), false).ParseValue(object), TPDResult::Incomplete) << sCut;
  }
  for (const char* szCut : {"12", "12 ", "12 0", "12 0 ", "12 0 R"})
  {
    PDObj object;
    const std::string sCut = szCut;
    EXPECT_EQ(PDParser(Bytes(sCut), false).ParseValue(object), TPDResult::Incomplete) << sCut;
  }
}

TEST(PDParser, LimitsNesting)
{
  EXPECT_NE(Parse(std::string(500, '[') + std::string(500, ']')), "damaged");
  EXPECT_EQ(Parse(std::string(501, '[') + std::string(501, ']')), "damaged");
  EXPECT_EQ(Parse(std::string(1000000, '[')), "damaged");
}

TEST(PDObj, ComparesAndDecodes)
{
  const std::string sText = "<</A#42 (a\\n\\101\\\r\nb\r\nc\\8) /AB <4a5> /C +12 /D 1.5>>";
  PDObj object;
  ASSERT_EQ(PDParser(Bytes(sText), true).ParseValue(object), TPDResult::Complete);
  BSE::CBasicArray<unsigned char> bytes;
  object.DecodeString(object.Find(0, "AB"), bytes);
  EXPECT_EQ(std::string(bytes.GetSpan().begin(), bytes.GetSpan().end()), "a\nAb\nc8");
  object.DecodeString(4, bytes);
  EXPECT_EQ(std::string(bytes.GetSpan().begin(), bytes.GetSpan().end()), "JP");
  EXPECT_EQ(object.Find(0, "A"), -1);
  EXPECT_EQ(object.Find(0, "ABC"), -1);
  std::int64_t nValue = 0;
  EXPECT_TRUE(object.GetInteger(object.Find(0, "C"), nValue));
  EXPECT_EQ(nValue, 12);
  EXPECT_FALSE(object.GetInteger(object.Find(0, "D"), nValue));
}

}  // namespace
