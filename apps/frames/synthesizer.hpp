// Synthetic frames: the scene's temperatures turned into gray values with
// the inverse search on the frame's own conversion, after the per-frame call
// that a converter will make too.
#pragma once

#include <cstdint>
#include <vector>

#include "frame_size.hpp"
#include "kalviro.hpp"
#include "synth_scene.hpp"

namespace kalviro::cli {

class Synthesizer {
public:
    Synthesizer(const CalTypeInfo& calType, const FrameSize& size, uint64_t frames, Scene scene,
                float emissivity);

    // The next frame, from frame 0 on: the raw bytes as a camera sends them
    // (pixels, then the block) and the scene's temperatures in degrees.
    void next(std::vector<uint8_t>& raw, std::vector<float>& truth);

    // The farthest any pixel so far converts from its scene temperature, in
    // degrees: about 0.01, more where the conversion jumps over
    // temperatures that no gray value reaches.
    double worstError() const { return worst_; }

private:
    uint16_t grayOf(int32_t target, const TempFrameInfo& block);

    CalTypeInfo calType_;
    FrameSize size_;
    uint64_t frames_;
    Scene scene_;
    float emissivity_;
    Camera camera_;
    uint64_t frame_ = 0;
    int32_t tempLo_ = 0, tempHi_ = 0;
    double worst_ = 0.0;  // hundredths at the search's gray bounds
};

}  // namespace kalviro::cli
