#include "api/workers.hpp"

#include <algorithm>
#include <chrono>
#include <new>

#if defined(__unix__) || defined(__APPLE__)
#include <pthread.h>
#endif
#if defined(__linux__)
#include <sched.h>
#endif

#include "kalviro.h"

namespace kalviro {
namespace {

void relax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__) || (defined(__arm__) && __ARM_ARCH >= 7)
    __asm__ __volatile__("yield");
#endif
}

// Waits until done() holds: spinning first, since the other threads of a
// frame finish within microseconds, then giving the core away.
template <typename Done>
void spinUntil(Done&& done) {
    for (int i = 0; !done(); ++i) {
        if (i < 4096) {
            relax();
        } else {
            std::this_thread::yield();
        }
    }
}

}  // namespace

int threadCap() {
    static const int cap = std::clamp(static_cast<int>(kalviro_cores()), 1, kMaxThreads);
    return cap;
}

Workers::Workers(int cap) : cap_(std::clamp(cap, 1, kMaxThreads)) {
    // Room for every worker up front: starting one never moves the others.
    try {
        threads_.reserve(static_cast<size_t>(cap_ - 1));
    } catch (...) {
    }
}

Workers::~Workers() { close(std::chrono::steady_clock::duration::max()); }

int Workers::run(int wanted, Part part, void* ctx) {
    std::unique_lock<std::mutex> mine(submit_, std::defer_lock);
    int n = 1;
    if (wanted > 1 && !closed_.load(std::memory_order_acquire) && mine.try_lock()) {
        // close() sets closed_ before it takes submit_: seen here, under
        // submit_, no worker is stopped before this frame is done.
        if (!closed_.load(std::memory_order_acquire)) n = 1 + grow(std::min(wanted, cap_) - 1);
    }
    if (n == 1) {
        if (mine.owns_lock()) mine.unlock();
        part(ctx, 0, 1);
        return 1;
    }
    // Post the frame: the workers that see it while it runs take parts
    // 1 to n - 1; the caller waits for none that is asleep.
    bool sleepers;
    {
        std::lock_guard<std::mutex> lock(m_);
        job_ = Job{part, ctx, n};
        const uint64_t epoch = epoch_.load(std::memory_order_relaxed) + 1;
        taken_.store(1, std::memory_order_relaxed);
        gate_.store(epoch << 32 | kOpen, std::memory_order_release);
        epoch_.store(epoch, std::memory_order_release);
        sleepers = sleepers_ > 0;
    }
    if (sleepers) cv_.notify_all();
    part(ctx, 0, n);
    // Close the gate, then wait for the workers inside: they are running.
    gate_.fetch_and(~kOpen, std::memory_order_acq_rel);
    spinUntil([this] { return (gate_.load(std::memory_order_acquire) & (kOpen - 1)) == 0; });
    return n;
}

