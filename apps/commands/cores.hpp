// Cores this process may run on: the affinity mask, which taskset and
// container limits narrow, rather than the machine's count.
#pragma once

#if defined(__linux__)
#include <sched.h>
#endif

#include <thread>

namespace kalviro::cli {

inline unsigned coresAvailable() {
#if defined(__linux__)
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0) return CPU_COUNT(&set);
#endif
    const unsigned n = std::thread::hardware_concurrency();
    return n > 0 ? n : 1;
}

}  // namespace kalviro::cli
