#include "base/ErrorHandler.h"
#include "images/BitonalFilter.h"
#include "images/Image.h"
#include "images/ImageFilters.h"
#include "pdf/Parser.h"
#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace PDF
{
namespace
{

std::string Bytes(std::initializer_list<int> values)
{
  return {values.begin(), values.end()};
}

class Image : public testing::Test
{
protected:
  Image() : m_file(&m_handler)
  {
    m_file.SetImageFilters(GetImageFilters());
    EXPECT_TRUE(m_file.Create(m_pOutput.Get(), CString("0123456789abcdef"), true, false));
    const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount);
    m_pCMS = DOC::CreateCMS("none", "/nowhere", *pAccount);
    m_pSpaces = std::make_unique<CColorSpaceFactory>(*m_pCMS);
  }

  CObjectPtr Parse(const std::string& text)
  {
    const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
        new BSE::CMemoryInputStream(text.data(), static_cast<std::int64_t>(text.size())));
    CParser parser(&m_file, pStream.Get(), nullptr);
    return parser.ParseValue();
  }

  CImage Make(int nWidth, int nHeight, int nBits, const std::string& entries, const std::string& data)
  {
    const std::string text = "<< /Width " + std::to_string(nWidth) + " /Height " + std::to_string(nHeight) +
                             " /BitsPerComponent " + std::to_string(nBits) + entries + ">>";
    const CObjectPtr object = AddObject(m_file, 0, Parse(text));
    object->SetStreamObject(new CStreamObject(MakeStream(data).Get()));
    return CImage(object, *m_pSpaces);
  }

  static std::string GetSamples(CImage& image)
  {
    BSE::CBasicArray<unsigned char> bytes;
    BSE::IByteStream* pStream = image.GetStream();
    if (!pStream || !pStream->Rewind() || !pStream->ReadToArray(bytes))
      return "(none)";
    return {bytes.GetSpan().begin(), bytes.GetSpan().end()};
  }

  TColorAnalysis Analyze(CImage image)
  {
    for (double& d : m_first)
      d = m_second[&d - m_first] = -1;
    return image.AnalyzeColors(m_first, m_second);
  }

  BSE::CErrorHandler m_handler;
  BSE::CObjectPtr<BSE::CMemoryStream> m_pOutput{new BSE::CMemoryStream};
  CFile m_file;
  BSE::CObjectPtr<DOC::CCMS> m_pCMS;
  std::unique_ptr<CColorSpaceFactory> m_pSpaces;
  double m_first[4] = {};
  double m_second[4] = {};
};

TEST_F(Image, TellsWhatItIs)
{
  CImage image = Make(10, 2, 1, "/ColorSpace /DeviceRGB", "");
  EXPECT_EQ(image.GetRowBytes(), 4);
  EXPECT_FALSE(image.IsBitonal() || image.IsColor());
  CImage mask(Parse("<</W 9 /H 3 /BPC 8 /IM true /F [/A85 /CCF] /DP [null <</K 0>>]>>"), *m_pSpaces);
  EXPECT_TRUE(mask.IsBitonal() && mask.IsImageMask());
  EXPECT_EQ(mask.GetRowBytes(), 2);
  EXPECT_EQ(mask.GetCompressionType(), eCompressionGroup31D);
  EXPECT_FALSE(mask.GetStream());
  EXPECT_FALSE(mask.ConvertToRGB());
  const std::pair<const char*, TCompression> filters[] = {
      {"", eCompressionRaw},
      {"/Filter /DCT", eCompressionJPEG},
      {"/Filter [/Fl]", eCompressionFlate},
      {"/Filter /LZWDecode", eCompressionLZW},
      {"/Filter /CCITTFaxDecode", eCompressionGroup4},
      {"/Filter /CCITTFaxDecode /DecodeParms <</K 4>>", eCompressionGroup3},
      {"/Filter [/JPXDecode /FlateDecode]", eCompressionUnspecified},
      {"/Filter /RunLengthDecode", eCompressionUnspecified},
      {"/Filter 1", eCompressionUnspecified}};
  for (const auto& [szEntries, compression] : filters)
    EXPECT_EQ(CImage(Parse("<<" + std::string(szEntries) + ">>"), *m_pSpaces).GetCompressionType(),
              compression)
        << szEntries;
}

