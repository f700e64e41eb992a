// Samples that are encoded anew in a whole save: other forms of the same colours, and the same pixels.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "engine/Optimizer.h"
#include "tests/engine/SmallFile.h"

namespace
{

using Engine::CSmallFile;

struct TImage
{
  const char* m_szName;
  std::string m_sEntries;  // depth and colours, and what else there is
  std::string m_sData;
  int m_nBits;            // afterwards
  const char* m_szSpace;  // afterwards: its name, or that of its family
  std::string m_sDecoded;
};

constexpr int g_nSize = 96;

// One value for each place.
template <class T>
std::string Make(int nPerPixel, T&& value)
{
  std::string sData;
  for (int i = 0; i < g_nSize * g_nSize; ++i)
    for (int k = 0; k < nPerPixel; ++k)
      sData += static_cast<char>(value(i, k));
  return sData;
}

std::string Pack(int nBits, const std::string& sValues)
{
  std::string sData;
  for (int i = 0; i < g_nSize * g_nSize; i += 8 / nBits)
  {
    int nByte = 0;
    for (int k = 0; k < 8 / nBits; ++k)
      nByte = nByte << nBits | sValues[static_cast<std::size_t>(i + k)];
    sData += static_cast<char>(nByte);
  }
  return sData;
}

std::string Gray(int nBits)
{
  return "/ColorSpace/DeviceGray/BitsPerComponent " + std::to_string(nBits);
}

std::vector<TImage> MakeImages()
{
  std::vector<unsigned> noise(g_nSize * g_nSize);
  std::generate(noise.begin(), noise.end(), std::mt19937());
  const auto mix = [&](int i, int nModulus)
  { return static_cast<int>(noise[static_cast<std::size_t>(i)] % static_cast<unsigned>(nModulus)); };
  const std::string sRGB = "/ColorSpace/DeviceRGB/BitsPerComponent 8";
  const std::string sSteep = Make(1, [](int i, int) { return i % g_nSize * 3 + i / g_nSize * 2; });
  const std::string sFour = Make(1, [&](int i, int) { return mix(i, 4); });
  const std::string sTwo = Make(1, [&](int i, int) { return mix(i, 2); });
  const std::string sMany = Make(3, [&](int i, int k) { return mix(i, 200) * (k + 1) % 256; });
  return {{"Depth", Gray(16), Make(2, [&](int i, int) { return mix(i, 251); }), 8, "DeviceGray",
           Make(1, [&](int i, int) { return mix(i, 251); })},
          {"FullDepth", Gray(16), Make(2, [&](int i, int k) { return i % 40 + k; }), 16, "DeviceGray",
           Make(2, [&](int i, int k) { return i % 40 + k; })},
          {"GrayAsRGB", sRGB, Make(3, [&](int i, int) { return mix(i, 251); }), 8, "DeviceGray",
           Make(1, [&](int i, int) { return mix(i, 251); })},
          {"TwoGrays", Gray(8), Make(1, [&](int i, int) { return sTwo[static_cast<std::size_t>(i)] * 255; }),
           1, "DeviceGray", Pack(1, sTwo)},
          {"FourGrays", Gray(8), Make(1, [&](int i, int) { return sFour[static_cast<std::size_t>(i)] * 85; }),
           2, "DeviceGray", Pack(2, sFour)},
          {"Ramp", Gray(8), sSteep, 8, "DeviceGray", sSteep},
          {"FourColors",
           sRGB,
           Make(3, [&](int i, int k) { return sFour[static_cast<std::size_t>(i)] * (k + 3); }),
           2,
           "Indexed",
           {}},
          {"ManyColors", sRGB, sMany, 8, "Indexed", {}},
          {"KeyedColors", sRGB + "/Mask[0 0 0 0 0 0]", sMany, 8, "DeviceRGB", sMany},
          {"SmallIndices", "/ColorSpace[/Indexed/DeviceRGB 3<000000FF000000FF000000FF>]/BitsPerComponent 8",
           sFour, 2, "Indexed", Pack(2, sFour)},
          {"Decoded", Gray(8) + "/Decode[1 0]", Make(1, [&](int i, int) { return mix(i, 2) * 255; }), 8,
           "DeviceGray", Make(1, [&](int i, int) { return mix(i, 2) * 255; })},
          {"Short", Gray(8), "too few", 8, "DeviceGray", "too few"}};
}

TEST(SampleRecoder, KeepsEveryPixel)
{
  const std::vector<TImage> images = MakeImages();
  CSmallFile file;
  for (const TImage& image : images)
  {
    const int nImage = file.AddStream(image.m_sData, "/Subtype/Image/Width 96/Height 96" + image.m_sEntries);
    file.AddPage("/Data " + std::to_string(nImage) + " 0 R");
  }
  BSE::CErrorHandler errors;
  PDF::COptimizer optimizer(&errors);
  optimizer.GetOptions().m_bRecodeSamples = true;
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  ASSERT_TRUE(optimizer.Open(Engine::MakeStream(file.Build("")).Get(), nullptr));
  ASSERT_TRUE(optimizer.Save(pOutput.Get(), {}));
  pOutput->Rewind();
  PDF::CDocument result(&errors);
  ASSERT_TRUE(result.Open(pOutput.Get(), nullptr));
  for (std::size_t i = 0; i < images.size(); ++i)
  {
    SCOPED_TRACE(images[i].m_szName);
    const PDF::CObjectPtr image = result.GetPage(static_cast<int>(i))["Data"];
    const PDF::CObjectPtr space = image["ColorSpace"];
    EXPECT_EQ(image["BitsPerComponent"].GetIntegerValue(), images[i].m_nBits);
    EXPECT_TRUE((space.IsArray() ? space[0] : space).IsName(images[i].m_szSpace));
    const std::string sData = Engine::ReadAll(image.GetDecodedStream().Get());
    if (!images[i].m_sDecoded.empty())
    {
      EXPECT_TRUE(sData == images[i].m_sDecoded);
      continue;
    }
    // A table gives every pixel back.
    const PDF::CString& table = space[3].GetStringValue();
    for (std::size_t k = 0; k < static_cast<std::size_t>(g_nSize) * g_nSize; ++k)
    {
      const auto nBits = static_cast<std::size_t>(images[i].m_nBits);
      const std::size_t nShift = 8 - nBits - k * nBits % 8;
      const int nIndex = static_cast<unsigned char>(sData[k * nBits / 8]) >> nShift & ((1 << nBits) - 1);
      for (std::size_t c = 0; c < 3; ++c)
        ASSERT_EQ(table.GetSpan()[static_cast<std::size_t>(nIndex) * 3 + c],
                  static_cast<unsigned char>(images[i].m_sData[3 * k + c]));
    }
  }
}

}  // namespace
