// CMaps of both kinds: to CIDs, and to text.

#include "base/MemoryStream.h"
#include "pdf/SimpleObjects.h"
#include "tests/fonts/pdf/FontDocument.h"

namespace
{

using Fonts::GetText;

constexpr const char* g_szBegin = "/CIDInit /ProcSet findresource begin 12 dict begin begincmap\n";

int GetCID(const PDF::CEncoding& encoding, unsigned nCode, int nLength)
{
  return nLength == 1   ? encoding.CodeToCID(nCode)
         : nLength == 2 ? encoding.Code2ToCID(nCode)
                        : encoding.LongCodeToCID(nCode, nLength);
}

TEST(CMaps, PredefinedOnesLeadThereAndBack)
{
  if (!DOC::CStandardCmapExtractor::HasTables())
    GTEST_SKIP() << "built without the predefined CMaps";
  struct
  {
    const char* m_szName;
    unsigned m_nCode;
    int m_nLength;
    int m_nCID;
  } const aCodes[] = {{"90ms-RKSJ-H", 0x41, 1, 264},
                      {"90ms-RKSJ-H", 0x8141, 2, 634},
                      {"90ms-RKSJ-H", 0x81, 1, 65535},
                      {"90ms-RKSJ-V", 0x8141, 2, 7887},
                      {"90ms-RKSJ-V", 0x41, 1, 264},
                      {"90ms-RKSJ-H", 0x1F, 1, 231},
                      {"UniJIS-UTF16-H", 0x0041, 2, 34},
                      {"UniJIS-UTF16-H", 0xD840DC0B, 4, 13839},
                      {"UniJIS-UTF16-H", 0xD840, 2, 65535},
                      {"GBK2K-H", 0x81308130, 4, 0},
                      {"GBK2K-H", 0xB0A1, 2, 940},
                      {"CNS-EUC-H", 0x8EA2A1A1, 4, 5996},
                      {"H", 0x2121, 2, 633},
                      {"H", 0x0100, 2, 65535},
                      {"UniGB-UCS2-H", 0x4E00, 2, 4162},
                      {"UniKS-UCS2-H", 0xAC00, 2, 1086},
                      {"UniCNS-UCS2-H", 0x4E00, 2, 595},
                      {"Adobe-Japan1-2", 0x1234, 2, 0x1234},
                      {"Identity-H", 0xFFFE, 2, 0xFFFE}};
  PDF::CFontAccount account(1000, nullptr);
  for (const auto& code : aCodes)
  {
    SCOPED_TRACE(testing::Message() << code.m_szName << std::hex << code.m_nCode);
    const auto pEncoding = PDF::CreateCMapEncoding(new PDF::CNameObject(code.m_szName), account);
    EXPECT_TRUE(pEncoding->IsComplete());
    EXPECT_EQ(GetCID(*pEncoding, code.m_nCode, code.m_nLength), code.m_nCID);
    int nLength = 0;
    const std::int64_t nBack = pEncoding->FindCode(code.m_nCID, nLength);
    if (nBack >= 0)
    {
      EXPECT_EQ(GetCID(*pEncoding, static_cast<unsigned>(nBack), nLength), code.m_nCID);
    }
  }
  const auto pVertical = PDF::CreateCMapEncoding(new PDF::CNameObject("UniJIS-UCS2-V"), account);
  EXPECT_EQ(pVertical->GetWMode(), 1);
  EXPECT_STREQ(pVertical->GetOrdering(), "Japan1");
  EXPECT_FALSE(PDF::CreateCMapEncoding(new PDF::CNameObject("UniJIS-UCS2-X"), account)->IsComplete());
}

TEST(CMaps, EmbeddedOnesGoOnOthers)
{
  Support::CPdfBuilder builder;
  const int nBase =
      builder.AddStream(std::string(g_szBegin) +
                        "/WMode 1 def 2 begincodespacerange <00> <80> <8140> <FEFE> endcodespacerange\n"
                        "1 begincidrange <20> <7e> 1 endcidrange 1 begincidchar <8140> 700 endcidchar\n"
                        "1 beginnotdefrange <00> <1f> 9 endnotdefrange endcmap <21> <21> 5");
  const int nNext = builder.AddStream(
      std::string(g_szBegin) + "3 begincidrange <41> <43> 500 <8140> <8142> 800 <42> <42> 600 endcidrange",
      "/CMapName /Next/WMode 0/UseCMap " + std::to_string(nBase) + " 0 R");
  const int nLoop = builder.ReserveObject();
  builder.SetObject(nLoop, "<</Length 0/UseCMap " + std::to_string(nLoop) + " 0 R>>stream\n\nendstream");
  const int nOdd =
      builder.AddStream("1 begincidrange <00 <20> <0102030405> 7 (a) <21> <20> 5 <30> <3130> 2 endcidrange");
  Fonts::CFontDocument document(builder.Build());
  PDF::CFontAccount& account = document.GetFonts().GetAccount();
  const auto pNext = PDF::CreateCMapEncoding(document.GetObject(nNext), account);
  EXPECT_TRUE(pNext->IsComplete());
  EXPECT_STREQ(pNext->GetName(), "Next");
  EXPECT_EQ(pNext->GetWMode(), 0);
  struct
  {
    unsigned m_nCode;
    int m_nLength;
    int m_nCID;
  } const aCodes[] = {{0x40, 1, 33},       {0x41, 1, 500}, {0x42, 1, 600},     {0x43, 1, 502},
                      {0x44, 1, 37},       {0x05, 1, 9},   {0x7F, 1, 0},       {0x90, 1, 65535},
                      {0x8140, 2, 800},    {0x8150, 2, 0}, {0x9020, 2, 65535}, {0x4141, 2, 65535},
                      {0x814041, 3, 65535}};
  for (const auto& code : aCodes)
    EXPECT_EQ(GetCID(*pNext, code.m_nCode, code.m_nLength), code.m_nCID) << std::hex << code.m_nCode;
  int nLength = 0;
  EXPECT_EQ(pNext->FindCode(800, nLength), 0x8140);
  EXPECT_EQ(pNext->FindCode(700, nLength), -1) << "its code has another CID";
  EXPECT_EQ(pNext->FindCode(37, nLength), 0x44);
  EXPECT_TRUE(document.GetReports().empty());
  // Nobody knows what such fonts use.
  EXPECT_FALSE(PDF::CreateCMapEncoding(document.GetObject(nLoop), account)->IsComplete());
  EXPECT_FALSE(PDF::CreateCMapEncoding(document.GetObject(nOdd), account)->IsComplete());
  EXPECT_FALSE(document.GetReports().empty());
}

// Text of codes in the order of a fixed list.
TEST(ToUnicode, IsReadChangedAndWritten)
{
  Support::CPdfBuilder builder;
  const int nMap = builder.AddStream(
      std::string(g_szBegin) +
      "1 begincodespacerange <0000> <ffff> endcodespacerange 4 beginbfchar <0001> <0041> <0002> <0000> "
      "<0002> <00660066> "
      "<0003> <D83DDE00> endbfchar\n4 beginbfrange <0010> <0012> <0061> <0020> <0022> [<0078> <00790079> "
      "/z]\n"
      "<0011> <0014> <0041> <FFF0> <FFFF> <FFF8> endbfrange 1 begincidrange <0030> <0031> 48 endcidrange "
      "endcmap");
  const int nLong = builder.AddStream("1 beginbfchar <41> <" + std::string(4000, '0') + "> endbfchar");
  Fonts::CFontDocument document(builder.Build());
  PDF::CFontAccount& account = document.GetFonts().GetAccount();
  const BSE::CObjectPtr<PDF::CToUnicode> pRead(new PDF::CToUnicode(document.GetObject(nMap), account));
  EXPECT_TRUE(pRead->IsWritable());
  const BSE::CObjectPtr<PDF::CToUnicode> pToUnicode = pRead->Clone();
  const std::u16string sNew = u"new";
  EXPECT_TRUE(pToUnicode->AddMapping(0x00FF, 0x0101, sNew));
  EXPECT_TRUE(pToUnicode->AddMapping(0x0010, 0x0010, sNew)) << "dropped: there is another one";
  EXPECT_FALSE(pToUnicode->AddMapping(1, 0xFFFF, sNew));
  EXPECT_EQ(GetText(*pRead, 0x0100), u"");
  const std::pair<unsigned, std::u16string> aTexts[] = {
      {0, u""},       {1, u"A"},       {2, u"ff"},      {3, u"\U0001F600"},  {0x10, u"a"}, {0x11, u"b"},
      {0x13, u"C"},   {0x15, u""},     {0x20, u"x"},    {0x21, u"yy"},       {0x22, u"z"}, {0x31, u"1"},
      {0xFF, u"new"}, {0x100, u"nex"}, {0x101, u"ney"}, {0xFFF7, u"\uFFFF"}, {0xFFF8, u""}};
  for (const auto& [nCode, sText] : aTexts)
    EXPECT_EQ(GetText(*pToUnicode, nCode), sText) << std::hex << nCode;
  EXPECT_EQ(pToUnicode->GetCode(0x1F600), 3);
  EXPECT_EQ(pToUnicode->GetCode('1'), 0x31);
  // Written and read again it is the same but for what is not used.
  std::vector<unsigned char> used(0x10000, 1);
  used[2] = 0;
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  const PDF::CIdentityEncoding identity("Identity-H", false);
  ASSERT_TRUE(
      PDF::WriteToUnicode(pStream.Get(), u"ABCDEF+F\u00F6 (1)\u6F22", *pToUnicode, identity, used, false));
  std::string sCMap(static_cast<std::size_t>(pStream->GetLength()), ' ');
  pStream->Rewind();
  pStream->ReadFully(reinterpret_cast<unsigned char*>(sCMap.data()), static_cast<std::int64_t>(sCMap.size()));
  EXPECT_NE(sCMap.find("/CMapName /ABCDEF+F?\?\?1?\?-UCS def"), std::string::npos) << sCMap;
  EXPECT_NE(sCMap.find("<00FF> <00FF> <006E00650077>\n<0100> <0101> <006E00650078>"), std::string::npos)
      << sCMap;
  Support::CPdfBuilder again;
  const int nAgain = again.AddStream(sCMap);
  Fonts::CFontDocument second(again.Build());
  const BSE::CObjectPtr<PDF::CToUnicode> pAgain(
      new PDF::CToUnicode(second.GetObject(nAgain), second.GetFonts().GetAccount()));
  for (unsigned nCode = 0; nCode <= 0xFFFF; ++nCode)
    ASSERT_EQ(GetText(*pAgain, nCode), nCode == 2 ? std::u16string() : GetText(*pToUnicode, nCode)) << nCode;
  // What does not fit is not written at all.
  const BSE::CObjectPtr<PDF::CToUnicode> pLong(new PDF::CToUnicode(document.GetObject(nLong), account));
  EXPECT_FALSE(PDF::WriteToUnicode(nullptr, u"F", *pLong, identity, {}, false));
}

TEST(ToUnicode, WritesBlocksOfAHundred)
{
  PDF::CToUnicode toUnicode;
  for (unsigned i = 0; i < 101; ++i)
  {
    const auto nUnit = static_cast<char16_t>(0x4E00 + 3 * i);
    toUnicode.AddMapping(2 * i, 2 * i, {&nUnit, 1});
  }
  BSE::CMemoryStream stream;
  const auto pBytes = PDF::CreatePredefinedEncoding("WinAnsiEncoding");
  ASSERT_TRUE(PDF::WriteToUnicode(&stream, u"F", toUnicode, *pBytes, {}, false));
  std::string sCMap(static_cast<std::size_t>(stream.GetLength()), ' ');
  stream.Rewind();
  stream.ReadFully(reinterpret_cast<unsigned char*>(sCMap.data()), static_cast<std::int64_t>(sCMap.size()));
  EXPECT_NE(sCMap.find("\n<00> <FF>\n"), std::string::npos);
  EXPECT_NE(sCMap.find("\n100 beginbfrange\n<00> <00> <4E00>\n"), std::string::npos);
  EXPECT_NE(sCMap.find("endbfrange\n1 beginbfrange\n<C8> <C8> <4F2C>\nendbfrange\nendcmap"),
            std::string::npos);
}

}  // namespace