TEST_F(Image, DecodeTurnsSamplesOrIsRefused)
{
  CImage image = Make(4, 1, 1, "/Decode [1 0]", "\x50");
  EXPECT_EQ(GetSamples(image), "\xAF");
  EXPECT_TRUE(image.Invert());
  EXPECT_FALSE(image.GetObject()["Decode"]);
  EXPECT_EQ(GetSamples(image), "\x50");
  CImage turned = Make(1, 1, 8, "/ColorSpace /DeviceRGB /Decode [1 0 1 0 1 0]", "abc");
  EXPECT_TRUE(turned.ConvertToGray());
  for (const char* szDecode : {"[0 .5]", "[1 0 0 1 0 1]", "[0 1]", "[0 1 0 1 0 (a)]"})
  {
    CImage odd = Make(1, 1, 8, "/ColorSpace /DeviceRGB /Decode " + std::string(szDecode), "abc");
    EXPECT_FALSE(odd.ConvertToGray() || odd.Invert()) << szDecode;
    EXPECT_EQ(Analyze(odd), eUnknownColors);
    // What does not ask for colours leaves samples with their array.
    EXPECT_TRUE(odd.Clip(0, 1, 0, 1) && odd.ReadSamples());
    EXPECT_EQ(GetSamples(odd), "abc") << szDecode;
    EXPECT_TRUE(odd.GetObject()["Decode"]);
  }
  CImage table = Make(8, 1, 1, "/ColorSpace [/Indexed /DeviceGray 1 <00FF>] /Decode [0 255]", "a");
  EXPECT_TRUE(table.ReduceToBitonal(0));
  EXPECT_TRUE(table.GetObject()["ColorSpace"].IsArray());
  // The colours that are transparent are those of stored samples.
  CImage keyed = Make(1, 1, 4, "/Decode [1 0] /Mask [2 7]", "\x30");
  EXPECT_TRUE(keyed.ReadSamples());
  EXPECT_EQ(GetSamples(keyed), "\xCF");
  EXPECT_FALSE(keyed.GetObject()["Decode"]);
  EXPECT_EQ(keyed.GetObject()["Mask"][0].GetIntegerValue(), 8);
  EXPECT_EQ(keyed.GetObject()["Mask"][1].GetIntegerValue(), 13);
}

TEST_F(Image, ReducesWhatColorsAllow)
{
  const std::string rgb = "/ColorSpace /DeviceRGB";
  const std::string indexed = "/ColorSpace [/Indexed /DeviceRGB 2 <0000FFFFFFFF000000>]";
  struct
  {
    int m_nWidth;
    int m_nBits;
    std::string m_entries;
    std::string m_data;
    bool m_bReduced;
    int m_nNewBits;
    std::string m_samples;
  } const rows[] = {{2, 8, rgb, Bytes({1, 2, 253, 1, 2, 253}), true, 8, Bytes({1, 2, 253})},
                    {2, 8, indexed, Bytes({0, 0}), true, 8, Bytes({0, 0, 255})},
                    {9, 1, "/ImageMask true", "\xFF\x80", true, 1, "\xFF"},
                    {2, 8, indexed, Bytes({2, 1}), true, 1, "\x40"},
                    {2, 8, rgb, Bytes({0, 0, 0, 254, 254, 254}), false, 8, Bytes({0, 0, 0, 254, 254, 254})},
                    {3, 8, rgb, "aaabbbccc", true, 8, "abc"},
                    {3, 8, "", "abc", false, 8, "abc"},
                    {2, 1, "", "\x40", false, 1, "\x40"},
                    {2, 8, rgb, "aaabb", false, 8, "aaabb"}};
  for (const auto& row : rows)
  {
    CImage image = Make(row.m_nWidth, 1, row.m_nBits, row.m_entries, row.m_data);
    EXPECT_EQ(image.ReduceColorComplexity(), row.m_bReduced) << row.m_entries;
    EXPECT_EQ(GetSamples(image), row.m_samples) << row.m_entries;
    EXPECT_EQ(image.GetBitsPerComponent(), row.m_nNewBits) << row.m_entries;
  }
  const std::string table = "/ColorSpace [/Indexed /DeviceRGB 1 ";
  EXPECT_TRUE(Make(8, 1, 1, table + "<FFFFFF000000>]", "a").HasBitonalTable());
  EXPECT_FALSE(Make(8, 1, 1, table + "<000000FFFFFE>]", "a").HasBitonalTable());
}

