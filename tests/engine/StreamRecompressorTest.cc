// Streams that are compressed anew in a whole save: the same data, never more bytes, and hands off what is
// damaged.

#include <gtest/gtest.h>

#include <string>

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"
#include "pdf/FilterFactory.h"
#include "tests/engine/SmallFile.h"
#include "tests/support/Deflate.h"
#include "tests/support/PdfBuilder.h"

namespace
{

using Engine::MakeStream;
using Engine::ReadAll;
using Support::CPdfBuilder;

struct TStream
{
  std::string sEncoded;
  std::string sDecoded;
  std::string sFilters;
  int nPredictor = 0;
};

// The stream that the page's private data hold, after a save.
TStream Recompress(const std::string& sBytes, const std::string& sEntries, int nEffort = 6)
{
  CPdfBuilder builder;
  const int nStream = builder.AddStream(sBytes, sEntries);
  builder.AddPage("q", "/Data " + std::to_string(nStream) + " 0 R");
  BSE::CErrorHandler errors;
  PDF::COptimizer optimizer(&errors);
  optimizer.GetOptions().m_bRecompressStreams = true;
  optimizer.GetOptions().m_nEffort = nEffort;
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  EXPECT_TRUE(optimizer.Open(MakeStream(builder.Build()).Get(), nullptr));
  EXPECT_TRUE(optimizer.Save(pOutput.Get(), {}));
  pOutput->Rewind();
  PDF::CDocument result(&errors);
  EXPECT_TRUE(result.Open(pOutput.Get(), nullptr));
  const PDF::CObjectPtr stream = result.GetPage(0)["Data"];
  TStream found;
  found.sEncoded = ReadAll(stream.GetStream().Get());
  found.sDecoded = ReadAll(stream.GetDecodedStream().Get());
  for (int i = 0; i < PDF::GetFilterCount(stream.Get()); ++i)
    found.sFilters += std::string(i > 0 ? " " : "") + PDF::GetFilterName(stream.Get(), i).GetNameValue();
  found.nPredictor = static_cast<int>(stream["DecodeParms"]["Predictor"].GetIntegerValue());
  return found;
}

std::string MakeText()
{
  std::string sText;
  for (int i = 0; i < 500; ++i)
    sText +=
        "BT /F1 " + std::to_string(i % 17) + " Tf (word " + std::to_string(i * 7919 % 1000) + ") Tj ET\n";
  return sText;
}

std::string ToHex(const std::string& sBytes)
{
  std::string sHex;
  for (const unsigned char n : sBytes)
    sHex += {"0123456789ABCDEF"[n >> 4], "0123456789ABCDEF"[n & 15]};
  return sHex + ">";
}

// Rows of a gradient with the PNG filter "up", which leaves next to nothing.
std::string MakeRows(bool bFiltered)
{
  std::string sRows;
  for (int nRow = 0; nRow < 64; ++nRow)
  {
    if (bFiltered)
      sRows += '\2';
    for (int n = 0; n < 64; ++n)
      sRows += static_cast<char>(bFiltered && nRow > 0 ? 3 : n * n + 3 * nRow);
  }
  return sRows;
}

// A clear code before every hundred bytes, and no end code.
std::string MakeUnendedLZW(const std::string& sBytes)
{
  std::string sCodes;
  unsigned nBits = 0;
  int nCount = 0;
  const auto add = [&](unsigned nCode)
  {
    nBits = nBits << 9 | nCode;
    for (nCount += 9; nCount >= 8; nCount -= 8)
      sCodes += static_cast<char>(nBits >> (nCount - 8));
  };
  for (size_t i = 0; i < sBytes.size(); ++i)
  {
    if (i % 100 == 0)
      add(256);
    add(static_cast<unsigned char>(sBytes[i]));
  }
  if (nCount > 0)
    sCodes += static_cast<char>(nBits << (8 - nCount));
  return sCodes;
}

TEST(StreamRecompressor, KeepsDataAndTakesTheSmallest)
{
  const std::string sText = MakeText();
  const std::string sFlate = Support::Deflate(sText);
  const struct
  {
    const char* szName;
    std::string sBytes;
    std::string sEntries;
  } cases[] = {
      {"plain", sText, ""},
      {"Flate", sFlate, "/Filter /FlateDecode"},
      {"hexadecimal", ToHex(sText), "/Filter /ASCIIHexDecode"},
      {"hexadecimal Flate", ToHex(sFlate), "/Filter [/ASCIIHexDecode /FlateDecode] /DecodeParms [null null]"},
      {"garbage behind", sFlate + "\r\ngarbage", "/Filter /FlateDecode"},
      {"LZW without an end", MakeUnendedLZW(sText), "/Filter /LZWDecode"},
  };
  for (const auto& c : cases)
    for (const int nEffort : {1, 6, 9})
    {
      const TStream result = Recompress(c.sBytes, c.sEntries, nEffort);
      EXPECT_EQ(result.sDecoded, sText) << c.szName;
      EXPECT_EQ(result.sFilters, "FlateDecode") << c.szName;
      EXPECT_LE(result.sEncoded.size(), c.sBytes.size()) << c.szName;
    }
  EXPECT_LT(Recompress(sText, "", 9).sEncoded.size(), Recompress(sText, "", 1).sEncoded.size());
}

TEST(StreamRecompressor, PredictorIsKeptOrDropped)
{
  const std::string sParms = "/Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns 64 >>";
  const TStream kept = Recompress(Support::Deflate(MakeRows(true)) + "x", sParms);
  EXPECT_EQ(kept.nPredictor, 12);
  EXPECT_EQ(kept.sDecoded, MakeRows(false));
  // Rows of zeros, whose filters alone differ.
  std::string sTags;
  for (unsigned nRow = 0, nRandom = 1; nRow < 300; ++nRow, nRandom = nRandom * 1103515245U + 12345U)
    sTags += static_cast<char>(nRandom >> 16 & 3U) + std::string(64, '\0');
  const TStream dropped = Recompress(Support::Deflate(sTags), sParms);
  EXPECT_EQ(dropped.nPredictor, 0);
  EXPECT_EQ(dropped.sDecoded, std::string(300 * 64, '\0'));
  // Rows whose last byte has bits to spare, which readers fill differently.
  const TStream spare = Recompress(Support::Deflate(std::string(500, '\1')) + "x",
                                   "/Filter /FlateDecode /DecodeParms << /Predictor 2 /BitsPerComponent 1 "
                                   "/Colors 3 /Columns 1 >>");
  EXPECT_EQ(spare.nPredictor, 2);
}

TEST(StreamRecompressor, HandsOff)
{
  const std::string sFlate = Support::Deflate(MakeText());
  std::string sWrongSum = sFlate;
  sWrongSum.back() = static_cast<char>(sWrongSum.back() ^ 1);
  // Whatever is done to them makes them shorter.
  const std::string sRows = Support::Deflate(MakeRows(true)) + std::string(500, 'x');
  const struct
  {
    const char* szName;
    std::string sBytes;
    const char* szEntries;
  } cases[] = {
      {"cut off", sFlate.substr(0, sFlate.size() / 2), "/Filter /FlateDecode"},
      {"wrong checksum", sWrongSum, "/Filter /FlateDecode"},
      {"run cut off", std::string(200, '\x7f'), "/Filter /RunLengthDecode"},
      {"control character", std::string("6162\x01") + ToHex(MakeText()), "/Filter /ASCIIHexDecode"},
      {"no end mark", std::string(500, '6'), "/Filter /ASCIIHexDecode"},
      {"no clear code", std::string(2, '\0') + std::string("\1\2\3\4"), "/Filter /LZWDecode"},
      {"parameters of an inline image", sRows, "/Filter /FlateDecode /DP << /Predictor 12 /Columns 64 >>"},
      {"a dictionary for a list", sRows,
       "/Filter [/FlateDecode] /DecodeParms << /Predictor 12 /Columns 64 >>"},
      {"a list for a filter", sRows, "/Filter /FlateDecode /DecodeParms [<< /Predictor 12 /Columns 64 >>]"},
      {"no filter's name", MakeText(), "/Filter (FlateDecode)"},
      {"no predictor", sRows, "/Filter /FlateDecode /DecodeParms << /Predictor 7 /Columns 64 >>"},
      {"wild rows", sRows, "/Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns 9999999999 >>"},
      {"image codec", MakeText(), "/Filter /DCTDecode"},
      {"image codec below", ToHex(MakeText()), "/Filter [/ASCIIHexDecode /CCITTFaxDecode]"},
      {"data elsewhere", MakeText(), "/F (file.txt)"},
      {"nothing to gain", "q", ""},
      {"metadata", MakeText(), "/Type /Metadata /Subtype /XML"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Recompress(c.sBytes, c.szEntries).sEncoded, c.sBytes) << c.szName;
}

TEST(StreamRecompressor, MetadataLosesItsPadding)
{
  const std::string sHead = "<?xpacket begin=\"\"?><x:xmpmeta/>";
  const std::string sTail = "<?xpacket end=\"w\"?>";
  EXPECT_EQ(Recompress(sHead + "\n" + std::string(2000, ' ') + "\n" + sTail, "/Type /Metadata").sEncoded,
            sHead + "\n" + sTail);
}

// The text of an object that is begun must not be broken by another that its filters lead to.
TEST(StreamRecompressor, FiltersBehindReferences)
{
  CPdfBuilder builder;
  builder.SetXRefForm(Support::TXRefForm::Stream).SetObjectStreams(50);
  const int nFilter = builder.AddObject("[/FlateDecode]");
  const int nParms = builder.AddObject("[<</Predictor 1>>]");
  const int nData = builder.AddStream(
      Support::Deflate(MakeText()),
      "/Filter " + std::to_string(nFilter) + " 0 R /DecodeParms " + std::to_string(nParms) + " 0 R");
  builder.AddPage("q", "/Data " + std::to_string(nData) + " 0 R");
  BSE::CErrorHandler errors;
  PDF::COptimizer optimizer(&errors);
  optimizer.GetOptions().m_bRecompressStreams = true;
  optimizer.GetOptions().m_bMergeEqualObjects = true;
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  ASSERT_TRUE(optimizer.Open(MakeStream(builder.Build()).Get(), nullptr));
  ASSERT_TRUE(optimizer.Save(pOutput.Get(), {}));
  pOutput->Rewind();
  PDF::CDocument result(&errors);
  ASSERT_TRUE(result.Open(pOutput.Get(), nullptr));
  EXPECT_EQ(ReadAll(result.GetPage(0)["Data"].GetDecodedStream().Get()), MakeText());
  EXPECT_EQ(errors.GetLastCode(), 0U);
}

}  // namespace
