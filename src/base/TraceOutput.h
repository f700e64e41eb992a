#pragma once

#include <limits.h>

namespace BSE
{

// The file behind the trace. Every line opens, locks, writes, unlocks and closes it, so that several
// processes can share one file. Not locked against threads: the tracer does that.
class CFileTraceOutput
{
public:
  // Takes the path, with the local date in place of the first "%s". False if the path is too long.
  bool SetPath(const char* szPath);

  // Opens the file once and closes it again. A failure is reported on standard error and silences this
  // output.
  bool Probe();

  // Writes one line; false if it was lost. The message loses its line feeds and has its quotes doubled.
  bool Write(const char* szSeverity, const char* szProduct, const char* szComponent, const char* szMessage);

  const char* GetPath() const { return m_szPath; }

  // Without a path every write is dropped in silence.
  void Clear() { m_szPath[0] = 0; }

private:
  int Open();

  char m_szPath[PATH_MAX] = {};
};

}  // namespace BSE
