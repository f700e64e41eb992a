#pragma once

#include "base/FileStream.h"

namespace BSE
{

// A new file that takes the name of another one once it is complete. It is created exclusively next to it,
// under the name with ".tmp" at its end, which is never one that exists: whatever has that name already, even
// a link, is not ours. Folder and file are opened once, and everything is done with their descriptors.
// Removed unless it is committed.
class CReplacementFile
{
public:
  CReplacementFile() = default;
  ~CReplacementFile();
  CReplacementFile(const CReplacementFile&) = delete;
  CReplacementFile& operator=(const CReplacementFile&) = delete;

  // Once, for the path that is to be replaced, links resolved; it need not exist. The new file is readable by
  // nobody else where it does. False if it cannot be created, which is reported as CFileStream does.
  bool Create(const char* szPath, IErrorContext* pErrorContext);

  // Null before Create and after its failure.
  IByteStream* GetStream() { return m_pStream.Get(); }

  // True if the name that is to be replaced leads to the file of the stream.
  bool Replaces(const CFileStream& stream) const;

  // Gives the file the mode and, where that is allowed, the owner of the one that it replaces, closes it and
  // renames it. False, with errno, on failure.
  bool Commit();

private:
  int CreateFile(const char* szPath);
  bool KeepAttributes() const;

  CStr8 m_name;       // in the folder
  CStr8 m_temporary;  // in the folder; empty without a file
  CObjectPtr<CFileStream> m_pStream;
  int m_fdFolder = -1;
};

}  // namespace BSE
