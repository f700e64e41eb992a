#pragma once

#include "base/DelegateFilter.h"
#include "base/File.h"

namespace BSE
{

// A new temporary file, readable and writable, in the folder of CFile::OpenTemporary. Its name is gone as
// soon as it is open, and the system frees it once the process ends, however it ends. Not valid if it could
// not be created, which is reported.
class CTempFileStream : public CDelegateFilter
{
public:
  explicit CTempFileStream(IErrorContext* pErrorContext = nullptr);
};

}  // namespace BSE
