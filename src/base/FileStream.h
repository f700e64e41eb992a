#pragma once

#include "base/ErrorContext.h"
#include "base/File.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"

struct stat;

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

// A file descriptor. Opening, reading, writing and seeking leave their outcome in the thread's error slot
// (CTLSError): the error, or code 0. Failures go to the error context as well. A directory opened in any mode
// but eFileRead is not valid, and nothing is reported to the error context. An empty or null path in a mode
// without a standard descriptor is not valid either. Only a regular file is seekable; anything else has no
// position and no length.
class CFileStream : public CObject, public IByteStream
{
public:
  CFileStream(const char* szPath, TFileMode nMode, IErrorContext* pErrorContext = nullptr);

  // For a file that is opened elsewhere: not valid before Attach.
  explicit CFileStream(IErrorContext* pErrorContext);

  // Takes over a descriptor for reading and writing, or reports the negated error number of a failure to get
  // one. The path is for reports and GetFileName. True if the stream is valid then.
  bool Attach(int fd, const CFile& file);

  // Closes what the constructor opened; a standard descriptor stays open.
  ~CFileStream() override;

  bool IsValid() const override { return m_fd >= 0; }
  std::int64_t GetLength() override;
  bool IsSeekable() const override { return m_bSeekable; }
  bool Rewind() override { return Seek(0); }
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override;

  // Beyond the end nothing happens before a write, which fills the gap with zeros.
  bool Seek(std::int64_t nPos) override;

  // One call of the system: what is there at once, which may be less than asked for.
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;
  bool IsFile() const override { return true; }
  const char* GetFileName() const override { return m_file.GetPath(); }

  // Whether a path leads to the file that is open here, by whatever name. Follows links; false where that
  // cannot be found out.
  bool IsOpenOn(const char* szPath) const;

  // What the system knows of the open file; false if nothing is open.
  bool GetStatus(struct stat& status) const;

  // Gives the open file the permissions of another one and, where the system allows it, its owner. False,
  // with errno, if the permissions could not be set. A file system without permissions refuses to set any,
  // which is not a failure.
  bool TakeAttributes(const struct stat& status);

  // Shares the descriptor; from the first duplicate on, each keeps a position of its own. Starts at the same
  // position. Null for a stream that is not seekable.
  IStreamBase<unsigned char>* Dup() override;

  // Closes before destruction; the stream is then invalid. Duplicates stay usable. False if the system
  // reports that written data was lost.
  bool Close();

protected:
  // Shares the descriptor of another stream, which must outlive this one.
  CFileStream(const CFileStream& first, std::int64_t nPos);

  // Counts a duplicate in or out. The first one moves the position from the descriptor to m_nDupPos, the last
  // one moves it back.
  void AddDup();
  void DropDup();

  CFile m_file;
  int m_fd = -1;
  TFileMode m_nMode;
  bool m_bSeekable = false;
  int m_nDupCount = 0;
  std::int64_t m_nDupPos = 0;  // the position while the descriptor is shared
  IErrorContext* m_pErrorContext;

private:
  friend class CDupFileStream;  // counts at the first stream

  bool IsShared() const { return m_nDupCount > 0; }
  int OpenPath() const;
  void CheckDescriptor();
  bool CloseDescriptor(int fd);
  const char* GetDisplayName() const;
  bool Succeed();
  bool Fail(int nErrno);

  bool m_bOwnsDescriptor = false;
  int m_fdLeft = -1;  // closed for this stream, kept open for its duplicates
};

// What CFileStream::Dup makes; keeps a reference on the first stream, which closes the descriptor.
class CDupFileStream : public CFileStream
{
public:
  CDupFileStream(CFileStream& first, std::int64_t nPos);
  ~CDupFileStream() override;

  IStreamBase<unsigned char>* Dup() override;

private:
  CObjectPtr<CFileStream> m_pFirst;
};

}  // namespace BSE
