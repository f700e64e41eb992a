// Callers' streams: the adapter on its own, and opens and saves over callbacks that misbehave.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "api/CAPIStreamAdapter.h"
#include "api/OptimizerHandle.h"
#include "tests/support/Samples.h"

namespace
{

using BSE::CCAPIStreamAdapter;
using StreamPtr = BSE::CObjectPtr<BSE::IStreamBase<unsigned char>>;

// A stream whose callbacks can be told to lie.
struct TCaller
{
  std::string sBytes = {};
  std::int64_t nPosition = 0;
  std::int64_t nMaxPart = 1 << 30;  // bytes that one call moves at most
  std::int64_t nAnswer = 0;         // in place of every count, if not 0
  int nSeekAnswer = 1;
  int nReleases = 0;

  static TCaller& Of(void* handle) { return *static_cast<TCaller*>(handle); }

  TBrevexStreamDescriptor GetDescriptor()
  {
    return {[](void* h) { return static_cast<std::int64_t>(Of(h).sBytes.size()); },
            [](void* h, std::int64_t nTo) { return Of(h).nPosition = nTo, Of(h).nSeekAnswer; },
            [](void* h) { return Of(h).nPosition; },
            [](void* h, void* pBuffer, size_t n) { return Of(h).Read(pBuffer, n); },
            [](void* h, const void* pBuffer, size_t n) { return Of(h).Write(pBuffer, n); },
            [](void* h) { ++Of(h).nReleases; },
            this};
  }

  std::int64_t Read(void* pBuffer, size_t n)
  {
    const auto nSize = static_cast<std::int64_t>(sBytes.size());
    const std::int64_t nPart = std::clamp<std::int64_t>(
        nSize - nPosition, 0, std::min<std::int64_t>(static_cast<std::int64_t>(n), nMaxPart));
    if (nPart > 0)
      std::memcpy(pBuffer, sBytes.data() + nPosition, static_cast<size_t>(nPart));
    nPosition += nPart;
    return nAnswer != 0 ? nAnswer : nPart;
  }

  std::int64_t Write(const void* pBuffer, size_t n)
  {
    const auto nPart = static_cast<size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(n), nMaxPart));
    sBytes.resize(std::max(sBytes.size(), static_cast<size_t>(nPosition) + nPart));
    std::memcpy(sBytes.data() + nPosition, pBuffer, nPart);
    nPosition += static_cast<std::int64_t>(nPart);
    return nAnswer != 0 ? nAnswer : static_cast<std::int64_t>(nPart);
  }
};

std::string ReadText(BSE::IStreamBase<unsigned char>& stream, int n)
{
  std::string sText(static_cast<size_t>(n), '\0');
  const std::int64_t nRead = stream.ReadAll(reinterpret_cast<unsigned char*>(sText.data()), n);
  sText.resize(static_cast<size_t>(std::max<std::int64_t>(nRead, 0)));
  return sText;
}

TEST(CallerStream, PositionsOfDuplicatesAreTheirOwn)
{
  TCaller caller{.sBytes = "0123456789"};
  const TBrevexStreamDescriptor descriptor = caller.GetDescriptor();
  StreamPtr pFirst(new CCAPIStreamAdapter(&descriptor, nullptr));
  EXPECT_TRUE(pFirst->Seek(2));
  StreamPtr pSecond(pFirst->Dup());
  EXPECT_EQ(ReadText(*pSecond, 3), "234");
  StreamPtr pThird(pSecond->Dup());
  EXPECT_TRUE(pSecond->Skip(2));
  EXPECT_EQ(ReadText(*pFirst, 2), "23");
  EXPECT_EQ(ReadText(*pSecond, 1), "7");
  EXPECT_EQ(ReadText(*pThird, 1), "5");
  EXPECT_TRUE(pThird->Seek(-3));
  EXPECT_EQ(ReadText(*pThird, 5), "89");
  EXPECT_TRUE(pFirst->Skip(-1));
  EXPECT_EQ(pFirst->Tell(), 10);
  EXPECT_FALSE(pFirst->Seek(-12));

  pThird.Reset();
  pFirst.Reset();
  EXPECT_EQ(caller.nReleases, 0) << "a duplicate still needs the stream";
  EXPECT_TRUE(pSecond->Rewind());
  EXPECT_EQ(ReadText(*pSecond, 1), "0");
  pSecond.Reset();
  EXPECT_EQ(caller.nReleases, 1);
}

