#include "pdf/FilterFactory.h"
#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace PDF
{
namespace
{

std::string Decode(const std::string& bytes, const CObjectPtr& dictionary)
{
  const BSE::CObjectPtr<BSE::IByteStream> pChain =
      CreateDecodeChain(MakeStream(bytes).Get(), dictionary.Get());
  return pChain ? GetBytes(*pChain) : "(none)";
}

std::string Encode(const std::string& bytes, const CObjectPtr& dictionary)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pSink(new BSE::CMemoryStream);
  const BSE::CObjectPtr<BSE::IByteStream> pChain = CreateEncodeChain(pSink.Get(), dictionary.Get());
  if (!pChain)
    return "(none)";
  EXPECT_TRUE(pChain->CopyFrom(MakeStream(bytes).Get(), -1, false));
  EXPECT_TRUE(CloseEncodeChain(pChain.Get()));
  return GetBytes(*pSink);
}

TEST(FilterFactory, ChainsRoundTrip)
{
  std::mt19937 random(3);
  std::string data(30000, ' ');
  for (char& c : data)
    c = static_cast<char>(random() % 3 == 0 ? random() : 'a');
  const char* const names[] = {
      "FlateDecode", "LZWDecode", "ASCII85Decode", "ASCIIHexDecode", "RunLengthDecode", "Fl", "LZW", "A85",
      "AHx",         "RL"};
  for (const char* szOuter : names)
  {
    const CObjectPtr single = MakeDictionary({{"Filter", MakeName(szOuter)}});
    EXPECT_TRUE(Decode(Encode(data, single), single) == data) << szOuter;
    for (const char* szInner : names)
    {
      const CObjectPtr two = MakeDictionary({{"F", MakeArray({MakeName(szOuter), MakeName(szInner)})}});
      EXPECT_TRUE(Decode(Encode(data, two), two) == data) << szOuter << " " << szInner;
    }
  }
}

TEST(FilterFactory, AppliesFiltersInTheirOrder)
{
  EXPECT_EQ(Decode("343134323e>",
                   MakeDictionary({{"Filter", MakeArray({MakeName("ASCIIHexDecode"), MakeName("AHx")})}})),
            "AB");
  const CObjectPtr dictionary = MakeDictionary({{"Filter", MakeArray({MakeName("AHx"), MakeName("RL")})}});
  EXPECT_EQ(Encode("A", dictionary), "004180>");
  const CObjectPtr none = MakeDictionary({});
  EXPECT_EQ(Decode("plain", none), "plain");
  EXPECT_EQ(Encode("plain", none), "plain");
}

TEST(FilterFactory, RefusesWhatItDoesNotKnow)
{
  CObjectPtr parameters;
  const BSE::CObjectPtr<BSE::CMemoryStream> pSource = MakeStream("x");
  for (const char* szName : {"Flate", "flatedecode", "", static_cast<const char*>(nullptr)})
  {
    EXPECT_FALSE(CreateDecodeFilter(pSource.Get(), szName, nullptr, parameters));
    EXPECT_FALSE(CreateEncodeFilter(pSource.Get(), szName, nullptr, parameters));
  }
  EXPECT_FALSE(CreateDecodeFilter(nullptr, "FlateDecode", nullptr, parameters));
  EXPECT_EQ(Decode("41>", MakeDictionary({{"Filter", MakeArray({MakeInteger(1), MakeName("AHx")})}})),
            "(none)");
  const CObjectPtr many = MakeArray({});
  for (int i = 0; i < 33; ++i)
    many->Add(MakeName("AHx").Get());
  EXPECT_EQ(Decode("41>", MakeDictionary({{"Filter", many}})), "(none)");
  EXPECT_EQ(Encode("A", MakeDictionary({{"Filter", many}})), "(none)");
}

TEST(FilterFactory, PassesThroughTheIdentityCrypt)
{
  const auto make = [](const char* szName)
  {
    return MakeDictionary(
        {{"Filter", MakeArray({MakeName("Crypt"), MakeName("AHx")})},
         {"DecodeParms", MakeArray({MakeDictionary({{"Name", MakeName(szName)}}), nullptr})}});
  };
  EXPECT_EQ(Decode("41>", make("Identity")), "A");
  EXPECT_EQ(Decode("41>", make("Other")), "(none)");
  EXPECT_EQ(Decode("41>", MakeDictionary({{"Filter", MakeArray({MakeName("Crypt"), MakeName("AHx")})}})),
            "A");
}

TEST(FilterFactory, ReadsParameters)
{
  const CObjectPtr up = MakeDictionary({{"Predictor", MakeInteger(12)}, {"Columns", MakeInteger(2)}});
  const std::string rows("\2ab\2\1\1\2\1\1", 9);
  const std::string encoded = Encode(rows, MakeDictionary({{"Filter", MakeName("FlateDecode")}}));
  // Beside one name, in an array at the filter's place, and as one dictionary beside an array.
  EXPECT_EQ(Decode(encoded, MakeDictionary({{"Filter", MakeName("FlateDecode")}, {"DecodeParms", up}})),
            "abbccd");
  const std::string hex = Encode(encoded, MakeDictionary({{"Filter", MakeName("AHx")}}));
  const CObjectPtr filters = MakeArray({MakeName("AHx"), MakeName("Fl")});
  EXPECT_EQ(Decode(hex, MakeDictionary({{"Filter", filters}, {"DP", MakeArray({nullptr, up})}})), "abbccd");
  EXPECT_EQ(Decode(hex, MakeDictionary({{"Filter", filters}, {"DecodeParms", up}})), "abbccd");
  // What is encoded anew has no prediction, and says so.
  const CObjectPtr both = MakeDictionary({{"Filter", filters}, {"DecodeParms", MakeArray({nullptr, up})}});
  EXPECT_EQ(Decode(Encode("abc", both), both), "abc");
  EXPECT_TRUE(both["DecodeParms"].IsNull());
}

}  // namespace
}  // namespace PDF
