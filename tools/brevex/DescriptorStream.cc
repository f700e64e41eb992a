#include "DescriptorStream.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace Tool
{

struct TDescriptorCallbacks
{
  static CDescriptorStream& Get(void* handle) { return *static_cast<CDescriptorStream*>(handle); }

  static std::int64_t GetLength(void* handle)
  {
    struct stat status
    {
    };
    return fstat(Get(handle).m_nFile, &status) == 0 ? status.st_size : -1;
  }

  static int Seek(void* handle, std::int64_t nPosition)
  {
    if (nPosition < 0)
    {
      return 0;
    }
    Get(handle).m_nPosition = nPosition;
    return 1;
  }

  static std::int64_t Tell(void* handle) { return Get(handle).m_nPosition; }

  static std::int64_t Read(void* handle, void* pBuffer, size_t nSize)
  {
    CDescriptorStream& stream = Get(handle);
    ssize_t nRead = 0;
    do
    {
      nRead = pread(stream.m_nFile, pBuffer, nSize, stream.m_nPosition);
    } while (nRead < 0 && errno == EINTR);
    return stream.Finish(nRead);
  }

  static std::int64_t Write(void* handle, const void* pBuffer, size_t nSize)
  {
    CDescriptorStream& stream = Get(handle);
    ssize_t nWritten = 0;
    do
    {
      nWritten = pwrite(stream.m_nFile, pBuffer, nSize, stream.m_nPosition);
    } while (nWritten < 0 && errno == EINTR);
    return stream.Finish(nWritten);
  }
};

void CDescriptorStream::Attach(int nFile)
{
  m_nFile = nFile;
  m_nPosition = 0;
  m_nError = 0;
}

TBrevexStreamDescriptor CDescriptorStream::GetCallbacks()
{
  TBrevexStreamDescriptor callbacks{};
  callbacks.pfGetLength = TDescriptorCallbacks::GetLength;
  callbacks.pfSeek = TDescriptorCallbacks::Seek;
  callbacks.pfTell = TDescriptorCallbacks::Tell;
  callbacks.pfRead = TDescriptorCallbacks::Read;
  callbacks.pfWrite = TDescriptorCallbacks::Write;
  callbacks.handle = this;
  return callbacks;
}

std::int64_t CDescriptorStream::Finish(std::int64_t nDone)
{
  if (nDone >= 0)
  {
    m_nPosition += nDone;
  }
  else if (m_nError == 0)
  {
    m_nError = errno;
  }
  return nDone;
}

}  // namespace Tool
