#include "base/BufferedInputStream.h"
#include "base/ByteOrderReader.h"
#include "base/CharsetReader.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "base/TextStream.h"
#include "base/Unicode.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace BSE
{
namespace
{

using namespace std::string_literals;

CObjectPtr<IByteStream> Open(std::string_view text)
{
  return CObjectPtr<IByteStream>(new CMemoryStream(text.data(), std::ssize(text)));
}

// Reads to the end in pieces of nPiece units.
template <class T>
std::basic_string<T> ReadAll(IStreamBase<T>& stream, std::int64_t nPiece)
{
  std::basic_string<T> text;
  std::vector<T> buffer(static_cast<std::size_t>(nPiece));
  while (true)
  {
    const std::int64_t nRead = stream.Read(buffer.data(), nPiece);
    if (nRead <= 0)
      return text;
    text.append(buffer.data(), static_cast<std::size_t>(nRead));
  }
}

std::string ReadText(IStreamBase<unsigned char>& stream, std::int64_t nPiece)
{
  const std::basic_string<unsigned char> bytes = ReadAll(stream, nPiece);
  return std::string(bytes.begin(), bytes.end());
}

const std::string g_szMixed = "A\u00e9\u20ac\U0001F600\u07ff\u0800\uffff\U00010000\U0010FFFF."s;
const std::wstring g_szMixedWide = L"A\u00e9\u20ac\U0001F600\u07ff\u0800\uffff\U00010000\U0010FFFF."s;

TEST(Unicode, JudgesSequencesStrictly)
{
  const std::string invalid[] = {"\x80",         "\xC0\x80",         "\xC1\xBF",         "\xE0\x9F\xBF",
                                 "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
                                 "\xFF",         "\xE2\x28\xA1"};
  for (const std::string& text : invalid)
  {
    int nUnits = 0;
    EXPECT_EQ(DecodeCharacter(std::span<const char>(text), nUnits), g_nInvalidCharacter);
    EXPECT_GE(nUnits, 1);
    CStr16 result;
    EXPECT_FALSE(ConvertText(text.c_str(), result));
    EXPECT_TRUE(ConvertText(("x" + text).c_str(), result, TInvalidText::Replace));
    EXPECT_EQ(result[1], 0xFFFD);
  }
  for (std::size_t nLength = 1; nLength < 4; ++nLength)
  {
    int nUnits = 0;
    EXPECT_EQ(DecodeCharacter(std::span<const char>("\xF0\x9F\x98\x80", nLength), nUnits),
              g_nIncompleteCharacter);
  }
}

TEST(Unicode, ConvertsInTwoCalls)
{
  const std::span<const char> text(g_szMixed);
  const int nSize = ConvertText<char16_t, char>(text, nullptr, 0);
  std::u16string wide(static_cast<std::size_t>(nSize), u'?');
  EXPECT_EQ((ConvertText<char16_t, char>(text, wide.data(), nSize)), nSize);
  EXPECT_EQ(wide, u"A\u00e9\u20ac\U0001F600\u07ff\u0800\uffff\U00010000\U0010FFFF."s + u'\0');
  // Only whole characters fit: the fourth takes two units.
  EXPECT_EQ((ConvertText<char16_t, char>(text, wide.data(), 5)), 4);
  EXPECT_EQ(wide[3], 0);
}

TEST(CharsetReader, RoundTripsInAnyPieces)
{
  std::string text;
  std::wstring wide;
  while (text.size() < 10000)
  {
    text += g_szMixed;
    wide += g_szMixedWide;
  }
  for (const std::int64_t nPiece : {1, 3, 5, 4096})
  {
    CUtf8DecodeReader decoder(Open(text).Get());
    EXPECT_EQ(ReadAll<wchar_t>(decoder, nPiece), wide);
    EXPECT_TRUE(decoder.Rewind());

    CObjectPtr<IBasicStream<wchar_t>> pDecoder(new CUtf8DecodeReader(Open(text).Get()));
    CObjectPtr<IBasicStream<char16_t>> pUnits(new CUtf16EncodeReader(pDecoder.Get()));
    CObjectPtr<IByteStream> pBytes(new CByteOrderEncodeReaderImpl<char16_t, eBigEndian>(pUnits.Get()));
    CObjectPtr<IBasicStream<char16_t>> pBack(
        new CByteOrderDecodeReaderImpl<char16_t, eBigEndian>(pBytes.Get()));
    CObjectPtr<IBasicStream<wchar_t>> pWide(new CUtf16DecodeReader(pBack.Get()));
    CUtf8EncodeReader encoder(pWide.Get());
    EXPECT_EQ(ReadText(encoder, nPiece), text);
    EXPECT_EQ(encoder.Tell(), std::ssize(text));
    EXPECT_TRUE(encoder.Seek(1));
    EXPECT_EQ(ReadText(encoder, nPiece), text.substr(1));
  }
}

TEST(CharsetReader, DamageEndsTheText)
{
  const std::pair<std::string, std::wstring> cases[] = {
      {"ab\x80zz", L"ab"}, {"ab\xE2\x82", L"ab"}, {"\xED\xA0\x80", L""}};
  for (const auto& [text, wide] : cases)
  {
    CErrorHandler handler;
    CUtf8DecodeReader reader(Open(text).Get(), &handler);
    EXPECT_EQ(ReadAll<wchar_t>(reader, 16), wide);
    EXPECT_EQ(handler.GetLastCode(), g_nInvalidUtf8);
    wchar_t nUnit = 0;
    EXPECT_EQ(reader.ReadEx(&nUnit, 1), -1);
    handler.Clear();
    EXPECT_EQ(reader.Read(&nUnit, 1), 0);
    EXPECT_EQ(handler.GetLastCode(), 0U);  // told once
  }
  CErrorHandler handler;
  const std::string lone = "\0a\xDC\0\0b"s;
  CObjectPtr<IBasicStream<char16_t>> pUnits(
      new CByteOrderDecodeReaderImpl<char16_t, eBigEndian>(Open(lone).Get()));
  CUtf16DecodeReader reader(pUnits.Get(), &handler);
  EXPECT_EQ(ReadAll<wchar_t>(reader, 16), L"a");
  EXPECT_EQ(handler.GetLastCode(), g_nInvalidUtf16);

  CErrorHandler oddHandler;
  CByteOrderDecodeReaderNative<char16_t> odd(Open("abc").Get(), &oddHandler);
  EXPECT_EQ(ReadAll<char16_t>(odd, 16).size(), 1U);
  EXPECT_NE(oddHandler.GetLastCode(), 0U);
}

TEST(TextStream, RoundTripsEveryEncoding)
{
  for (const bool bMark : {false, true})
    for (const TTextEncoding nEncoding : {eTextUtf16LittleEndian, eTextUtf8, eTextUtf16BigEndian})
      for (const std::size_t nPiece : {1U, 2U, 100U})
      {
        CObjectPtr<CMemoryStream> pFile(new CMemoryStream());
        {
          CTextOutputStream output(pFile.Get(), nEncoding, bMark);
          for (std::size_t i = 0; i < g_szMixed.size(); i += nPiece)
            EXPECT_TRUE(output.WriteText(g_szMixed.substr(i, nPiece).c_str()));
          EXPECT_TRUE(output.WriteText(u"\u20ac"));
          EXPECT_TRUE(output.Close());
        }
        const std::int64_t nText = nEncoding == eTextUtf8 ? std::ssize(g_szMixed) + 3 : 2 * 14;
        EXPECT_EQ(pFile->GetLength(), nText + (bMark ? (nEncoding == eTextUtf8 ? 3 : 2) : 0));
        pFile->Rewind();
        CTextInputStream input(pFile.Get(), bMark ? eTextLocale : nEncoding);
        EXPECT_EQ(ReadText(input, static_cast<std::int64_t>(nPiece)), g_szMixed + "\u20ac") << nEncoding;
        EXPECT_EQ(input.GetEncoding(), nEncoding);
      }
}

TEST(TextStream, InvalidTextIsReported)
{
  const struct
  {
    std::string m_text;
    TTextEncoding m_nEncoding;
    std::string m_szSound;
    unsigned m_nCode;
  } cases[] = {
      {"ab\xFFzz"s, eTextUtf8, "ab", g_nInvalidUtf8},
      {"a\0\0\xD8"s, eTextUtf16LittleEndian, "a", g_nInvalidUtf16},
      {"\0ab"s, eTextUtf16BigEndian, "a", g_nInvalidUtf16},
      {"ab\xFF"s, eTextLocale, "ab", g_nInvalidCodePage},
      {"\xEF\xBB"s, eTextUtf8, "", g_nInvalidUtf8},
  };
  for (const auto& c : cases)
  {
    CErrorHandler handler;
    CTextInputStream input(Open(c.m_text).Get(), c.m_nEncoding, &handler);
    EXPECT_EQ(ReadText(input, 64), c.m_szSound);
    EXPECT_EQ(handler.GetLastCode(), c.m_nCode);
  }
  CErrorHandler handler;
  CObjectPtr<CMemoryStream> pFile(new CMemoryStream());
  CTextOutputStream output(pFile.Get(), 4, false, &handler);
  EXPECT_TRUE(output.WriteText("a\xE2\x82"));
  EXPECT_FALSE(output.Close());
  EXPECT_EQ(handler.GetLastCode(), g_nInvalidUtf8);
}

}  // namespace
}  // namespace BSE
