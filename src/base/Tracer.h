#pragma once

#include <atomic>

namespace BSE
{

// The diagnostic log for the library's makers: lines of comma-separated fields under the header
// "Time,Process,Thread,Severity,Product,Component,Message". Off unless the environment variable
// PDF_TRACE_OUTPUT names a file when the library is loaded, or SetOutput is called. It never changes
// behaviour and never reports errors. Callers ask IsOn before they format anything: a disabled trace costs
// one load and a branch.
class CTracer
{
public:
  static bool IsOn() { return g_bOn.load(std::memory_order_relaxed); }

  // Writes one line. szSeverity is "E", "W", "I" or "D". The format takes the conversions of printf
  // (%d %i %u %x %X %o %c %s %f %e %g %p %%, flags, width, precision, h l L), %S for a wchar_t text written
  // as UTF-8, and C escapes that are in the format as backslash sequences. Cut at 1023 bytes.
  static void Trace(const char* szSeverity, const char* szComponent, const char* szFormat, ...)
      __attribute__((nonnull(1, 2, 3)));

  // Text of the Product column, at most 255 bytes.
  static void SetProduct(const char* szProduct);

  // Replaces the output; a "%s" in the path becomes the local date as yyyy-mm-dd. On success tracing is on.
  static bool SetOutput(const char* szPath);

  // Drops the output; tracing is off.
  static void Close();

private:
  static std::atomic<bool> g_bOn;
};

// Writes "Begin %s" at creation and "End %s" at the end of a scope, severity "I".
class CTraceBlock
{
public:
  CTraceBlock(const char* szComponent, const char* szFormat, ...);
  ~CTraceBlock();
  CTraceBlock(const CTraceBlock&) = delete;
  CTraceBlock& operator=(const CTraceBlock&) = delete;

private:
  const char* m_szComponent;
  char m_szText[256];
};

// Monotonic clock for durations in trace lines.
class CStopWatch
{
public:
  CStopWatch() { Restart(); }
  void Restart();

  // Seconds since creation or the last restart.
  double GetSeconds() const;

private:
  long long m_nStartNanoseconds = 0;
};

}  // namespace BSE