TEST(CallerStream, MissingCallbacks)
{
  BSE::CAPIErrorHandler handler;
  unsigned char nByte = 0;
  const StreamPtr pNone(new CCAPIStreamAdapter(nullptr, &handler));
  EXPECT_FALSE(pNone->IsValid());
  EXPECT_EQ(pNone->GetLength(), -1);
  EXPECT_EQ(pNone->Tell(), -1);
  EXPECT_FALSE(pNone->IsSeekable());
  EXPECT_EQ(pNone->Dup(), nullptr);
  EXPECT_EQ(pNone->Read(&nByte, 0), 0);
  EXPECT_EQ(handler.GetLastCode(), 0U);
  EXPECT_FALSE(pNone->Seek(0));
  EXPECT_EQ(handler.GetLastCode(), BSE::g_nStreamSeekFailed);
  EXPECT_EQ(BSE::CTLSError::Get()->GetCode(), BSE::g_nStreamSeekFailed);
  EXPECT_EQ(pNone->Read(&nByte, 1), -1);
  EXPECT_EQ(handler.GetLastCode(), BSE::g_nStreamReadFailed);
  EXPECT_EQ(pNone->Write(&nByte, 1), -1);
  EXPECT_EQ(handler.GetLastCode(), BSE::g_nStreamWriteFailed);
  EXPECT_EQ(BSE::CTLSError::Get()->GetCode(), BSE::g_nStreamWriteFailed);
}

TEST(CallerStream, PositionsThatCannotBe)
{
  TCaller caller{.nPosition = std::numeric_limits<std::int64_t>::max()};
  const TBrevexStreamDescriptor descriptor = caller.GetDescriptor();
  const StreamPtr pStream(new CCAPIStreamAdapter(&descriptor, nullptr));
  EXPECT_EQ(pStream->Tell(), -1);
}

TEST(CallerStream, CountsThatCannotBe)
{
  for (const std::int64_t nAnswer : {-1, -77, 9})
  {
    BSE::CAPIErrorHandler handler;
    TCaller caller{.sBytes = "0123456789", .nAnswer = nAnswer};
    const TBrevexStreamDescriptor descriptor = caller.GetDescriptor();
    const StreamPtr pStream(new CCAPIStreamAdapter(&descriptor, &handler));
    unsigned char buffer[8] = {};
    EXPECT_EQ(pStream->Read(buffer, 8), -1) << nAnswer;
    EXPECT_EQ(handler.GetLastCode(), BSE::g_nStreamReadFailed);
    EXPECT_EQ(pStream->Write(buffer, 8), -1) << nAnswer;
    EXPECT_EQ(handler.GetLastCode(), BSE::g_nStreamWriteFailed);
  }
}

class CallerDocument : public testing::Test
{
protected:
  CallerDocument() : m_pHandle(BrevexCreateObject()) {}
  ~CallerDocument() override { BrevexDestroyObject(m_pHandle); }

  bool Open(TCaller& caller)
  {
    const TBrevexStreamDescriptor descriptor = caller.GetDescriptor();
    return BrevexOpenStreamA(m_pHandle, &descriptor, nullptr) != 0;
  }
  bool Save(const TBrevexStreamDescriptor* pDescriptor)
  {
    return BrevexSaveAsStreamA(m_pHandle, pDescriptor, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN) != 0;
  }
  void ExpectError() { EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(BrevexGetErrorCode(m_pHandle))); }

  // Open until the handle is gone.
  TCaller m_input{.sBytes = Support::MakePlainSample().sPdf};
  TBrevexHandle* m_pHandle;
};

TEST_F(CallerDocument, SmallPartsAreEnough)
{
  TCaller input{.sBytes = Support::MakePlainSample().sPdf, .nMaxPart = 7};
  ASSERT_TRUE(Open(input));
  EXPECT_EQ(BrevexGetPageCount(m_pHandle), 3);
  TCaller output{.nMaxPart = 5};
  const TBrevexStreamDescriptor descriptor = output.GetDescriptor();
  EXPECT_TRUE(Save(&descriptor));
  EXPECT_EQ(output.nReleases, 1);
  EXPECT_TRUE(BrevexOpenMemA(m_pHandle, output.sBytes.data(), output.sBytes.size(), nullptr));
  EXPECT_EQ(input.nReleases, 1) << "an open closes what was open";
  EXPECT_EQ(BrevexGetPageCount(m_pHandle), 3);
}

