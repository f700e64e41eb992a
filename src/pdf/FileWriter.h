#pragma once

#include "base/BufferedOutputStream.h"
#include "base/MemoryStream.h"
#include "pdf/FileState.h"
#include "pdf/Generator.h"
#include "pdf/StreamDeflater.h"

namespace PDF
{

class CPendingObjectStream;

// Writes the objects of a file and its cross-reference sections; one part of CFile, which documents what is
// public here under the same names.
class CFileWriter
{
public:
  // Borrows both.
  CFileWriter(CFile& file, TFileState& state);
  CFileWriter(const CFileWriter&) = delete;
  CFileWriter& operator=(const CFileWriter&) = delete;
  ~CFileWriter();

  // Begins to write to a stream; bAppending: a further revision of what is there.
  void Begin(BSE::IByteStream* pOutput, bool bAppending);

  // Gives up all buffers, and the stream.
  void Reset();

  BSE::IByteStream* GetOutput() const { return m_pOutput.Get(); }
  bool IsAppending() const { return m_bAppending; }

  // True once anything was written or is buffered: what is in the file is read back from the output.
  bool HasWritten() const { return static_cast<bool>(m_pWriter); }

  // True while the version in the header can still be chosen.
  bool IsHeaderOpen() const { return !m_bHeaderWritten && !m_bAppending; }

  bool IsDirty() const { return m_bDirty; }
  void SetDirty(bool bDirty) { m_bDirty = bDirty; }

  IStreamDeflater* GetDeflater() const { return m_pDeflater; }
  void SetDeflater(IStreamDeflater* pDeflater) { m_pDeflater = pDeflater; }
  BSE::CObjectPtr<BSE::CMemoryStream> Deflate(std::span<const unsigned char> data);

  bool WriteObject(CObject* pObject, bool bFollow);
  bool WriteIndirect(CIndirectObject& object);
  bool FinishRevision();

  // Bytes that object streams have saved so far, and a further amount.
  std::int64_t GetSavedBytes() const { return m_nSavedBytes; }
  void CountSaved(std::int64_t nBytes) { m_nSavedBytes += nBytes; }
  int GetFlushedStreams() const { return m_nFlushedStreams; }
  void CountFlushedStream() { ++m_nFlushedStreams; }

  // Fills an object from the pending object stream of that number. False if there is none, or it cannot be
  // read from it.
  bool ReadPending(int nStream, CIndirectObject& object, int nIndex);

  // Writes the pending object stream of that number, so that its members can be read back; true if there is
  // none.
  bool FlushPending(int nStream);

  // Brings to the output what is buffered for it. Before anything is read back.
  void Sync();

  // The same with the failure as the result, at the end.
  bool FlushOutput() { return !m_pWriter || m_pWriter->Flush() || FailWriting(); }

  // Lets go of the buffers, once all is written.
  void DropBuffers();

  // Gives the file up for the reason of that code, which is the end of whatever writes it; 0 for one that has
  // been reported. Always false.
  bool Fail(unsigned nCode);
  bool FailWriting();

  // The same after data could not be brought into memory.
  bool FailCopying();
  bool HasFailed() const { return m_bFailed; }

private:
  bool UsesObjectStreams() const;
  bool WriteHeader();
  bool Prepare();
  bool WriteCompressed(CIndirectObject& object, int nGroup);
  bool WriteDirect(CIndirectObject& object);
  bool WriteStreamData(CIndirectObject& object, CSecurityHandler* pSecurity);
  bool FlushObjects();
  bool WriteSection();

  CFile& m_file;
  TFileState& m_state;
  BSE::CObjectPtr<BSE::IByteStream> m_pOutput;
  BSE::CObjectPtr<BSE::CBufferedOutputStream> m_pWriter;
  BSE::CScopedPtr<CGenerator> m_pGenerator;
  BSE::CScopedPtr<CPendingObjectStream> m_pendingObjStm[3];
  IStreamDeflater* m_pDeflater = nullptr;
  std::int64_t m_nSavedBytes = 0;
  std::int64_t m_nRevisionStart = 0;  // where what has been written since the last section begins
  int m_nFlushedStreams = 0;          // object streams among it
  bool m_bHeaderWritten = false;
  bool m_bAppending = false;
  bool m_bDirty = false;
  bool m_bFailed = false;
};

}  // namespace PDF
