// Lists the images and fonts of arbitrary bytes as a document, and extracts them into a folder of its own.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace
{

// Extraction writes to the working directory. Gone with the process.
class CScratchFolder
{
public:
  CScratchFolder()
  {
    std::string sName = (std::filesystem::temp_directory_path() / "brevex-list.XXXXXX").string();
    if (!mkdtemp(sName.data()) || chdir(sName.c_str()) != 0)
      std::abort();
    m_path = sName;
  }
  ~CScratchFolder()
  {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  // What one input has left may not fill the disk.
  void Clear() const
  {
    for (const auto& entry : std::filesystem::directory_iterator(m_path))
      std::filesystem::remove(entry.path());
  }

private:
  std::filesystem::path m_path;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  static const CScratchFolder folder;
  BSE::CErrorHandler handler;
  PDF::COptimizer optimizer(&handler);
  optimizer.GetOptions().m_bExtractImages = optimizer.GetOptions().m_bExtractFonts = true;
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  if (!optimizer.Open(pInput.Get(), nullptr))
    return 0;
  optimizer.ListImages("images.txt");
  optimizer.ListFonts("fonts.txt");
  optimizer.Close();
  folder.Clear();
  return 0;
}
