#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Tool
{

// Closes a file descriptor at its end. A negative one is none.
class CFileDescriptor
{
public:
  explicit CFileDescriptor(int nFile) : m_nFile(nFile) {}
  ~CFileDescriptor();
  CFileDescriptor(const CFileDescriptor&) = delete;
  CFileDescriptor& operator=(const CFileDescriptor&) = delete;

  bool IsOpen() const { return m_nFile >= 0; }
  int Get() const { return m_nFile; }

  // For one that is none yet.
  void Take(int nFile) { m_nFile = nFile; }

  // Closes it at once; false with errno if the system says that written data was lost.
  bool Close();

private:
  int m_nFile;
};

// Goes on where the system takes less than it was given. False with errno on failure.
bool WriteBytes(int nFile, const char* pBytes, size_t nSize);

// From the present position of the input to its end. False with errno on failure.
bool CopyBytes(int nInput, int nOutput);

// Appends the rest of the input, or as much of it as makes nMax bytes. False with errno on failure.
bool ReadBytes(int nInput, std::string& sBytes, size_t nMax = SIZE_MAX);

}  // namespace Tool
