#include "images/color/FunctionFactory.h"
#include "images/color/StatusCodes.h"
#include "tests/images/color/ColorObjects.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

using PDF::CFunction;
using CFunctionPtr = BSE::CObjectPtr<CFunction>;
using CValues = std::vector<double>;

class Function : public testing::Test
{
protected:
  CFunctionPtr Create(const PDF::CObjectPtr& object) { return m_factory.Create(object); }
  CFunctionPtr Create(std::string_view dictionary) { return Create(m_objects.Object(dictionary)); }
  CFunctionPtr CreateStream(std::string_view dictionary, std::string_view data)
  {
    return Create(m_objects.Stream(dictionary, data));
  }

  // A program with that many inputs and outputs, all values allowed.
  CFunctionPtr Program(std::string_view text, int nInputs, int nOutputs)
  {
    std::string dictionary = "<</FunctionType 4 /Domain [";
    for (int i = 0; i < nInputs; ++i)
      dictionary += "-1000000 1000000 ";
    dictionary += "] /Range [";
    for (int i = 0; i < nOutputs; ++i)
      dictionary += "-9999999999 9999999999 ";
    return CreateStream(dictionary + "]>>", text);
  }

  static CValues Evaluate(const CFunctionPtr& pFunction, const CValues& inputs)
  {
    if (!pFunction)
      return {};
    CValues outputs(static_cast<std::size_t>(pFunction->GetOutputCount()), -77);
    EXPECT_TRUE(pFunction->Evaluate(inputs, outputs));
    return outputs;
  }

  CValues Run(std::string_view text, const CValues& inputs, int nOutputs)
  {
    return Evaluate(Program(text, static_cast<int>(inputs.size()), nOutputs), inputs);
  }

  ColorTest::CObjects m_objects;
  BSE::CObjectPtr<DOC::CColorAccount> m_pAccount{new DOC::CColorAccount(0, &m_objects.GetHandler())};
  PDF::CFunctionFactory m_factory{*m_pAccount};
};

TEST_F(Function, SampledIsLinearInAllDirections)
{
  // Two inputs, two outputs; sizes 2 and 3, the first input fastest.
  const std::string samples("\x00\xFF\x40\x80\x80\x00\xC0\x20\xFF\x10\x00\x00", 12);
  const CFunctionPtr pFunction = CreateStream(
      "<</FunctionType 0 /Domain [0 1 0 2] /Range [0 1 -1 1] /Size [2 3] /BitsPerSample 8>>", samples);
  ASSERT_TRUE(pFunction);
  const auto sample = [&](int x, int y, int n)
  { return static_cast<unsigned char>(samples[static_cast<std::size_t>(2 * (x + 2 * y) + n)]) / 255.0; };
  for (const double x : {0.0, 0.25, 1.0})
    for (const double y : {0.0, 0.5, 1.0, 1.75, 2.0})
    {
      const CValues result = Evaluate(pFunction, {x, y});
      const int nLow = std::min(static_cast<int>(y), 1);
      for (int n = 0; n < 2; ++n)
      {
        const double dLow = (1 - x) * sample(0, nLow, n) + x * sample(1, nLow, n);
        const double dHigh = (1 - x) * sample(0, nLow + 1, n) + x * sample(1, nLow + 1, n);
        const double d = dLow + (dHigh - dLow) * (y - nLow);
        EXPECT_NEAR(result[static_cast<std::size_t>(n)], n == 0 ? d : 2 * d - 1, 1e-12) << x << " " << y;
      }
    }
  EXPECT_EQ(Evaluate(pFunction, {-5, 99}), Evaluate(pFunction, {0, 2}));
  EXPECT_EQ(Evaluate(pFunction, {std::nan(""), INFINITY}), Evaluate(pFunction, {0, 2}));
}

