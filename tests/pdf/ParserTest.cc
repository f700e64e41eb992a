#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "pdf/File.h"
#include "pdf/Generator.h"
#include "pdf/Parser.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace PDF;

// What a text parses to, written out again.
std::string Render(const std::string& text)
{
  CFile file(nullptr);
  BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
      new BSE::CMemoryInputStream(text.data(), static_cast<std::int64_t>(text.size())));
  CParser parser(&file, pStream.Get(), nullptr);
  const CObjectPtr value = parser.ParseValue();
  BSE::CObjectPtr<BSE::CMemoryStream> pMemory(new BSE::CMemoryStream);
  {
    const BSE::CObjectPtr<BSE::CBufferedOutputStream> pWriter(new BSE::CBufferedOutputStream(pMemory.Get()));
    CGenerator generator(pWriter.Get(), eLayoutCompact);
    generator.WriteValue(value.Get());
    pWriter->Flush();
  }
  pMemory->Rewind();
  std::string result(static_cast<std::size_t>(pMemory->GetLength()), '\0');
  pMemory->Read(reinterpret_cast<unsigned char*>(result.data()), pMemory->GetLength());
  return result;
}

TEST(Parser, Values)
{
  const std::pair<const char*, const char*> cases[] = {
      {"[1 0 R]", "[1 0 R]"},
      {"[1 0 S]", "[1 0]"},
      {"[1 0 R 2 3 0 R 4 5]", "[1 0 R 2 3 0 R 4 5]"},
      {"[1%x\n0%y\nR 2]", "[1 0 R 2]"},
      {"[1\n0\rR/N]", "[1 0 R /N]"},
      {"[1 0 R]]", "[1 0 R]"},
      {"[1 0 RG]", "[1 0]"},
      {"[null 1 null]", "[null 1 null]"},
      {"[1 2 endobj", "[1 2]"},
      {"[0 0 R 5]", "[null 5]"},
      {"[true false (a) <62> /n 1.50]", "[true false (a) (b) /n 1.5]"},
  };
  for (const auto& [szText, szExpected] : cases)
    EXPECT_EQ(Render(szText), szExpected) << szText;
}

TEST(Parser, DictionariesKeepOrderAndLastValue)
{
  const std::string text = Render("<</B 1/A[2]/C null/B 3 /D<</E 4 0 R>>>>");
  EXPECT_NE(text.find("/B 3"), std::string::npos);
  EXPECT_LT(text.find("/B 3"), text.find("/A"));
  EXPECT_EQ(text.find("/C"), std::string::npos);
  EXPECT_NE(text.find("4 0 R"), std::string::npos);
  EXPECT_NE(Render("<</A 1 (no key) /B 2>>").find("/A 1"), std::string::npos);
}

TEST(Parser, ReferencesAcrossTheBufferEdge)
{
  for (int i = 0; i < 40; ++i)
  {
    const int nPad = 8180 + i / 2;
    const std::string text =
        std::string(static_cast<std::size_t>(nPad), ' ') + (i % 2 == 0 ? "[123 0 R 7]" : "[123 0R\n7]");
    CFile file(nullptr);
    BSE::CObjectPtr<BSE::CMemoryStream> pMemory(new BSE::CMemoryStream);
    pMemory->Write(reinterpret_cast<const unsigned char*>(text.data()),
                   static_cast<std::int64_t>(text.size()));
    pMemory->Rewind();
    BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(new BSE::CBufferedInputStream(pMemory.Get(), 8192));
    CParser parser(&file, pStream.Get(), nullptr);
    const CObjectPtr value = parser.ParseValue();
    ASSERT_EQ(value.GetSize(), 2) << nPad;
    EXPECT_EQ(value[0].GetObjNumber(), 123) << nPad;
    EXPECT_EQ(value[1].GetIntegerValue(), 7) << nPad;
  }
}

TEST(Parser, NestingHasALimit)
{
  const int nDeep = BSE::g_nMaxNesting;
  const auto nested = [](int n)
  {
    return std::string(static_cast<std::size_t>(n), '[') + "1" +
           std::string(static_cast<std::size_t>(n), ']');
  };
  EXPECT_EQ(Render(nested(nDeep)), nested(nDeep));
  EXPECT_EQ(Render(nested(nDeep + 1)), "null");
  EXPECT_EQ(Render(std::string(1000000, '[')), "null");
  std::string dictionaries;
  for (int i = 0; i < 100000; ++i)
    dictionaries += "<</A ";
  EXPECT_EQ(Render(dictionaries), "null");
}

}  // namespace
