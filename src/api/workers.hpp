// Threads for whole frames, only when a caller asks for them: a process-wide
// set of workers, started by the first call that wants them, that wait for
// the next frame between calls.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace kalviro {

// The largest number of threads one frame is shared among.
constexpr int kMaxThreads = 64;

// The threads a frame may use here: the cores this process may run on
// (kalviro_cores() at the first call), at most kMaxThreads. More only take
// turns on the same cores.
int threadCap();

// Runs part(ctx, 0, n) on the caller's thread and offers part(ctx, k, n),
// k in [1, n), to the workers; returns when the caller's part has returned
// and every worker that took one has returned too. A worker that comes too
// late (it was asleep) takes none: the caller never waits for one to wake,
// so a part shares its work out by claiming (never waiting for a given part
// to run), and the caller's part must leave nothing undone. n is `wanted`
// (capped at threadCap()) or 1 when the workers are busy with another
// caller, have been stopped (the process is ending), or cannot be started.
// Never throws.
void runTogether(int wanted, void (*part)(void* ctx, int k, int n), void* ctx);

// A set of workers. The process has one behind runTogether; tests make
// their own.
class Workers {
public:
    using Part = void (*)(void* ctx, int k, int n);

    // At most `cap` threads share a frame, the caller's included.
    explicit Workers(int cap);
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
    ~Workers();  // close(), waiting as long as the frame in progress takes

    // runTogether on this set; returns the n it ran with.
    int run(int wanted, Part part, void* ctx);

    // Lets the frame in progress finish on all its threads, then stops and
    // joins the workers; frames that come later run on their caller's thread
    // alone. Returns false, with the workers left running that frame, when
    // it outlasts `patience` (a caller stopped inside it cannot finish it).
    bool close(std::chrono::steady_clock::duration patience);

private:
    int grow(int count);
    void loop(uint64_t seen);

    struct Job {
        Part part;
        void* ctx;
        int n;
    };
    // The posted frame's epoch (high half), whether it still takes workers,
    // and how many are in it.
    static constexpr uint64_t kOpen = uint64_t{1} << 31;

    const int cap_;
    std::atomic<bool> closed_{false};
    std::mutex submit_;  // one frame at a time
    std::mutex m_;
    std::condition_variable cv_;
    bool stop_ = false;
    int sleepers_ = 0;  // under m_
    std::vector<std::thread> threads_;
    Job job_{};  // under m_
    std::atomic<uint64_t> epoch_{0};
    std::atomic<uint64_t> gate_{0};  // epoch << 32 | kOpen | workers inside
    std::atomic<int> taken_{0};      // the next part a worker takes
};

}  // namespace kalviro