TEST_F(Function, SampledTakesAllDepths)
{
  for (const int nBits : {1, 2, 3, 4, 7, 8, 12, 16, 24, 31, 32})
  {
    // All bits set, then none.
    const std::string samples = std::string(4, '\xFF') + std::string(5, '\0');
    const std::string dictionary =
        "<</FunctionType 0 /Domain [0 1] /Range [0 10] /Decode [2 6] /Size [2] "
        "/Encode [1 0] /BitsPerSample " +
        std::to_string(nBits) + ">>";
    std::string data = samples;
    if (nBits < 32)
      data = std::string(1, static_cast<char>(0xFF)) + std::string(8, '\xFF');
    const CFunctionPtr pFunction = CreateStream(dictionary, data);
    ASSERT_TRUE(pFunction) << nBits;
    const double dLast = Evaluate(pFunction, {1})[0];
    if (nBits == 32)
    {
      EXPECT_LT(dLast, 6);
      EXPECT_NEAR(dLast, 6, 1e-8);
      EXPECT_EQ(Evaluate(pFunction, {0})[0], 2);
    }
    else
      EXPECT_EQ(dLast, 6) << nBits;
  }
  // One sample in a direction is the value everywhere.
  EXPECT_EQ(
      Evaluate(
          CreateStream("<</FunctionType 0 /Domain [0 1] /Range [0 255] /Size [1] /BitsPerSample 8>>", "\x33"),
          {0.7}),
      CValues{51});
}

TEST_F(Function, SampledRefusesWhatItsDataDoNotHold)
{
  const char* wrong[] = {
      "<</FunctionType 0 /Domain [0 1] /Range [0 1] /Size [1000000000] /BitsPerSample 8>>",
      "<</FunctionType 0 /Domain [0 1 0 1 0 1] /Range [0 1] /Size [2097152 2097152 2097152] /BitsPerSample "
      "8>>",
      "<</FunctionType 0 /Domain [0 1] /Range [0 1] /Size [0] /BitsPerSample 8>>",
      "<</FunctionType 0 /Domain [0 1] /Range [0 1] /Size [-1] /BitsPerSample 8>>",
      "<</FunctionType 0 /Domain [0 1] /Range [0 1] /Size [] /BitsPerSample 8>>",
      "<</FunctionType 0 /Domain [0 1] /Range [0 1] /Size [4] /BitsPerSample 33>>",
      "<</FunctionType 0 /Domain [0 1] /Range [0 1] /Size [4]>>",
      "<</FunctionType 0 /Domain [0 1] /Size [4] /BitsPerSample 8>>",
      "<</FunctionType 0 /Domain [] /Range [0 1] /Size [4] /BitsPerSample 8>>",
      "<</FunctionType 0 /Range [0 1] /Size [4] /BitsPerSample 8>>",
      "<</FunctionType 0 /Domain [0 (x)] /Range [0 1] /Size [4] /BitsPerSample 8>>",
  };
  for (const char* szDictionary : wrong)
    EXPECT_FALSE(CreateStream(szDictionary, "abcd")) << szDictionary;
  EXPECT_EQ(m_objects.GetHandler().GetLastCode(), PDF::g_nInvalidFunction);
  // Half of the samples is there: the others are 0, which is told.
  const CFunctionPtr pShort =
      CreateStream("<</FunctionType 0 /Domain [0 7] /Range [0 255] /Size [8] /BitsPerSample 8>>", "abcd");
  EXPECT_EQ(Evaluate(pShort, {3}), CValues{'d'});
  EXPECT_EQ(Evaluate(pShort, {7}), CValues{0});
}

TEST_F(Function, Exponential)
{
  const CFunctionPtr pFunction =
      Create("<</FunctionType 2 /Domain [0 1] /C0 [0 1] /C1 [1 0.5] /N 2 /Range [0 0.2 -9 9]>>");
  const CValues result = Evaluate(pFunction, {0.5});
  EXPECT_EQ(result[0], 0.2);
  EXPECT_DOUBLE_EQ(result[1], 0.875);
  EXPECT_EQ(Evaluate(Create("<</FunctionType 2 /Domain [0 1] /N 1>>"), {0.3}), CValues{0.3});
  // Infinite and undefined powers stay finite.
  const CFunctionPtr pInverse = Create("<</FunctionType 2 /Domain [-1 1] /N -1>>");
  EXPECT_TRUE(std::isfinite(Evaluate(pInverse, {0})[0]));
  EXPECT_EQ(Evaluate(Create("<</FunctionType 2 /Domain [-1 1] /N 0.5>>"), {-1}), CValues{0});
  for (const char* szWrong :
       {"<</FunctionType 2 /Domain [0 1]>>", "<</FunctionType 2 /N 1>>",
        "<</FunctionType 2 /Domain [0 1] /C0 [0 0] /C1 [1] /N 1>>",
        "<</FunctionType 2 /Domain [0 1] /C0 [/A] /N 1>>", "<</FunctionType 1>>", "<<>>"})
    EXPECT_FALSE(Create(szWrong)) << szWrong;
}

