#pragma once

#include "pdf/File.h"

namespace PDF
{

// Makes linearized files of finished ones. Keeps no state but its option: one object serves every file and
// thread.
//
// The security of the file stays: bytes are read and written with the handler that the finished file was
// written with. What went wrong is traced; an input that cannot be opened (0x80410101), a handler that is
// missing (0x80410112) and an output that cannot be created (0x80410102) are reported to the file as well.
// Exhausted memory is a failure like any other here, since there is a file to keep instead; it is reported.
class CLinearizer : public ILinearizer
{
public:
  // bObjectStreams: files keep object streams and cross-reference streams, where their version has them.
  explicit CLinearizer(bool bObjectStreams) : m_bObjectStreams(bObjectStreams) {}

  // The output need not be seekable: nothing is written of a document that cannot be linearized, and
  // everything once and in order.
  TLinearized LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                              std::int64_t nMaxLength, std::int64_t& nWritten) override;
  bool KeepsObjectStreams(const CFile& file) const override;

private:
  bool m_bObjectStreams;
};

// The one that CFile::SetLinearize is given.
ILinearizer* GetLinearizer(bool bObjectStreams);

}  // namespace PDF
