// The signals that end the command (SIGHUP, SIGINT, SIGQUIT, SIGTERM,
// SIGPIPE, SIGXFSZ, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2) are blocked in every
// thread and taken by one thread of their own, which removes every
// temporary file of the PendingFiles alive and then ends the command by the
// same signal. Nothing runs in a signal handler, so the clean-up may take
// locks and hold any number of files. A write past a file-size limit or
// into a closed pipe then fails with an error (EFBIG, EPIPE) that the writer
// reports like any other. Signals ignored when the command starts (nohup, a
// background job) stay ignored.
#pragma once

namespace kalviro::cli {

// First thing in main, before any thread starts: threads inherit the mask.
void handleSignals();

// A child started with fork and exec inherits the mask through exec: call
// this in the child before exec.
void unblockSignals();

// While one is alive, the first SIGINT or SIGTERM asks the command to stop
// (stopSignal() names it, stopFd() turns readable) instead of ending it: a
// recording then finishes what arrived. A second one ends the command.
class StopOnSignal {
public:
    StopOnSignal();
    ~StopOnSignal();
    StopOnSignal(const StopOnSignal&) = delete;
    StopOnSignal& operator=(const StopOnSignal&) = delete;
};

// 0, or the signal that asked the command to stop.
int stopSignal();
// A descriptor that stays readable once a stop was asked, for poll().
int stopFd();

}  // namespace kalviro::cli
