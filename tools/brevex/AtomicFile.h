#pragma once

#include <cstdint>
#include <string>

namespace Tool
{

// A file that appears under its name only when it is complete: it is written under a temporary name in the
// same folder and renamed. An existing file keeps its mode, and its owner where that is allowed; a symbolic
// link keeps pointing to what it points to. A target that is no regular file, such as a pipe or a device, and
// "-" for standard output, is written at the end from a temporary file elsewhere.
//
// The temporary file is removed unless Commit succeeds, and also when the process is interrupted (see
// RemoveTemporaryFiles).
class CAtomicFile
{
public:
  CAtomicFile() = default;
  ~CAtomicFile();
  CAtomicFile(const CAtomicFile&) = delete;
  CAtomicFile& operator=(const CAtomicFile&) = delete;

  // Makes the temporary file. False, with a text in GetError, when that is impossible.
  bool Create(const std::string& sTarget);

  // Where to write; empty before Create.
  const std::string& GetTemporaryName() const { return m_sTemporary; }

  // Bytes in the temporary file; -1 when it is gone.
  std::int64_t GetSize() const;

  // Replaces what was written by these bytes of a file that is open for reading, or of memory.
  bool ReplaceByFile(int nInput);
  bool ReplaceByBytes(const std::string& sBytes);

  // Brings the bytes to the disk and the file to its name.
  bool Commit();

  const std::string& GetError() const { return m_sError; }

private:
  bool Fail(const char* szDoing);
  bool OpenTemporary(const std::string& sFolder, const std::string& sName);
  bool KeepAttributes() const;
  bool CopyToTarget();
  bool Rename();

  std::string m_sTarget;  // resolved; empty for standard output
  std::string m_sTemporary;
  std::string m_sError;
  bool m_bRename = false;
};

// Removes the temporary files of all targets that are not committed. For the end by a signal; any thread.
void RemoveTemporaryFiles();

}  // namespace Tool
