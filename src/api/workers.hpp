// Threads for whole frames, only when a caller asks for them: a process-wide
// set of workers, started by the first call that wants them, that wait for
// the next frame between calls.
#pragma once

#include <atomic>
#include <cstdint>

namespace kalviro {

// The largest number of threads one frame is shared among.
constexpr int kMaxThreads = 64;

// Runs part(ctx, k, n) for k in [0, n) at the same time on n threads, the
// caller's among them, and returns when all have returned. n is `wanted`
// (capped at kMaxThreads) or, when the workers are busy with another caller
// or cannot be started, 1: the caller alone. Parts may wait for each other.
void runTogether(int wanted, void (*part)(void* ctx, int k, int n), void* ctx);

// Holds the n threads of a part until all n have arrived; reusable.
class Barrier {
public:
    void wait(int n);

private:
    std::atomic<int> arrived_{0};
    std::atomic<uint32_t> round_{0};
};

}  // namespace kalviro