TEST_F(Image, MasksFollow)
{
  CImage mask = Make(2, 1, 8, "/ColorSpace /DeviceGray", Bytes({0, 255}));
  EXPECT_TRUE(mask.MakeStencil());
  EXPECT_TRUE(mask.IsImageMask());
  EXPECT_EQ(static_cast<unsigned char>(GetSamples(mask)[0]) & 0xC0, 0x80);
  EXPECT_TRUE(mask.GetObject()->Encode());
  EXPECT_EQ(mask.GetCompressionType(), eCompressionFlate);
  CImage image = Make(1, 1, 8, "/ColorSpace /DeviceRGB", "abc");
  image.GetObject().AddEntry("SMask", Make(1, 1, 8, "/Matte [1 1 1]", "a").GetObject());
  EXPECT_TRUE(image.ConvertMatte(DOC::eToCMYK));
  EXPECT_EQ(image.GetObject()["SMask"]["Matte"].GetSize(), 4);
  EXPECT_FALSE(image.ConvertMatte(DOC::eToGray));
}

TEST_F(Image, CopiesAreTriedAndTaken)
{
  CImage image = Make(2, 1, 8, "/ColorSpace [/Indexed /DeviceRGB 1 <010203040506>]", Bytes({1, 0}));
  CImage copy(image.MakeCopy(), *m_pSpaces);
  EXPECT_TRUE(copy.ConvertToBaseColorSpace());
  EXPECT_EQ(GetSamples(image), Bytes({1, 0}));
  EXPECT_FALSE(image.TakeCopy(copy.GetObject()));
  copy.SetData(copy.GetStream(), "FlateDecode");
  EXPECT_TRUE(copy.GetObject()->Encode() && image.TakeCopy(copy.GetObject()));
  EXPECT_EQ(GetSamples(image), Bytes({4, 5, 6, 1, 2, 3}));
  EXPECT_TRUE(image.GetObject()["ColorSpace"].IsName("DeviceRGB"));
  // A decoder that delivers whole rows only, and damage that shows at the end alone.
  const std::string bits(126 * 600, 'x');
  for (const bool bCut : {false, true})
  {
    CImage fax = Make(1008, 600, 1, "", bits);
    fax.SetData(fax.GetStream(), "CCITTFaxDecode", Parse("<</K -1 /Columns 1008>>"));
    EXPECT_TRUE(fax.GetObject()->Encode());
    if (bCut)
      fax.SetHeight(601);
    EXPECT_EQ(fax.ReadSamples(), !bCut);
    EXPECT_EQ(fax.GetCompressionType(), bCut ? eCompressionGroup4 : eCompressionRaw);
    EXPECT_EQ(GetSamples(fax).substr(0, bits.size()), bits);
  }
}

TEST_F(Image, ConvertsToDeviceColors)
{
  CImage gray = Make(3, 1, 2, "", "\x18");
  EXPECT_TRUE(gray.ConvertToGray());
  EXPECT_EQ(GetSamples(gray), Bytes({0, 85, 170}));
  EXPECT_TRUE(gray.ConvertToRGB());
  EXPECT_EQ(GetSamples(gray), Bytes({0, 0, 0, 85, 85, 85, 170, 170, 170}));
  EXPECT_TRUE(gray.GetObject()["ColorSpace"].IsName("DeviceRGB"));
  CImage indexed = Make(5, 2, 1, "/ColorSpace [/Indexed /DeviceRGB 1 <102030FFFFFF>]", "\xA8\x10");
  EXPECT_TRUE(indexed.ConvertToRGB());
  EXPECT_EQ(GetSamples(indexed).substr(0, 6), "\xFF\xFF\xFF\x10\x20\x30");
  EXPECT_EQ(GetSamples(indexed).size(), 30U);
  CImage mask = Make(8, 1, 1, "/ImageMask true", "\xF0");
  EXPECT_FALSE(mask.ConvertToGray());
  CImage pattern = Make(1, 1, 8, "/ColorSpace /Pattern", "a");
  EXPECT_FALSE(pattern.ConvertToCMYK());
  EXPECT_EQ(pattern.GetObject()["BitsPerComponent"].GetIntegerValue(), 8);
}