bool Workers::close(std::chrono::steady_clock::duration patience) {
    closed_.store(true, std::memory_order_release);
    // The frame in progress ends within milliseconds: wait for it.
    std::unique_lock<std::mutex> mine(submit_, std::defer_lock);
    const auto start = std::chrono::steady_clock::now();
    while (!mine.try_lock()) {
        if (std::chrono::steady_clock::now() - start > patience) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    {
        std::lock_guard<std::mutex> lock(m_);
        stop_ = true;
    }
    cv_.notify_all();
    for (std::thread& t : threads_) t.join();
    threads_.clear();
    return true;
}

// Starts workers until there are `count`; returns how many there are,
// fewer when the system refuses a thread.
int Workers::grow(int count) {
    while (static_cast<int>(threads_.size()) < count && threads_.size() < threads_.capacity()) {
        // A new worker waits for the frame after the last one posted: no
        // frame is in progress while submit_ is held.
        const uint64_t seen = epoch_.load(std::memory_order_relaxed);
        try {
            threads_.emplace_back([this, seen] { loop(seen); });
        } catch (...) {  // std::system_error, or no memory for the thread's state
            break;
        }
    }
    return std::min(static_cast<int>(threads_.size()), count);
}

void Workers::loop(uint64_t seen) {
    for (;;) {
        // Frames of a sequence follow each other closely: look for the
        // next one for a while before sleeping.
        const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(200);
        for (int i = 0; epoch_.load(std::memory_order_acquire) == seen; ++i) {
            if ((i & 255) == 255 && std::chrono::steady_clock::now() > until) break;
            relax();
        }
        if (epoch_.load(std::memory_order_acquire) == seen) {
            std::unique_lock<std::mutex> lock(m_);
            ++sleepers_;
            cv_.wait(lock, [&] { return stop_ || epoch_.load(std::memory_order_relaxed) != seen; });
            --sleepers_;
            if (epoch_.load(std::memory_order_relaxed) == seen) return;  // stopped between frames
        }
        Job job;
        {
            std::lock_guard<std::mutex> lock(m_);
            job = job_;
            seen = epoch_.load(std::memory_order_relaxed);
        }
        // Enter the frame while it still takes workers.
        uint64_t gate = gate_.load(std::memory_order_acquire);
        bool inside = false;
        while (!inside && (gate >> 32) == (seen & 0xffffffffu) && (gate & kOpen) != 0) {
            inside = gate_.compare_exchange_weak(gate, gate + 1, std::memory_order_acq_rel,
                                                 std::memory_order_acquire);
        }
        if (!inside) continue;
        const int k = taken_.fetch_add(1, std::memory_order_relaxed);
        if (k < job.n) job.part(job.ctx, k, job.n);
        gate_.fetch_sub(1, std::memory_order_release);
    }
}

namespace {

// The process's workers. Once made they are never freed: a call that has
// just read the pointer may still use them while the process ends. Ending
// only stops their threads.
std::atomic<Workers*> gWorkers{nullptr};
// A fork()ed child keeps the parent's set here, unused: it has none of its
// threads, and its locks may be held by threads that are not there.
std::atomic<Workers*> gForgotten{nullptr};

#if defined(__unix__) || defined(__APPLE__)
void forgetAfterFork() { gForgotten.store(gWorkers.exchange(nullptr, std::memory_order_relaxed)); }
#endif

Workers* workers() {
    Workers* w = gWorkers.load(std::memory_order_acquire);
    if (w != nullptr) return w;
    static const bool registered = [] {
#if defined(__unix__) || defined(__APPLE__)
        pthread_atfork(nullptr, nullptr, forgetAfterFork);
#endif
        return true;
    }();
    (void)registered;
    Workers* made = new (std::nothrow) Workers(threadCap());
    if (made == nullptr) return nullptr;
    if (!gWorkers.compare_exchange_strong(w, made, std::memory_order_acq_rel)) {
        delete made;  // never used: no thread started
        return w;
    }
    return made;
}

// When the process ends (exit() from any thread) or the library is
// unloaded, the workers finish the frame in progress and stop; conversions
// still running go on, each on its own thread.
struct Reaper {
    ~Reaper() {
        if (Workers* w = gWorkers.load(std::memory_order_acquire)) w->close(std::chrono::seconds(2));
    }
} gReaper;

}  // namespace

void runTogether(int wanted, void (*part)(void* ctx, int k, int n), void* ctx) {
    Workers* w = wanted > 1 ? workers() : nullptr;
    if (w == nullptr) {
        part(ctx, 0, 1);
        return;
    }
    w->run(wanted, part, ctx);
}

}  // namespace kalviro

extern "C" int32_t kalviro_cores(void) {
#if defined(__linux__)
    // The affinity mask, which taskset and container limits narrow.
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0) return CPU_COUNT(&set);
#endif
    const unsigned n = std::thread::hardware_concurrency();
    return n > 0 ? static_cast<int32_t>(n) : 1;
}
