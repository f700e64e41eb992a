#include "fonts/installed/FontFolders.h"

#include "base/Tracer.h"
#include "fonts/installed/FontFile.h"

#include <strings.h>
#include <sys/stat.h>

#include <cstring>
#include <limits>

namespace PDF
{

namespace
{

// Files and folders that are looked at, with all links: machines with all fonts of a distribution have some
// thousands.
constexpr int g_nMaxEntries = 1 << 18;

bool IsFontName(const BSE::CFile& file)
{
  for (const char* szEnding : {"ttf", "otf", "ttc", "pfb", "pfa"})
    if (strcasecmp(file.GetExtension(), szEnding) == 0)
      return true;
  return false;
}

// Paths that are owned here, taken from the end.
class CPathStack
{
public:
  CPathStack() = default;
  CPathStack(const CPathStack&) = delete;
  CPathStack& operator=(const CPathStack&) = delete;
  ~CPathStack()
  {
    for (BSE::CStr8* p : m_paths.GetSpan())
      delete p;
  }

  bool IsEmpty() const { return m_paths.IsEmpty(); }
  int GetSize() const { return m_paths.GetSize(); }

  void Push(const char* szPath)
  {
    BSE::CScopedPtr<BSE::CStr8> pPath(new BSE::CStr8(szPath));
    m_paths.Add(pPath.Get());
    pPath.Detach();
  }
  BSE::CScopedPtr<BSE::CStr8> Pop()
  {
    const int nLast = m_paths.GetSize() - 1;
    BSE::CScopedPtr<BSE::CStr8> pPath(m_paths[nLast]);
    m_paths.SetSize(nLast);
    return pPath;
  }

  // The last ones, so that they come off by their names.
  void Sort(int nFirst)
  {
    const std::span<BSE::CStr8*> part = m_paths.GetSpan().subspan(static_cast<std::size_t>(nFirst));
    std::sort(part.begin(), part.end(),
              [](const BSE::CStr8* pA, const BSE::CStr8* pB)
              { return std::strcmp(pA->GetText(), pB->GetText()) > 0; });
  }

private:
  BSE::CPtrArray<BSE::CStr8> m_paths;
};

void ReadFile(const char* szPath, BSE::CObjectArray<CInstalledFont>& fonts)
{
  const BSE::CObjectPtr<BSE::CFileStream> pFile =
      OpenRegularFile(szPath, std::numeric_limits<std::int64_t>::max(), nullptr);
  if (!pFile)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "Font Collection", "Font file could not be opened: %s", szPath);
    return;
  }
  if (CFontFileReader(*pFile, szPath).Read(fonts) == 0 && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "Font Collection", "Error reading font file %s", szPath);
}

}  // namespace

bool CFontFolders::IsNew(const char* szPath, struct stat& status)
{
  if (stat(szPath, &status) != 0)
    return false;
  const std::uint64_t key[2] = {status.st_dev, status.st_ino};
  if (m_met.Lookup(key, sizeof key) >= 0)
    return false;
  m_met.SetAt(key, sizeof key, nullptr);
  return true;
}

int CFontFolders::Add(const char* szFolder, BSE::CObjectArray<CInstalledFont>& fonts)
{
  const int nBefore = fonts.GetSize();
  int nEntries = 0;
  CPathStack stack;
  stack.Push(szFolder);
  while (!stack.IsEmpty())
  {
    const BSE::CFile file(stack.Pop()->GetText());
    struct stat status = {};
    if (!IsNew(file.GetPath(), status))
      continue;
    if (S_ISREG(status.st_mode) && IsFontName(file))
      ReadFile(file.GetPath(), fonts);
    if (!S_ISDIR(status.st_mode))
      continue;
    const int nFirst = stack.GetSize();
    BSE::CFileFinder finder(file.GetPath());
    for (BSE::CFile entry; nEntries < g_nMaxEntries && finder.FindNext(entry); ++nEntries)
      stack.Push(entry.GetPath());
    stack.Sort(nFirst);
  }
  if (nEntries == g_nMaxEntries && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "Font Collection", "Too many files in font directory %s.", szFolder);
  return fonts.GetSize() - nBefore;
}

}  // namespace PDF
