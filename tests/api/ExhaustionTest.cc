// Memory that runs out at any point: the operation ends with its code or without harm, nothing is lost, and
// the end of a document and of a handle need no memory at all.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include "brevex/brevex.h"
#include "tests/support/FeatureDocument.h"
#include "tests/support/PdfBuilder.h"
#include "tests/support/TempFolder.h"

namespace
{

// While it counts, the allocation of that number fails, and with m_bForEver all that follow.
struct TAllocations
{
  bool Fails()
  {
    if (!m_bCounting)
      return false;
    ++m_nCount;
    return m_nFailing > 0 && (m_bForEver ? m_nCount >= m_nFailing : m_nCount == m_nFailing);
  }

  bool m_bCounting = false;
  bool m_bForEver = false;
  long m_nFailing = 0;
  long m_nCount = 0;
};
TAllocations g_allocations;

}  // namespace

// The linker puts these in the place of what the library calls; the last is operator new.
extern "C"
{
void* __real_malloc(std::size_t nSize);
void* __real_calloc(std::size_t nCount, std::size_t nSize);
void* __real_realloc(void* pBlock, std::size_t nSize);
void* __real__Znwm(std::size_t nSize);

void* __wrap_malloc(std::size_t nSize)
{
  return g_allocations.Fails() ? nullptr : __real_malloc(nSize);
}
void* __wrap_calloc(std::size_t nCount, std::size_t nSize)
{
  return g_allocations.Fails() ? nullptr : __real_calloc(nCount, nSize);
}
void* __wrap_realloc(void* pBlock, std::size_t nSize)
{
  return g_allocations.Fails() ? nullptr : __real_realloc(pBlock, nSize);
}
void* __wrap__Znwm(std::size_t nSize)
{
  if (g_allocations.Fails())
    throw std::bad_alloc();
  return __real__Znwm(nSize);
}
}

