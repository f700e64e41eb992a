#include "AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>

#include "FileBytes.h"

namespace Tool
{
namespace
{

std::mutex g_temporaryLock;
std::set<std::string> g_temporaryFiles;

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

}  // namespace

CAtomicFile::~CAtomicFile()
{
  if (!m_sTemporary.empty())
  {
    const std::lock_guard lock(g_temporaryLock);
    unlink(m_sTemporary.c_str());
    g_temporaryFiles.erase(m_sTemporary);
  }
}

bool CAtomicFile::Fail(const char* szDoing)
{
  m_sError = std::string("cannot ") + szDoing + " " + (m_sTarget.empty() ? "standard output" : m_sTarget) +
             ": " + std::generic_category().message(errno);
  return false;
}

bool CAtomicFile::Create(const std::string& sTarget)
{
  if (sTarget == "-")
  {
    return OpenTemporary(GetTemporaryFolder(), "brevex");
  }
  m_sTarget = sTarget;
  std::error_code error;
  const std::filesystem::path resolved = std::filesystem::canonical(sTarget, error);
  if (!error)
  {
    m_sTarget = resolved.string();
  }
  struct stat status
  {
  };
  const bool bExists = stat(m_sTarget.c_str(), &status) == 0;
  if (bExists && S_ISDIR(status.st_mode))
  {
    errno = EISDIR;
    return Fail("write");
  }
  if (bExists && access(m_sTarget.c_str(), W_OK) != 0)
  {
    return Fail("write");
  }
  m_bRename = !bExists || S_ISREG(status.st_mode);
  if (!m_bRename)
  {
    return OpenTemporary(GetTemporaryFolder(), "brevex");
  }
  const std::filesystem::path path(m_sTarget);
  const std::string sFolder = path.has_parent_path() ? path.parent_path().string() : ".";
  return OpenTemporary(sFolder, "." + path.filename().string().substr(0, 200));
}

bool CAtomicFile::OpenTemporary(const std::string& sFolder, const std::string& sName)
{
  std::string sTemplate = sFolder + "/" + sName + ".XXXXXX";
  const std::lock_guard lock(g_temporaryLock);
  const int nFile = mkostemp(sTemplate.data(), O_CLOEXEC);
  if (nFile < 0)
  {
    return Fail("create");
  }
  m_sTemporary = sTemplate;
  g_temporaryFiles.insert(m_sTemporary);
  close(nFile);
  return true;
}

std::int64_t CAtomicFile::GetSize() const
{
  struct stat status
  {
  };
  return stat(m_sTemporary.c_str(), &status) == 0 ? status.st_size : -1;
}

bool CAtomicFile::ReplaceByFile(int nInput)
{
  const CFileDescriptor output(open(m_sTemporary.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
  return (output.IsOpen() && lseek(nInput, 0, SEEK_SET) == 0 && CopyBytes(nInput, output.Get())) ||
         Fail("write");
}

bool CAtomicFile::ReplaceByBytes(const std::string& sBytes)
{
  const CFileDescriptor output(open(m_sTemporary.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
  return (output.IsOpen() && WriteBytes(output.Get(), sBytes.data(), sBytes.size())) || Fail("write");
}

bool CAtomicFile::Commit()
{
  return m_bRename ? Rename() : CopyToTarget();
}

bool CAtomicFile::CopyToTarget()
{
  const CFileDescriptor input(open(m_sTemporary.c_str(), O_RDONLY | O_CLOEXEC));
  const CFileDescriptor output(m_sTarget.empty() ? dup(STDOUT_FILENO)
                                                 : open(m_sTarget.c_str(), O_WRONLY | O_CLOEXEC));
  return (input.IsOpen() && output.IsOpen() && CopyBytes(input.Get(), output.Get())) || Fail("write");
}

bool CAtomicFile::KeepAttributes() const
{
  struct stat status
  {
  };
  if (stat(m_sTarget.c_str(), &status) != 0)
  {
    return chmod(m_sTemporary.c_str(), 0666 & ~g_nMask) == 0;
  }
  // Changing the owner clears bits of the mode, so it comes first; it is for root only and may fail.
  if (chown(m_sTemporary.c_str(), status.st_uid, status.st_gid) != 0 &&
      chown(m_sTemporary.c_str(), static_cast<uid_t>(-1), status.st_gid) != 0)
  {
    errno = 0;
  }
  return chmod(m_sTemporary.c_str(), status.st_mode & 07777) == 0;
}

bool CAtomicFile::Rename()
{
  const CFileDescriptor output(open(m_sTemporary.c_str(), O_WRONLY | O_CLOEXEC));
  if (!output.IsOpen() || !KeepAttributes() || fsync(output.Get()) != 0)
  {
    return Fail("write");
  }
  const std::lock_guard lock(g_temporaryLock);
  if (rename(m_sTemporary.c_str(), m_sTarget.c_str()) != 0)
  {
    return Fail("write");
  }
  g_temporaryFiles.erase(m_sTemporary);
  m_sTemporary.clear();
  return true;
}

void RemoveTemporaryFiles()
{
  const std::lock_guard lock(g_temporaryLock);
  for (const std::string& sName : g_temporaryFiles)
  {
    unlink(sName.c_str());
    // The library linearizes into a file beside the one that it has written.
    unlink((sName + ".tmp").c_str());
  }
  g_temporaryFiles.clear();
}

}  // namespace Tool
