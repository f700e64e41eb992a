#include "AtomicFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <mutex>
#include <random>
#include <set>
#include <system_error>

namespace Tool
{
namespace
{

constexpr int g_nMaxAttempts = 100;

// Of names that are taken for the temporary one: the system allows 255 bytes.
constexpr size_t g_nMaxNamePart = 200;

std::mutex g_temporaryLock;
std::set<CAtomicFile*> g_temporaryFiles;  // those that have one, and some that have none

// The mask can only be read by setting it, so it is read before there is a second thread.
mode_t ReadMask()
{
  const mode_t nMask = umask(0);
  umask(nMask);
  return nMask;
}
const mode_t g_nMask = ReadMask();

std::string GetTemporaryFolder()
{
  std::error_code error;
  const std::filesystem::path path = std::filesystem::temp_directory_path(error);
  return error ? "/tmp" : path.string();
}

std::string MakeSuffix()
{
  constexpr char szLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  std::random_device random;
  std::string sSuffix = ".";
  for (int i = 0; i < 8; ++i)
  {
    sSuffix += szLetters[random() % (sizeof szLetters - 1)];
  }
  return sSuffix;
}

bool IsSame(const struct stat& one, const struct stat& other)
{
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

}  // namespace

CAtomicFile::~CAtomicFile()
{
  const std::lock_guard lock(g_temporaryLock);
  RemoveTemporary();
  g_temporaryFiles.erase(this);
}

// Under the lock. Takes no memory.
void CAtomicFile::RemoveTemporary()
{
  if (!m_sTemporary.empty())
  {
    unlinkat(m_pFolder->Get(), m_sTemporary.c_str(), 0);
  }
  m_sTemporary.clear();
}

bool CAtomicFile::Fail(const char* szDoing)
{
  m_sError = std::string("cannot ") + szDoing + " " + (m_sTarget.empty() ? "standard output" : m_sTarget) +
             ": " + std::generic_category().message(errno);
  return false;
}

bool CAtomicFile::Create(const std::string& sTarget, int nInput)
{
  if (sTarget == "-")
  {
    return OpenNameless();
  }
  m_sTarget = sTarget;
  std::error_code error;
  const std::filesystem::path resolved = std::filesystem::canonical(sTarget, error);
  if (!error)
  {
    m_sTarget = resolved.string();
  }
  const std::filesystem::path path(m_sTarget);
  const std::string sFolder = path.has_parent_path() ? path.parent_path().string() : ".";
  m_sName = path.filename().string();
  m_pFolder = std::make_unique<CFileDescriptor>(open(sFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!m_pFolder->IsOpen())
  {
    return Fail("create");
  }
  if (!CheckTarget(nInput))
  {
    return Fail("write");
  }
  return m_bRename ? OpenTemporary(sFolder, "." + m_sName.substr(0, g_nMaxNamePart)) : OpenNameless();
}

bool CAtomicFile::CheckTarget(int nInput)
{
  m_bExists = fstatat(m_pFolder->Get(), m_sName.c_str(), &m_status, AT_SYMLINK_NOFOLLOW) == 0;
  if (m_bExists && S_ISDIR(m_status.st_mode))
  {
    errno = EISDIR;
    return false;
  }
  // A link that leads nowhere is replaced as if there were nothing.
  m_bExists = m_bExists && !S_ISLNK(m_status.st_mode);
  if (m_bExists && faccessat(m_pFolder->Get(), m_sName.c_str(), W_OK, 0) != 0)
  {
    return false;
  }
  m_bRename = !m_bExists || S_ISREG(m_status.st_mode);
  struct stat input
  {
  };
  m_bIsInput = m_bExists && nInput >= 0 && fstat(nInput, &input) == 0 && IsSame(input, m_status);
  return true;
}

bool CAtomicFile::OpenTemporary(const std::string& sFolder, const std::string& sName)
{
  // Held across the call, so that an interruption finds every file that was made.
  const std::lock_guard lock(g_temporaryLock);
  if (!m_pFolder)
  {
    m_pFolder = std::make_unique<CFileDescriptor>(open(sFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  }
  // All memory is had before there is a file that would be left without a trace.
  g_temporaryFiles.insert(this);
  m_pFile = std::make_unique<CFileDescriptor>(-1);
  for (int i = 0; i < g_nMaxAttempts; ++i)
  {
    std::string sTemporary = sName + MakeSuffix();
    const int nFile = openat(m_pFolder->Get(), sTemporary.c_str(),
                             O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (nFile >= 0)
    {
      m_pFile->Take(nFile);
      m_sTemporary.swap(sTemporary);
      return true;
    }
    if (errno != EEXIST)
    {
      break;
    }
  }
  return Fail("create");
}

bool CAtomicFile::OpenNameless()
{
  m_pFolder.reset();
  if (!OpenTemporary(GetTemporaryFolder(), "brevex"))
  {
    return false;
  }
  const std::lock_guard lock(g_temporaryLock);
  RemoveTemporary();
  return true;
}

bool CAtomicFile::Empty()
{
  return ftruncate(m_pFile->Get(), 0) == 0 && lseek(m_pFile->Get(), 0, SEEK_SET) == 0;
}

bool CAtomicFile::Restart(TBrevexStreamDescriptor& callbacks)
{
  if (!Empty())
  {
    return Fail("write");
  }
  m_stream.Attach(m_pFile->Get());
  callbacks = m_stream.GetCallbacks();
  return true;
}

bool CAtomicFile::HasFailedToWrite()
{
  if (m_stream.GetError() == 0)
  {
    return false;
  }
  errno = m_stream.GetError();
  return !Fail("write");
}

std::int64_t CAtomicFile::GetSize() const
{
  struct stat status
  {
  };
  return fstat(m_pFile->Get(), &status) == 0 ? status.st_size : -1;
}

bool CAtomicFile::ReplaceByFile(int nInput)
{
  return (Empty() && lseek(nInput, 0, SEEK_SET) == 0 && CopyBytes(nInput, m_pFile->Get())) || Fail("write");
}

bool CAtomicFile::ReplaceByBytes(const std::string& sBytes)
{
  return (Empty() && WriteBytes(m_pFile->Get(), sBytes.data(), sBytes.size())) || Fail("write");
}

bool CAtomicFile::Commit()
{
  return m_bRename ? Rename() : CopyToTarget();
}

bool CAtomicFile::CopyToTarget()
{
  CFileDescriptor output(m_sTarget.empty() ? dup(STDOUT_FILENO)
                                           : open(m_sTarget.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
  struct stat status
  {
  };
  if (!output.IsOpen() || fstat(output.Get(), &status) != 0 || lseek(m_pFile->Get(), 0, SEEK_SET) != 0)
  {
    return Fail("write");
  }
  if (!m_sTarget.empty() && S_ISREG(status.st_mode))
  {
    // It was no regular file when it was looked at.
    errno = EEXIST;
    return Fail("write");
  }
  return (CopyBytes(m_pFile->Get(), output.Get()) && output.Close()) || Fail("write");
}

// What somebody else has written meanwhile is not the file that was read.
bool CAtomicFile::HasInputChanged() const
{
  struct stat status
  {
  };
  return fstatat(m_pFolder->Get(), m_sName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
         !IsSame(status, m_status) || status.st_size != m_status.st_size ||
         status.st_mtim.tv_sec != m_status.st_mtim.tv_sec ||
         status.st_mtim.tv_nsec != m_status.st_mtim.tv_nsec;
}

bool CAtomicFile::KeepAttributes() const
{
  const int nFile = m_pFile->Get();
  if (!m_bExists)
  {
    return fchmod(nFile, 0666 & ~g_nMask) == 0;
  }
  // Changing the owner clears bits of the mode, so it comes first; it is for root only and may fail. Whom
  // the file does not belong to afterwards must not act through it.
  mode_t nMode = m_status.st_mode & 07777;
  if (fchown(nFile, m_status.st_uid, m_status.st_gid) != 0)
  {
    nMode &= 01777;
    if (fchown(nFile, static_cast<uid_t>(-1), m_status.st_gid) != 0)
    {
      errno = 0;
    }
  }
  return fchmod(nFile, nMode) == 0;
}

bool CAtomicFile::Rename()
{
  if (!KeepAttributes() || fsync(m_pFile->Get()) != 0 || !m_pFile->Close())
  {
    return Fail("write");
  }
  const std::lock_guard lock(g_temporaryLock);
  if (m_bIsInput && HasInputChanged())
  {
    m_sError = "cannot replace " + m_sTarget + ": it was changed meanwhile";
    return false;
  }
  if (renameat(m_pFolder->Get(), m_sTemporary.c_str(), m_pFolder->Get(), m_sName.c_str()) != 0)
  {
    return Fail("write");
  }
  m_sTemporary.clear();
  return true;
}

void RemoveTemporaryFiles()
{
  // Never released: nothing is made or renamed from here on.
  g_temporaryLock.lock();
  for (CAtomicFile* pFile : g_temporaryFiles)
  {
    pFile->RemoveTemporary();
  }
}

}  // namespace Tool
