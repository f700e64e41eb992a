#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "AtomicFile.h"
#include "FileBytes.h"
#include "Handle.h"

namespace Tool
{

// The document to read: a file, or standard input ("-"), which is read into memory whole.
class CInput
{
public:
  // False, with a text in GetError, when it cannot be read.
  bool Load(const std::string& sName);

  // Opens it as the document of the handle; false leaves the status code there. The input must live as long
  // as the document is open.
  bool Open(const CHandle& handle, const std::string& sPassword);

  std::int64_t GetSize() const { return m_nSize; }
  bool CopyTo(CAtomicFile& file) const;

  // Of a file; -1 for standard input.
  int GetDescriptor() const { return m_pFile ? m_pFile->Get() : -1; }
  const std::string& GetError() const { return m_sError; }

private:
  bool Fail();
  TBrevexStreamDescriptor GetCallbacks();

  std::string m_sBytes;  // of standard input
  std::unique_ptr<CFileDescriptor> m_pFile;
  std::int64_t m_nSize = 0;
  std::int64_t m_nPosition = 0;  // in standard input
  CDescriptorStream m_stream;
  std::string m_sError;

  friend struct TInputCallbacks;
};

}  // namespace Tool
