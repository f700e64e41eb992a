#pragma once

#include "base/BasicMap.h"
#include "document/NumberSet.h"
#include "engine/StreamDecoder.h"

namespace PDF
{

// What the search for equal objects has decoded, for the copy, which encodes it anew: by object number of the
// input, as long as all of it together is small. Also knows which streams cannot be decoded.
class CDecodedStreams
{
public:
  CDecodedStreams() = default;
  CDecodedStreams(const CDecodedStreams&) = delete;
  CDecodedStreams& operator=(const CDecodedStreams&) = delete;
  ~CDecodedStreams() = default;

  // What a decoder has just made of the stream of that number.
  void Add(int nNumber, CStreamDecoder::TResult nResult, const CStreamDecoder& decoder);

  // True for a stream that has a foreign filter or is damaged.
  bool IsUndecodable(int nNumber) const { return m_undecodable.Contains(nNumber); }

  // Puts a decoder into the state in which it was when the stream was added, but for the encoded bytes, of
  // which only the number is known, and forgets the stream. False if it is not there.
  bool Take(int nNumber, CStreamDecoder& decoder);

  // Forgets the data of a stream, which has got others.
  void Remove(int nNumber);
  void RemoveAll();

private:
  struct TStream : public BSE::CObject
  {
    CStreamDecoder::TState m_state;
  };

  // Bytes that are kept at most. Most documents have no more than that in streams that are no pictures.
  static constexpr std::size_t g_nMaxKept = std::size_t{4} << 20;

  CNumberSet m_undecodable;
  BSE::CValueKeyObjectMap<int, TStream> m_streams;
  std::size_t m_nKept = 0;
};

}  // namespace PDF
