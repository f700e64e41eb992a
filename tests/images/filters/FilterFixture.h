#pragma once

#include "base/DecodeFilter.h"
#include "base/EncodeFilter.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace BSE
{

// Keeps the codes of all reports.
class CReports : public CErrorHandler
{
public:
  void OnHandleError(CScopedPtr<IError>& pError) override
  {
    m_codes.push_back(pError->GetCode());
    char16_t text[200] = {};
    pError->GetMessage(text, 200);
    m_texts.emplace_back(text);
  }
  const std::vector<unsigned>& GetCodes() const { return m_codes; }
  const std::vector<std::u16string>& GetTexts() const { return m_texts; }

private:
  std::vector<unsigned> m_codes;
  std::vector<std::u16string> m_texts;
};

using CCodes = std::vector<unsigned>;

inline CObjectPtr<IByteStream> MakeSource(std::string_view data)
{
  return CObjectPtr<IByteStream>(new CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
}

// The rest of a stream, read in pieces of a size.
inline std::string ReadPieces(IByteStream& stream, std::int64_t nPiece)
{
  std::string data;
  std::string piece(static_cast<size_t>(nPiece), '\0');
  while (true)
  {
    const std::int64_t n = stream.Read(reinterpret_cast<unsigned char*>(piece.data()), nPiece);
    if (n <= 0)
      return data;
    data.append(piece, 0, static_cast<size_t>(n));
  }
}

inline std::string Contents(IByteStream& stream)
{
  stream.Rewind();
  return ReadPieces(stream, 4096);
}

// What a decoder F, made with the arguments after its source, gives for the data.
template <class F, class... A>
std::string Decode(std::string_view data, const A&... arguments)
{
  const CObjectPtr<F> pFilter(new F(MakeSource(data).Get(), arguments...));
  return ReadPieces(*pFilter, 1000);
}

// What an encoder writes for the data, written in uneven pieces.
template <class F, class... A>
std::string Encode(std::string_view data, const A&... arguments)
{
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<F> pFilter(new F(pSink.Get(), arguments...));
  for (size_t nPos = 0, nPiece = 1; nPos < data.size(); nPos += nPiece, nPiece = nPiece * 3 + 1)
  {
    const std::string_view piece = data.substr(nPos, nPiece);
    pFilter->WriteAll(reinterpret_cast<const unsigned char*>(piece.data()),
                      static_cast<std::int64_t>(piece.size()));
  }
  return pFilter->Close() ? Contents(*pSink) : "failed";
}

// Data with runs, repeats and noise; the same for the same seed.
inline std::string MakeData(size_t nSize, unsigned nSeed)
{
  std::mt19937 random(nSeed);
  std::string data;
  while (data.size() < nSize)
  {
    const size_t nLength = 1 + random() % 300;
    switch (random() % 4)
    {
    case 0:
      data.append(nLength, static_cast<char>(random()));
      break;
    case 1:
      data.append(data.substr(data.empty() ? 0 : random() % data.size(), nLength));
      break;
    case 2:
      data.append(nLength, '\0');
      break;
    default:
      for (size_t i = 0; i < nLength; ++i)
        data.push_back(static_cast<char>(random()));
    }
  }
  data.resize(nSize);
  return data;
}

// Decoding, also in small and odd pieces and again after a Reset, gives what was encoded, and nothing is
// reported.
template <class F>
void ExpectRoundTrip(const CObjectPtr<F>& pFilter, const std::string& data, const CReports& reports)
{
  for (const std::int64_t nPiece : {std::int64_t{1}, std::int64_t{7}, std::int64_t{100000}})
  {
    EXPECT_EQ(ReadPieces(*pFilter, nPiece), data);
    EXPECT_EQ(pFilter->Tell(), static_cast<std::int64_t>(data.size()));
    EXPECT_TRUE(pFilter->Reset());
  }
  EXPECT_EQ(reports.GetCodes(), CCodes{});
}

}  // namespace BSE
