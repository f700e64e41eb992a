#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <string>

#include "DescriptorStream.h"
#include "FileBytes.h"

namespace Tool
{

// A file that appears under its name only when it is complete: it is written under a temporary name in the
// same folder and renamed. An existing file keeps its mode, and its owner where that is allowed; a symbolic
// link keeps pointing to what it points to. A target that is no regular file, such as a pipe or a device, and
// "-" for standard output, is written at the end from a nameless file elsewhere.
//
// The folder and the temporary file are opened once, and everything is done with their descriptors: whoever
// may rename things in the folder can spoil the result, but not turn it on another file.
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

  // Makes the temporary file. False, with a text in GetError, when that is impossible. A target that is the
  // very file open as nInput is replaced only while it is as it was then.
  bool Create(const std::string& sTarget, int nInput = -1);

  // The temporary file from its start, empty, as a stream of the library. False as for Create.
  bool Restart(TBrevexStreamDescriptor& callbacks);

  // True once the stream could not write for a reason that the system has given; GetError names it.
  bool HasFailedToWrite();

  // Bytes in the temporary file; -1 when that is not known.
  std::int64_t GetSize() const;

  // Replaces what was written by these bytes of a file that is open for reading, or of memory.
  bool ReplaceByFile(int nInput);
  bool ReplaceByBytes(const std::string& sBytes);

  // Brings the bytes to the disk and the file to its name.
  bool Commit();

  const std::string& GetError() const { return m_sError; }

private:
  friend void RemoveTemporaryFiles();

  bool Fail(const char* szDoing);
  bool CheckTarget(int nInput);
  bool OpenTemporary(const std::string& sFolder, const std::string& sName);
  bool OpenNameless();
  bool Empty();
  bool HasInputChanged() const;
  bool KeepAttributes() const;
  bool CopyToTarget();
  bool Rename();
  void RemoveTemporary();

  std::string m_sTarget;  // resolved; empty for standard output
  std::string m_sError;
  std::unique_ptr<CFileDescriptor> m_pFolder;
  std::unique_ptr<CFileDescriptor> m_pFile;
  std::string m_sTemporary;   // in the folder; empty without a name
  std::string m_sName;        // of the target in the folder
  struct stat m_status = {};  // of the target, if it exists
  bool m_bExists = false;
  bool m_bIsInput = false;
  bool m_bRename = false;
  CDescriptorStream m_stream;
};

// Removes the temporary files of all targets that are not committed, and keeps others from being made or
// committed. For the end by a signal; any thread.
void RemoveTemporaryFiles();

}  // namespace Tool
