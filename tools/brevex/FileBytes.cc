#include "FileBytes.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace Tool
{
namespace
{

constexpr size_t g_nBlock = size_t{256} << 10;

// Number of bytes read, 0 at the end, -1 on failure.
ssize_t ReadBlock(int nInput, char* pBytes, size_t nSize)
{
  ssize_t nRead = 0;
  do
  {
    nRead = read(nInput, pBytes, nSize);
  } while (nRead < 0 && errno == EINTR);
  return nRead;
}

}  // namespace

CFileDescriptor::~CFileDescriptor()
{
  Close();
}

bool CFileDescriptor::Close()
{
  const int nFile = std::exchange(m_nFile, -1);
  // Not repeated after a signal: the descriptor is gone then.
  return nFile < 0 || close(nFile) == 0 || errno == EINTR;
}

bool WriteBytes(int nFile, const char* pBytes, size_t nSize)
{
  while (nSize > 0)
  {
    const ssize_t nWritten = write(nFile, pBytes, nSize);
    if (nWritten < 0 && errno != EINTR)
    {
      return false;
    }
    if (nWritten > 0)
    {
      pBytes += nWritten;
      nSize -= static_cast<size_t>(nWritten);
    }
  }
  return true;
}

bool CopyBytes(int nInput, int nOutput)
{
  std::vector<char> block(g_nBlock);
  for (;;)
  {
    const ssize_t nRead = ReadBlock(nInput, block.data(), block.size());
    if (nRead <= 0)
    {
      return nRead == 0;
    }
    if (!WriteBytes(nOutput, block.data(), static_cast<size_t>(nRead)))
    {
      return false;
    }
  }
}

bool ReadBytes(int nInput, std::string& sBytes, size_t nMax)
{
  while (sBytes.size() < nMax)
  {
    const size_t nDone = sBytes.size();
    const size_t nBlock = std::min(g_nBlock, nMax - nDone);
    sBytes.resize(nDone + nBlock);
    const ssize_t nRead = ReadBlock(nInput, sBytes.data() + nDone, nBlock);
    sBytes.resize(nDone + static_cast<size_t>(nRead > 0 ? nRead : 0));
    if (nRead <= 0)
    {
      return nRead == 0;
    }
  }
  return true;
}

}  // namespace Tool
