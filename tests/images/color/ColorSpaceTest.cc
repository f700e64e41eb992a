#include "images/color/ColorSpaceFactory.h"
#include "images/color/StatusCodes.h"
#include "images/color/TintColorSpaces.h"
#include "tests/images/color/ColorObjects.h"
#include "tests/images/color/Profiles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using CBytes = std::vector<unsigned char>;
using CSpacePtr = BSE::CObjectPtr<DOC::IColorSpace>;

class ColorSpace : public testing::Test
{
protected:
  ColorSpace() { SetEngine("none"); }

  void SetEngine(const char* szName)
  {
    m_pFactory.reset();
    const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount(0, &m_objects.GetHandler()));
    m_pCMS = DOC::CreateCMS(szName, "/nowhere", *pAccount);
    m_pFactory = std::make_unique<PDF::CColorSpaceFactory>(*m_pCMS);
  }

  CSpacePtr Create(std::string_view text) { return m_pFactory->Create(m_objects.Parse(text)); }

  // A tint function of a program, as an object of its own.
  PDF::CObjectPtr Program(int nInputs, int nOutputs, std::string_view text)
  {
    std::string dictionary = "<</FunctionType 4 /Domain [";
    for (int i = 0; i < nInputs; ++i)
      dictionary += "0 1 ";
    dictionary += "] /Range [";
    for (int i = 0; i < nOutputs; ++i)
      dictionary += "0 1 ";
    return m_objects.Stream(dictionary + "]>>", text);
  }

  PDF::CObjectPtr Array(std::string_view text, std::initializer_list<PDF::CObjectPtr> more)
  {
    PDF::CObjectPtr array = m_objects.Parse(text);
    for (const PDF::CObjectPtr& object : more)
      array.Add(object);
    return array;
  }

  static CBytes Convert(const CSpacePtr& pSpace, DOC::TTarget target, const CBytes& source)
  {
    if (!pSpace)
      return {};
    const int nCount = static_cast<int>(source.size()) / pSpace->GetComponentCount();
    CBytes result(static_cast<std::size_t>(nCount * DOC::GetTargetComponents(target)));
    EXPECT_TRUE(pSpace->ConvertRow(target, source, result, nCount));
    return result;
  }

  unsigned TakeCode()
  {
    const unsigned nCode = m_objects.GetHandler().GetLastCode();
    m_objects.GetHandler().Clear();
    return nCode;
  }

  ColorTest::CObjects m_objects;
  BSE::CObjectPtr<DOC::CCMS> m_pCMS;
  std::unique_ptr<PDF::CColorSpaceFactory> m_pFactory;
};

TEST_F(ColorSpace, FamiliesNamesAndKeys)
{
  const PDF::CObjectPtr indirect = m_objects.Object(
      "[/Separation /X /DeviceCMYK <</FunctionType 2 /N 1 /Domain "
      "[0 1] /C0 [0 0 0 0] /C1 [1 1 0 0]>>]");
  const std::string sNumber = std::to_string(indirect.GetObjNumber());
  EXPECT_EQ(m_pFactory->Create(indirect)->GetKey(), "R_" + sNumber);
  const struct
  {
    const char* m_szText;
    int m_nType;
    int m_nComponents;
    const char* m_szKey;
  } cases[] = {
      {"/DeviceGray", 0, 1, "/DeviceGray"},
      {"/G", 0, 1, "/DeviceGray"},
      {"/RGB", 1, 3, "/DeviceRGB"},
      {"[/DeviceCMYK]", 2, 4, "/DeviceCMYK"},
      {"/Pattern", 9, 0, "/Pattern"},
      {"[/Pattern /DeviceRGB]", 9, 3, ""},
      {"[/CalGray <</WhitePoint [0.9 1 1.1] /Gamma 2.2222>>]", 3, 1,
       "CG_0.9001.0001.100_0.0000.0000.000_2.222"},
      {"[/Lab <</WhitePoint [0.9 1 1.1] /Range [-128 127 -128 127]>>]", 5, 3,
       "L_0.9001.0001.100_-128.000127.000-128.000127.000"},
      {"[/Indexed /DeviceRGB 0 <010203>]", 7, 1,
       "I_/DeviceRGB_0_039058c6f2c0cb492c533b0a4d14ef77cc0f78abccced5287d84a1a2011cfb81"},
      {"[/Separation /X /DeviceGray <</FunctionType 2 /N 1 /Domain [0 1]>>]", 10, 1, ""},
  };
  for (const auto& [szText, nType, nComponents, szKey] : cases)
  {
    const CSpacePtr pSpace = Create(szText);
    ASSERT_TRUE(pSpace) << szText;
    EXPECT_EQ(pSpace->GetType(), nType) << szText;
    EXPECT_EQ(pSpace->GetComponentCount(), nComponents) << szText;
    EXPECT_STREQ(pSpace->GetKey(), szKey) << szText;
    EXPECT_EQ(pSpace->Prepare(DOC::eToGray), nType != DOC::ePattern) << szText;
  }
  // Equal to three decimals is the same.
  const CSpacePtr pFirst = Create("[/CalRGB <</WhitePoint [0.95 1 1.09] /Gamma [2.2001 2.2 2.2]>>]");
  EXPECT_EQ(pFirst.Get(), Create("[/CalRGB <</WhitePoint [0.95 1 1.09] /Gamma [2.2002 2.2 2.2]>>]").Get());
  EXPECT_NE(pFirst.Get(), Create("[/CalRGB <</WhitePoint [0.95 1 1.09] /Gamma [2.21 2.2 2.2]>>]").Get());
  // Names of the resources, which do not lead on to others.
  const PDF::CObjectPtr resources = m_objects.Parse("<</ColorSpace <</A [/Lab <<>>] /B /A /DeviceRGB /A>>>>");
  EXPECT_EQ(m_pFactory->Create(m_objects.Parse("/A"), resources)->GetType(), DOC::eLab);
  EXPECT_EQ(m_pFactory->Create(m_objects.Parse("/DeviceRGB"), resources)->GetType(), DOC::eDeviceRGB);
  EXPECT_FALSE(m_pFactory->Create(m_objects.Parse("/B"), resources));
}

