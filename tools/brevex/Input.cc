#include "Input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace Tool
{

// Standard input as a stream of the library, from memory.
struct TInputCallbacks
{
  static CInput& Get(void* handle) { return *static_cast<CInput*>(handle); }

  static std::int64_t GetLength(void* handle) { return Get(handle).m_nSize; }

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
    CInput& input = Get(handle);
    const std::int64_t nLeft = std::max<std::int64_t>(input.m_nSize - input.m_nPosition, 0);
    const size_t nTaken = std::min(nSize, static_cast<size_t>(nLeft));
    const char* pFrom = input.m_sBytes.data() + (nTaken > 0 ? input.m_nPosition : 0);
    std::copy_n(pFrom, nTaken, static_cast<char*>(pBuffer));
    input.m_nPosition += static_cast<std::int64_t>(nTaken);
    return static_cast<std::int64_t>(nTaken);
  }
};

bool CInput::Fail()
{
  m_sError = "cannot be read: " + std::generic_category().message(errno);
  return false;
}

bool CInput::Load(const std::string& sName)
{
  if (sName == "-")
  {
    const bool bRead = ReadBytes(STDIN_FILENO, m_sBytes);
    m_nSize = static_cast<std::int64_t>(m_sBytes.size());
    return bRead || Fail();
  }
  // A pipe is told from a file once it is open, for which it must not wait for a writer.
  m_pFile = std::make_unique<CFileDescriptor>(open(sName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status
  {
  };
  if (!m_pFile->IsOpen() || fstat(m_pFile->Get(), &status) != 0)
  {
    return Fail();
  }
  if (!S_ISREG(status.st_mode))
  {
    errno = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
    return Fail();
  }
  m_nSize = status.st_size;
  return true;
}

TBrevexStreamDescriptor CInput::GetCallbacks()
{
  if (m_pFile)
  {
    m_stream.Attach(m_pFile->Get());
    return m_stream.GetCallbacks();
  }
  TBrevexStreamDescriptor callbacks{};
  callbacks.pfGetLength = TInputCallbacks::GetLength;
  callbacks.pfSeek = TInputCallbacks::Seek;
  callbacks.pfTell = TInputCallbacks::Tell;
  callbacks.pfRead = TInputCallbacks::Read;
  callbacks.handle = this;
  m_nPosition = 0;
  return callbacks;
}

bool CInput::Open(const CHandle& handle, const std::string& sPassword)
{
  const TBrevexStreamDescriptor callbacks = GetCallbacks();
  return BrevexOpenStreamW(handle.Get(), &callbacks, ToUtf16(sPassword).c_str()) != 0;
}

bool CInput::CopyTo(CAtomicFile& file) const
{
  return m_pFile ? file.ReplaceByFile(m_pFile->Get()) : file.ReplaceByBytes(m_sBytes);
}

}  // namespace Tool