TEST_F(CallerDocument, OutputThatOnlyWrites)
{
  ASSERT_TRUE(Open(m_input));
  for (const bool bLinearize : {false, true})
  {
    BrevexSetLinearize(m_pHandle, bLinearize);
    TCaller output;
    TBrevexStreamDescriptor descriptor = output.GetDescriptor();
    descriptor.pfGetLength = nullptr;
    descriptor.pfSeek = nullptr;
    descriptor.pfTell = nullptr;
    descriptor.pfRead = nullptr;
    EXPECT_TRUE(Save(&descriptor)) << bLinearize;
    TCaller again{.sBytes = output.sBytes};
    const TBrevexStreamDescriptor readable = again.GetDescriptor();
    TBrevexHandle* pReader = BrevexCreateObject();
    EXPECT_TRUE(BrevexOpenStreamA(pReader, &readable, nullptr));
    EXPECT_EQ(BrevexGetErrorCode(pReader), BREVEX_STATUS_SUCCESS);
    BrevexDestroyObject(pReader);
    EXPECT_EQ(again.nReleases, 1);
  }
}

TEST_F(CallerDocument, InputThatFails)
{
  EXPECT_FALSE(BrevexOpenStreamA(m_pHandle, nullptr, nullptr));
  ExpectError();
  TCaller failing{.sBytes = Support::MakePlainSample().sPdf, .nAnswer = -1};
  EXPECT_FALSE(Open(failing));
  ExpectError();
  EXPECT_EQ(failing.nReleases, 1);
  TCaller stuck{.sBytes = Support::MakePlainSample().sPdf, .nSeekAnswer = 0};
  EXPECT_FALSE(Open(stuck));
  ExpectError();
  TCaller lengthless{.sBytes = Support::MakePlainSample().sPdf};
  TBrevexStreamDescriptor descriptor = lengthless.GetDescriptor();
  descriptor.pfGetLength = nullptr;
  if (!BrevexOpenStreamA(m_pHandle, &descriptor, nullptr))
    ExpectError();
  EXPECT_FALSE(Open(failing));
  EXPECT_EQ(lengthless.nReleases, 1);
}

TEST_F(CallerDocument, OutputThatFails)
{
  ASSERT_TRUE(Open(m_input));
  EXPECT_FALSE(Save(nullptr));
  ExpectError();
  for (const std::int64_t nAnswer : {std::int64_t{-1}, std::int64_t{1} << 40})
  {
    TCaller output{.nAnswer = nAnswer};
    const TBrevexStreamDescriptor descriptor = output.GetDescriptor();
    EXPECT_FALSE(Save(&descriptor));
    ExpectError();
    EXPECT_EQ(output.nReleases, 1);
  }
  TCaller takesNothing{.nMaxPart = 0};
  const TBrevexStreamDescriptor descriptor = takesNothing.GetDescriptor();
  EXPECT_FALSE(Save(&descriptor));
  ExpectError();
  EXPECT_TRUE(BrevexSaveInMemory(m_pHandle)) << "a failed save must not stand in the way of the next";
  EXPECT_NE(BrevexGetPdf(m_pHandle), nullptr);
}

// A caller in C++ may throw where it must not.
TEST_F(CallerDocument, ExceptionsDoNotPass)
{
  TCaller throwing{.sBytes = Support::MakePlainSample().sPdf};
  TBrevexStreamDescriptor descriptor = throwing.GetDescriptor();
  descriptor.pfRead = [](void*, void*, size_t) -> std::int64_t { throw 1; };
  EXPECT_FALSE(BrevexOpenStreamA(m_pHandle, &descriptor, nullptr));
  EXPECT_EQ(BrevexGetErrorCode(m_pHandle), BREVEX_STATUS_FATAL);
  EXPECT_EQ(throwing.nReleases, 1);
  ASSERT_TRUE(Open(m_input));
  descriptor.pfWrite = [](void*, const void*, size_t) -> std::int64_t { throw std::bad_alloc(); };
  EXPECT_FALSE(Save(&descriptor));
  EXPECT_EQ(BrevexGetErrorCode(m_pHandle), BREVEX_STATUS_OUT_OF_MEMORY);
  EXPECT_EQ(throwing.nReleases, 2);
  EXPECT_TRUE(BrevexSaveInMemory(m_pHandle));
}

TEST_F(CallerDocument, ReleaseOfTheInputComesWithItsClose)
{
  TCaller input{.sBytes = Support::MakePlainSample().sPdf};
  ASSERT_TRUE(BrevexSaveInMemory(m_pHandle) == 0);
  ASSERT_TRUE(Open(input));
  EXPECT_EQ(BrevexGetPdf(m_pHandle), nullptr) << "an open over a stream drops what was not fetched";
  EXPECT_EQ(input.nReleases, 0);
  EXPECT_TRUE(BrevexClose(m_pHandle));
  EXPECT_EQ(input.nReleases, 1);
}

}  // namespace
