#include "api/frame.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "api/lane_builders.hpp"
#include "api/workers.hpp"

namespace kalviro {
namespace {

// The work of a frame comes in pieces that its threads claim one at a time:
// a worker that joins late finds fewer left, or none, and no thread waits
// for another to start. Pixel pieces are multiples of 64, so two threads
// write into no common cache line.
constexpr uint64_t kPixelPiece = 8192;
constexpr int32_t kGrayPiece = 256;
// Below this many pixels waking a worker costs more than it saves.
constexpr uint64_t kThreadsPay = 8 * kPixelPiece;

// One phase's pieces: claimed, then counted done.
struct Pieces {
    std::atomic<uint64_t> next{0}, done{0};

    template <typename Work>
    void work(uint64_t count, Work&& w) {
        for (uint64_t i; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;) {
            w(i);
            done.fetch_add(1, std::memory_order_release);
        }
    }
    // Waits for the pieces other threads claimed: they are running.
    void wait(uint64_t count) const {
        while (done.load(std::memory_order_acquire) < count) std::this_thread::yield();
    }
};

// What a table keeps between frames, in its kept bytes: the builder and key
// its entries were built with, and the gray values [lo, hi] they cover.
struct Kept {
    int32_t lo, hi;
    uint32_t keySize, unused;
    uint64_t build;
};
static_assert(sizeof(Kept) + kKeyRoom == sizeof(KalviroFrameTable::kept), "the key's room");

unsigned char* keptBytes(KalviroFrameTable& t) { return reinterpret_cast<unsigned char*>(t.kept); }

uint64_t builderId(const SpanBuilder& b) {
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(b.build));
}

// The gray values the table holds for this builder and key: none (lo > hi)
// unless it was last built under the same key bytes.
Kept keptFor(KalviroFrameTable& t, const SpanBuilder& b) {
    Kept k;
    std::memcpy(&k, keptBytes(t), sizeof k);
    const bool same = b.key != nullptr && b.keySize <= kKeyRoom && k.keySize == b.keySize &&
                      k.build == builderId(b) && k.lo >= 0 && k.lo <= k.hi && k.hi <= 0xffff &&
                      std::memcmp(keptBytes(t) + sizeof k, b.key, b.keySize) == 0;
    if (!same) k.lo = 1, k.hi = 0;
    return k;
}

void keep(KalviroFrameTable& t, const SpanBuilder& b, int32_t lo, int32_t hi) {
    const bool keyed = b.key != nullptr && b.keySize <= kKeyRoom;
    const Kept k{lo, hi, keyed ? b.keySize : 0u, 0u, keyed ? builderId(b) : 0u};
    std::memcpy(keptBytes(t), &k, sizeof k);
    if (keyed) std::memcpy(keptBytes(t) + sizeof k, b.key, b.keySize);
}

struct FrameJob {
    SpanBuilder builder;
    const uint16_t* pixels;
    uint64_t count;
    float* out;
    float* table;
    uint64_t pixelPieces;
    int32_t keptLo, keptHi;  // entries valid from an earlier frame
    bool keyed;              // the builder has a key: its entries outlive the frame
    Pieces range, build, gather;
    std::atomic<uint32_t> lo{0xffff}, hi{0};
};

// A keyed table is built a little beyond the frame's span: the next frames
// of a recording stray a few gray values past it, and then find their
// entries built. Building these costs far less than another pass over the
// pixels.
constexpr int32_t kMargin = kGrayPiece;

// The gray values the frame's table must hold, [*from, *to].
void wanted(const FrameJob& job, int32_t lo, int32_t hi, int32_t* from, int32_t* to) {
    const int32_t margin = job.keyed ? kMargin : 0;
    *from = std::max(0, lo - margin);
    *to = std::min(0xffff, hi + margin);
}

// Whether every entry the frame reads is valid already.
bool covered(const FrameJob& job, int32_t lo, int32_t hi) { return job.keptLo <= lo && hi <= job.keptHi; }

void lower(std::atomic<uint32_t>& a, uint32_t v) {
    for (uint32_t cur = a.load(std::memory_order_relaxed); v < cur;) {
        if (a.compare_exchange_weak(cur, v, std::memory_order_relaxed)) break;
    }
}
void raise(std::atomic<uint32_t>& a, uint32_t v) {
    for (uint32_t cur = a.load(std::memory_order_relaxed); v > cur;) {
        if (a.compare_exchange_weak(cur, v, std::memory_order_relaxed)) break;
    }
}

// out[i] = table[pixels[i]], eight at a time: the loads of one group do not
// wait for each other's stores. Each value is stored on its own: gathered
// into a register first, they cost more instructions than they save.
void gather(const float* table, const uint16_t* pixels, uint64_t begin, uint64_t end, float* out) {
    uint64_t i = begin;
    for (; i + 8 <= end; i += 8) {
        uint16_t g[8];
        float t[8];
        std::memcpy(g, pixels + i, sizeof g);
        for (int k = 0; k < 8; ++k) t[k] = table[g[k]];
        for (int k = 0; k < 8; ++k) out[i + k] = t[k];
    }
    for (; i < end; ++i) out[i] = table[pixels[i]];
}

// Every thread of the frame runs this; the caller's (k 0) returns only when
// the whole frame is done.
void part(void* ctx, int k, int) {
    FrameJob& job = *static_cast<FrameJob*>(ctx);
    const auto piece = [&job](uint64_t i, uint64_t& begin, uint64_t& end) {
        begin = i * kPixelPiece;
        end = std::min(job.count, begin + kPixelPiece);
    };

    // The gray span of the frame. Where entries are kept, each piece is
    // looked up while its pixels are in cache: in a recording whose plan
    // holds still that is the whole frame, in one pass over the pixels.
    const bool early = job.keptLo <= job.keptHi;
    job.range.work(job.pixelPieces, [&](uint64_t i) {
        uint64_t begin, end;
        piece(i, begin, end);
        uint16_t lo, hi;
        laneBuilders().grayRange(job.pixels + begin, end - begin, &lo, &hi);
        lower(job.lo, lo);
        raise(job.hi, hi);
        if (early) gather(job.table, job.pixels, begin, end, job.out);
    });
    job.range.wait(job.pixelPieces);
    const auto lo = static_cast<int32_t>(job.lo.load(std::memory_order_relaxed));
    const auto hi = static_cast<int32_t>(job.hi.load(std::memory_order_relaxed));
    if (early && covered(job, lo, hi)) return;

    // Its table, in pieces on multiples of kGrayPiece; the entries still
    // valid from an earlier frame are left as they are.
    int32_t from, to;
    wanted(job, lo, hi, &from, &to);
    const int32_t first = from / kGrayPiece;
    const auto grayPieces = static_cast<uint64_t>(to / kGrayPiece - first + 1);
    const auto build = [&job](int32_t a, int32_t b) {
        if (a < b) job.builder.build(job.builder.ctx, a, b - a, job.table + a);
    };
    job.build.work(grayPieces, [&](uint64_t i) {
        const int32_t a = std::max(from, (first + static_cast<int32_t>(i)) * kGrayPiece);
        const int32_t b = std::min(to + 1, (first + static_cast<int32_t>(i) + 1) * kGrayPiece);
        if (job.keptLo > job.keptHi) return build(a, b);
        build(a, std::min(b, job.keptLo));
        build(std::max(a, job.keptHi + 1), b);
    });
    job.build.wait(grayPieces);

    // The pixels read their entries (again, where a piece strayed past the
    // kept ones).
    job.gather.work(job.pixelPieces, [&](uint64_t i) {
        uint64_t begin, end;
        piece(i, begin, end);
        gather(job.table, job.pixels, begin, end, job.out);
    });
    if (k == 0) job.gather.wait(job.pixelPieces);
}

}  // namespace

