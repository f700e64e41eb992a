#pragma once

#include "engine/Deflater.h"
#include "engine/StreamDecoder.h"
#include "pdf/StreamDeflater.h"

namespace PDF
{

// Encodes the streams of an output anew where that makes them smaller: as they stand, deflated with the
// predictor that they have, or without it, whichever is smallest. Streams with an image codec or an unknown
// filter, with data outside the file, too large ones, and damaged ones stay byte for byte as they are.
// Metadata that is not compressed stays readable, and loses only the blanks that leave room for changes.
// Holds a few streams in memory, one at a time.
class CStreamRecompressor : public IStreamDeflater
{
public:
  // 1 (fast) to 9 (small).
  explicit CStreamRecompressor(int nEffort) : m_deflater(nEffort) {}

  void Deflate(std::span<const unsigned char> data, BSE::CBasicArray<unsigned char>& encoded) override;
  void Recompress(CIndirectObject& object) override;

  // What the streams have lost so far.
  std::int64_t GetSavedBytes() const { return m_nSaved; }

private:
  // Keeps an encoding in m_best if it is shorter than all before.
  void Try(std::span<const unsigned char> data, bool bPredicted);
  void Replace(CIndirectObject& object);
  void TrimMetadata(CIndirectObject& object);

  CDeflater m_deflater;
  CStreamDecoder m_decoder;
  CByteBuffer m_candidate;
  CByteBuffer m_best;
  std::size_t m_nBestCost = 0;
  bool m_bFound = false;
  bool m_bBestPredicted = false;
  std::int64_t m_nSaved = 0;
};

}  // namespace PDF
