// The worker pool held the wrong ways: growing and shrinking between frames,
// several callers at once, threads the system refuses, fork(), and exit()
// while another thread converts. Every piece of a frame's work is done once,
// before the call returns, and nothing touches the frame after; nothing
// hangs or crashes. KALVIRO_POOL_ROUNDS
// makes the frames' stress longer (the ThreadSanitizer run in CI).
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "api/workers.hpp"
#include "kalviro.hpp"

#if defined(__linux__)
#include <sched.h>
#endif

namespace kalviro {
namespace {

int rounds(int normal) {
    const char* s = std::getenv("KALVIRO_POOL_ROUNDS");
    return s != nullptr ? std::max(1, std::atoi(s)) : normal;
}

// A frame as the whole-frame call shares it: its threads claim pieces of
// the work one at a time, and the caller's part returns when every piece is
// done. Each piece takes long enough for workers to join.
struct Frame {
    static constexpr int kPieces = 64;
    std::array<std::atomic<int>, kPieces> runs{};
    std::atomic<int> next{0}, done{0}, threads{0}, joined{0}, late{0};
    std::atomic<bool> returned{false};

    static void part(void* ctx, int k, int n) {
        auto& f = *static_cast<Frame*>(ctx);
        if (f.returned.load()) f.late.fetch_add(1);
        f.joined.fetch_add(1);
        f.threads.store(n);
        for (int i; (i = f.next.fetch_add(1)) < kPieces;) {
            std::this_thread::sleep_for(std::chrono::microseconds(20));
            f.runs[static_cast<size_t>(i)].fetch_add(1);
            f.done.fetch_add(1);
        }
        if (k == 0) {
            while (f.done.load() < kPieces) std::this_thread::yield();
        }
    }

    // Every piece done once, by no more threads than were asked for.
    std::string check(int n) const {
        for (int i = 0; i < kPieces; ++i) {
            const int got = runs[static_cast<size_t>(i)].load();
            if (got != 1) return "piece " + std::to_string(i) + " done " + std::to_string(got) + " times";
        }
        if (joined.load() > n)
            return std::to_string(joined.load()) + " threads in a frame of " + std::to_string(n);
        if (late.load() != 0) return "a part began after the call returned";
        return "";
    }
};

// One frame on `pool` with `wanted` threads; "" when all went right. The
// frame outlives the call a little: a part that begins late is seen.
std::string oneFrame(Workers& pool, int wanted) {
    Frame f;
    const int n = pool.run(wanted, Frame::part, &f);
    f.returned.store(true);
    std::this_thread::sleep_for(std::chrono::microseconds(100));
    if (n < 1 || n > wanted)
        return "ran on " + std::to_string(n) + " of " + std::to_string(wanted) + " wanted";
    return f.check(n);
}

// A worker started while the pool grows waits for the next frame: it does
// not take a part of the last one, nor let the caller return early.
TEST(Pool, EveryFrameWhileItGrowsAndShrinks) {
    const std::vector<std::vector<int>> sequences = {
        {2, 3, 4, 5, 6, 7, 8},  // growing by one after each threaded frame
        {2, 8},                 // by many at once
        {8, 2, 1, 5, 8, 3},     // shrinking, then no growth
        {1, 2, 1, 4, 1, 8},
        {2, 64},  // the caller is likely to be preempted while 62 start
        {2, 33, 64},
    };
    for (int r = 0; r < rounds(10); ++r) {
        for (const auto& sequence : sequences) {
            Workers pool(kMaxThreads);
            for (int wanted : sequence) {
                const std::string error = oneFrame(pool, wanted);
                ASSERT_EQ(error, "") << "round " << r << ", wanted " << wanted;
            }
        }
    }
}

// Callers that find the workers busy run their frame alone.
TEST(Pool, SeveralCallersAtOnce) {
    Workers pool(6);
    std::atomic<int> failures{0};
    std::vector<std::thread> callers;
    for (int c = 0; c < 4; ++c) {
        callers.emplace_back([&, c] {
            for (int i = 0; i < rounds(20) * 10; ++i) {
                if (!oneFrame(pool, 1 + (i + c) % 6).empty()) failures.fetch_add(1);
            }
        });
    }
    for (std::thread& t : callers) t.join();
    EXPECT_EQ(failures.load(), 0);
}

// The cores follow the mask the calling thread may run on, as taskset and
// container limits narrow it: the whole mask, its first CPU, its first two,
// all but its first, each counted here as the CPUs set.
TEST(Cores, AreTheCpusOfTheAffinityMask) {
#if defined(__linux__)
    cpu_set_t whole;
    ASSERT_EQ(sched_getaffinity(0, sizeof whole, &whole), 0);
    std::vector<int> cpus;
    for (int c = 0; c < CPU_SETSIZE; ++c) {
        if (CPU_ISSET(c, &whole)) cpus.push_back(c);
    }
    ASSERT_FALSE(cpus.empty());
    std::vector<std::vector<int>> masks = {cpus, {cpus[0]}};
    if (cpus.size() >= 2) {
        masks.push_back({cpus[0], cpus[1]});
        masks.emplace_back(cpus.begin() + 1, cpus.end());
    }
    for (const std::vector<int>& mask : masks) {
        cpu_set_t set;
        CPU_ZERO(&set);
        for (int c : mask) CPU_SET(c, &set);
        if (sched_setaffinity(0, sizeof set, &set) != 0) GTEST_SKIP() << "the mask cannot be narrowed here";
        const int32_t cores = kalviro_cores();
        ASSERT_EQ(sched_setaffinity(0, sizeof whole, &whole), 0);
        EXPECT_EQ(cores, static_cast<int32_t>(mask.size())) << "first CPU " << mask[0];
    }
#else
    const unsigned n = std::thread::hardware_concurrency();
    EXPECT_EQ(kalviro_cores(), n > 0 ? static_cast<int32_t>(n) : 1);
#endif
}

// More threads than cores only take turns.
TEST(Pool, NoMoreThreadsThanCores) {
    const int cores = std::min(static_cast<int>(kalviro_cores()), kMaxThreads);
    for (int wanted : {2, 64, 3000}) {
        Frame f;
        runTogether(wanted, Frame::part, &f);
        const int n = f.threads.load();
        EXPECT_LE(n, cores) << "wanted " << wanted;
        EXPECT_EQ(f.check(n), "");
    }
    EXPECT_EQ(threadCap(), std::max(1, cores));
}

#if defined(_WIN32)
// Each of these needs a child process that starts where its parent stands.
TEST(Pool, RefusedThreadsMeanFewerWorkers) { GTEST_SKIP() << "no fork, nor an address-space limit"; }
TEST(Pool, ExitWhileConverting) { GTEST_SKIP() << "no fork to exit in"; }
TEST(Pool, ForkWhileConverting) { GTEST_SKIP() << "no fork"; }
#else
// Runs `body` in a child process; returns how it ended ("exit 0", "signal
// 11", "hung"), giving it `seconds`.
std::string inChild(void (*body)(), int seconds) {
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        body();
        std::_Exit(0);
    }
    if (pid < 0) return "fork failed";
    int status = 0;
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > until) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return "hung";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
    return "exit " + std::to_string(WEXITSTATUS(status));
}

