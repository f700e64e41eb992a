#include "base/FileStream.h"

#include "base/Checked.h"
#include "base/Tracer.h"
#include "base/Unicode.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

// A stream that has its descriptor to itself works at the position that the system keeps for it. Duplicates
// share the descriptor, and from the first one on that position is no use to any of them: each stream keeps
// its own and passes it to pread and pwrite. When the last duplicate is gone, the position returns to the
// descriptor. Closing leaves the descriptor open for as long as duplicates read from it.
namespace BSE
{

namespace
{

static_assert(sizeof(off_t) == sizeof(std::int64_t), "files need 64-bit offsets");

constexpr mode_t g_nPermissions = 0664;

// What Linux transfers at most in one call (read(2), write(2)).
constexpr std::int64_t g_nMaxCall = 0x7FFFF000;

constexpr int g_nMaxMessage = 256;

int GetOpenFlags(TFileMode nMode)
{
  switch (nMode)
  {
  case eFileRead:
    return O_RDONLY;
  case eFileUpdate:
    return O_RDWR;
  case eFileAppend:
    return O_RDWR | O_CREAT | O_APPEND;
  default:
    return O_RDWR | O_CREAT | O_TRUNC;
  }
}

// -1 for a mode without one.
int GetStandardDescriptor(TFileMode nMode)
{
  switch (nMode)
  {
  case eFileRead:
    return STDIN_FILENO;
  case eFileWrite:
    return STDOUT_FILENO;
  case eFileWriteError:
    return STDERR_FILENO;
  default:
    return -1;
  }
}

void TraceOpenFailure(int nErrno, const char* szName)
{
  if (!CTracer::IsOn())
    return;
  char16_t szMessage[g_nMaxMessage];
  CStr8 message;
  if (GetErrorMessage(static_cast<unsigned>(nErrno), szMessage, g_nMaxMessage) > 0)
    ConvertText(szMessage, message, TInvalidText::Replace);
  CTracer::Trace("E", "File Stream", "Error %d while opening file '%s': %s", nErrno, szName,
                 message.GetText());
}

// Repeats an access that a signal interrupted, and waits where a standard descriptor does not block.
template <class F>
ssize_t Transfer(int fd, short nEvents, F fnAccess)
{
  while (true)
  {
    const ssize_t nDone = fnAccess();
    if (nDone >= 0)
      return nDone;
    if (errno == EAGAIN || errno == EWOULDBLOCK)
    {
      pollfd wait{fd, nEvents, 0};
      if (poll(&wait, 1, -1) < 0 && errno != EINTR)
        return -1;
    }
    else if (errno != EINTR)
      return -1;
  }
}

}  // namespace

CFileStream::CFileStream(const char* szPath, TFileMode nMode, IErrorContext* pErrorContext)
    : m_file(szPath), m_nMode(nMode), m_pErrorContext(pErrorContext)
{
  if (m_file.IsEmpty())
  {
    m_fd = GetStandardDescriptor(nMode);
    if (m_fd < 0)
      return;
  }
  else
  {
    m_fd = OpenPath();
    if (m_fd < 0)
    {
      const int nErrno = errno;
      TraceOpenFailure(nErrno, GetDisplayName());
      if (nErrno == EISDIR)
        CTLSError::Set(CScopedPtr<IError>(new CFileError(nErrno, GetDisplayName())));
      else
        Fail(nErrno);
      return;
    }
    m_bOwnsDescriptor = true;
  }
  CheckDescriptor();
}

CFileStream::CFileStream(IErrorContext* pErrorContext) : m_nMode(eFileUpdate), m_pErrorContext(pErrorContext)
{
}

bool CFileStream::Attach(int fd, const CFile& file)
{
  // Owned before there is anything that memory could run out for.
  m_bOwnsDescriptor = fd >= 0;
  m_fd = m_bOwnsDescriptor ? fd : -1;
  m_file = file;
  if (fd < 0)
  {
    TraceOpenFailure(-fd, GetDisplayName());
    return Fail(-fd);
  }
  CheckDescriptor();
  return IsValid();
}

CFileStream::CFileStream(const CFileStream& first, std::int64_t nPos)
    : m_file(first.m_file),
      m_fd(first.m_fd >= 0 ? first.m_fd : first.m_fdLeft),
      m_nMode(first.m_nMode),
      m_bSeekable(first.m_bSeekable),
      m_nDupCount(1),
      m_nDupPos(nPos),
      m_pErrorContext(first.m_pErrorContext)
{
}

CFileStream::~CFileStream()
{
  CFileStream::Close();
}

int CFileStream::OpenPath() const
{
  int fd = -1;
  do
    fd = open(m_file.GetPath(), GetOpenFlags(m_nMode) | O_CLOEXEC, g_nPermissions);
  while (fd < 0 && errno == EINTR);
  return fd;
}

void CFileStream::CheckDescriptor()
{
  struct stat status;
  if (fstat(m_fd, &status) != 0)
  {
    const int nErrno = errno;
    TraceOpenFailure(nErrno, GetDisplayName());
    CloseDescriptor(m_fd);
    m_fd = -1;
    Fail(nErrno);
    return;
  }
  if (S_ISDIR(status.st_mode) && m_nMode != eFileRead)
  {
    CloseDescriptor(m_fd);
    m_fd = -1;
    CTLSError::Set(CScopedPtr<IError>(new CFileError(EISDIR, GetDisplayName())));
    return;
  }
  m_bSeekable = S_ISREG(status.st_mode);
  Succeed();
}

const char* CFileStream::GetDisplayName() const
{
  if (!m_file.IsEmpty())
    return m_file.GetPath();
  switch (GetStandardDescriptor(m_nMode))
  {
  case STDIN_FILENO:
    return "stdin";
  case STDOUT_FILENO:
    return "stdout";
  case STDERR_FILENO:
    return "stderr";
  default:
    return "";
  }
}

bool CFileStream::Succeed()
{
  CTLSError::SetSuccess();
  return true;
}

bool CFileStream::Fail(int nErrno)
{
  CScopedPtr<IError> pError(new CFileError(nErrno, GetDisplayName()));
  if (m_pErrorContext)
    m_pErrorContext->OnReportError(CScopedPtr<IError>(pError->Clone()));
  CTLSError::Set(std::move(pError));
  return false;
}

bool CFileStream::CloseDescriptor(int fd)
{
  // Not repeated after a signal: the descriptor is gone then, and may belong to another thread's file.
  return !m_bOwnsDescriptor || close(fd) == 0 || errno == EINTR;
}

bool CFileStream::Close()
{
  if (m_fd < 0)
    return true;
  const int fd = m_fd;
  m_fd = -1;
  if (m_bOwnsDescriptor && IsShared())
  {
    m_fdLeft = fd;
    return true;
  }
  // The slot keeps what the last access left: a failed write is not forgotten by closing.
  return CloseDescriptor(fd) || Fail(errno);
}

bool CFileStream::IsOpenOn(const char* szPath) const
{
  struct stat own = {};
  struct stat other = {};
  return m_fd >= 0 && szPath && fstat(m_fd, &own) == 0 && stat(szPath, &other) == 0 &&
         own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

bool CFileStream::GetStatus(struct stat& status) const
{
  return m_fd >= 0 && fstat(m_fd, &status) == 0;
}

bool CFileStream::TakeAttributes(const struct stat& status)
{
  struct stat own = {};
  if (!GetStatus(own))
    return false;
  mode_t nMode = status.st_mode & 07777;
  if ((own.st_uid != status.st_uid || own.st_gid != status.st_gid) &&
      fchown(m_fd, status.st_uid, status.st_gid) != 0)
  {
    // For root only. Nobody may act as the owner that the file has got instead.
    nMode &= 0777;
    static_cast<void>(fchown(m_fd, static_cast<uid_t>(-1), status.st_gid) == 0);
  }
  return fchmod(m_fd, nMode) == 0 || errno == EPERM || errno == EOPNOTSUPP;
}

std::int64_t CFileStream::GetLength()
{
  struct stat status;
  if (m_fd < 0 || !m_bSeekable)
    return -1;
  if (fstat(m_fd, &status) != 0)
  {
    Fail(errno);
    return -1;
  }
  return status.st_size;
}

std::int64_t CFileStream::Tell()
{
  if (m_fd < 0 || !m_bSeekable)
    return -1;
  return IsShared() ? m_nDupPos : lseek(m_fd, 0, SEEK_CUR);
}

bool CFileStream::Seek(std::int64_t nPos)
{
  if (m_fd < 0)
    return false;
  if (!m_bSeekable)
    return Fail(ESPIPE);
  if (nPos < 0)
  {
    const std::int64_t nLength = GetLength();
    if (nLength < 0)
      return false;
    nPos += nLength + 1;
  }
  if (nPos < 0)
    return Fail(EINVAL);
  if (IsShared())
    m_nDupPos = nPos;
  else if (lseek(m_fd, nPos, SEEK_SET) < 0)
    return Fail(errno);
  return Succeed();
}

bool CFileStream::Skip(std::int64_t n)
{
  if (m_bSeekable)
  {
    const std::int64_t nLeft = std::max<std::int64_t>(GetLength() - Tell(), 0);
    const bool bInside = n <= nLeft;
    return Seek(Tell() + (n < 0 || !bInside ? nLeft : n)) && bInside;
  }
  return SkipByReading(*this, n);
}

std::int64_t CFileStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
}

std::int64_t CFileStream::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  if (m_fd < 0)
    return -1;
  const auto nSize = static_cast<std::size_t>(std::min(n, g_nMaxCall));
  const ssize_t nRead = Transfer(
      m_fd, POLLIN,
      [&] { return IsShared() ? pread(m_fd, pBuffer, nSize, m_nDupPos) : read(m_fd, pBuffer, nSize); });
  if (nRead < 0)
  {
    Fail(errno);
    return -1;
  }
  m_nDupPos += nRead;
  Succeed();
  return nRead;
}

