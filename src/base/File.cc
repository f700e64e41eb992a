#include "base/File.h"

#include "base/Tracer.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace BSE
{

namespace
{

constexpr char g_cSeparator = '/';
constexpr std::size_t g_nMaxTemporaryFolder = 400;
constexpr mode_t g_nFolderPermissions = 0777;

// Traces a failure of the system and keeps errno for the caller.
bool Fail(const char* szFormat, const char* szPath, const char* szSecondPath = nullptr)
{
  const int nErrno = errno;
  if (CTracer::IsOn())
    CTracer::Trace("E", "File", szFormat, nErrno, szPath, szSecondPath);
  errno = nErrno;
  return false;
}

bool GetStatus(const char* szPath, struct stat& status)
{
  if (stat(szPath, &status) == 0)
    return true;
  if (errno != ENOENT && errno != ENOTDIR)
    Fail("stat failed with error %d (%s)", szPath);
  return false;
}

const char* GetVariable(const char* szName)
{
  const char* szValue = std::getenv(szName);
  return szValue && *szValue ? szValue : nullptr;
}

const char* GetTemporaryFolder()
{
  for (const char* szName : {"PDFTMPDIR", "TMP"})
    if (const char* szValue = GetVariable(szName))
      return szValue;
  return "/tmp";
}

bool MakeOneFolder(const char* szPath)
{
  if (mkdir(szPath, g_nFolderPermissions) == 0)
    return true;
  const int nErrno = errno;
  struct stat status;
  if (GetStatus(szPath, status) && S_ISDIR(status.st_mode))
    return true;
  errno = nErrno;
  return Fail("mkdir failed with error %d (%s)", szPath);
}

}  // namespace

CFile::CFile(const char* szFolder, const char* szName) : m_path(szFolder)
{
  if (!m_path.IsEmpty() && m_path[m_path.GetLength() - 1] != g_cSeparator)
    m_path.Append(g_cSeparator);
  m_path.Append(szName);
}

const char* CFile::GetName() const
{
  const char* szSlash = std::strrchr(GetPath(), g_cSeparator);
  return szSlash ? szSlash + 1 : GetPath();
}

CStr8 CFile::GetFolder() const
{
  const auto nLength = static_cast<int>(GetName() - GetPath());
  return {GetPath(), nLength > 1 ? nLength - 1 : nLength};
}

const char* CFile::GetExtension() const
{
  const char* szDot = std::strrchr(GetName(), '.');
  return szDot ? szDot + 1 : "";
}

void CFile::SetExtension(const char* szExtension)
{
  const char* szDot = std::strrchr(GetName(), '.');
  CStr8 path(GetPath(), szDot ? static_cast<int>(szDot - GetPath()) : m_path.GetLength());
  if (szExtension && *szExtension)
  {
    path.Append('.');
    path.Append(szExtension);
  }
  m_path = path;
}

bool CFile::Exists() const
{
  struct stat status;
  return GetStatus(GetPath(), status);
}

bool CFile::IsFolder() const
{
  struct stat status;
  return GetStatus(GetPath(), status) && S_ISDIR(status.st_mode);
}

bool CFile::Remove() const
{
  struct stat status;
  if (lstat(GetPath(), &status) == 0 && S_ISDIR(status.st_mode))
    return rmdir(GetPath()) == 0 || Fail("rmdir failed with error %d (%s)", GetPath());
  return std::remove(GetPath()) == 0 || Fail("remove failed with error %d (%s)", GetPath());
}

bool CFile::Rename(const char* szPath)
{
  if (!szPath || std::rename(GetPath(), szPath) != 0)
    return Fail("rename failed with error %d (%s --> %s)", GetPath(), szPath ? szPath : "");
  m_path = CStr8(szPath);
  return true;
}

bool CFile::MakeFolder() const
{
  for (int i = 1; i < m_path.GetLength(); ++i)
  {
    if (m_path[i] != g_cSeparator || m_path[i - 1] == g_cSeparator)
      continue;
    if (!MakeOneFolder(CStr8(GetPath(), i).GetText()))
      return false;
  }
  return MakeOneFolder(GetPath());
}

int CFile::OpenUnique(const char* szFolder, const char* szPrefix)
{
  CStr8 name(szPrefix);
  name.Append("XXXXXX");
  const CFile pattern(szFolder, name.GetText());
  CBasicArray<char> path;
  path.Append({pattern.GetPath(), static_cast<std::size_t>(pattern.m_path.GetLength()) + 1});
  const int fd = mkostemp(path.GetData(), O_CLOEXEC);
  if (fd < 0)
    return -errno;
  try
  {
    m_path = CStr8(path.GetData());
  }
  catch (...)
  {
    unlink(path.GetData());
    close(fd);
    throw;
  }
  return fd;
}

bool CFile::CreateUnique(const char* szFolder, const char* szPrefix)
{
  const int fd = OpenUnique(szFolder, szPrefix);
  if (fd < 0)
    errno = -fd;
  return fd >= 0 && close(fd) == 0;
}

int CFile::OpenTemporary(const char* szPrefix)
{
  const char* szFolder = GetTemporaryFolder();
  return std::strlen(szFolder) < g_nMaxTemporaryFolder ? OpenUnique(szFolder, szPrefix) : -ENAMETOOLONG;
}

bool CFile::GetCurrentFolder(CFile& folder)
{
  char szPath[PATH_MAX];
  if (!getcwd(szPath, sizeof(szPath)))
    return Fail("getcwd failed with error %d", "");
  folder = CFile(szPath);
  return true;
}

bool CFile::GetHomeFolder(CFile& folder)
{
  const char* szPath = GetVariable("HOME");
  if (szPath)
    folder = CFile(szPath);
  return szPath != nullptr;
}

CFileFinder::CFileFinder(const char* szFolder) : m_path(szFolder), m_pFolder(opendir(m_path.GetText()))
{
  if (!m_pFolder)
    Fail("opendir failed with error %d (%s)", m_path.GetText());
}

CFileFinder::~CFileFinder()
{
  if (m_pFolder)
    closedir(static_cast<DIR*>(m_pFolder));
}

bool CFileFinder::FindNext(CFile& file)
{
  if (!m_pFolder)
    return false;
  const dirent* pEntry = nullptr;
  do
    pEntry = readdir(static_cast<DIR*>(m_pFolder));
  while (pEntry && (std::strcmp(pEntry->d_name, ".") == 0 || std::strcmp(pEntry->d_name, "..") == 0));
  if (!pEntry)
    return false;
  file = CFile(m_path.GetText(), pEntry->d_name);
  return true;
}

}  // namespace BSE
