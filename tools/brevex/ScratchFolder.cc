#include "ScratchFolder.h"

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <mutex>
#include <system_error>

namespace Tool
{
namespace
{

std::mutex g_lock;
std::string g_sPresent;  // empty for none

void Remove()
{
  std::error_code error;
  if (!g_sPresent.empty())
  {
    std::filesystem::remove_all(g_sPresent, error);
  }
  g_sPresent.clear();
}

}  // namespace

CScratchFolder::~CScratchFolder()
{
  const std::lock_guard lock(g_lock);
  if (!m_sPath.empty())
  {
    Remove();
  }
}

bool CScratchFolder::Create(const std::string& sParent)
{
  const std::lock_guard lock(g_lock);
  std::error_code error;
  std::string sPath = (std::filesystem::absolute(sParent, error) / ".brevex-XXXXXX").string();
  if (error)
  {
    errno = error.value();
    return false;
  }
  if (mkdtemp(sPath.data()) == nullptr)
  {
    return false;
  }
  g_sPresent = sPath;
  m_sPath = sPath;
  return true;
}

// The lock stays with the thread that ends the process, so that nothing is made any more.
void RemoveScratchFolder()
{
  g_lock.lock();
  Remove();
}

}  // namespace Tool