TEST_F(ColorSpace, WrongObjectsAreReported)
{
  for (const char* szText : {"/Foo",
                             "5",
                             "null",
                             "[]",
                             "[5]",
                             "[/Foo]",
                             "[/ICCBased]",
                             "[/ICCBased <</N 3>>]",
                             "[/Indexed]",
                             "[/Indexed /DeviceRGB 1]",
                             "[/Indexed /DeviceRGB -1 (abc)]",
                             "[/Indexed /DeviceRGB 1 ()]",
                             "[/Indexed /Pattern 0 (abc)]",
                             "[/Indexed [/Indexed /DeviceRGB 0 (abc)] 0 (a)]",
                             "[/Pattern [/Pattern]]",
                             "[/Separation /A]",
                             "[/Separation (A) /DeviceRGB <<>>]",
                             "[/Separation /A /Pattern <<>>]",
                             "[/DeviceN [] /DeviceRGB <<>>]",
                             "[/DeviceN /A /DeviceRGB <<>>]",
                             "<</N 3>>"})
  {
    EXPECT_FALSE(Create(szText)) << szText;
    EXPECT_EQ(TakeCode(), PDF::g_nInvalidColorSpace) << szText;
  }
  std::string sMany = "[/DeviceN [";
  for (int i = 0; i < 33; ++i)
    sMany += "/A ";
  EXPECT_FALSE(Create(sMany + "] /DeviceRGB <<>>]"));

  // Inside itself, and deeper than any file goes.
  PDF::CObjectPtr self = m_objects.Object("[/Pattern]");
  self.GetValueObject().Add(self);
  EXPECT_FALSE(m_pFactory->Create(self));
  self.GetValueObject()->SetSize(1);
  PDF::CObjectPtr profile = m_objects.Stream("<</N 3>>", "x");
  for (int i = 0; i < 100; ++i)
  {
    const PDF::CObjectPtr outer = m_objects.Stream("<</N 3>>", "x");
    outer.GetValueObject().AddEntry("Alternate", Array("[/ICCBased]", {profile}));
    profile = outer;
  }
  EXPECT_TRUE(m_pFactory->Create(Array("[/ICCBased]", {profile})));
}

