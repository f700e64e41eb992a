#pragma once

#include <brevex/brevex.h>

#include <cstdint>

namespace Tool
{

// An open file as a stream of the library, at a position of its own: what is read and written is what was
// opened, whatever has its name by then. Borrows the descriptor, and has to outlive what is opened or saved
// with it.
class CDescriptorStream
{
public:
  explicit CDescriptorStream(int nFile = -1) : m_nFile(nFile) {}

  // Begins at the start of a file, with no failure known.
  void Attach(int nFile);

  TBrevexStreamDescriptor GetCallbacks();

  // The number of the first failure of the system, or 0: the library says no more than that there was one.
  int GetError() const { return m_nError; }

private:
  std::int64_t Finish(std::int64_t nDone);

  int m_nFile;
  std::int64_t m_nPosition = 0;
  int m_nError = 0;

  friend struct TDescriptorCallbacks;
};

}  // namespace Tool
