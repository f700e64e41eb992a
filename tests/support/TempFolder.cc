#include "tests/support/TempFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace Support
{

CTempFolder::CTempFolder()
{
  std::string sTemplate = (std::filesystem::temp_directory_path() / "brevex-test.XXXXXX").string();
  if (mkdtemp(sTemplate.data()) == nullptr)
  {
    throw std::filesystem::filesystem_error("mkdtemp", sTemplate,
                                            std::error_code(errno, std::generic_category()));
  }
  m_path = sTemplate;
}

CTempFolder::~CTempFolder()
{
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

int CTempFolder::CountEntries() const
{
  const std::filesystem::directory_iterator first(m_path);
  return static_cast<int>(std::distance(first, {}));
}

std::string ReadFile(const std::filesystem::path& path)
{
  const std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  if (!in)
    throw std::runtime_error("cannot read " + path.string());
  if (in.rdbuf()->in_avail() != 0)
    out << in.rdbuf();
  return std::move(out).str();
}

void WriteFile(const std::filesystem::path& path, std::string_view sBytes)
{
  std::ofstream out(path, std::ios::binary);
  out.write(sBytes.data(), static_cast<std::streamsize>(sBytes.size()));
  if (!out.flush())
    throw std::runtime_error("cannot write " + path.string());
}

}  // namespace Support
