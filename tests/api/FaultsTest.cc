// Reads, writes and the closing of files that fail at any point: no save succeeds with less than a whole
// document, and the code is that of the failure.

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "brevex/brevex.h"
#include "tests/support/FeatureDocument.h"
#include "tests/support/PdfBuilder.h"
#include "tests/support/TempFolder.h"

namespace
{

int g_nClosing = 0;  // the error of closing files, 0 for none

}  // namespace

// The linker puts it in the place of what the library calls.
extern "C"
{
int __real_close(int fd);
int __wrap_close(int fd)
{
  const int nResult = __real_close(fd);
  if (g_nClosing == 0)
    return nResult;
  errno = g_nClosing;
  return -1;
}
}

namespace
{

// A stream of a caller that fails from one call on, or at that call alone.
struct TStream
{
  std::string sBytes = {};
  std::int64_t nPosition = 0;
  long nFailing = 0;
  bool bOnce = false;
  long nCalls = 0;

  static TStream& Of(void* handle) { return *static_cast<TStream*>(handle); }

  bool Fails()
  {
    ++nCalls;
    return nFailing > 0 && (bOnce ? nCalls == nFailing : nCalls >= nFailing);
  }
  std::int64_t Read(void* pBuffer, size_t n)
  {
    if (Fails())
      return -1;
    const auto nStart = std::min(static_cast<size_t>(nPosition), sBytes.size());
    const size_t nPart = std::min(n, sBytes.size() - nStart);
    std::memcpy(pBuffer, sBytes.data() + nStart, nPart);
    nPosition += static_cast<std::int64_t>(nPart);
    return static_cast<std::int64_t>(nPart);
  }
  std::int64_t Write(const void* pBuffer, size_t n)
  {
    if (Fails())
      return -1;
    sBytes.resize(std::max(sBytes.size(), static_cast<size_t>(nPosition) + n));
    std::memcpy(sBytes.data() + nPosition, pBuffer, n);
    nPosition += static_cast<std::int64_t>(n);
    return static_cast<std::int64_t>(n);
  }
  TBrevexStreamDescriptor GetDescriptor()
  {
    return {[](void* h) { return static_cast<std::int64_t>(Of(h).sBytes.size()); },
            [](void* h, std::int64_t nTo) { return Of(h).nPosition = nTo, 1; },
            [](void* h) { return Of(h).nPosition; },
            [](void* h, void* pBuffer, size_t n) { return Of(h).Read(pBuffer, n); },
            [](void* h, const void* pBuffer, size_t n) { return Of(h).Write(pBuffer, n); },
            nullptr,
            this};
  }
};

// More than is read at once, in streams of objects, plain data and Flate.
std::string MakeDocument()
{
  Support::CPdfBuilder builder;
  builder.SetXRefForm(Support::TXRefForm::Stream).SetObjectStreams(4);
  std::uint32_t nRandom = 1;
  for (int i = 0; i < 24; ++i)
  {
    std::string sDigits;
    for (int k = 0; k < 6000; ++k)
    {
      nRandom = nRandom * 1664525U + 1013904223U;
      sDigits += "0123456789ABCDEF"[nRandom >> 28];
    }
    const int nData = builder.AddFlateStream(sDigits);
    builder.AddPage("0 0 m % " + sDigits, "/Data " + std::to_string(nData) + " 0 R");
  }
  return builder.Build();
}

struct TWay
{
  const char* szName;
  void (*pfSet)(TBrevexHandle*);
  const char* szPassword;
};

const TWay g_ways[] = {
    {"plain", [](TBrevexHandle*) {}, nullptr},
    {"max",
     [](TBrevexHandle* pHandle)
     {
       BrevexSetProfile(pHandle, BREVEX_PROFILE_MAX);
       BrevexSetMergeEqualObjects(pHandle, 1);
       BrevexSetRecompressStreams(pHandle, 1);
     },
     nullptr},
    {"encrypted", [](TBrevexHandle* pHandle) { BrevexSetOutputCipher(pHandle, BREVEX_CIPHER_AES_256); },
     "user"},
    {"linearized", [](TBrevexHandle* pHandle) { BrevexSetLinearize(pHandle, 1); }, nullptr}};

struct TResult
{
  bool bSaved = false;
  std::uint32_t nCode = 0;
  std::uint64_t nLosses = 0;
};

TResult Save(const TWay& way, TStream& input, TStream& output)
{
  TBrevexHandle* pHandle = BrevexCreateObject();
  way.pfSet(pHandle);
  const TBrevexStreamDescriptor from = input.GetDescriptor();
  const TBrevexStreamDescriptor to = output.GetDescriptor();
  TResult result;
  result.bSaved = BrevexOpenStreamA(pHandle, &from, "user") != 0 &&
                  BrevexSaveAsStreamA(pHandle, &to, way.szPassword, nullptr,
                                      way.szPassword ? BREVEX_PERMIT_ALL : BREVEX_PERMISSIONS_PLAIN) != 0;
  result.nCode = BrevexGetErrorCode(pHandle);
  result.nLosses = BrevexGetLossCount(pHandle);
  BrevexDestroyObject(pHandle);
  return result;
}

// Identifiers and dates differ in the bytes that they take.
void ExpectWhole(const TResult& result, const std::string& sBytes, const std::string& sWhole)
{
  EXPECT_EQ(result.nLosses, 0U);
  EXPECT_NEAR(static_cast<double>(sBytes.size()), static_cast<double>(sWhole.size()), 24);
}

void FailEverywhere(const TWay& way, const std::string& sPdf, bool bRead, bool bOnce)
{
  TStream soundInput{sPdf};
  TStream whole;
  ASSERT_TRUE(Save(way, soundInput, whole).bSaved);
  const long nAll = bRead ? soundInput.nCalls : whole.nCalls;
  for (long k = 1; k <= nAll; k += 1 + nAll / 60)
  {
    SCOPED_TRACE(std::string(way.szName) + (bRead ? ", read " : ", write ") + std::to_string(k) +
                 (bOnce ? " alone" : " and all that follow"));
    TStream input{sPdf};
    TStream output;
    (bRead ? input : output).nFailing = k;
    input.bOnce = output.bOnce = bOnce;
    const TResult result = Save(way, input, output);
    if (result.bSaved)
    {
      // What was only read ahead, or again, may have been had elsewhere.
      EXPECT_TRUE(bRead);
      ExpectWhole(result, output.sBytes, whole.sBytes);
    }
    else if (!bRead && bOnce && result.nCode == BREVEX_STATUS_LINEARIZE_FAILED)
      EXPECT_FALSE(output.sBytes.empty()) << "the plain document stays";
    else
      EXPECT_EQ(result.nCode, bRead ? BREVEX_STATUS_READ_FAILED : BREVEX_STATUS_WRITE_FAILED);
  }
}

TEST(Faults, StreamsThatFailAnywhereFailTheSave)
{
  BrevexInitialize();
  const std::string sPdf = MakeDocument();
  // The same after a cipher.
  TStream plain{sPdf};
  TStream encrypted;
  ASSERT_TRUE(Save(g_ways[2], plain, encrypted).bSaved);
  for (const TWay& way : g_ways)
    for (const bool bRead : {true, false})
      for (const bool bOnce : {true, false})
        for (const std::string* pPdf : {&sPdf, &std::as_const(encrypted.sBytes)})
          FailEverywhere(way, *pPdf, bRead, bOnce);
  BrevexUnInitialize();
}

// What is not listed for a failure must not be taken for what is not there.
TEST(Faults, StreamsThatFailAnywhereFailTheListing)
{
  BrevexInitialize();
  Support::CPdfBuilder builder;
  for (int i = 0; i < 8; ++i)
  {
    const int nImage = builder.AddStream(
        std::string(40000, 'x'),
        "/Type/XObject/Subtype/Image/Width 200/Height 200/BitsPerComponent 8/ColorSpace/DeviceGray");
    builder.AddPage("/I Do", "/Resources<</XObject<</I " + std::to_string(nImage) + " 0 R>>>>");
  }
  const std::string sPdf = builder.Build();
  const Support::CTempFolder folder;
  const std::string sPath = folder / "list.txt";
  const auto list = [&](TStream input)
  {
    TBrevexHandle* pHandle = BrevexCreateObject();
    const TBrevexStreamDescriptor from = input.GetDescriptor();
    const bool bListed =
        BrevexOpenStreamA(pHandle, &from, nullptr) != 0 && BrevexListImagesA(pHandle, sPath.c_str()) != 0;
    EXPECT_TRUE(bListed || BrevexGetErrorCode(pHandle) == BREVEX_STATUS_READ_FAILED);
    BrevexDestroyObject(pHandle);
    return std::pair(bListed, input.nCalls);
  };
  const auto [bSound, nAll] = list({sPdf});
  ASSERT_TRUE(bSound);
  const std::string sWhole = Support::ReadFile(sPath);
  for (long k = 1; k <= nAll; ++k)
  {
    SCOPED_TRACE(k);
    TStream input{sPdf};
    input.nFailing = k;
    if (list(input).first)
    {
      EXPECT_EQ(Support::ReadFile(sPath), sWhole);
    }
  }
  BrevexUnInitialize();
}

TEST(Faults, ClosingThatLosesDataFailsTheSave)
{
  const Support::CTempFolder folder;
  const std::string sPdf = Support::MakeFeatureDocument();
  BrevexInitialize();
  TBrevexHandle* pHandle = BrevexCreateObject();
  ASSERT_TRUE(BrevexOpenMemA(pHandle, sPdf.data(), sPdf.size(), nullptr));
  const std::string sFile = folder / "out.pdf";
  g_nClosing = EDQUOT;
  const int bSaved = BrevexSaveAsA(pHandle, sFile.c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN);
  g_nClosing = 0;
  EXPECT_FALSE(bSaved);
  EXPECT_EQ(BrevexGetErrorCode(pHandle), static_cast<std::uint32_t>(EDQUOT));
  EXPECT_TRUE(BrevexSaveAsA(pHandle, sFile.c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  BrevexDestroyObject(pHandle);
  BrevexUnInitialize();
}

}  // namespace
