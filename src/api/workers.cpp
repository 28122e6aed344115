#include "api/workers.hpp"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#if defined(__unix__) || defined(__APPLE__)
#include <pthread.h>
#endif

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

struct Job {
    void (*part)(void* ctx, int k, int n);
    void* ctx;
    int n;
};

class Workers {
public:
    Workers() = default;
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    ~Workers() {
        {
            std::lock_guard<std::mutex> lock(m_);
            stop_ = true;
        }
        cv_.notify_all();
        for (std::thread& t : threads_) t.join();
    }

    void run(int wanted, void (*part)(void*, int, int), void* ctx) {
        std::unique_lock<std::mutex> mine(submit_, std::try_to_lock);
        const int n = mine.owns_lock() ? 1 + grow(wanted - 1) : 1;
        if (n == 1) {
            part(ctx, 0, 1);
            return;
        }
        // Every worker answers every frame, those without a part at once, so
        // that none still reads the job when the next one is written.
        pending_.store(static_cast<int>(threads_.size()), std::memory_order_relaxed);
        {
            std::lock_guard<std::mutex> lock(m_);
            job_ = Job{part, ctx, n};
            epoch_.fetch_add(1, std::memory_order_release);
        }
        cv_.notify_all();
        part(ctx, 0, n);
        spinUntil([this] { return pending_.load(std::memory_order_acquire) == 0; });
    }

private:
    // Starts workers until there are `count`; returns how many there are,
    // fewer when the system refuses a thread.
    int grow(int count) {
        while (static_cast<int>(threads_.size()) < count) {
            try {
                const int index = static_cast<int>(threads_.size());
                threads_.emplace_back([this, index] { loop(index); });
            } catch (const std::system_error&) {
                break;
            }
        }
        return static_cast<int>(threads_.size()) < count ? static_cast<int>(threads_.size()) : count;
    }

    void loop(int index) {
        uint64_t seen = 0;
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
                cv_.wait(lock, [&] { return stop_ || epoch_.load(std::memory_order_acquire) != seen; });
                if (stop_) return;
            }
            seen = epoch_.load(std::memory_order_acquire);
            const Job job = job_;
            if (index + 1 < job.n) job.part(job.ctx, index + 1, job.n);
            pending_.fetch_sub(1, std::memory_order_acq_rel);
        }
    }

    std::mutex submit_;  // one frame at a time
    std::mutex m_;
    std::condition_variable cv_;
    bool stop_ = false;
    std::vector<std::thread> threads_;
    Job job_{};
    std::atomic<uint64_t> epoch_{0};
    std::atomic<int> pending_{0};
};

std::atomic<Workers*> gWorkers{nullptr};

// A child of fork() has none of the parent's threads: it starts its own
// workers when it asks, and leaves the parent's set alone.
#if defined(__unix__) || defined(__APPLE__)
void forgetAfterFork() { gWorkers.store(nullptr, std::memory_order_relaxed); }
#endif

Workers& workers() {
    Workers* w = gWorkers.load(std::memory_order_acquire);
    if (w != nullptr) return *w;
    static const bool registered = [] {
#if defined(__unix__) || defined(__APPLE__)
        pthread_atfork(nullptr, nullptr, forgetAfterFork);
#endif
        return true;
    }();
    (void)registered;
    Workers* made = new Workers;
    if (!gWorkers.compare_exchange_strong(w, made, std::memory_order_acq_rel)) {
        delete made;
        return *w;
    }
    return *made;
}

// Stops and joins the workers when the library is unloaded or the process
// ends.
struct Reaper {
    ~Reaper() { delete gWorkers.exchange(nullptr); }
} gReaper;

}  // namespace

void runTogether(int wanted, void (*part)(void* ctx, int k, int n), void* ctx) {
    if (wanted > kMaxThreads) wanted = kMaxThreads;
    if (wanted <= 1) {
        part(ctx, 0, 1);
        return;
    }
    workers().run(wanted, part, ctx);
}

void Barrier::wait(int n) {
    const uint32_t round = round_.load(std::memory_order_acquire);
    if (arrived_.fetch_add(1, std::memory_order_acq_rel) + 1 == n) {
        arrived_.store(0, std::memory_order_relaxed);
        round_.fetch_add(1, std::memory_order_release);
        return;
    }
    spinUntil([&] { return round_.load(std::memory_order_acquire) != round; });
}

}  // namespace kalviro
