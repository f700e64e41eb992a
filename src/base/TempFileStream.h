#pragma once

#include "base/DelegateFilter.h"
#include "base/File.h"

namespace BSE
{

// A new temporary file, readable and writable, removed at the end; see CFile::CreateTemporary for its place.
// Not valid if it could not be created, which is reported. Duplicates stay usable after the end.
class CTempFileStream : public CDelegateFilter
{
public:
  explicit CTempFileStream(IErrorContext* pErrorContext = nullptr);
  ~CTempFileStream() override;

private:
  CFile m_file;
};

}  // namespace BSE