namespace
{

constexpr long g_nEachUntil = 300;
constexpr const char* g_szFont = "tests/fonts/installed/samples/variable.ttf";

struct TOptionSet
{
  const char* szName;
  void (*pfSet)(TBrevexHandle*);
  const char* szFile;  // null for a save to memory
  const char* szPassword;
  std::string (*pfMake)(const std::string& sFeatures);  // the input
};

void SetPlain(TBrevexHandle*) {}
void SetMax(TBrevexHandle* pHandle)
{
  BrevexSetProfile(pHandle, BREVEX_PROFILE_MAX);
  BrevexSetMergeEqualObjects(pHandle, 1);
  BrevexSetRecompressStreams(pHandle, 1);
}
void SetLinear(TBrevexHandle* pHandle)
{
  BrevexSetLinearize(pHandle, 1);
}
void SetCipher(TBrevexHandle* pHandle)
{
  BrevexSetOutputCipher(pHandle, BREVEX_CIPHER_AES_256);
}
void SetWeb(TBrevexHandle* pHandle)
{
  SetMax(pHandle);
  BrevexSetAutoLinearize(pHandle, 1);
  BrevexSetStrip(pHandle, 0xFFF);
}
void SetCompression(TBrevexHandle* pHandle)
{
  SetMax(pHandle);
  BrevexSetEffort(pHandle, 9);
  BrevexSetOutputCipher(pHandle, BREVEX_CIPHER_AS_INPUT);
}

void SetFonts(TBrevexHandle* pHandle)
{
  BrevexSetProfile(pHandle, BREVEX_PROFILE_MAX);
  BrevexSetRemoveStandardFonts(pHandle, 1);
  BrevexSetSubsetFonts(pHandle, 1);
  BrevexSetMergeEmbeddedFonts(pHandle, 1);
  BrevexSetConvertToCFF(pHandle, 1);
  BrevexEmbedFontA(pHandle, "ZapfDingbats", "");
  BrevexEmbedFontA(pHandle, "Other", g_szFont);
}

void SetPictures(TBrevexHandle* pHandle)
{
  BrevexSetContinuousCompressions(pHandle, BREVEX_COMPRESSION_FLAG_JPEG | BREVEX_COMPRESSION_FLAG_JPEG2000);
  BrevexSetForceCompressionTypes(pHandle, 1);
}

// Strong colours in turn, which are coarse as JPEG at first, and waves.
std::string MakePictureDocument(const std::string&)
{
  Support::CPdfBuilder builder;
  constexpr int nSide = 40;
  for (const bool bWaves : {false, true})
  {
    std::string sPixels;
    for (int i = 0; i < nSide * nSide; ++i)
    {
      const bool bFirst = (i + i / nSide) % 2 == 0;
      sPixels += static_cast<char>(bWaves ? i * 3 : bFirst ? 255 : 0);
      sPixels += static_cast<char>(bWaves ? i / nSide * 6 : 0);
      sPixels += static_cast<char>(bWaves ? i % nSide * 6 : bFirst ? 0 : 255);
    }
    const std::string sSide = std::to_string(nSide);
    const int nImage =
        builder.AddFlateStream(sPixels, "/Type/XObject/Subtype/Image/Width " + sSide + "/Height " + sSide +
                                            "/BitsPerComponent 8/ColorSpace/DeviceRGB");
    builder.AddPage("99 0 0 99 0 0 cm /I Do",
                    "/Resources<</XObject<</I " + std::to_string(nImage) + " 0 R>>>>");
  }
  return builder.Build();
}

std::string MakeSame(const std::string& sFeatures)
{
  return sFeatures;
}

// Two programs that are merged, by codes and by numbers, and fonts without any.
std::string MakeFontDocument(const std::string&)
{
  const std::string sFont = Support::ReadFile(g_szFont);
  EXPECT_FALSE(sFont.empty()) << "tests run in the folder of the project";
  Support::CPdfBuilder builder;
  const auto fnRef = [](int n) { return std::to_string(n) + " 0 R"; };
  std::string sFonts;
  for (const char* szEnd : {"1", "2"})
  {
    const int nFile = builder.AddFlateStream(sFont + szEnd);
    const int nDescriptor = builder.AddObject("<</Type/FontDescriptor/FontName/AAAAAA+F/Flags 32/FontFile2 " +
                                              fnRef(nFile) + ">>");
    const int nText = builder.AddFlateStream(
        "1 begincodespacerange <0000> <FFFF> endcodespacerange 1 beginbfrange <0001> <0002> <0041> "
        "endbfrange");
    sFonts += std::string("/S") + szEnd + "<</Type/Font/Subtype/TrueType/BaseFont/AAAAAA+F/FontDescriptor " +
              fnRef(nDescriptor) + "/Encoding<</Differences[65/A/B/C]>>/FirstChar 65/Widths[" + szEnd + "]>>";
    sFonts +=
        std::string("/C") + szEnd + " " +
        fnRef(builder.AddObject(
            "<</Type/Font/Subtype/Type0/BaseFont/AAAAAA+F/Encoding/Identity-H/ToUnicode " + fnRef(nText) +
            "/DescendantFonts[<</Type/Font/Subtype/CIDFontType2/BaseFont/AAAAAA+F"
            "/CIDSystemInfo<</Registry(Adobe)/Ordering(Identity)/Supplement 0>>/W[1[500 600]]"
            "/CIDToGIDMap/Identity/FontDescriptor " +
            fnRef(nDescriptor) + ">>]>>"));
  }
  for (const char* szName : {"ZapfDingbats", "Other"})
    sFonts += std::string("/") + szName[0] + " " +
              fnRef(builder.AddObject(std::string("<</Type/Font/Subtype/Type1/BaseFont/") + szName + ">>"));
  builder.AddPage(
      "BT /S1 9 Tf (A) Tj /S2 9 Tf (B) Tj /C1 9 Tf <0001> Tj /C2 9 Tf <0002> Tj /Z 9 Tf (!\"#) Tj "
      "/O 9 Tf (AB) Tj ET",
      "/Resources<</Font<<" + sFonts + ">>>>");
  return builder.Build();
}

// Encrypted, with its objects in object streams, and a table that is not where the file says.
std::string MakeOddDocument(const std::string& sPdf)
{
  TBrevexHandle* pHandle = BrevexCreateObject();
  BrevexSetProfile(pHandle, BREVEX_PROFILE_MAX);
  BrevexSetOutputCipher(pHandle, BREVEX_CIPHER_AES_128);
  BrevexSetMinimumVersion(pHandle, 1, 5);
  std::string sOdd;
  if (BrevexOpenMemA(pHandle, sPdf.data(), sPdf.size(), nullptr) != 0)
  {
    const Support::CTempFolder folder;
    const std::string sFile = folder / "odd.pdf";
    BrevexSaveAsA(pHandle, sFile.c_str(), "user", nullptr, BREVEX_PERMIT_ALL);
    sOdd = Support::ReadFile(sFile);
  }
  BrevexDestroyObject(pHandle);
  const size_t nStart = sOdd.rfind("startxref");
  return nStart == std::string::npos ? "" : sOdd.replace(nStart + 10, 1, "9");
}

// Open, save, close and destroy with the allocation of that number failing; true if there was one.
bool RunWith(const std::string& sPdf, const TOptionSet& set, const std::string& sFile, long nFailing,
             bool bForEver, bool* pSaved = nullptr)
{
  TBrevexHandle* pHandle = BrevexCreateObject();
  set.pfSet(pHandle);
  g_allocations = {true, bForEver, nFailing, 0};
  const bool bOpen = BrevexOpenMemA(pHandle, sPdf.data(), sPdf.size(), "user") != 0;
  bool bDone = bOpen;
  if (bOpen)
  {
    const int nPermissions = set.szPassword ? BREVEX_PERMIT_ALL : BREVEX_PERMISSIONS_PLAIN;
    bDone = set.szFile ? BrevexSaveAsA(pHandle, sFile.c_str(), set.szPassword, nullptr, nPermissions) != 0
                       : BrevexSaveInMemory(pHandle) != 0;
  }
  if (pSaved)
    *pSaved = bDone;
  const std::uint32_t nCode = BrevexGetErrorCode(pHandle);
  const long nOperations = g_allocations.m_nCount;
  BrevexClose(pHandle);
  BrevexDestroyObject(pHandle);
  g_allocations.m_bCounting = false;
  EXPECT_EQ(g_allocations.m_nCount, nOperations) << "an end takes memory";
  const bool bFailed = nFailing > 0 && nOperations >= nFailing;
  // A document that there was no memory to linearize, as the profile for the web asks as well, is delivered
  // as it was.
  const bool bLinear = set.pfSet == SetLinear || set.pfSet == SetWeb;
  const bool bPlain = nCode == BREVEX_STATUS_LINEARIZE_FAILED && bLinear;
  EXPECT_TRUE(bDone || bPlain || nCode == BREVEX_STATUS_OUT_OF_MEMORY) << std::hex << nCode;
  EXPECT_TRUE(bDone || bFailed);
  return bFailed;
}

TEST(Exhaustion, EndsEveryOperationWithoutHarm)
{
  const TOptionSet sets[] = {{"plain", SetPlain, nullptr, nullptr, MakeSame},
                             {"file", SetPlain, "out.pdf", nullptr, MakeSame},
                             {"max", SetMax, nullptr, nullptr, MakeSame},
                             {"encrypted", SetCipher, "out.pdf", "user", MakeSame},
                             {"linearized", SetLinear, nullptr, nullptr, MakeSame},
                             {"linearized file", SetLinear, "out.pdf", nullptr, MakeSame},
                             {"stripped", SetWeb, nullptr, nullptr, MakeSame},
                             {"fonts", SetFonts, nullptr, nullptr, MakeFontDocument},
                             {"pictures", SetPictures, nullptr, nullptr, MakePictureDocument},
                             {"odd", SetPlain, nullptr, nullptr, MakeOddDocument},
                             {"odd max", SetCompression, "out.pdf", nullptr, MakeOddDocument},
                             {"odd linearized", SetLinear, "out.pdf", "user", MakeOddDocument}};
  const std::string sFeatures = Support::MakeFeatureDocument();
  const Support::CTempFolder folder;
  const Support::CTempFolder home;
  setenv("HOME", home.GetPath().c_str(), 1);
  setenv("PDFFONTDIR", home.GetPath().c_str(), 1);
  BrevexInitialize();
  for (const TOptionSet& set : sets)
  {
    const std::string sPdf = set.pfMake(sFeatures);
    const std::string sFile = set.szFile ? std::string(folder / set.szFile) : "";
    EXPECT_FALSE(RunWith(sPdf, set, sFile, 0, false));
    const long nAll = g_allocations.m_nCount;
    for (const bool bForEver : {false, true})
    {
      for (long k = 1; k <= nAll && !HasFailure(); k += k < g_nEachUntil ? 1 : 1 + nAll / 150)
      {
        SCOPED_TRACE(std::string(set.szName) + ", allocation " + std::to_string(k) + " of " +
                     std::to_string(nAll) + (bForEver ? " and all that follow" : ""));
        RunWith(sPdf, set, sFile, k, bForEver);
      }
    }
    EXPECT_LE(folder.CountEntries(), 1) << "a temporary file is left";
  }
  BrevexUnInitialize();
}

// The samples of the image in a file that is written without object streams.
std::string FindSamples(const std::string& sPdf)
{
  const size_t nStart = sPdf.find("stream", sPdf.find("/Image"));
  return nStart == std::string::npos ? "" : sPdf.substr(nStart, sPdf.find("endstream", nStart) - nStart);
}

// Colours that are converted by a profile go by no other one for a lack of memory.
TEST(Exhaustion, LeavesNoOtherColors)
{
  Support::CPdfBuilder builder;
  std::string sPixels;
  for (int i = 0; i < 256 * 3; ++i)
    sPixels += static_cast<char>(i * 37);
  const int nImage = builder.AddStream(
      sPixels, "/Type/XObject/Subtype/Image/Width 16/Height 16/BitsPerComponent 8/ColorSpace/DeviceRGB");
  builder.AddPage("9 0 0 9 0 0 cm /I Do", "/Resources<</XObject<</I " + std::to_string(nImage) + " 0 R>>>>");
  const std::string sPdf = builder.Build();
  const Support::CTempFolder folder;
  const std::string sFile = folder / "out.pdf";
  const auto fnSet = [](TBrevexHandle* pHandle)
  {
    BrevexSetColorConversion(pHandle, BREVEX_COLOR_CONVERSION_GRAY);
    BrevexSetContinuousCompressions(pHandle, BREVEX_COMPRESSION_FLAG_RAW);
  };
  const TOptionSet set = {"colours", fnSet, "out.pdf", nullptr, MakeSame};
  BrevexInitialize();
  EXPECT_FALSE(RunWith(sPdf, set, sFile, 0, false));
  const long nAll = g_allocations.m_nCount;
  const std::string sWanted = FindSamples(Support::ReadFile(sFile));
  ASSERT_NE(sWanted, "");
  for (long k = 1; k <= nAll && !HasFailure(); ++k)
  {
    SCOPED_TRACE("allocation " + std::to_string(k) + " of " + std::to_string(nAll));
    bool bSaved = false;
    RunWith(sPdf, set, sFile, k, false, &bSaved);
    if (!bSaved)
      continue;
    const std::string sFound = FindSamples(Support::ReadFile(sFile));
    // An encoding that fails leaves the image as it was.
    EXPECT_TRUE(sFound == sWanted || sFound.find(sPixels) != std::string::npos);
  }
  BrevexUnInitialize();
}

}  // namespace
