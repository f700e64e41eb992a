#include "Interruption.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <system_error>
#include <thread>

#include "AtomicFile.h"
#include "ScratchFolder.h"

namespace Tool
{

// The signals are blocked and one thread waits for them, so that it can do what a handler must not.
void HandleInterruption()
{
  signal(SIGPIPE, SIG_IGN);
  // A limit on the size of files is a failed write, reported and tidied up like any other.
  signal(SIGXFSZ, SIG_IGN);
  sigset_t signals;
  sigemptyset(&signals);
  for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
  {
    struct sigaction action
    {
    };
    sigaction(nSignal, nullptr, &action);
    if (action.sa_handler != SIG_IGN)
    {
      sigaddset(&signals, nSignal);
    }
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  try
  {
    std::thread(
        [signals]
        {
          int nSignal = 0;
          sigwait(&signals, &nSignal);
          RemoveTemporaryFiles();
          RemoveScratchFolder();
          _exit(128 + nSignal);
        })
        .detach();
  }
  catch (const std::system_error&)
  {
    // There is no thread to be had: the signals end the program as they do without it.
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  }
}

}  // namespace Tool
