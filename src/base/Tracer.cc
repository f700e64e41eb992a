#include "base/Tracer.h"

#include "base/TraceFormat.h"
#include "base/TraceOutput.h"

#include <pthread.h>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace BSE
{

namespace
{

constexpr int g_nLineSize = 1024;

// All that the tracer keeps. Ready before any code runs and never destroyed: other static objects may trace
// while they come and go.
struct TTraceState
{
  pthread_mutex_t m_mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
  CFileTraceOutput m_output;
  char m_szProduct[256] = {};
  char m_szLine[g_nLineSize] = {};
};

constinit TTraceState g_state;

class CTraceLock
{
public:
  CTraceLock() { pthread_mutex_lock(&g_state.m_mutex); }
  ~CTraceLock() { pthread_mutex_unlock(&g_state.m_mutex); }
  CTraceLock(const CTraceLock&) = delete;
  CTraceLock& operator=(const CTraceLock&) = delete;
};

struct TEnvironmentReader
{
  TEnvironmentReader()
  {
    const char* szPath = std::getenv("PDF_TRACE_OUTPUT");
    if (!szPath)
      return;
    std::fputs("Environment variable PDF_TRACE_OUTPUT is set.\n", stderr);
    if (CTracer::SetOutput(szPath))
      std::fprintf(stderr, "Writing tracing messages to file %s.\n", g_state.m_output.GetPath());
  }
};

long long ReadClock()
{
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<long long>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// Before all other initialisers, so that they can trace.
__attribute__((init_priority(101))) TEnvironmentReader g_environmentReader;

}  // namespace

constinit std::atomic<bool> CTracer::g_bOn = false;

void CTracer::Trace(const char* szSeverity, const char* szComponent, const char* szFormat, ...)
{
  if (!IsOn())
    return;
  // Whoever traces between a failed call and its errno keeps the errno.
  const int nErrno = errno;
  {
    const CTraceLock lock;
    va_list arguments;
    va_start(arguments, szFormat);
    FormatTraceMessage(g_state.m_szLine, g_nLineSize, szFormat, arguments);
    va_end(arguments);
    g_state.m_output.Write(szSeverity, g_state.m_szProduct, szComponent, g_state.m_szLine);
  }
  errno = nErrno;
}

void CTracer::SetProduct(const char* szProduct)
{
  const CTraceLock lock;
  std::snprintf(g_state.m_szProduct, sizeof(g_state.m_szProduct), "%s", szProduct);
}

bool CTracer::SetOutput(const char* szPath)
{
  const CTraceLock lock;
  const bool bOn = g_state.m_output.SetPath(szPath) && g_state.m_output.Probe();
  g_bOn.store(bOn, std::memory_order_relaxed);
  return bOn;
}

void CTracer::Close()
{
  const CTraceLock lock;
  g_bOn.store(false, std::memory_order_relaxed);
  g_state.m_output.Clear();
}

CTraceBlock::CTraceBlock(const char* szComponent, const char* szFormat, ...)
    : m_szComponent(CTracer::IsOn() ? szComponent : nullptr)
{
  m_szText[0] = 0;
  if (!m_szComponent)
    return;
  va_list arguments;
  va_start(arguments, szFormat);
  FormatTraceMessage(m_szText, static_cast<int>(sizeof(m_szText)), szFormat, arguments);
  va_end(arguments);
  CTracer::Trace("I", m_szComponent, "Begin %s", m_szText);
}

CTraceBlock::~CTraceBlock()
{
  if (m_szComponent)
    CTracer::Trace("I", m_szComponent, "End %s", m_szText);
}

void CStopWatch::Restart()
{
  m_nStartNanoseconds = ReadClock();
}

double CStopWatch::GetSeconds() const
{
  return static_cast<double>(ReadClock() - m_nStartNanoseconds) * 1e-9;
}

}  // namespace BSE
