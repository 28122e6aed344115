#include "bench_frames.hpp"

#include <algorithm>
#include <cmath>
#include <random>

#include "synth_block.hpp"
#include "synthesizer.hpp"

namespace kalviro::bench {

namespace {

constexpr uint32_t kNoisyDistinct = 30000;

uint32_t countDistinct(const std::vector<uint16_t>& pixels) {
    std::vector<bool> seen(65536);
    uint32_t n = 0;
    for (uint16_t g : pixels) {
        if (!seen[g]) {
            seen[g] = true;
            ++n;
        }
    }
    return n;
}

uint16_t clampGray(double g) { return static_cast<uint16_t>(std::clamp(std::lround(g), 0l, 65535l)); }

// Each pixel moved by a fixed draw in [-1, 1] times amplitude.
std::vector<uint16_t> withNoise(const std::vector<uint16_t>& pixels, const std::vector<double>& draws,
                                double amplitude) {
    std::vector<uint16_t> out(pixels.size());
    for (size_t i = 0; i < pixels.size(); ++i) out[i] = clampGray(pixels[i] + amplitude * draws[i]);
    return out;
}

std::vector<double> draws(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<double> d(n);
    for (double& x : d) x = static_cast<double>(rng()) / 2147483648.0 - 1.0;
    return d;
}

// The scene's temperatures through the inverse search on the CalType's own
// conversion, then sensor noise of up to 3 gray counts.
std::vector<uint16_t> roomFrame(const CalTypeInfo& calType, const cli::FrameSize& size) {
    cli::Synthesizer synth(calType, size, 1, cli::Scene::Room, kEmissivity);
    std::vector<uint8_t> raw;
    std::vector<float> truth;
    synth.next(raw, truth);
    std::vector<uint16_t> pixels(size.pixels());
    for (size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<uint16_t>(raw[2 * i] | raw[2 * i + 1] << 8);
    }
    return withNoise(pixels, draws(pixels.size(), 1), 3.0);
}

// The smallest noise, found by bisection, that leaves the frame with at
// least kNoisyDistinct distinct gray values.
std::vector<uint16_t> noisyFrame(const std::vector<uint16_t>& room) {
    const std::vector<double> d = draws(room.size(), 2);
    double lo = 0.0, hi = 65536.0;
    while (hi - lo > 1.0) {
        const double mid = (lo + hi) / 2.0;
        if (countDistinct(withNoise(room, d, mid)) < kNoisyDistinct) {
            lo = mid;
        } else {
            hi = mid;
        }
    }
    return withNoise(room, d, hi);
}

// Neighbours 40503 gray values apart (odd, so each run of 65536 pixels holds
// every value once): the table is spanned and read far from a stream.
std::vector<uint16_t> fullRangeFrame(const cli::FrameSize& size) {
    std::vector<uint16_t> pixels(size.pixels());
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint16_t>(i * 40503u);
    return pixels;
}

}  // namespace

std::array<uint8_t, 512> benchBlock(const CalTypeInfo& calType) {
    std::array<uint8_t, 512> block;
    cli::synthBlock(block.data(), calType, 0);
    return block;
}

BenchFrame makeFrame(const CalTypeInfo& calType, const BenchScene& scene) {
    BenchFrame f;
    switch (scene.kind) {
        case FrameKind::Room: f.pixels = roomFrame(calType, scene.size); break;
        case FrameKind::Noisy: f.pixels = noisyFrame(roomFrame(calType, scene.size)); break;
        case FrameKind::Full: f.pixels = fullRangeFrame(scene.size); break;
    }
    f.distinct = countDistinct(f.pixels);
    return f;
}

BenchFrame everyGrayOnce() {
    BenchFrame f;
    f.pixels.resize(65536);
    for (size_t g = 0; g < f.pixels.size(); ++g) f.pixels[g] = static_cast<uint16_t>(g);
    f.distinct = 65536;
    return f;
}

}  // namespace kalviro::bench
