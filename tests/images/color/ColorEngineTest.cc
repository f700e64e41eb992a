#include "base/MemoryStream.h"
#include "images/color/CMS.h"
#include "images/color/DefaultCMS.h"
#include "images/color/DeviceColorSpaces.h"
#include "images/color/ProfileCheck.h"
#include "tests/images/color/Profiles.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace
{

using CBytes = std::vector<unsigned char>;
using CCMSPtr = BSE::CObjectPtr<DOC::CCMS>;

CCMSPtr MakeEngine(const char* szName, const char* szFolder = "/nowhere")
{
  const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount);
  return DOC::CreateCMS(szName, szFolder, *pAccount);
}

std::span<const unsigned char> AsBytes(const std::string& text)
{
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

template <class T>
CBytes Convert(DOC::CCMS& cms, DOC::TTarget target, const CBytes& source)
{
  const BSE::CObjectPtr<T> pSpace(new T(cms));
  const int nCount = static_cast<int>(source.size()) / pSpace->GetComponentCount();
  CBytes result(static_cast<std::size_t>(nCount * DOC::GetTargetComponents(target)));
  EXPECT_TRUE(pSpace->ConvertRow(target, source, result, nCount));
  return result;
}

int GetDistance(const CBytes& a, const CBytes& b)
{
  int nMost = a.size() == b.size() ? 0 : 999;
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
    nMost = std::max(nMost, std::abs(a[i] - b[i]));
  return nMost;
}

TEST(Neugebauer, MixesAndSeparates)
{
  const DOC::CNeugebauer table;
  const double inks[][4] = {{0, 0, 0, 0}, {1, 0, 0, 0}, {0, 1, 0, 1}, {1, 1, 1, 0}, {0, 0.5, 0, 0}};
  const double colors[][3] = {
      {1, 1, 1}, {0, 0.6824, 0.9373}, {0.1373, 0, 0}, {0.2118, 0.2118, 0.2235}, {0.96275, 0.5, 0.7745}};
  for (int i = 0; i < 5; ++i)
  {
    double color[3];
    table.Mix(inks[i], color);
    for (int n = 0; n < 3; ++n)
      EXPECT_NEAR(color[n], colors[i][n], 1e-12) << i;
  }
  // What the inks can make comes back; gray, white and black have no traces of other inks.
  for (double c = 0; c <= 0.8; c += 0.2)
    for (double m = 0; m <= 0.8; m += 0.2)
      for (double k = 0; k <= 0.6; k += 0.3)
      {
        const double start[4] = {c, m, 0.3, k};
        double color[3];
        double found[4];
        double again[3];
        table.Mix(start, color);
        table.Separate(color, found);
        table.Mix(found, again);
        for (int n = 0; n < 3; ++n)
          EXPECT_NEAR(again[n], color[n], 0.01) << c << " " << m << " " << k;
      }
  double found[4];
  table.Separate(colors[0], found);
  EXPECT_EQ(std::vector<double>(found, found + 4), std::vector<double>(4, 0));
  const double black[3] = {};
  table.Separate(black, found);
  EXPECT_EQ(std::vector<double>(found, found + 4), (std::vector<double>{0, 0, 0, 1}));
}

TEST(ColorEngine, NamesChooseTheEngine)
{
  const std::pair<const char*, bool> names[] = {{"lcms", true},    {"LCMS", true},  {"msicm", true},
                                                {"", true},        {"none", false}, {"Neugebauer", false},
                                                {"/no/file", true}};
  for (const auto& [szName, bProfiles] : names)
    EXPECT_EQ(MakeEngine(szName)->ReadsProfiles(), bProfiles) << szName;

  const Support::CTempFolder folder;
  const std::string sPath =
      folder.GetPath().string() + "/A Table With A Name That Has More Than 39 Characters.txt";
  Support::WriteFile(sPath, "0.5, 0.25, 1\n0, 1, 0\nend\n1, 1, 1\n");
  const CCMSPtr pEngine = MakeEngine(sPath.c_str());
  EXPECT_FALSE(pEngine->ReadsProfiles());
  // Paper and cyan of the file, magenta of the built-in table.
  EXPECT_EQ(
      Convert<DOC::CDeviceCMYKColorSpace>(*pEngine, DOC::eToRGB, {0, 0, 0, 0, 255, 0, 0, 0, 0, 255, 0, 0}),
      (CBytes{128, 64, 255, 0, 255, 0, 236, 0, 140}));
}

TEST(ColorEngine, DeviceColoursByFormula)
{
  const CCMSPtr pNone = MakeEngine("none");
  EXPECT_EQ(Convert<DOC::CDeviceGrayColorSpace>(*pNone, DOC::eToCMYK, {0, 77}),
            (CBytes{0, 0, 0, 255, 0, 0, 0, 178}));
  EXPECT_EQ(Convert<DOC::CDeviceCMYKColorSpace>(*pNone, DOC::eToRGB, {10, 20, 30, 100, 255, 0, 0, 9}),
            (CBytes{145, 135, 125, 0, 246, 246}));
  EXPECT_EQ(Convert<DOC::CDeviceRGBColorSpace>(*pNone, DOC::eToCMYK, {10, 20, 30}), (CBytes{20, 10, 0, 225}));
  EXPECT_EQ(Convert<DOC::CDeviceGrayColorSpace>(*pNone, DOC::eToRGB, {9, 255}),
            (CBytes{9, 9, 9, 255, 255, 255}));
  EXPECT_EQ(Convert<DOC::CColorSpaceYCC>(*pNone, DOC::eToRGB, {255, 128, 128, 0, 0, 0, 76, 85, 255}),
            (CBytes{255, 254, 255, 0, 134, 0, 254, 0, 0}));
  const BSE::CObjectPtr<DOC::CDeviceGrayColorSpace> pGray(new DOC::CDeviceGrayColorSpace(*pNone));
  CBytes wide(8, 7);
  EXPECT_TRUE(pGray->RowToRGB(CBytes{1, 2}, wide, 2, DOC::eRowRGBX));
  EXPECT_EQ(wide, (CBytes{1, 1, 1, 255, 2, 2, 2, 255}));
  EXPECT_FALSE(pGray->RowToRGB(CBytes{1, 2}, wide, 3, DOC::eRowRGB));
  EXPECT_FALSE(pGray->RowToRGB(CBytes{1, 2}, wide, -1, DOC::eRowRGBX));
  EXPECT_FALSE(pGray->RowToRGB(CBytes(9), wide, 3, DOC::eRowRGBX));
}

// The primaries of sRGB under D50, as the standard has them.
TEST(ColorEngine, LabOfPrimaries)
{
  const CBytes colors = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0};
  const double lab[5][3] = {
      {54.29, 80.81, 69.89}, {87.82, -79.27, 80.99}, {29.57, 68.30, -112.03}, {100, 0, 0}, {0, 0, 0}};
  CBytes expected;
  for (const auto& color : lab)
    for (int i = 0; i < 3; ++i)
      expected.push_back(static_cast<unsigned char>(i == 0 ? color[i] * 2.55 + 0.5 : color[i] + 128.5));
  for (const char* szName : {"lcms", "none"})
    EXPECT_LE(
        GetDistance(Convert<DOC::CDeviceRGBColorSpace>(*MakeEngine(szName), DOC::eToLab, colors), expected),
        1)
        << szName;
}

