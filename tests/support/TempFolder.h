#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Support
{

// A new empty folder that is removed with all that it holds. Throws std::filesystem::filesystem_error when it
// cannot be made.
class CTempFolder
{
public:
  CTempFolder();
  ~CTempFolder();
  CTempFolder(const CTempFolder&) = delete;
  CTempFolder& operator=(const CTempFolder&) = delete;

  std::filesystem::path operator/(std::string_view sName) const { return m_path / sName; }
  const std::filesystem::path& GetPath() const { return m_path; }
  // Number of files and folders directly inside.
  int CountEntries() const;

private:
  std::filesystem::path m_path;
};

// The whole file. Throws std::runtime_error when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

// Throws std::runtime_error when it cannot be written.
void WriteFile(const std::filesystem::path& path, std::string_view sBytes);

}  // namespace Support
