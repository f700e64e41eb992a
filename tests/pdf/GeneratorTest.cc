#include "pdf/Generator.h"

#include "base/MemoryStream.h"
#include "pdf/DictionaryObject.h"
#include "pdf/IndirectObject.h"
#include "pdf/NumberFormat.h"
#include "pdf/Placeholder.h"
#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace PDF
{
namespace
{

std::string Format(double dValue, int nSignificant = 0, int nDecimals = -1)
{
  char buffer[g_nMaxNumberLength];
  return std::string(buffer, static_cast<std::size_t>(FormatReal(dValue, buffer, nSignificant, nDecimals)));
}

std::string Render(CObject* pValue, TGeneratorLayout nLayout = eLayoutLines)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  CGenerator generator(new BSE::CBufferedOutputStream(pStream.Get(), 16), nLayout);
  generator.WriteValue(pValue);
  EXPECT_TRUE(generator.Flush());
  return GetBytes(*pStream);
}

TEST(NumberFormat, WritesRealsWithoutExponent)
{
  const struct
  {
    double m_dValue;
    const char* m_szText;
  } cases[] = {
      {0, "0"},
      {-0.0, "0"},
      {1, "1"},
      {-1.5, "-1.5"},
      {0.1, "0.1"},
      {0.000001, "0.000001"},
      {-0.25, "-0.25"},
      {1234.5678, "1234.5678"},
      {1.0 / 3, "0.333333333333"},
      {2.0 / 3, "0.666666666667"},
      {1000000.0 / 3, "333333.333333"},
      {99999999999.96, "100000000000"},
      {999999999999.9, "1000000000000"},
      {9.99999999999951, "10"},
      {123456789012.5, "123456789013"},
      {1e15, "1000000000000000"},
      {1234567890123456789.0, "1234567890123460000"},
      {1e-39, "0"},
      {1.2e-38, "0.000000000000000000000000000000000000012"},
      {3.4e39, "340300000000000000000000000000000000000"},
      {-std::numeric_limits<double>::infinity(), "-340300000000000000000000000000000000000"},
      {std::numeric_limits<double>::quiet_NaN(), "0"},
      {std::numeric_limits<double>::denorm_min(), "0"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Format(c.m_dValue), c.m_szText) << c.m_dValue;
}

TEST(NumberFormat, KeepsToItsLimits)
{
  const struct
  {
    double m_dValue;
    int m_nSignificant;
    int m_nDecimals;
    const char* m_szText;
  } cases[] = {
      {1234.5678, 6, -1, "1234.57"},
      {1234567.8, 6, -1, "1234568"},
      {0.00012345678, 6, -1, "0.000123457"},
      {999999.6, 6, -1, "1000000"},
      {123456789012345.0, 6, -1, "123456789012345"},
      {0.123456, 0, 3, "0.123"},
      {0.0004, 0, 3, "0"},
      {12.3456, 0, 0, "12"},
      {0.9996, 0, 3, "1"},
      {0.5, 6, 1000000, "0.5"},
      {7.123456789, 3, 7, "7.12"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Format(c.m_dValue, c.m_nSignificant, c.m_nDecimals), c.m_szText) << c.m_dValue;
}

// Twelve digits, wherever the point is, and no form but the shortest of them.
TEST(NumberFormat, ReadsBackToTwelveDigits)
{
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> mantissa(-10, 10);
  for (int i = 0; i < 20000; ++i)
  {
    const double dValue = mantissa(random) * std::pow(10.0, static_cast<double>(i % 70) - 37);
    if (std::fabs(dValue) < 1.2e-38)
      continue;
    const std::string text = Format(dValue);
    EXPECT_NEAR(std::stod(text) / dValue, 1.0, 6e-12) << text;
    EXPECT_TRUE(text.find('.') == std::string::npos || text.back() != '0') << text;
  }
  char buffer[g_nMaxNumberLength];
  for (const std::int64_t n :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(), std::int64_t{-7},
        std::int64_t{0}, std::int64_t{10}, std::int64_t{12345}})
    EXPECT_EQ(std::string(buffer, static_cast<std::size_t>(FormatInteger(n, buffer))), std::to_string(n));
}

TEST(Generator, ChoosesTheShorterStringForm)
{
  const struct
  {
    std::string m_bytes;
    const char* m_szText;
  } cases[] = {
      {"", "<>"},
      {"abc", "(abc)"},
      {"a(b)\\\r\n", "(a\\(b\\)\\\\\\r\\n)"},
      {std::string("\0\1", 2), "<0001>"},
      {std::string("abc\0", 4), "(abc\\000)"},
      {"a\x80", "<6180>"},
      {"\n", "<0A>"},
  };
  for (const auto& c : cases)
  {
    const CObjectPtr value = new CStringObject(CString(c.m_bytes.data(), static_cast<int>(c.m_bytes.size())));
    EXPECT_EQ(Render(value.Get()), c.m_szText);
  }
}

TEST(Generator, RendersValuesInBothLayouts)
{
  CIndirectObject reference(nullptr, 12, 3, 0);
  CObjectPtr inner = new CDictionaryObject;
  inner->AddEntry("A#/ \xFF", new CRealObject(0.5));
  CObjectPtr array = new CArrayObject;
  array->Add(nullptr);
  array->Add(new CBooleanObject(true));
  array->Add(inner.Get());
  array->Add(new CArrayObject);
  CObjectPtr root = new CDictionaryObject;
  root->AddEntry("Kids", array.Get());
  root->AddEntry("Gone", nullptr);
  root->AddEntry("N", new CIntegerObject(-3));
  EXPECT_EQ(Render(root.Get()), "<<\n/Kids [null true <<\n/A#23#2F#20#FF 0.5\n>> []]\n/N -3\n>>");
  EXPECT_EQ(Render(root.Get(), eLayoutCompact), "<</Kids [null true <</A#23#2F#20#FF 0.5>> []] /N -3>>");
  EXPECT_EQ(Render(nullptr), "null");
  EXPECT_EQ(Render(CObjectPtr(new CRealObject(-4294967296.0)).Get()), "-4294967296.");
  EXPECT_EQ(Render(CObjectPtr(new CDictionaryObject).Get()), "<<\n>>");
  reference.AddRef();
  EXPECT_EQ(Render(&reference), "12 3 R");
}

TEST(Generator, ReplacesTheLengthOfAStream)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  CGenerator generator(new BSE::CBufferedOutputStream(pStream.Get()));
  CObjectPtr dictionary = new CDictionaryObject;
  dictionary->AddEntry("Length", new CIntegerObject(99));
  dictionary->AddEntry("Filter", new CNameObject("FlateDecode"));
  generator.WriteStreamDictionary(dictionary.Get(), 5);
  generator.WriteStreamDictionary(nullptr, 6);
  generator.Flush();
  EXPECT_EQ(GetBytes(*pStream), "<<\n/Length 5\n/Filter /FlateDecode\n>><<\n/Length 6\n>>");
}

TEST(Generator, WritesDeepNestingWithoutRecursion)
{
  constexpr int nDepth = 20000;
  CObjectPtr outer = new CArrayObject;
  BSE::CObjectArray<CObject> levels;
  CObjectPtr level = outer;
  for (int i = 1; i < nDepth; ++i)
  {
    const CObjectPtr next = new CArrayObject;
    level->Add(next.Get());
    levels.Add(level.Get());
    level = next;
  }
  EXPECT_EQ(Render(outer.Get()), std::string(nDepth, '[') + std::string(nDepth, ']'));
  // Taken apart from the outside, so that releasing it does not recurse either.
  for (int i = 0; i < levels.GetSize(); ++i)
    levels[i]->SetSize(0);
}

TEST(Generator, FillsPlaceholders)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  CGenerator generator(new BSE::CBufferedOutputStream(pStream.Get()));
  const BSE::CObjectPtr<CByteRangeObject> pRange(new CByteRangeObject);
  const BSE::CObjectPtr<CContentsObject> pContents(new CContentsObject(4));
  CObjectPtr root = new CDictionaryObject;
  root->AddEntry("ByteRange", pRange.Get());
  root->AddEntry("Contents", pContents.Get());
  generator.WriteValue(root.Get());
  const std::int64_t nEnd = generator.Tell();
  EXPECT_TRUE(generator.UpdateByteRange(*pRange, 10, 200, 3000));
  const unsigned char data[] = {0xAB, 0x01, 0x02, 0x03, 0x04};
  EXPECT_TRUE(generator.UpdateContents(*pContents, std::span(data).first(3)));
  EXPECT_FALSE(generator.UpdateContents(*pContents, data));
  EXPECT_FALSE(generator.UpdateByteRange(*pRange, 10, 9999999999999999, 9999999999999999));
  EXPECT_EQ(generator.Tell(), nEnd);
  EXPECT_EQ(GetBytes(*pStream),
            "<<\n/ByteRange [0 10 200 3000]" + std::string(21, ' ') + "\n/Contents <AB010200>\n>>");
}

}  // namespace
}  // namespace PDF