TEST(ColorEngine, InksKeepWhiteBlackAndHue)
{
  for (const char* szName : {"lcms", "neugebauer"})
  {
    const CCMSPtr pEngine = MakeEngine(szName);
    const CBytes inks = Convert<DOC::CDeviceRGBColorSpace>(
        *pEngine, DOC::eToCMYK, {255, 255, 255, 0, 0, 0, 200, 60, 60, 128, 128, 128});
    EXPECT_EQ(CBytes(inks.begin(), inks.begin() + 8), (CBytes{0, 0, 0, 0, 0, 0, 0, 255})) << szName;
    const CBytes back = Convert<DOC::CDeviceCMYKColorSpace>(*pEngine, DOC::eToRGB, inks);
    EXPECT_LE(GetDistance(CBytes(back.begin() + 6, back.end()), {200, 60, 60, 128, 128, 128}), 5) << szName;
    EXPECT_EQ(CBytes(back.begin(), back.begin() + 3), (CBytes{255, 255, 255})) << szName;
    EXPECT_LE(GetDistance(CBytes(back.begin() + 3, back.begin() + 6), {35, 31, 32}), 3) << szName;
    EXPECT_EQ(
        Convert<DOC::CDeviceRGBColorSpace>(*pEngine, DOC::eToGray, {255, 255, 255, 0, 0, 0, 90, 90, 90}),
        (CBytes{255, 0, 90}))
        << szName;
  }
}

