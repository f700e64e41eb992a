#include "base/ReplacementFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace BSE
{

namespace
{

constexpr mode_t g_nPrivate = S_IRUSR | S_IWUSR;
constexpr mode_t g_nPermissions = 0664;

// The file that a link leads to: it is what has been written, and what is to be replaced.
CStr8 ResolveLink(const char* szPath)
{
  char szResolved[PATH_MAX];
  struct stat status = {};
  const bool bLink = lstat(szPath, &status) == 0 && S_ISLNK(status.st_mode);
  return CStr8(bLink && realpath(szPath, szResolved) ? szResolved : szPath);
}

}  // namespace

bool CReplacementFile::Create(const char* szPath, IErrorContext* pErrorContext)
{
  const CStr8 path = ResolveLink(szPath ? szPath : "");
  CStr8 temporary(path);
  temporary.Append(".tmp");
  m_pStream = new CFileStream(pErrorContext);
  if (m_pStream->Attach(CreateFile(path.GetText()), CFile(temporary.GetText())))
    return true;
  m_pStream.Reset();
  return false;
}

CReplacementFile::~CReplacementFile()
{
  if (!m_temporary.IsEmpty())
    unlinkat(m_fdFolder, m_temporary.GetText(), 0);
  if (m_fdFolder >= 0)
    close(m_fdFolder);
}

// A descriptor, or a negated error number. The name is taken down before the file is made: no memory is
// needed once there is something to remove.
int CReplacementFile::CreateFile(const char* szPath)
{
  const CFile file(szPath);
  m_name.Assign(file.GetName());
  CStr8 name(m_name);
  name.Append(".tmp");
  const CStr8 folder = file.GetFolder();
  m_fdFolder = open(folder.IsEmpty() ? "." : folder.GetText(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (m_fdFolder < 0 || m_name.IsEmpty())
    return m_fdFolder < 0 ? -errno : -ENOENT;
  struct stat status = {};
  const bool bExists = fstatat(m_fdFolder, m_name.GetText(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  const int fd = openat(m_fdFolder, name.GetText(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                        bExists ? g_nPrivate : g_nPermissions);
  if (fd < 0)
    return -errno;
  m_temporary = std::move(name);
  return fd;
}

bool CReplacementFile::Replaces(const CFileStream& stream) const
{
  struct stat own = {};
  struct stat other = {};
  return m_fdFolder >= 0 && stream.GetStatus(own) &&
         fstatat(m_fdFolder, m_name.GetText(), &other, AT_SYMLINK_NOFOLLOW) == 0 &&
         own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

bool CReplacementFile::KeepAttributes() const
{
  struct stat status = {};
  if (fstatat(m_fdFolder, m_name.GetText(), &status, AT_SYMLINK_NOFOLLOW) != 0)
    return errno == ENOENT;
  return S_ISREG(status.st_mode) && m_pStream->TakeAttributes(status);
}

bool CReplacementFile::Commit()
{
  if (!m_pStream || !KeepAttributes() || !m_pStream->Close() ||
      renameat(m_fdFolder, m_temporary.GetText(), m_fdFolder, m_name.GetText()) != 0)
    return false;
  m_temporary.RemoveAll();
  return true;
}

}  // namespace BSE
