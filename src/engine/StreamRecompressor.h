#pragma once

#include "document/CopyBase.h"
#include "engine/DecodedStreams.h"
#include "engine/Deflater.h"
#include "pdf/StreamDeflater.h"

namespace PDF
{

// Encodes the streams of an output anew where that makes them smaller: as they stand, deflated with the
// predictor that they have, or without it, whichever is smallest. Streams with an image codec or an unknown
// filter, with data outside the file, too large ones, and damaged ones stay byte for byte as they are.
// Metadata that is not compressed stays readable, and loses only the blanks that leave room for changes.
// Holds a few streams in memory, one at a time.
class CStreamRecompressor : public IStreamDeflater, public IStreamStep
{
public:
  // 1 (fast) to 9 (small). What has been decoded of the source is borrowed, and used up.
  CStreamRecompressor(int nEffort, CDecodedStreams& decoded) : m_deflater(nEffort), m_decoded(decoded) {}

  void Deflate(std::span<const unsigned char> data, BSE::CBasicArray<unsigned char>& encoded) override;
  void HandleStream(const CObjectPtr& source, const CObjectPtr& target) override;

  // What the streams have lost so far.
  std::int64_t GetSavedBytes() const { return m_nSaved; }

private:
  // Keeps an encoding in m_best if it is shorter than all before.
  void Try(std::span<const unsigned char> data, bool bPredicted);
  // Puts the data of a stream into the decoder; false for one that stays as it is.
  bool Decode(int nSource, CObject& object);
  void Recompress(CObject& object);
  void Replace(CObject& object);
  void TrimMetadata(CObject& object);

  CDeflater m_deflater;
  CDecodedStreams& m_decoded;
  CStreamDecoder m_decoder;
  CByteBuffer m_candidate;
  CByteBuffer m_best;
  std::size_t m_nBestCost = 0;
  bool m_bFound = false;
  bool m_bBestPredicted = false;
  std::int64_t m_nSaved = 0;
};

}  // namespace PDF
