#include "api/frame.hpp"

#include <algorithm>
#include <cstring>

#include "api/lane_builders.hpp"
#include "api/workers.hpp"

namespace kalviro {
namespace {

struct FrameJob {
    SpanBuilder builder;
    const uint16_t* pixels;
    uint64_t count;
    float* out;
    float* table;
    uint16_t lo[kMaxThreads];
    uint16_t hi[kMaxThreads];
    float warm[kMaxThreads];  // what reading the table in gave, kept so it is read
    Barrier barrier;
};

// k n-ths of length, rounded down, without overflow.
uint64_t share(uint64_t length, int k, int n) {
    const auto kk = static_cast<uint64_t>(k), nn = static_cast<uint64_t>(n);
    return length / nn * kk + length % nn * kk / nn;
}

// Where part k of n of [first, last) begins: on a multiple of 64, so that
// two threads write into no common cache line.
uint64_t cut(uint64_t first, uint64_t last, int k, int n) {
    if (k == 0) return first;
    if (k == n) return last;
    return std::max(first, (first + share(last - first, k, n)) & ~uint64_t{63});
}

// out[i] = table[pixels[i]], eight at a time: the loads of one group do not
// wait for each other's stores.
void gather(const float* table, const uint16_t* pixels, uint64_t begin, uint64_t end, float* out) {
    uint64_t i = begin;
    for (; i + 8 <= end; i += 8) {
        uint16_t g[8];
        float t[8];
        std::memcpy(g, pixels + i, sizeof g);
        for (int k = 0; k < 8; ++k) t[k] = table[g[k]];
        std::memcpy(out + i, t, sizeof t);
    }
    for (; i < end; ++i) out[i] = table[pixels[i]];
}

void part(void* ctx, int k, int n) {
    FrameJob& job = *static_cast<FrameJob*>(ctx);
    const uint64_t begin = cut(0, job.count, k, n), end = cut(0, job.count, k + 1, n);

    uint16_t lo, hi;
    laneBuilders().grayRange(job.pixels + begin, end - begin, &lo, &hi);
    job.lo[k] = lo;
    job.hi[k] = hi;
    if (n > 1) job.barrier.wait(n);
    for (int j = 0; j < n; ++j) {
        lo = std::min(lo, job.lo[j]);
        hi = std::max(hi, job.hi[j]);
    }

    const uint64_t from = cut(lo, hi + 1u, k, n), to = cut(lo, hi + 1u, k + 1, n);
    if (from < to) {
        job.builder.build(job.builder.ctx, static_cast<int32_t>(from), static_cast<int32_t>(to - from),
                          job.table + from);
    }
    if (n > 1) {
        job.barrier.wait(n);
        // The other threads' parts of the table sit in their caches: read
        // them in once, in order, rather than line by line as pixels ask.
        float sum = 0.0f;
        for (uint64_t g = lo; g <= hi; g += 16) {
            if (g < from || g >= to) sum += job.table[g];
        }
        job.warm[k] = sum;
    }
    gather(job.table, job.pixels, begin, end, job.out);
}

}  // namespace

void frameThrough(const SpanBuilder& builder, const uint16_t* pixels, uint64_t count, float* out,
                  KalviroFrameTable& table, int32_t threads) {
    if (count == 0) return;
    FrameJob job{builder, pixels, count, out, table.temp, {}, {}, {}, {}};
    runTogether(threads, part, &job);
}

}  // namespace kalviro
