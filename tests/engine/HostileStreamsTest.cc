// Streams that make work out of all proportion to their file are left alone, and nothing is merged for them.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "base/MemoryStream.h"
#include "engine/EqualObjectMerger.h"
#include "engine/StreamDecoder.h"
#include "tests/engine/SavedDocument.h"
#include "tests/support/Deflate.h"
#include "tests/support/PdfBuilder.h"

namespace
{

using Engine::CInput;

std::string Format(const char* szFormat, std::size_t n)
{
  char text[64];
  std::snprintf(text, sizeof text, szFormat, n);
  return text;
}

TEST(HostileStreams, BombsInBombsAreDecodedForAWhile)
{
  const std::string sInner = Support::Deflate(std::string(60 << 20, '\0'));
  Support::CPdfBuilder builder;
  const int nBomb = builder.AddStream(Support::Deflate(sInner), "/Filter [/FlateDecode /FlateDecode]");
  builder.AddPage("q");
  CInput input(builder.Build());
  const PDF::CObjectPtr bomb = input.GetFile().GetObject(nBomb, -1);
  PDF::CStreamDecoder decoder;
  EXPECT_EQ(decoder.Decode(*bomb), PDF::CStreamDecoder::TResult::Decoded);
  PDF::CStreamDecoder::TResult nResult = PDF::CStreamDecoder::TResult::Decoded;
  for (int i = 0; i < 25 && nResult == PDF::CStreamDecoder::TResult::Decoded; ++i)
    nResult = decoder.Decode(*bomb);
  EXPECT_EQ(nResult, PDF::CStreamDecoder::TResult::TooLarge);
}

// Each stream holds the headers of all that follow, and ends where they end. Two equal ones after them are
// not even looked at: 16 times the file is enough.
TEST(HostileStreams, SharedBytesAreReadAFewTimes)
{
  constexpr std::size_t nCount = 200;
  const std::string sTail(1 << 20, 'x');
  std::string sPdf = "%PDF-1.7\n";
  std::string sTable = "0000000000 65535 f \n";
  const auto begin = [&] { sTable += Format("%010zu 00000 n \n", sPdf.size()); };
  begin();
  sPdf += "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n";
  begin();
  sPdf += "2 0 obj\n<< /Type /Pages /Kids [3 0 R] /Count 1 >>\nendobj\n";
  begin();
  sPdf += "3 0 obj\n<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] /Data [";
  for (std::size_t i = 0; i < nCount + 2; ++i)
    sPdf += Format("%zu 0 R ", 4 + i);
  sPdf += "] >>\nendobj\n";
  constexpr std::size_t nHeader = 39;
  for (std::size_t i = 0; i < nCount; ++i)
  {
    begin();
    const std::string sHeader = Format("%03zu 0 obj\n", 4 + i) +
                                Format("<< /Length %07zu >>\n", (nCount - 1 - i) * nHeader + sTail.size()) +
                                "stream\n";
    ASSERT_EQ(sHeader.size(), nHeader);
    sPdf += sHeader;
  }
  sPdf += sTail + "\nendstream\nendobj\n";
  for (std::size_t i = nCount; i < nCount + 2; ++i)
  {
    begin();
    sPdf += Format("%zu 0 obj\n", 4 + i) + Format("<< /Length %zu >>\nstream\n", sTail.size()) + sTail +
            "\nendstream\nendobj\n";
  }
  const std::size_t nTable = sPdf.size();
  sPdf += Format("xref\n0 %zu\n", nCount + 6) + sTable;
  sPdf += Format("trailer\n<< /Size %zu /Root 1 0 R >>\n", nCount + 6) +
          Format("startxref\n%zu\n%%%%EOF\n", nTable);

  CInput input(sPdf);
  PDF::CStandIns standIns;
  PDF::CDecodedStreams decoded;
  PDF::MergeEqualObjects(input.GetFile(), false, standIns, decoded);
  constexpr int nFirst = static_cast<int>(4 + nCount);
  EXPECT_TRUE(input.GetFile().GetObject(nFirst, -1).IsStream());
  EXPECT_NE(standIns.Get(nFirst), standIns.Get(nFirst + 1));
}

}  // namespace