TEST_F(Function, StitchingChoosesTheInterval)
{
  const CFunctionPtr pFunction = Create(
      "<</FunctionType 3 /Domain [0 4] /Bounds [1 1 3] /Encode [0 1 0 1 1 0 0 0.5] /Functions ["
      "<</FunctionType 2 /Domain [0 1] /N 1 /C0 [0] /C1 [10]>>"
      "<</FunctionType 2 /Domain [0 1] /N 1 /C0 [99] /C1 [99]>>"
      "<</FunctionType 2 /Domain [0 1] /N 1 /C0 [20] /C1 [30]>>"
      "<</FunctionType 2 /Domain [0 1] /N 1 /C0 [40] /C1 [50]>>]>>");
  ASSERT_TRUE(pFunction);
  const CValues inputs = {0, 0.5, 1, 2, 3, 3.5, 4, 9, -1};
  CValues outputs(inputs.size());
  ASSERT_TRUE(pFunction->EvaluateRow(inputs, outputs, static_cast<int>(inputs.size())));
  EXPECT_EQ(outputs, (CValues{0, 5, 30, 25, 40, 42.5, 45, 45, 0}));
  // One function needs no bounds.
  EXPECT_EQ(Evaluate(Create("<</FunctionType 3 /Domain [0 2] /Encode [0 1] /Functions "
                            "[<</FunctionType 2 /Domain [0 1] /N 1>>]>>"),
                     {1}),
            CValues{0.5});
  EXPECT_FALSE(
      Create("<</FunctionType 3 /Domain [0 2] /Bounds [] /Encode [0 1 0 1] /Functions "
             "[<</FunctionType 2 /Domain [0 1] /N 1>><</FunctionType 2 /Domain [0 1] /N 1>>]>>"));
  EXPECT_FALSE(Create("<</FunctionType 3 /Domain [0 2] /Bounds [] /Encode [] /Functions []>>"));
}

TEST_F(Function, ArraysActAsOne)
{
  const PDF::CObjectPtr array = m_objects.Parse(
      "[<</FunctionType 2 /Domain [0 1] /N 1>>"
      "<</FunctionType 2 /Domain [0 0.5] /N 2>>]");
  EXPECT_EQ(Evaluate(Create(array), {0.75}), (CValues{0.75, 0.25}));
  EXPECT_FALSE(Create(m_objects.Parse("[<</FunctionType 2 /Domain [0 1] /C0 [0 0] /N 1>>]")));
  EXPECT_FALSE(Create(m_objects.Parse("[]")));
  EXPECT_FALSE(Create(m_objects.Parse("[[<</FunctionType 2 /Domain [0 1] /N 1>>]]")));
}

TEST_F(Function, CyclesAndDepthEnd)
{
  const PDF::CObjectPtr self = m_objects.Object("<</FunctionType 3 /Domain [0 1] /Encode [0 1]>>");
  PDF::CObjectPtr functions = m_objects.Parse("[]");
  functions.Add(self);
  self.GetValueObject().AddEntry("Functions", functions);
  EXPECT_FALSE(Create(self));
  functions->SetSize(0);

  PDF::CObjectPtr inner = m_objects.Object("<</FunctionType 2 /Domain [0 1] /N 1>>");
  for (int nHeight = 2; nHeight <= 40; ++nHeight)
  {
    // Each twice, so that reading each anew would take for ever.
    PDF::CObjectPtr outer =
        m_objects.Object("<</FunctionType 3 /Domain [0 1] /Bounds [0.5] /Encode [0 1 0 1]>>");
    PDF::CObjectPtr both = m_objects.Parse("[]");
    both.Add(inner);
    both.Add(inner);
    outer.GetValueObject().AddEntry("Functions", both);
    PDF::CFunctionFactory fresh(*m_pAccount);
    EXPECT_EQ(static_cast<bool>(fresh.Create(outer)), nHeight <= BSE::g_nMaxFunctionNesting) << nHeight;
    EXPECT_EQ(static_cast<bool>(Create(outer)), nHeight <= BSE::g_nMaxFunctionNesting) << nHeight;
    inner = outer;
  }
}