void frameThrough(const SpanBuilder& builder, const uint16_t* pixels, uint64_t count, float* out,
                  KalviroFrameTable& table, int32_t threads) {
    if (count == 0) return;
    const Kept kept = keptFor(table, builder);
    const bool keyed = builder.key != nullptr && builder.keySize <= kKeyRoom;
    // The table holds the span of the last frame alone until this frame is done.
    keep(table, SpanBuilder{}, 1, 0);
    // lo and hi start at the ends of their search: braces would make them 0
    // and the table would always be built from gray value 0.
    FrameJob job{builder,  pixels,  count, out, table.temp, (count + kPixelPiece - 1) / kPixelPiece,
                 kept.lo,  kept.hi, keyed, {},  {},         {},
                 {0xffff}, {0}};
    runTogether(count < kThreadsPay ? 1 : threads, part, &job);

    // What is valid now: what the frame built, joined to the earlier entries
    // where the two meet. Apart, the earlier ones are dropped: keeping them
    // would mean building the gap between.
    const auto lo = static_cast<int32_t>(job.lo.load(std::memory_order_relaxed));
    const auto hi = static_cast<int32_t>(job.hi.load(std::memory_order_relaxed));
    int32_t from = kept.lo, to = kept.hi;
    if (!covered(job, lo, hi)) {
        wanted(job, lo, hi, &from, &to);
        if (kept.lo <= kept.hi && kept.lo <= to + 1 && from <= kept.hi + 1) {
            from = std::min(from, kept.lo);
            to = std::max(to, kept.hi);
        }
    }
    keep(table, builder, from, to);
}

}  // namespace kalviro
