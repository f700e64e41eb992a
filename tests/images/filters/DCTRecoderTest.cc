// JPEG data that is coded anew: fewer bytes, the same samples in every decoder, and hands off what is
// damaged.

#include "images/filters/DCTRecoder.h"

#include <gtest/gtest.h>

#include "tests/images/filters/JpegFixture.h"

namespace
{

std::string Recode(const std::string& sData, std::size_t nLimit)
{
  BSE::CBasicArray<unsigned char> result;
  BSE::CDCTRecoder recoder;
  const std::span data(reinterpret_cast<const unsigned char*>(sData.data()), sData.size());
  const bool bRecoded = recoder.Recode(data, nLimit, result);
  EXPECT_EQ(bRecoded, !result.IsEmpty());
  return std::string(result.GetSpan().begin(), result.GetSpan().end());
}

std::string Marker(int nNumber, const std::string& sBody)
{
  const std::size_t nLength = sBody.size() + 2;
  return std::string{'\xFF', static_cast<char>(0xE0 + nNumber), static_cast<char>(nLength >> 8),
                     static_cast<char>(nLength & 0xFF)} +
         sBody;
}

TEST(DCTRecoder, KeepsSamplesAndColors)
{
  const struct
  {
    const char* m_szName;
    int m_nComponents;
    std::function<void(jpeg_compress_struct&)> m_change;
  } cases[] = {
      {"gray", 1, {}},
      {"color", 3, {}},
      {"whole color", 3,
       [](auto& info) { info.comp_info[0].h_samp_factor = info.comp_info[0].v_samp_factor = 1; }},
      {"RGB by component names", 3,
       [](auto& info)
       {
         jpeg_set_colorspace(&info, JCS_RGB);
         info.write_Adobe_marker = FALSE;
       }},
      {"RGB by Adobe", 3, [](auto& info) { jpeg_set_colorspace(&info, JCS_RGB); }},
      {"nothing of the colors", 3, [](auto& info) { info.write_JFIF_header = FALSE; }},
      {"CMYK", 4, {}},
      {"YCCK", 4, [](auto& info) { jpeg_set_colorspace(&info, JCS_YCCK); }},
      {"progressive", 3, [](auto& info) { jpeg_simple_progression(&info); }},
      {"restarts", 3, [](auto& info) { info.restart_interval = 3; }},
  };
  for (const auto& c : cases)
    for (const int nSize : {1, 17, 200})
    {
      SCOPED_TRACE(std::string(c.m_szName) + " " + std::to_string(nSize));
      const std::string sData = BSE::MakeJpeg(nSize, nSize + 2, c.m_nComponents, c.m_change);
      const std::string sResult = Recode(sData, sData.size());
      if (sResult.empty())
      {
        EXPECT_LT(nSize, 200) << "general tables are never the best for a real picture";
        continue;
      }
      EXPECT_LT(sResult.size(), sData.size());
      EXPECT_EQ(BSE::DecodeJpeg(sResult), BSE::DecodeJpeg(sData));
      for (const char* szMarker : {"JFIF", "Adobe"})
        EXPECT_EQ(sResult.find(szMarker) == std::string::npos, sData.find(szMarker) == std::string::npos)
            << szMarker;
      EXPECT_TRUE(Recode(sData, sResult.size()).empty()) << "no longer than asked for";
    }
}

TEST(DCTRecoder, DropsWhatDoesNotCount)
{
  std::string sData = BSE::MakeJpeg(60, 40, 3);
  const std::size_t nPlain = Recode(sData, sData.size()).size();
  sData.insert(2, Marker(1, std::string("Exif\0\0", 6) + std::string(900, 'e')) + Marker(13, "Photoshop") +
                      Marker(0, std::string("JFXX\0", 5) + std::string(300, 't')));
  EXPECT_EQ(Recode(sData, sData.size()).size(), nPlain);
}

TEST(DCTRecoder, LeavesAloneWhatIsDamagedOrTooLarge)
{
  const std::string sGood = BSE::MakeJpeg(200, 100, 3);
  EXPECT_TRUE(Recode("", 100).empty());
  EXPECT_TRUE(Recode(sGood, 0).empty());
  EXPECT_TRUE(Recode(sGood.substr(0, sGood.size() / 2), sGood.size()).empty());
  EXPECT_TRUE(Recode(sGood.substr(0, sGood.size() - 2), sGood.size()).empty()) << "no end of the image";
  std::string sBad = sGood;
  for (std::size_t i = sBad.size() / 2; i < sBad.size() / 2 + 40; ++i)
    sBad[i] = static_cast<char>(i * 37);
  EXPECT_TRUE(Recode(sBad, sBad.size()).empty());
  // Without its last scans a progressive image is sound, and shown smoothed.
  const std::string sScans = BSE::MakeJpeg(200, 100, 3, [](auto& info) { jpeg_simple_progression(&info); });
  const std::string sFew = sScans.substr(0, sScans.rfind("\xFF\xDA")) + "\xFF\xD9";
  EXPECT_TRUE(Recode(sFew, sScans.size()).empty());
  // A blank image of any size takes next to no data.
  const std::string sHuge = BSE::MakeJpeg(64, 64, 1);
  const std::size_t nFrame = sHuge.find("\xFF\xC0");
  ASSERT_NE(nFrame, std::string::npos);
  std::string sClaim = sHuge;
  for (std::size_t i = nFrame + 5; i < nFrame + 9; ++i)
    sClaim[i] = '\xF0';
  EXPECT_TRUE(Recode(sClaim, sClaim.size()).empty());
}

}  // namespace