TEST_F(Function, Operators)
{
  const struct
  {
    const char* m_szText;
    CValues m_expected;
  } cases[] = {
      {"{pop -3 abs -3.5 abs 2 neg 2.5 neg}", {3, 3.5, -2, -2.5}},
      {"{pop 3 4 add 3 4.5 sub 3 4 mul 7 2 div}", {7, -1.5, 12, 3.5}},
      {"{pop 7 2 idiv -7 2 idiv 7 -3 mod -7 3 mod}", {3, -3, 1, -1}},
      {"{pop 2147483647 1 add -2147483648 neg -2147483648 abs -2147483648 -1 idiv}",
       {2147483648, 2147483648, 2147483648, 2147483648}},
      {"{pop 6.5 ceiling 6.5 floor 6.5 round -6.5 round}", {7, 6, 7, -6}},
      {"{pop -6.5 truncate 3.9 cvi -3.9 cvi 1e30 cvi}", {-6, 3, -3, 2147483647}},
      {"{pop 30 sin 60 cos 180 sin 90 cos}", {0.5, 0.5, 0, 0}},
      {"{pop 0 1 atan 1 0 atan 0 -1 atan -1 0 atan}", {0, 90, 180, 270}},
      {"{pop 9 sqrt 9 0.5 exp 100 log 2.718281828459045 ln}", {3, 3, 2, 1}},
      {"{pop 1 1.0 eq 2 1 ne 1 2 ge 2 1 gt}", {1, 1, 0, 1}},
      {"{pop 1 1 le 2 1 lt true false eq true true eq}", {1, 0, 0, 1}},
      {"{pop 12 10 and 12 10 or 12 10 xor 12 not}", {8, 14, 6, -13}},
      {"{pop true false and true false or true true xor true not}", {0, 1, 0, 0}},
      {"{pop 7 3 bitshift 142 -3 bitshift 1 40 bitshift -1 -31 bitshift}", {56, 17, 0, 1}},
      {"{pop 1 2 3 2 copy pop}", {2, 3, 2}},
      {"{pop 1 2 3 2 index exch dup pop}", {1, 2, 1, 3}},
      {"{pop 1 2 3 4 4 1 roll}", {4, 1, 2, 3}},
      {"{pop 1 2 3 4 4 -1 roll}", {2, 3, 4, 1}},
      {"{pop 1 2 3 4 3 -7 roll}", {1, 3, 4, 2}},
      {"{pop 1 2 0 5 roll 0 copy 3 4}", {1, 2, 3, 4}},
      {"{ 0.5 gt {1 2} {3 4} ifelse 5 6}", {3, 4, 5, 6}},
      {"{ 0.5 lt {1 2} {3 4} ifelse 5 6}", {1, 2, 5, 6}},
      {"{pop 9 8 true {false {1} {true {7 6} if} ifelse} if}", {9, 8, 7, 6}},
      {"{pop 1 2 3 {4 5 6} 4 %comment }\r 5 pop }trailing", {1, 2, 3, 4}},
      {"{pop +1 .5 -.5 1e2}", {1, 0.5, -0.5, 100}},
  };
  for (const auto& [szText, expected] : cases)
  {
    const CValues result = Run(szText, {0.25}, static_cast<int>(expected.size()));
    ASSERT_EQ(result.size(), expected.size()) << szText;
    for (std::size_t i = 0; i < expected.size(); ++i)
      EXPECT_NEAR(result[i], expected[i], 1e-9) << szText << " " << i;
  }
}