TEST(ColorEngine, CalibratedProfiles)
{
  // The primaries of sRGB with other gammas, whose colours follow from the formula.
  const DOC::TXYZ white = {0.95047, 1, 1.08883};
  const double matrix[9] = {0.4124564, 0.2126729, 0.0193339, 0.3575761, 0.7151522,
                            0.1191920, 0.1804375, 0.0721750, 0.9503041};
  const double gamma[3] = {1.8, 2.2, 1};
  for (const char* szName : {"lcms", "none"})
  {
    const CCMSPtr pEngine = MakeEngine(szName);
    const bool bCurve = pEngine->ReadsProfiles();
    const BSE::CObjectPtr<DOC::CColorProfile> pRGB = pEngine->CreateRGBProfile(white, gamma, matrix);
    ASSERT_TRUE(pRGB);
    DOC::CColorProfile* pScreen = pEngine->GetDefaultProfile(DOC::eProfileRGB);
    const BSE::CObjectPtr<DOC::CColorTransform> pTransform =
        pEngine->CreateTransform(*pRGB, *pScreen, DOC::eBytes, DOC::eIntentRelative);
    ASSERT_TRUE(pTransform);
    for (int n = 5; n < 256; n += 25)
    {
      const CBytes source(3, static_cast<unsigned char>(n));
      CBytes result(3);
      pTransform->Apply(source.data(), result.data(), 1);
      CBytes expected;
      for (const double dGamma : gamma)
      {
        const double d = std::pow(n / 255.0, dGamma);
        const double dByte = !bCurve         ? std::pow(d, 1 / 2.2)
                             : d < 0.0031308 ? 12.92 * d
                                             : 1.055 * std::pow(d, 1 / 2.4) - 0.055;
        expected.push_back(static_cast<unsigned char>(dByte * 255 + 0.5));
      }
      EXPECT_LE(GetDistance(result, expected), 1) << szName << " " << n;
    }
    const double nan[3] = {NAN, 1, 1};
    EXPECT_FALSE(pEngine->CreateRGBProfile(white, nan, matrix));
    EXPECT_FALSE(pEngine->CreateGrayProfile({0, 0, 0}, 1));
    EXPECT_FALSE(pEngine->CreateGrayProfile({1, NAN, 1}, 1));
    EXPECT_FALSE(pEngine->CreateGrayProfile(white, -1));
    EXPECT_FALSE(pEngine->CreateLabProfile({-1, 1, 1}));
    const double flat[9] = {};
    EXPECT_TRUE(pEngine->CreateRGBProfile(white, gamma, flat));
  }
}

TEST(ColorEngine, SameAsTheLibrary)
{
  const CCMSPtr pEngine = MakeEngine("lcms");
  for (const std::string& sProfile :
       {ColorTest::MakeRGBProfile(), ColorTest::MakeGrayProfile(), ColorTest::MakeInkProfile(2.4, true),
        ColorTest::MakeInkProfile(2.4, false), ColorTest::MakeInkProfile(4.3, false)})
  {
    const BSE::CObjectPtr<DOC::CColorProfile> pProfile = pEngine->OpenProfile(AsBytes(sProfile));
    ASSERT_TRUE(pProfile) << sProfile.size();
    const int nComponents = pProfile->GetComponentCount();
    const BSE::CObjectPtr<DOC::CColorTransform> pTransform = pEngine->CreateTransform(
        *pProfile, *pEngine->GetDefaultProfile(DOC::eProfileRGB), DOC::eBytes, DOC::eIntentOfProfile);
    ASSERT_TRUE(pTransform);
    CBytes source(static_cast<std::size_t>(300 * nComponents));
    std::mt19937 random(1);
    for (unsigned char& n : source)
      n = static_cast<unsigned char>(random());
    CBytes result(900);
    CBytes expected(900);
    pTransform->Apply(source.data(), result.data(), 300);
    cmsHPROFILE hProfile =
        cmsOpenProfileFromMem(sProfile.data(), static_cast<cmsUInt32Number>(sProfile.size()));
    cmsHPROFILE hScreen = cmsCreate_sRGBProfile();
    const cmsUInt32Number nFormat = nComponents == 1   ? TYPE_GRAY_8
                                    : nComponents == 3 ? TYPE_RGB_8
                                                       : TYPE_CMYK_8;
    cmsHTRANSFORM hTransform =
        cmsCreateTransform(hProfile, nFormat, hScreen, TYPE_RGB_8, cmsGetHeaderRenderingIntent(hProfile), 0);
    cmsDoTransform(hTransform, source.data(), expected.data(), 300);
    cmsDeleteTransform(hTransform);
    cmsCloseProfile(hProfile);
    cmsCloseProfile(hScreen);
    EXPECT_EQ(GetDistance(result, expected), 0) << nComponents;
  }
}

