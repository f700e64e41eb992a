#pragma once

#include "pdf/File.h"
#include "pdf/linearize/PDLOutput.h"

namespace PDF
{

// One document on its way through the linearizer, with the ciphers and the deflater of a file. Failures are
// reported to that file.
class CLinearizerRun
{
public:
  // The file must outlive the run. Its handler decrypts, and encrypts unless there is a new one.
  explicit CLinearizerRun(CFile& file);
  ~CLinearizerRun();
  CLinearizerRun(const CLinearizerRun&) = delete;
  CLinearizerRun& operator=(const CLinearizerRun&) = delete;

  // A handler for the output; both must outlive the run. Before Open.
  void SetSecurity(CSecurityHandler& handler, const TPDSecurity& security);

  // Metadata streams of pages stay readable, as the first part of the archive standard requires. Without
  // the call the conformance of the file decides.
  void KeepMetadata() { m_bKeepMetadata = true; }

  // Object streams stay, in a file of a version that has them.
  void KeepObjectStreams() { m_bObjectStreams = true; }

  // A longer result is not written; any length if it is negative.
  void SetMaxLength(std::int64_t nMaxLength) { m_nMaxLength = nMaxLength; }
  bool IsTooLong() const { return m_pOutput && m_pOutput->IsTooLong(); }

  // Reports an input that cannot be opened (0x80410101) and a handler that is missing (0x80410112).
  bool Open(BSE::IByteStream* pInput);

  // Reports an output that is not usable (0x80410102). Nothing is written of a document that cannot be
  // linearized.
  bool Write(BSE::IByteStream* pOutput);

  // Bytes that the output may have taken, also when memory ran out.
  std::int64_t GetWritten() const { return m_pOutput ? m_pOutput->GetWritten() : 0; }

private:
  CFile& m_file;
  BSE::CScopedPtr<PDCryptor> m_pCryptor;
  BSE::CScopedPtr<PDDeflater> m_pDeflater;
  const TPDSecurity* m_pSecurity = nullptr;
  PDLInput m_input;
  bool m_bKeepMetadata;
  bool m_bObjectStreams = false;
  std::int64_t m_nMaxLength = -1;
  BSE::CScopedPtr<PDLOutput> m_pOutput;
};

}  // namespace PDF
