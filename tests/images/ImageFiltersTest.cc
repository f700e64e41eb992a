#include "base/ErrorHandler.h"
#include "images/ImageFilters.h"
#include "images/color/StatusCodes.h"
#include "images/filters/DCTDecodeFilter.h"
#include "images/filters/jbig2/JBIG2DecodeFilter.h"
#include "images/filters/jpx/JPXDecodeFilter.h"
#include "pdf/FilterFactory.h"
#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

namespace PDF
{
namespace
{

using namespace std::string_literals;

CObjectPtr MakeBoolean(bool bValue)
{
  return new CBooleanObject(bValue);
}

CObjectPtr MakeImage(int nWidth, int nHeight, const CObjectPtr& space, int nBits = 8)
{
  CObjectPtr image = MakeDictionary({{"Width", MakeInteger(nWidth)},
                                     {"Height", MakeInteger(nHeight)},
                                     {"BitsPerComponent", MakeInteger(nBits)}});
  if (space)
    image.AddEntry("ColorSpace", space);
  return image;
}

CObjectPtr MakeIndexed(const CObjectPtr& lookup)
{
  return MakeArray({MakeName("Indexed"), MakeName("DeviceRGB"), MakeInteger(1), lookup});
}

template <class F = BSE::CDecodeFilter>
BSE::CObjectPtr<F> MakeDecoder(const char* szName, const std::string& data, const CObjectPtr& image,
                               const CObjectPtr& parameters)
{
  const BSE::CObjectPtr<BSE::IByteStream> pFilter =
      FindFilter(GetImageFilters(), szName)
          ->m_pCreateDecoder(MakeStream(data).Get(), image.Get(), parameters);
  return dynamic_cast<F*>(pFilter.Get());
}

std::string Encode(const char* szName, const std::string& rows, const CObjectPtr& image,
                   CObjectPtr& parameters)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pSink(new BSE::CMemoryStream);
  const BSE::CObjectPtr<BSE::IByteStream> pFilter =
      FindFilter(GetImageFilters(), szName)->m_pCreateEncoder(pSink.Get(), image.Get(), parameters);
  if (!pFilter || !pFilter->IsValid())
    return "(none)";
  EXPECT_TRUE(pFilter->WriteAll(reinterpret_cast<const unsigned char*>(rows.data()),
                                static_cast<std::int64_t>(rows.size())));
  EXPECT_TRUE(CloseEncodeChain(pFilter.Get()));
  return GetBytes(*pSink);
}

TEST(ImageFilters, RoundTrip)
{
  const std::string bits = "\x80\x7F\x12\xFF\x3C\x3F"s;  // what is beyond 10 pixels is white
  const CObjectPtr mask = MakeImage(10, 3, nullptr, 1);
  const std::string whiteBits = "\x80\x7F\x12\xFF\x3C\x3F"s;
  for (const char* szName : {"CCITTFaxDecode", "JBIG2Decode"})
  {
    CObjectPtr parameters = MakeDictionary({{"K", MakeInteger(-1)}, {"Columns", MakeInteger(10)}});
    const std::string encoded = Encode(szName, bits, mask, parameters);
    EXPECT_EQ(parameters.IsNull(), szName[0] == 'J');
    EXPECT_EQ(GetBytes(*MakeDecoder(szName, encoded, mask, parameters)), whiteBits) << szName;
  }
  const std::string samples = "abcdefghijklmnopqrstuvwxyzabcdefghij";
  for (const char* szSpace : {"DeviceGray", "DeviceRGB", "DeviceCMYK"})
  {
    const int nColors = szSpace[6] == 'G' ? 1 : szSpace[6] == 'R' ? 3 : 4;
    const CObjectPtr image = MakeImage(36 / nColors, 1, MakeName(szSpace));
    for (const char* szName : {"DCTDecode", "JPXDecode"})
    {
      CObjectPtr parameters = MakeDictionary({{"Quality", MakeInteger(100)}});
      const std::string encoded = Encode(szName, samples, image, parameters);
      EXPECT_TRUE(parameters.IsNull());
      const std::string decoded = GetBytes(*MakeDecoder(szName, encoded, image, nullptr));
      EXPECT_EQ(decoded.size(), samples.size()) << szName << szSpace;
      EXPECT_TRUE(szName[0] == 'D' || decoded == samples) << szSpace;
    }
  }
}

TEST(ImageFilters, ReadsFaxParameters)
{
  // A row of 8 pixels, white 1, black 1, white 4, black 2, in one dimension.
  const std::string row = "\x1D\x5E"s;
  const auto decode = [&](const CObjectPtr& parameters, const CObjectPtr& image)
  { return GetBytes(*MakeDecoder("CCITTFaxDecode", row + row, image, parameters)); };
  const CObjectPtr image = MakeDictionary({{"H", MakeInteger(1)}});
  const CObjectPtr parameters =
      MakeDictionary({{"Columns", MakeInteger(8)}, {"EncodedByteAlign", MakeBoolean(true)}});
  EXPECT_EQ(decode(parameters, image), "\xBC\xBC");
  parameters.AddEntry("BlackIs1", MakeBoolean(true));
  EXPECT_EQ(decode(parameters, image), "\x43\x43");
  // The image's height counts where nothing else ends the data.
  parameters.AddEntry("EndOfBlock", MakeBoolean(false));
  EXPECT_EQ(decode(parameters, image), "\x43");
  parameters.AddEntry("Rows", MakeInteger(2));
  EXPECT_EQ(decode(parameters, image), "\x43\x43");
  // Rows that leave out some of the image give way to the end of the block.
  parameters.AddEntry("Rows", MakeInteger(1));
  const CObjectPtr high = MakeDictionary({{"H", MakeInteger(2)}});
  EXPECT_EQ(decode(parameters, high), "\x43");
  parameters.AddEntry("EndOfBlock", MakeBoolean(true));
  EXPECT_EQ(decode(parameters, high), "\x43\x43");
}

TEST(ImageFilters, GuessesTheColorTransform)
{
  // The colour space of a JPEG image of three components without an Adobe marker.
  CObjectPtr none;
  const CObjectPtr rgb = MakeImage(1, 1, MakeName("DeviceRGB"));
  const std::string jpeg = Encode("DCTDecode", "abc", rgb, none);
  const auto decode = [&](const CObjectPtr& space, const CObjectPtr& parameters)
  {
    return MakeDecoder<BSE::CDCTDecodeFilter>("DCT", jpeg, MakeImage(1, 1, space), parameters)
        ->GetParameters()
        .nColorSpace;
  };
  const CObjectPtr profile = MakeDictionary({{"N", MakeInteger(3)}});
  EXPECT_EQ(decode(nullptr, nullptr), BSE::eDCTYCC);
  EXPECT_EQ(decode(MakeName("RGB"), nullptr), BSE::eDCTYCC);
  EXPECT_EQ(decode(MakeName("Cs1"), nullptr), BSE::eDCTYCC);
  EXPECT_EQ(decode(MakeArray({MakeName("ICCBased"), profile}), nullptr), BSE::eDCTYCC);
  EXPECT_EQ(decode(MakeName("DeviceCMYK"), nullptr), BSE::eDCTRGB);
  EXPECT_EQ(decode(MakeName("DeviceCMYK"), MakeDictionary({{"ColorTransform", MakeInteger(1)}})),
            BSE::eDCTYCC);
  EXPECT_EQ(decode(MakeName("DeviceRGB"), MakeDictionary({{"ColorTransform", MakeInteger(0)}})),
            BSE::eDCTRGB);
  // A colour space that is the image itself.
  BSE::CErrorHandler handler;
  CFile file(&handler);
  const BSE::CObjectPtr<BSE::CMemoryStream> pTarget(new BSE::CMemoryStream);
  EXPECT_TRUE(file.Create(pTarget.Get(), CString(), true, false));
  const CObjectPtr image = AddObject(file, 0, rgb);
  rgb.AddEntry("ColorSpace", image);
  EXPECT_EQ(MakeDecoder<BSE::CDCTDecodeFilter>("DCT", jpeg, image, nullptr)->GetParameters().nColorSpace,
            BSE::eDCTRGB);
  EXPECT_EQ(handler.GetLastCode(), g_nInvalidColorSpace);
}

TEST(ImageFilters, RefusesImagesAsGlobals)
{
  BSE::CErrorHandler handler;
  CFile file(&handler);
  const BSE::CObjectPtr<BSE::CMemoryStream> pTarget(new BSE::CMemoryStream);
  EXPECT_TRUE(file.Create(pTarget.Get(), CString(), true, false));
  CObjectPtr none;
  const std::string encoded = Encode("JBIG2Decode", "\x0F", MakeImage(8, 1, nullptr, 1), none);
  // The page is in what is shared, the region in the image's own data.
  const std::string page = encoded.substr(0, 30);
  const auto decode = [&](const CObjectPtr& globals)
  {
    const CObjectPtr parameters = MakeDictionary({{"JBIG2Globals", globals}});
    const CObjectPtr image = AddObject(file, 0, MakeImage(8, 1, nullptr, 1));
    const BSE::CObjectPtr<BSE::CDecodeFilter> pFilter =
        MakeDecoder("JBIG2Decode", encoded.substr(30), image, parameters);
    return pFilter->IsValid() ? GetBytes(*pFilter) : "(none)";
  };
  const CObjectPtr dictionary = MakeDictionary({{"Length", MakeInteger(30)}});
  const CObjectPtr globals = AddObject(file, 0, dictionary);
  globals->SetStreamObject(new CStreamObject(MakeStream(page).Get()));
  EXPECT_EQ(decode(globals), "\x0F");
  dictionary.AddEntry("Filter", MakeArray({MakeName("JPXDecode")}));
  EXPECT_EQ(decode(globals), "(none)");
  EXPECT_EQ(file.GetErrorCount(), 2);
}

TEST(ImageFilters, CompletesImagesOfJpx)
{
  CObjectPtr none;
  const CObjectPtr indexed = MakeIndexed(MakeString("abcdef"));
  const std::string encoded = Encode("JPXDecode", "\1\0\0\1"s, MakeImage(2, 2, indexed), none);
  const CObjectPtr bare = MakeDictionary({});
  EXPECT_EQ(GetBytes(*MakeDecoder("JPXDecode", encoded, bare, nullptr)), "\1\0\0\1"s);
  EXPECT_EQ(bare["Width"].GetIntegerValue(), 2);
  EXPECT_EQ(bare["BitsPerComponent"].GetIntegerValue(), 8);
  EXPECT_TRUE(bare["ColorSpace"][0].IsName("Indexed"));
  EXPECT_TRUE(bare["ColorSpace"][1].IsName("DeviceRGB"));
  EXPECT_EQ(bare["ColorSpace"][2].GetIntegerValue(), 1);
  EXPECT_TRUE(bare["ColorSpace"][3].GetStringValue() == CString("abcdef"));
  // What the dictionary has stays, and what is delivered follows it.
  const CObjectPtr own =
      MakeDictionary({{"ColorSpace", MakeName("DeviceRGB")}, {"BitsPerComponent", MakeInteger(4)}});
  EXPECT_EQ(GetBytes(*MakeDecoder("JPXDecode", encoded, own, nullptr)), "defabcabcdef");
  EXPECT_TRUE(own["ColorSpace"].IsName("DeviceRGB"));
  EXPECT_EQ(own["BitsPerComponent"].GetIntegerValue(), 4);
  const CObjectPtr range =
      MakeArray({MakeInteger(-50), MakeInteger(50), MakeInteger(-100), MakeInteger(127)});
  const CObjectPtr lab = MakeArray({MakeName("Lab"), MakeDictionary({{"Range", range}})});
  const CObjectPtr other = MakeDictionary({});
  MakeDecoder("JPXDecode", Encode("JPXDecode", "abc", MakeImage(1, 1, lab), none), other, nullptr);
  EXPECT_TRUE(other["ColorSpace"][0].IsName("Lab"));
  EXPECT_NEAR(other["ColorSpace"][1]["Range"][0].GetRealValue(), -50, 0.5);
  EXPECT_NEAR(other["ColorSpace"][1]["Range"][3].GetRealValue(), 127, 0.5);
}

TEST(ImageFilters, RefusesToEncode)
{
  CObjectPtr none;
  EXPECT_EQ(Encode("DCTDecode", "", MakeImage(4, 4, MakeName("DeviceRGB"), 4), none), "(none)");
  EXPECT_EQ(Encode("DCTDecode", "",
                   MakeImage(4, 4, MakeArray({MakeName("DeviceN"), MakeArray({none, none})})), none),
            "(none)");
  for (const char* szName : {"CCITTFaxDecode", "DCTDecode", "JBIG2Decode", "JPXDecode"})
  {
    CObjectPtr parameters = MakeDictionary({{"Columns", MakeInteger(-1)}});
    EXPECT_EQ(Encode(szName, "", nullptr, parameters), "(none)") << szName;
  }
}

}  // namespace
}  // namespace PDF