TEST_F(Function, ProgramsStopWithWhatIsThere)
{
  EXPECT_EQ(Run("{pop 5 0 0 atan 7}", {1}, 1), CValues{5});
  EXPECT_EQ(Run("{pop 5 6 1 0 div 7}", {1}, 2), (CValues{5, 6}));
  EXPECT_EQ(Run("{pop 5 1 0 idiv}", {1}, 1), CValues{5});
  EXPECT_EQ(Run("{pop 5 1 0.2 mod}", {1}, 1), CValues{5});
  EXPECT_EQ(Run("{pop 5 -1 sqrt}", {1}, 1), CValues{5});
  EXPECT_EQ(Run("{pop pop 3}", {1}, 2), (CValues{0, 0}));
  EXPECT_EQ(Run("{pop 4}", {1}, 3), (CValues{4, 0, 0}));
  EXPECT_EQ(Run("{3 -1 copy}", {1}, 2), (CValues{1, 3}));
  EXPECT_EQ(Run("{3 9 index}", {1}, 2), (CValues{1, 3}));
  EXPECT_EQ(Run("{3 9 1 roll}", {1}, 2), (CValues{1, 3}));
  EXPECT_EQ(Run("{if}", {1}, 1), CValues{});
  EXPECT_EQ(Run("{-1 log -1 ln 0 log 1e300 1e300 mul}", {1}, 4).size(), 4U);
  std::string sDeep = "{";
  for (int i = 0; i < 250; ++i)
    sDeep += "1 ";
  EXPECT_EQ(Run(sDeep + "}", {1}, 1), CValues{1});
  EXPECT_EQ(Run("{2" + std::string(8 * 4, ' ') + "dup 2 copy 4 copy 8 copy 16 copy 32 copy 64 copy 128 copy}",
                {1}, 1),
            CValues{2});
  EXPECT_EQ(m_objects.GetHandler().GetLastCode(), PDF::g_nInvalidFunction);
}

TEST_F(Function, ProgramsThatCannotBeCompiled)
{
  std::string sNested;
  for (int i = 0; i < 100000; ++i)
    sNested += "{";
  for (const std::string& sText :
       {std::string(), std::string("{"), std::string("1 }"), std::string("{1 foo}"), std::string("{ab}"),
        std::string("{absx}"), std::string("{(a)}"), std::string("{1..2}"), std::string("{true {1} 2 if}"),
        std::string("{true {1} ifelse}"), std::string("{{1} {2 if} }"),
        std::string("{true {1} {{2} ifelse}}"), sNested})
    EXPECT_FALSE(Program(sText, 1, 1)) << sText.substr(0, 40);
}

TEST_F(Function, Bytes)
{
  const CFunctionPtr pFunction = Create("<</FunctionType 2 /Domain [0 1] /N 1 /C0 [0 1] /C1 [1 0.5]>>");
  const DOC::TRange input[] = {{0, 1}};
  const DOC::TRange outputs[] = {{0, 1}, {0, 2}};
  std::vector<unsigned char> bytes(1000);
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<unsigned char>(i * 7);
  std::vector<unsigned char> result(2000);
  ASSERT_TRUE(pFunction->EvaluateBytes(bytes, input, result, outputs, 1000));
  for (std::size_t i = 0; i < bytes.size(); ++i)
  {
    EXPECT_EQ(result[2 * i], bytes[i]);
    EXPECT_EQ(result[2 * i + 1], static_cast<unsigned char>((1 - 0.5 * bytes[i] / 255.0) / 2 * 255 + 1e-9))
        << i;
  }
  std::vector<unsigned char> few(20);
  ASSERT_TRUE(pFunction->EvaluateBytes(bytes, input, few, outputs, 10));
  EXPECT_TRUE(std::equal(few.begin(), few.end(), result.begin()));
  EXPECT_FALSE(pFunction->EvaluateBytes(bytes, {}, result, outputs, 10));
  EXPECT_FALSE(pFunction->EvaluateBytes(bytes, input, result, std::span(outputs).first(1), 10));
  EXPECT_FALSE(pFunction->EvaluateBytes(bytes, input, few, outputs, 11));
}

TEST_F(Function, WorkIsBounded)
{
  std::string sProgram = "{";
  for (int i = 0; i < 100000; ++i)
    sProgram += "dup mul ";
  const CFunctionPtr pFunction = Program(sProgram + "}", 1, 1);
  ASSERT_TRUE(pFunction);
  ASSERT_TRUE(m_pAccount->SpendWork(BSE::g_nFreeColorWork - 100000000));
  double d = 1;
  int nRuns = 0;
  while (nRuns < 100000 && pFunction->Evaluate({&d, 1}, {&d, 1}))
    ++nRuns;
  EXPECT_GT(nRuns, 10);
  EXPECT_LT(nRuns, 100000);
  EXPECT_EQ(m_objects.GetHandler().GetLastCode(), PDF::g_nInvalidFunction);
}

}  // namespace
