#pragma once

#include "base/Limits.h"
#include "engine/ByteBuffer.h"
#include "images/filters/PredictionParameters.h"
#include "pdf/Object.h"

struct libdeflate_decompressor;

namespace PDF
{

// Decodes streams in memory, whole and without tolerance: what does not decode to its end without a fault,
// checksum included, counts as damaged, however much of it a reader would show.
class CStreamDecoder
{
public:
  enum class TResult
  {
    Decoded,
    Foreign,  // a filter that is none of the lossless byte filters, one that readers understand differently,
              // or data outside the file
    Damaged,
    TooLarge  // beyond BSE::g_nMaxRecodedSize, encoded or decoded, or beyond what all streams of this decoder
              // may decode to
  };

  CStreamDecoder() = default;
  CStreamDecoder(const CStreamDecoder&) = delete;
  CStreamDecoder& operator=(const CStreamDecoder&) = delete;
  ~CStreamDecoder();

  // The encoded bytes of an indirect stream object; false if they cannot be read or are too many. For a part
  // that holds decoded data, those.
  bool Read(CObject& stream);

  // Reads and decodes. Reports of filters go nowhere.
  TResult Decode(CObject& stream) { return DecodeFilters(stream, BSE::g_nMaxFilters); }

  // The same with no more than the first nMax filters: the data is what the one after them is given.
  TResult DecodeFilters(CObject& stream, int nMax);

  // What a stream was decoded to, to be worked with later.
  struct TState
  {
    CByteBuffer m_data;
    CByteBuffer m_predicted;
    BSE::CPredictionParameters m_prediction;
    std::size_t m_nEncoded = 0;
    bool m_bPredictor = false;
    bool m_bData = false;
  };

  void SaveState(TState& state) const;

  // As after the call of Decode, but without the encoded bytes.
  void RestoreState(const TState& state);

  // Bytes that SaveState takes.
  std::size_t GetStateSize() const
  {
    return (m_bData ? m_data.GetSize() : 0) + (m_bPredictor ? m_predicted.GetSize() : 0);
  }

  // Length of the encoded bytes.
  std::size_t GetEncodedSize() const { return m_nEncoded; }

  // Valid until the next call. The encoded bytes are there after every result but TooLarge.
  std::span<const unsigned char> GetEncoded() const { return m_encoded.GetSpan(); }
  std::span<const unsigned char> GetData() const { return m_data.GetSpan(); }

  // Whether the last filter has a predictor (Flate and LZW alone have one), its parameters, and the data in
  // front of it. Where the rows leave room for doubt the data cannot be had without the predictor: HasData is
  // false.
  bool HasPredictor() const { return m_bPredictor; }
  bool HasData() const { return m_bData; }
  const BSE::CPredictionParameters& GetPrediction() const { return m_prediction; }
  std::span<const unsigned char> GetPredicted() const
  {
    return m_bPredictor ? m_predicted.GetSpan() : m_data.GetSpan();
  }

private:
  TResult DecodeChain(CObject& stream, int nFilters);
  TResult DecodeFilter(const char* szName, const CObjectPtr& parameters);
  TResult Inflate();
  TResult RunFilter(BSE::IByteStream* pFilter);

  // From m_predicted to m_data; false where the result is in doubt.
  bool UndoPrediction();

  // Whether what was decoded so far is in proportion.
  bool HasBudget() const;

  libdeflate_decompressor* m_pDecompressor = nullptr;
  CByteBuffer m_encoded;
  CByteBuffer m_data;
  CByteBuffer m_predicted;
  CByteBuffer m_next;
  BSE::CPredictionParameters m_prediction;
  std::size_t m_nEncoded = 0;
  bool m_bPredictor = false;
  bool m_bData = false;
  std::int64_t m_nRead = 0;     // encoded bytes of all streams
  std::int64_t m_nDecoded = 0;  // what their filters gave, or tried to
};

}  // namespace PDF