TEST_F(Image, ResolvesPalettes)
{
  CImage image = Make(3, 1, 4, "/ColorSpace [/Indexed /DeviceRGB 1 <0102030A0B0C>]", Bytes({0x01, 0xF0}));
  CImage same = image;
  EXPECT_TRUE(image.ConvertToBaseColorSpace());
  // Indices beyond the table are the last one.
  EXPECT_EQ(GetSamples(image), Bytes({1, 2, 3, 10, 11, 12, 10, 11, 12}));
  CImage gray = Make(2, 1, 8, "/ColorSpace [/Indexed /DeviceRGB 1 <0707070A0A0A>]", Bytes({1, 0}));
  EXPECT_TRUE(gray.ConvertToBaseColorSpace());
  EXPECT_TRUE(gray.GetObject()["ColorSpace"].IsName("DeviceGray"));
  EXPECT_EQ(GetSamples(gray), Bytes({10, 7}));
  CImage inks = Make(2, 1, 8, "/ColorSpace [/Indexed /DeviceCMYK 1 <00000000FFFFFFFF>]", Bytes({1, 0}));
  EXPECT_TRUE(inks.ConvertToBaseColorSpace());
  EXPECT_EQ(GetSamples(inks), Bytes({0, 255}));
  CImage white = Make(8, 1, 1, "/ColorSpace [/Indexed /DeviceGray 1 <FF00>]", "\x0F");
  EXPECT_TRUE(white.ReduceToBitonal(0));
  EXPECT_TRUE(white.GetObject()["ColorSpace"].IsArray());
  EXPECT_TRUE(white.ConvertToBaseColorSpace());
  EXPECT_EQ(GetSamples(white), "\xF0");
  CImage table = Make(1, 1, 8, "/ColorSpace [/Indexed /DeviceGray 1 <0040>]", Bytes({1}));
  EXPECT_TRUE(table.ConvertPalette(DOC::eToRGB));
  EXPECT_TRUE(table.GetObject()["ColorSpace"][1].IsName("DeviceRGB"));
  EXPECT_EQ(table.GetObject()["ColorSpace"][3].GetStringValue().GetLength(), 6);
  EXPECT_EQ(GetSamples(table), Bytes({1}));
}

TEST_F(Image, MakesPicturesSmaller)
{
  CImage image = Make(4, 2, 8, "", Bytes({0, 10, 20, 30, 40, 50, 60, 70}));
  image.SetResolutionX(300);
  EXPECT_FALSE(image.Resample(0, 1.5, 1));
  EXPECT_FALSE(image.Resample(0, 0.99, 0.99));
  EXPECT_TRUE(image.Resample(0, 0.5, 1.5));
  EXPECT_EQ(image.GetWidth(), 2);
  EXPECT_EQ(image.GetHeight(), 2);
  EXPECT_EQ(image.GetResolutionX(), 150);
  EXPECT_EQ(GetSamples(image), Bytes({5, 25, 45, 65}));
  CImage bits = Make(4, 2, 1, "", "\xD0\xF0");
  EXPECT_TRUE(bits.Resample(eBitonalThreshold, 0.5, 0.5));
  EXPECT_EQ(GetSamples(bits), "\xC0");
  EXPECT_EQ(bits.GetBitsPerComponent(), 1);
  // Black, one and two thirds, white.
  CImage levels = Make(4, 1, 2, "", "\x1B");
  EXPECT_TRUE(levels.Resample(0, 0.5, 1));
  EXPECT_EQ(levels.GetBitsPerComponent(), 8);
  EXPECT_EQ(GetSamples(levels), Bytes({42, 212}));
  // 5 by 3 pixels in blocks of two: those at the edges are cut off.
  CImage blocks = Make(5, 3, 1, "", "\xC8\x40\xF8");
  EXPECT_TRUE(blocks.ReduceToGrayByFactor(2));
  EXPECT_EQ(blocks.GetWidth(), 3);
  EXPECT_EQ(GetSamples(blocks), Bytes({191, 0, 63, 127, 127, 63}));
  CImage indexed = Make(4, 1, 8, "/ColorSpace [/Indexed /DeviceGray 0 <00>]", "abcd");
  EXPECT_FALSE(indexed.Resample(0, 0.5, 0.5));
  CImage color = Make(2, 1, 8, "/ColorSpace /DeviceRGB", Bytes({255, 255, 255, 0, 0, 0}));
  EXPECT_TRUE(color.ReduceToBitonal(0));
  EXPECT_EQ(GetSamples(color), "\x80");
}

