#pragma once

#include "base/BasicString.h"
#include "base/ErrorContext.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"

namespace BSE
{

// How a file is opened. Files are created with permissions 0664.
enum TFileMode
{
  eFileRead = 1,        // read only; an empty path is standard input
  eFileWrite = 2,       // read and write, created, truncated; an empty path is standard output
  eFileUpdate = 3,      // read and write
  eFileWriteError = 4,  // as eFileWrite; an empty path is standard error
  eFileAppend = 5,      // read and write, created, appended to
  eFileTemporary = 8    // read and write, created, truncated
};

// A file descriptor. Each operation leaves its outcome in the thread's error slot (CTLSError): the error, or
// code 0. Failures to open, read and write go to the error context as well. A directory opened in any mode but
// eFileRead is not valid, without a report.
class CFileStream : public CObject, public IByteStream
{
public:
  CFileStream(const char* szPath, TFileMode nMode, IErrorContext* pErrorContext = nullptr);
  ~CFileStream() override;

  bool IsValid() const override { return m_fd >= 0; }
  std::int64_t GetLength() override;
  bool IsSeekable() const override { return m_bSeekable; }
  bool Rewind() override { return Seek(0); }
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override;
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;
  bool IsFile() const override { return true; }
  const char* GetFileName() const override { return m_path.GetText(); }

  // Shares the descriptor; from the first duplicate on, each keeps a position of its own. Starts at the same
  // position.
  IStreamBase<unsigned char>* Dup() override;

  // Closes before destruction; the stream is then invalid. Duplicates stay usable. False if the system reports
  // that written data was lost.
  bool Close();

protected:
  CFileStream(CFileStream& first, std::int64_t nPos);
  static void DropDup(CFileStream& first);

  void Open(const char* szPath);
  void CheckDescriptor();
  bool CloseDescriptor(int fd);
  bool SeekForAccess();
  bool Succeed();
  bool Fail(int nErrno, bool bReport);

  CStr8 m_path;
  int m_fd = -1;
  int m_fdLeft = -1;  // closed for this stream, kept open for its duplicates
  TFileMode m_nMode;
  bool m_bSeekable = false;
  bool m_bOwnsDescriptor = false;
  int m_nDupCount = 0;
  std::int64_t m_nDupPos = 0;
  IErrorContext* m_pErrorContext;
};

// What CFileStream::Dup makes; keeps a reference on the first stream, which closes the descriptor.
class CDupFileStream : public CFileStream
{
public:
  CDupFileStream(CFileStream& first, std::int64_t nPos);
  ~CDupFileStream() override;

private:
  CObjectPtr<CFileStream> m_pFirst;
};

}  // namespace BSE
