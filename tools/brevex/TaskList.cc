#include "TaskList.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <system_error>

namespace Tool
{
namespace
{

namespace fs = std::filesystem;

bool IsPdfName(const fs::path& path)
{
  std::string sExtension = path.extension().string();
  std::transform(sExtension.begin(), sExtension.end(), sExtension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return sExtension == ".pdf";
}

std::string GetOutput(const TOptimizeOptions& options, const fs::path& input, const fs::path& below)
{
  return options.bInPlace ? input.string() : (fs::path(options.sOutputFolder) / below).string();
}

// Adds what a folder has, files to the one list and folders to the other. What cannot be read is reported.
void ReadFolder(const fs::path& folder, std::vector<fs::path>& files, std::vector<fs::path>& folders,
                TTaskList& list)
{
  std::error_code error;
  fs::directory_iterator it(folder, error);
  for (; !error && it != fs::directory_iterator(); it.increment(error))
  {
    std::error_code ignored;
    if (it->is_directory(ignored) && !it->is_symlink(ignored))
    {
      folders.push_back(it->path());
    }
    else if (it->is_regular_file(ignored) && IsPdfName(it->path()))
    {
      files.push_back(it->path());
    }
  }
  if (error)
  {
    list.unread.push_back(folder.string() + ": cannot be read: " + error.message());
  }
}

void AddFolder(const TOptimizeOptions& options, const fs::path& folder, TTaskList& list)
{
  std::vector<fs::path> found;
  std::vector<fs::path> open = {folder};
  while (!open.empty())
  {
    const fs::path next = open.back();
    open.pop_back();
    ReadFolder(next, found, open, list);
  }
  std::sort(found.begin(), found.end());
  for (const fs::path& path : found)
  {
    list.tasks.push_back({path.string(), GetOutput(options, path, path.lexically_relative(folder))});
  }
}

void CheckOutputs(TTaskList& list)
{
  std::map<std::string, const std::string*> seen;
  for (const TTask& task : list.tasks)
  {
    const auto [it, bNew] = seen.emplace(fs::path(task.sOutput).lexically_normal().string(), &task.sInput);
    if (!bNew)
    {
      list.sError = *it->second + " and " + task.sInput + " would both become " + task.sOutput;
      return;
    }
  }
}

}  // namespace

TTaskList MakeTaskList(const TOptimizeOptions& options)
{
  TTaskList list;
  std::error_code error;
  if (!options.bInPlace && options.sOutputFolder.empty())
  {
    if (fs::is_directory(options.paths[1], error))
    {
      list.sError = options.paths[1] + " is a folder, which takes --output-dir";
    }
    list.tasks.push_back({options.paths[0], options.paths[1]});
  }
  else
  {
    for (const std::string& sPath : options.paths)
    {
      const fs::path path(sPath);
      const bool bFolder = fs::is_directory(path, error);
      if (bFolder && !options.bRecursive)
      {
        list.sError = sPath + " is a folder, which takes --recursive";
        return list;
      }
      if (bFolder)
      {
        AddFolder(options, path, list);
      }
      else
      {
        list.tasks.push_back({sPath, GetOutput(options, path, path.filename())});
      }
    }
  }
  if (list.sError.empty())
  {
    CheckOutputs(list);
  }
  return list;
}

}  // namespace Tool