TEST_F(ColorSpace, LabBytesComeBack)
{
  for (const char* szEngine : {"none", "lcms"})
  {
    SetEngine(szEngine);
    const CSpacePtr pLab = Create("[/Lab <</WhitePoint [0.9642 1 0.8249] /Range [-128 127 -128 127]>>]");
    CBytes source;
    for (int i = 0; i < 256; ++i)
      source.insert(source.end(), {static_cast<unsigned char>(i), static_cast<unsigned char>(255 - i), 77});
    EXPECT_EQ(Convert(pLab, DOC::eToLab, source), source);
    const CBytes gray = Convert(pLab, DOC::eToRGB, {0, 128, 128, 255, 128, 128, 128, 128, 128});
    for (const int i : {0, 1, 2})
      EXPECT_EQ(gray[static_cast<std::size_t>(i)], 0);
    for (const int i : {3, 4, 5})
      EXPECT_EQ(gray[static_cast<std::size_t>(i)], 255);
    for (const int i : {6, 7, 8})
      EXPECT_NEAR(gray[static_cast<std::size_t>(i)], 119, 2) << szEngine;
    double color[3];
    pLab->ToReal(CBytes{255, 128, 0}, color);
    EXPECT_EQ(std::vector<double>(color, color + 3), (std::vector<double>{100, 0, -128}));
  }
  // Under the white of the screen, by the formulas of ISO 11664-4 and IEC 61966-2-1.
  const CBytes screen =
      Convert(Create("[/Lab <</WhitePoint [.95047 1 1.08883] /Range [-128 127 -128 127]>>]"), DOC::eToRGB,
              {82, 122, 162, 123, 163, 203});
  const CBytes exact = {82, 77, 18, 185, 87, 0};
  for (std::size_t i = 0; i < exact.size(); ++i)
    EXPECT_NEAR(screen[i], exact[i], 1) << i;
  // A smaller range is stretched over the bytes.
  const CBytes lab = Convert(Create("[/Lab <</WhitePoint [0.9642 1 0.8249] /Range [0 50 -50 0]>>]"),
                             DOC::eToLab, {255, 255, 0});
  EXPECT_EQ(lab, (CBytes{255, 178, 78}));
}

TEST_F(ColorSpace, ICCBasedWithWrongCountGoesByTheAlternate)
{
  SetEngine("lcms");
  const CBytes source = {10, 100, 200};
  const CSpacePtr pGood =
      m_pFactory->Create(Array("[/ICCBased]", {m_objects.Stream("<</N 3>>", ColorTest::MakeRGBProfile())}));
  const CBytes good = Convert(pGood, DOC::eToRGB, source);
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_NEAR(good[i], source[i], 1);
  EXPECT_EQ(TakeCode(), 0U);

  for (const std::string& sData :
       {ColorTest::MakeInkProfile(2.4, true), std::string("no profile"), std::string()})
  {
    const PDF::CObjectPtr stream = m_objects.Stream("<</N 3 /Alternate [/Lab <<>>]>>", sData);
    const CSpacePtr pSpace = m_pFactory->Create(Array("[/ICCBased]", {stream}));
    EXPECT_TRUE(pSpace->Prepare(DOC::eToRGB));
    EXPECT_EQ(Convert(pSpace, DOC::eToRGB, source), Convert(Create("[/Lab <<>>]"), DOC::eToRGB, source));
    EXPECT_EQ(TakeCode(), PDF::g_nUnreadableProfile);
    Convert(pSpace, DOC::eToGray, source);
    EXPECT_EQ(TakeCode(), 0U) << "reported once";
    EXPECT_EQ(pSpace->IsGuessed(), sData.size() > 10) << "some readers would go by a sound profile";
    EXPECT_STREQ(pSpace->GetKey(), ("icc_" + std::to_string(stream.GetObjNumber())).c_str());
  }
  // An engine that reads no profiles loses nothing by that.
  SetEngine("none");
  EXPECT_EQ(Convert(m_pFactory->Create(Array("[/ICCBased]", {m_objects.Stream("<</N 3>>", "x")})),
                    DOC::eToRGB, source),
            source);
  EXPECT_EQ(TakeCode(), 0U);
}

TEST_F(ColorSpace, IndexedGoesByItsTable)
{
  const CSpacePtr pSpace = Create("[/I /RGB 2 <000000 FF8000 102030>]");
  EXPECT_EQ(Convert(pSpace, DOC::eToRGB, {1, 2, 0, 3, 255}),
            (CBytes{255, 128, 0, 16, 32, 48, 0, 0, 0, 16, 32, 48, 16, 32, 48}));
  double color[3];
  EXPECT_TRUE(pSpace->ToRGB(std::vector<double>{1}, color));
  EXPECT_NEAR(color[1], 128 / 255.0, 1e-12);
  EXPECT_EQ(TakeCode(), 0U);
  const CSpacePtr pShort = Create("[/Indexed /DeviceRGB 2 <010203 040506>]");
  EXPECT_EQ(Convert(pShort, DOC::eToRGB, {1, 2}), (CBytes{4, 5, 6, 0, 0, 0}));
  EXPECT_EQ(TakeCode(), PDF::g_nInvalidColorSpace);
  // An object of its own names the table in the key.
  const PDF::CObjectPtr table = m_objects.Stream("<<>>", "abcdef and more");
  const CSpacePtr pStream = m_pFactory->Create(Array("[/Indexed /DeviceRGB 1]", {table}));
  EXPECT_EQ(Convert(pStream, DOC::eToRGB, {0}), (CBytes{'a', 'b', 'c'}));
  EXPECT_EQ(pStream->GetKey(), "I_/DeviceRGB_1_" + std::to_string(table.GetObjNumber()));
}

