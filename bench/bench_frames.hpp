// The frames the whole-frame benchmarks convert: a room seen by a CalType's
// synthetic camera, the same under heavy noise, every gray value at once.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "frame_size.hpp"
#include "kalviro.hpp"

namespace kalviro::bench {

// Scenes and conversion share it: grays found for 0.95 convert back to the scene at 0.95.
constexpr float kEmissivity = 0.95f;

enum class FrameKind : uint8_t {
    Room,   // walls, people, a hot pipe, small hot spots, a few gray counts of noise
    Noisy,  // the room under noise wide enough for about 30,000 distinct gray values
    Full,   // every gray value 0..65535, each as often, in a scattered order
};

struct BenchScene {
    const char* name;  // what --scenes and the benchmark names call it
    FrameKind kind;
    cli::FrameSize size;
};

inline constexpr BenchScene kBenchScenes[] = {
    {"room", FrameKind::Room, {640, 512}},
    {"noisy", FrameKind::Noisy, {640, 512}},
    {"full", FrameKind::Full, {640, 512}},
    {"room1280", FrameKind::Room, {1280, 1024}},
};

struct BenchFrame {
    std::vector<uint16_t> pixels;
    uint32_t distinct = 0;  // distinct gray values
};

// The block a CalType's synthetic camera writes with its first frame, before
// any per-frame call.
std::array<uint8_t, 512> benchBlock(const CalTypeInfo& calType);

// The scene's frame for the CalType. Throws cli::Failure when the CalType's
// conversion does not rise on the synthetic curve.
BenchFrame makeFrame(const CalTypeInfo& calType, const BenchScene& scene);

// 0..65535, each once, ascending: the span is the whole scale.
BenchFrame everyGrayOnce();

}  // namespace kalviro::bench
