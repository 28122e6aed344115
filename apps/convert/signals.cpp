#include "convert/signals.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

#include "outputs/pending_files.hpp"

namespace kalviro::cli {

namespace {

constexpr int kEnding[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGPIPE,
                           SIGXFSZ, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2};

sigset_t gHandled;
std::atomic<int> gStopScopes{0};
std::atomic<int> gStop{0};
int gWake[2] = {-1, -1};

[[noreturn]] void endBy(int sig) {
    removeAllPending();
    std::signal(sig, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, sig);
    ::pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    ::raise(sig);
    ::_exit(128 + sig);  // a signal whose default is not to end
}

void takeSignals() {
    for (;;) {
        int sig = 0;
        if (::sigwait(&gHandled, &sig) != 0) continue;
        int none = 0;
        if ((sig == SIGINT || sig == SIGTERM) && gStopScopes.load() > 0 &&
            gStop.compare_exchange_strong(none, sig)) {
            const char byte = 1;
            while (::write(gWake[1], &byte, 1) < 0 && errno == EINTR) {
            }
            continue;
        }
        endBy(sig);
    }
}

}  // namespace

void handleSignals() {
    if (::pipe2(gWake, O_CLOEXEC) != 0) gWake[0] = gWake[1] = -1;
    sigemptyset(&gHandled);
    for (int sig : kEnding) {
        struct sigaction old {};
        if (::sigaction(sig, nullptr, &old) == 0 && old.sa_handler == SIG_IGN) continue;
        sigaddset(&gHandled, sig);
    }
    ::pthread_sigmask(SIG_BLOCK, &gHandled, nullptr);
    // A thread the system refuses leaves the default actions: the signals
    // then end the command without the clean-up, as before.
    try {
        std::thread(takeSignals).detach();
    } catch (const std::system_error&) {
        ::pthread_sigmask(SIG_UNBLOCK, &gHandled, nullptr);
    }
}

void unblockSignals() { ::pthread_sigmask(SIG_UNBLOCK, &gHandled, nullptr); }

StopOnSignal::StopOnSignal() { ++gStopScopes; }
StopOnSignal::~StopOnSignal() { --gStopScopes; }

int stopSignal() { return gStop.load(); }
int stopFd() { return gWake[0]; }

}  // namespace kalviro::cli