TEST_F(Image, ClipsFromTheLowerEdge)
{
  const std::string picture = "abcdefghi";
  CImage image = Make(3, 3, 8, "", picture);
  EXPECT_TRUE(image.Clip(1, 2, 0, 9));
  EXPECT_EQ(GetSamples(image), "efhi");
  EXPECT_EQ(image.GetHeight(), 2);
  CImage empty = Make(3, 3, 8, "", picture);
  EXPECT_TRUE(empty.Clip(3, 1, 1, 2));
  EXPECT_EQ(GetSamples(empty), "g");
  CImage cut = Make(3, 3, 8, "", "abcdefgh");
  EXPECT_FALSE(cut.Clip(0, 1, 0, 1));
  EXPECT_EQ(GetSamples(cut), "abcdefgh");
  CImage bits = Make(8, 1, 1, "", "a");
  EXPECT_FALSE(bits.Clip(0, 1, 0, 1));
}

TEST_F(Image, FindsItsColors)
{
  EXPECT_EQ(Analyze(Make(3, 2, 1, "", "\xFF\xE1")), eOneColor);
  EXPECT_EQ(m_first[0], 1.0);
  EXPECT_EQ(Analyze(Make(3, 2, 1, "/Decode [1 0]", "\xE0\xE0")), eOneColor);
  EXPECT_EQ(m_first[0], 0.0);
  EXPECT_EQ(Analyze(Make(3, 2, 1, "", "\xE0\xC0")), eTwoColors);
  EXPECT_EQ(Analyze(Make(3, 2, 1, "", "\xE0")), eUnknownColors);
  const std::string rgb = "/ColorSpace /DeviceRGB";
  EXPECT_EQ(Analyze(Make(2, 1, 8, rgb, Bytes({51, 0, 255, 51, 0, 255}))), eOneColor);
  EXPECT_EQ(m_first[0], 0.2);
  EXPECT_EQ(Analyze(Make(2, 1, 8, rgb, Bytes({51, 0, 255, 51, 1, 255}))), eTwoColors);
  EXPECT_EQ(m_second[1], 1 / 255.0);
  EXPECT_EQ(Analyze(Make(3, 1, 8, rgb, "aaabbbccc")), eGrayColors);
  EXPECT_EQ(Analyze(Make(3, 1, 8, rgb, "aabbbbccc")), eManyColors);
  EXPECT_EQ(Analyze(Make(4, 1, 8, rgb, "aaabbbcccddc")), eManyColors);
  EXPECT_EQ(Analyze(Make(3, 1, 8, "/ColorSpace /DeviceCMYK", "aaabbbbcccca")), eGrayColors);
  const std::string indexed = "/ColorSpace [/Indexed /DeviceGray 2 <00FF7F>]";
  EXPECT_EQ(Analyze(Make(2, 1, 8, indexed, Bytes({0, 1}))), eTwoColors);
  EXPECT_EQ(m_second[0], 1.0);
  EXPECT_EQ(Analyze(Make(3, 1, 8, indexed, Bytes({0, 1, 2}))), eManyColors);
  EXPECT_EQ(Analyze(Make(1, 1, 1, indexed, Bytes({0}))), eUnknownColors);
  EXPECT_EQ(Analyze(Make(1, 1, 16, "", "aa")), eUnknownColors);
  EXPECT_EQ(Analyze(Make(1, 1, 8, "/ColorSpace [/CalGray <</WhitePoint [1 1 1]>>]", "a")), eUnknownColors);
}

}  // namespace
}  // namespace PDF