TEST_F(ColorSpace, TintsGoThroughTheirFunction)
{
  const PDF::CObjectPtr function = Program(1, 4, "{dup 0 exch 0.5 mul 0}");
  const CSpacePtr pSpot = m_pFactory->Create(Array("[/Separation /Spot /DeviceCMYK]", {function}));
  EXPECT_EQ(Convert(pSpot, DOC::eToCMYK, {0, 255, 100}), (CBytes{0, 0, 0, 0, 255, 0, 127, 0, 100, 0, 50, 0}));
  EXPECT_EQ(pSpot->GetKey(), "S_Spot_/DeviceCMYK_" + std::to_string(function.GetObjNumber()));
  EXPECT_STREQ(pSpot->GetTint()->GetColorant(0), "Spot");
  const CSpacePtr pNone = m_pFactory->Create(Array("[/Separation /None /DeviceCMYK]", {function}));
  EXPECT_EQ(Convert(pNone, DOC::eToCMYK, {0, 255}), CBytes(8, 0));
  EXPECT_EQ(Convert(pNone, DOC::eToLab, {255}), (CBytes{255, 128, 128}));

  // Rows that repeat colours give what single ones give.
  const CSpacePtr pTwo = m_pFactory->Create(
      Array("[/DeviceN [/A /B] /DeviceRGB]", {Program(2, 3, "{2 copy mul 3 1 roll sub abs 0.5 3 1 roll}")}));
  ASSERT_TRUE(pTwo);
  CBytes source;
  for (int i = 0; i < 20000; ++i)
    source.insert(source.end(),
                  {static_cast<unsigned char>(i * 7 % 100), static_cast<unsigned char>(i / 50)});
  for (const DOC::TTarget target : {DOC::eToRGB, DOC::eToGray, DOC::eToCMYK})
  {
    const CBytes rows = Convert(pTwo, target, source);
    const auto nResults = static_cast<std::size_t>(DOC::GetTargetComponents(target));
    for (std::size_t i = 0; i < 20000; i += 333)
      EXPECT_EQ(Convert(pTwo, target, {source[2 * i], source[2 * i + 1]}),
                CBytes(rows.begin() + static_cast<std::ptrdiff_t>(i * nResults),
                       rows.begin() + static_cast<std::ptrdiff_t>((i + 1) * nResults)));
  }
  EXPECT_EQ(TakeCode(), 0U);
}

TEST_F(ColorSpace, TintsWithoutFunctionGoByTheirNames)
{
  const CSpacePtr pSpace = Create("[/DeviceN [/Yellow /Spot /Cyan /Black] /DeviceRGB <<>>]");
  ASSERT_TRUE(pSpace);
  TakeCode();
  EXPECT_EQ(Convert(pSpace, DOC::eToCMYK, {1, 2, 3, 4, 9, 200, 9, 200}), (CBytes{3, 0, 1, 6, 9, 0, 9, 255}));
  EXPECT_EQ(TakeCode(), PDF::g_nInvalidColorSpace);
  // One with the wrong number of outputs is none either.
  EXPECT_TRUE(m_pFactory->Create(Array("[/Separation /A /DeviceRGB]", {Program(1, 2, "{dup}")})));
  const CSpacePtr pChannels = Create(
      "[/DeviceN [/Orange /Cyan /X] /DeviceCMYK <<>> <</Subtype /NChannel /Process <</Components [/X]>>>>]");
  const auto& channels = dynamic_cast<const PDF::CNChannelColorSpace&>(*pChannels);
  EXPECT_FALSE(channels.IsProcess(0));
  EXPECT_TRUE(channels.IsProcess(1));
  EXPECT_TRUE(channels.IsProcess(2));
}

TEST_F(ColorSpace, DefaultColors)
{
  const std::pair<const char*, std::vector<double>> cases[] = {
      {"/DeviceRGB", {0, 0, 0}},
      {"/DeviceCMYK", {0, 0, 0, 1}},
      {"[/Lab <</Range [10 20 -20 -10]>>]", {0, 10, -10}},
      {"[/Separation /X /DeviceGray <</FunctionType 2 /N 1 /Domain [0 1]>>]", {1}},
      {"[/Indexed /DeviceGray 0 (a)]", {0}},
  };
  for (const auto& [szText, expected] : cases)
  {
    std::vector<double> color(expected.size(), 7);
    Create(szText)->GetDefaultColor(color);
    EXPECT_EQ(color, expected) << szText;
  }
}

}  // namespace
