#pragma once

#include <string>

namespace Tool
{

// A new folder for files that are on their way elsewhere. It goes with all that is in it, also when the
// process is interrupted. One at a time.
class CScratchFolder
{
public:
  CScratchFolder() = default;
  ~CScratchFolder();
  CScratchFolder(const CScratchFolder&) = delete;
  CScratchFolder& operator=(const CScratchFolder&) = delete;

  // In that folder. False, with errno, if it cannot be made.
  bool Create(const std::string& sParent);

  const std::string& GetPath() const { return m_sPath; }

private:
  std::string m_sPath;  // absolute
};

// For the end by a signal; any thread.
void RemoveScratchFolder();

}  // namespace Tool
