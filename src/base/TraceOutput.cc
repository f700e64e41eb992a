#include "base/TraceOutput.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace BSE
{

namespace
{

constexpr char g_szHeader[] = "Time,Process,Thread,Severity,Product,Component,Message\n";
constexpr std::size_t g_nPieceSize = 253;
constexpr std::size_t g_nTimeSize = 128;

void Complain(const char* szText)
{
  std::fputs(szText, stderr);
}

bool WriteAll(int nFile, const char* pData, std::size_t nLength)
{
  while (nLength > 0)
  {
    const ssize_t nWritten = write(nFile, pData, nLength);
    if (nWritten < 0 && errno == EINTR)
      continue;
    if (nWritten <= 0)
      return false;
    pData += nWritten;
    nLength -= static_cast<std::size_t>(nWritten);
  }
  return true;
}

// The whole file; true on success.
bool SetLock(int nFile, int nCommand, short nType)
{
  struct flock lock = {};
  lock.l_type = nType;
  lock.l_whence = SEEK_SET;
  while (fcntl(nFile, nCommand, &lock) != 0)
    if (errno != EINTR)
      return false;
  return true;
}

bool WriteMessage(int nFile, const char* szMessage)
{
  char aPiece[g_nPieceSize];
  std::size_t nUsed = 0;
  for (const char* p = szMessage; *p; ++p)
  {
    if (*p == '\n')
      continue;
    if (*p == '"')
      aPiece[nUsed++] = '"';
    aPiece[nUsed++] = *p;
    if (nUsed + 2 <= g_nPieceSize)
      continue;
    if (!WriteAll(nFile, aPiece, nUsed))
      return false;
    nUsed = 0;
  }
  return WriteAll(nFile, aPiece, nUsed);
}

bool WriteStart(int nFile, const char* szSeverity, const char* szProduct, const char* szComponent)
{
  struct stat status = {};
  if (fstat(nFile, &status) != 0 || lseek(nFile, 0, SEEK_END) < 0)
    return false;
  if (status.st_size == 0 && !WriteAll(nFile, g_szHeader, sizeof(g_szHeader) - 1))
    return false;
  char szTime[g_nTimeSize] = "";
  const std::time_t nNow = std::time(nullptr);
  std::tm local = {};
  if (localtime_r(&nNow, &local))
    std::strftime(szTime, sizeof(szTime), "%Y-%m-%d %H:%M:%S", &local);
  char szStart[1024];
  const int nLength = std::snprintf(szStart, sizeof(szStart), "%s,%d,%d,%.8s,%.255s,%.255s,\"", szTime,
                                    static_cast<int>(getpid()), static_cast<int>(pthread_self()), szSeverity,
                                    szProduct, szComponent);
  return nLength > 0 && WriteAll(nFile, szStart, static_cast<std::size_t>(nLength));
}

}  // namespace

bool CFileTraceOutput::SetPath(const char* szPath)
{
  Clear();
  const char* pMark = std::strstr(szPath, "%s");
  char szDate[48] = "";
  const std::time_t nNow = std::time(nullptr);
  std::tm local = {};
  if (pMark && localtime_r(&nNow, &local))
    std::snprintf(szDate, sizeof(szDate), "%04d-%02d-%02d", local.tm_year + 1900, local.tm_mon + 1,
                  local.tm_mday);
  const int nHead = static_cast<int>(pMark ? pMark - szPath : 0);
  const int nLength = std::snprintf(m_szPath, sizeof(m_szPath), "%.*s%s%s", nHead, szPath, szDate,
                                    pMark ? pMark + 2 : szPath);
  if (nLength > 0 && static_cast<std::size_t>(nLength) < sizeof(m_szPath))
    return true;
  Clear();
  return false;
}

int CFileTraceOutput::Open()
{
  if (!m_szPath[0])
    return -1;
  const int nFile = open(m_szPath, O_RDWR | O_CREAT | O_SYNC | O_CLOEXEC, 0600);
  if (nFile < 0)
  {
    Complain("Failed to open trace file.\n");
    Clear();
  }
  return nFile;
}

bool CFileTraceOutput::Probe()
{
  const int nFile = Open();
  if (nFile < 0)
    return false;
  close(nFile);
  return true;
}

bool CFileTraceOutput::Write(const char* szSeverity, const char* szProduct, const char* szComponent,
                             const char* szMessage)
{
  const int nFile = Open();
  if (nFile < 0)
    return false;
  const bool bLocked = SetLock(nFile, F_SETLKW, F_WRLCK);
  if (!bLocked)
    Complain("Failed to get lock on trace file.\n");
  const bool bWritten = WriteStart(nFile, szSeverity, szProduct, szComponent) &&
                        WriteMessage(nFile, szMessage) && WriteAll(nFile, "\"\n", 2);
  if (!bWritten)
    Complain("Failed to write trace message.\n");
  if (bLocked && !SetLock(nFile, F_SETLK, F_UNLCK))
    Complain("Failed to free lock on trace file.\n");
  close(nFile);
  return bWritten;
}

}  // namespace BSE