std::int64_t CFileStream::Write(const unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0 || m_fd < 0)
    return 0;
  const auto nSize = static_cast<std::size_t>(std::min(n, g_nMaxCall));
  const ssize_t nWritten = Transfer(
      m_fd, POLLOUT,
      [&] { return IsShared() ? pwrite(m_fd, pBuffer, nSize, m_nDupPos) : write(m_fd, pBuffer, nSize); });
  if (nWritten <= 0)
  {
    Fail(nWritten < 0 ? errno : EIO);
    return 0;
  }
  // An appending descriptor writes at the end, wherever the position was.
  m_nDupPos = IsShared() && m_nMode == eFileAppend ? GetLength() : m_nDupPos + nWritten;
  Succeed();
  return nWritten;
}

void CFileStream::AddDup()
{
  if (!IsShared())
    // The first duplicate: from now on this stream keeps a position of its own as well.
    m_nDupPos = std::max<std::int64_t>(Tell(), 0);
  ++m_nDupCount;
}

void CFileStream::DropDup()
{
  if (--m_nDupCount > 0)
    return;
  if (m_fdLeft >= 0)
  {
    CloseDescriptor(m_fdLeft);
    m_fdLeft = -1;
  }
  else if (m_fd >= 0)
    lseek(m_fd, m_nDupPos, SEEK_SET);
}

IStreamBase<unsigned char>* CFileStream::Dup()
{
  return m_fd >= 0 && m_bSeekable ? new CDupFileStream(*this, Tell()) : nullptr;
}

CDupFileStream::CDupFileStream(CFileStream& first, std::int64_t nPos)
    : CFileStream(first, nPos), m_pFirst(&first)
{
  first.AddDup();
}

CDupFileStream::~CDupFileStream()
{
  m_pFirst->DropDup();
}

IStreamBase<unsigned char>* CDupFileStream::Dup()
{
  return IsValid() ? new CDupFileStream(*m_pFirst, Tell()) : nullptr;
}

}  // namespace BSE