bool sanitized() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    return true;
#endif
#endif
    return false;
}

// With room in the address space for two more threads, or none left at
// all, a frame that wants 64 gets what the system gives: no abort, every
// part once.
TEST(Pool, RefusedThreadsMeanFewerWorkers) {
    if (sanitized()) GTEST_SKIP() << "the sanitizers' shadow memory needs the address space";
    for (const bool exhausted : {false, true}) {
        static bool heapFull;
        heapFull = exhausted;
        const std::string end = inChild(
            [] {
                static Workers pool(kMaxThreads);
                long pages = 0;
                if (FILE* f = std::fopen("/proc/self/statm", "r")) {
                    if (std::fscanf(f, "%ld", &pages) != 1) pages = 0;
                    std::fclose(f);
                }
                if (pages == 0) std::_Exit(0);  // nothing to measure the room by
                const auto room =
                    static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (20u << 20);
                const rlimit limit{room, room};
                if (setrlimit(RLIMIT_AS, &limit) != 0) std::_Exit(3);
                // Not even a thread's bookkeeping fits.
                static void* volatile kept;
                for (size_t size = 1u << 20; heapFull && size >= 8; size /= 8) {
                    while ((kept = std::malloc(size)) != nullptr) {
                    }
                }
                for (int i = 0; i < 3; ++i) {
                    if (!oneFrame(pool, kMaxThreads).empty()) std::_Exit(1);
                }
                std::_Exit(0);
            },
            30);
        EXPECT_EQ(end, "exit 0") << (exhausted ? "no memory left" : "no room for more threads");
    }
}

// Converting on threads all the time, as a camera's stream does.
void convertForever(int threads) {
    static Camera cam(21);
    static std::array<uint8_t, 512> block{};
    std::vector<uint16_t> pixels(64 * 64);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint16_t>(i * 16);
    std::vector<float> out(pixels.size());
    auto table = std::make_unique<KalviroFrameTable>();
    for (;;) {
        cam.realFrame(pixels.data(), pixels.size(), reinterpret_cast<TempFrameInfo*>(block.data()), 0.95f,
                      1.0f, out.data(), *table, threads);
    }
}

// exit() on one thread while another converts on threads: the process ends,
// neither hanging nor crashing; the conversion that finds the workers
// stopped goes on alone until the process is gone.
TEST(Pool, ExitWhileConverting) {
    for (int r = 0; r < 10; ++r) {
        static int delay;
        delay = r % 5 * 300;
        const std::string end = inChild(
            [] {
                std::thread([] { convertForever(kMaxThreads); }).detach();
                std::this_thread::sleep_for(std::chrono::microseconds(1000 + delay));
                std::exit(0);
            },
            20);
        ASSERT_EQ(end, "exit 0") << "round " << r;
    }
}

// A child of fork() converts on threads of its own; the parent's go on.
TEST(Pool, ForkWhileConverting) {
    Workers pool(4);
    ASSERT_EQ(oneFrame(pool, 4), "");
    Frame f;
    runTogether(4, Frame::part, &f);
    std::atomic<bool> stop{false};
    std::thread busy([&] {
        while (!stop.load())
            runTogether(
                4, [](void*, int, int) {}, nullptr);
    });
    for (int r = 0; r < 5; ++r) {
        const std::string end = inChild(
            [] {
                // The sanitizers' runtimes are not fork-safe in a threaded
                // process: ThreadSanitizer cannot follow the child's threads,
                // and AddressSanitizer's allocator may stay locked by a parent
                // thread, so a child's new thread hangs in its start, and so
                // does the leak check at exit. There the child converts alone
                // and ends without the exit handlers, having no workers to stop.
                const bool alone = sanitized();
                for (int i = 0; i < 20; ++i) {
                    Frame child;
                    runTogether(alone ? 1 : 4, Frame::part, &child);
                    if (!child.check(child.threads.load()).empty()) std::_Exit(1);
                }
                if (alone) std::_Exit(0);
                std::exit(0);  // stops the child's own workers
            },
            20);
        EXPECT_EQ(end, "exit 0") << "round " << r;
        EXPECT_EQ(oneFrame(pool, 4), "");
    }
    stop.store(true);
    busy.join();
}
#endif

}  // namespace
}  // namespace kalviro
