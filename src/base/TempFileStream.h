#pragma once

#include "base/DelegateFilter.h"
#include "base/File.h"

namespace BSE
{

// A new temporary file, readable and writable, in the folder of CFile::OpenTemporary. Its name is gone as
// soon as it is open, and the system frees it at the end, however the process comes to it. Not valid if it
// could not be created, which is reported.
class CTempFileStream : public CDelegateFilter
{
public:
  explicit CTempFileStream(IErrorContext* pErrorContext = nullptr);
};

}  // namespace BSE
