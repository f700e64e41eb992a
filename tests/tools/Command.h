#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

namespace Tools
{

// A folder to run the command in, with a document that it makes smaller and one on which it gains nothing.
class CCommandFolder
{
public:
  CCommandFolder();

  // Runs "brevex ARGUMENTS" in the folder.
  Support::TProcessResult Run(std::vector<std::string> arguments, std::string_view sInput = {}) const;

  std::string Read(std::string_view sName) const { return Support::ReadFile(m_folder / sName); }
  void Write(std::string_view sName, std::string_view sBytes) const
  {
    Support::WriteFile(m_folder / sName, sBytes);
  }
  bool Exists(std::string_view sName) const { return std::filesystem::exists(m_folder / sName); }
  std::filesystem::path GetPath(std::string_view sName) const { return m_folder / sName; }
  int CountEntries() const { return m_folder.CountEntries(); }

  // Compressible contents that are stored raw.
  static std::string MakeLarge();
  // So small that no result of a save is smaller.
  static std::string MakeTiny();

private:
  Support::CTempFolder m_folder;
};

}  // namespace Tools