TEST(ColorEngine, DamagedProfiles)
{
  const CCMSPtr pEngine = MakeEngine("lcms");
  std::mt19937 random(2);
  for (const std::string& sProfile : {ColorTest::MakeRGBProfile(), ColorTest::MakeInkProfile(2.4, true),
                                      ColorTest::MakeInkProfile(4.3, false)})
  {
    for (std::size_t nLength = 0; nLength < sProfile.size(); nLength += 1 + nLength / 4)
      pEngine->OpenProfile(AsBytes(sProfile.substr(0, nLength)));
    for (int nRun = 0; nRun < 300; ++nRun)
    {
      std::string sDamaged = sProfile;
      for (int i = 0; i < 4; ++i)
        sDamaged[random() % std::min<std::size_t>(sDamaged.size(), 600)] = static_cast<char>(random());
      const BSE::CObjectPtr<DOC::CColorProfile> pProfile = pEngine->OpenProfile(AsBytes(sDamaged));
      if (pProfile && nRun % 30 == 0)
        pEngine->CreateTransform(*pProfile, *pEngine->GetDefaultProfile(DOC::eProfileRGB), DOC::eBytes,
                                 DOC::eIntentOfProfile);
    }
  }
  // A curve of one number, at the end of its tag.
  std::string sGamma = ColorTest::MakeGrayProfile();
  DOC::TProfileHeader header;
  BSE::CBasicArray<unsigned char> copy;
  ASSERT_TRUE(DOC::CheckProfile(AsBytes(sGamma), header, copy));
  EXPECT_NE(std::string(reinterpret_cast<const char*>(copy.GetData()), sGamma.size()).find("kTRC"),
            std::string::npos);
  // A table that claims more points than the profile has bytes loses its name.
  std::string sProfile = ColorTest::MakeInkProfile(2.4, true);
  const std::size_t nTable = sProfile.find("mft1");
  ASSERT_NE(nTable, std::string::npos);
  sProfile[nTable + 10] = '\xFF';
  ASSERT_TRUE(DOC::CheckProfile(AsBytes(sProfile), header, copy));
  const std::string sCopy(reinterpret_cast<const char*>(copy.GetData()), sProfile.size());
  EXPECT_NE(sProfile.find("A2B0"), std::string::npos);
  EXPECT_EQ(sCopy.find("A2B0"), std::string::npos);
  EXPECT_NE(sCopy.find("B2A0"), std::string::npos);
}

TEST(ColorEngine, WhatTransformsCostIsBounded)
{
  const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount);
  const CCMSPtr pEngine = DOC::CreateCMS("lcms", "/nowhere", *pAccount);
  ASSERT_TRUE(pAccount->SpendWork(BSE::g_nFreeColorWork));
  // By formula then.
  EXPECT_EQ(Convert<DOC::CDeviceCMYKColorSpace>(*pEngine, DOC::eToRGB, {10, 20, 30, 100}),
            (CBytes{145, 135, 125}));
}

TEST(ColorEngine, DefaultProfilesOfAFolder)
{
  const Support::CTempFolder folder;
  Support::WriteFile(folder.GetPath() / "CMYK.icc", ColorTest::MakeInkProfile(2.4, false));
  Support::WriteFile(folder.GetPath() / "sRGB.icc", "no profile");
  const CBytes source = {0, 0, 255, 0, 0, 0, 0, 100};
  const CCMSPtr pEngine = MakeEngine("lcms", folder.GetPath().c_str());
  const CBytes result = Convert<DOC::CDeviceCMYKColorSpace>(*pEngine, DOC::eToRGB, source);
  EXPECT_GT(
      GetDistance(result, Convert<DOC::CDeviceCMYKColorSpace>(*MakeEngine("lcms"), DOC::eToRGB, source)), 3);
}

}  // namespace
