#include "StopSignals.h"

#include <pthread.h>
#include <signal.h>

namespace {

// SIGUSR1 only wakes the watcher when it is destroyed.
sigset_t watchedSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGUSR1);
    return set;
}

} // namespace

void blockStopSignals() {
    const sigset_t set = watchedSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

StopSignalWatcher::StopSignalWatcher(std::function<void()> onStop)
    : m_thread([this, stop = std::move(onStop)] {
          const sigset_t set = watchedSignals();
          int signal = 0;
          while (sigwait(&set, &signal) == 0 && !m_ending) {
              if (signal != SIGUSR1) {
                  stop();
                  return;
              }
          }
      }) {
}

StopSignalWatcher::~StopSignalWatcher() {
    m_ending = true;
    pthread_kill(m_thread.native_handle(), SIGUSR1);
}
