#include "synthesizer.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "failure.hpp"
#include "synth_block.hpp"

namespace kalviro::cli {

namespace {

// The gray scale the search is told about: about -40 to 300 degrees of the
// synthetic curve.
constexpr int32_t kGrayLo = kSynthGrayRef - 4096;
constexpr int32_t kGrayHi = kSynthGrayRef + 16384;

}  // namespace

Synthesizer::Synthesizer(const CalTypeInfo& calType, const FrameSize& size, uint64_t frames, Scene scene,
                         float emissivity)
    : calType_(calType),
      size_(size),
      frames_(frames),
      scene_(scene),
      emissivity_(emissivity),
      camera_(calType.calType) {}

uint16_t Synthesizer::grayOf(int32_t target, const TempFrameInfo& block) {
    const auto error = [&](int32_t g) {
        return std::abs(static_cast<double>(camera_.real(g, &block, emissivity_, 0.0f)) - target / 100.0);
    };
    int32_t g = camera_.temp2gray(&block, tempLo_, tempHi_, kGrayLo, kGrayHi, target, emissivity_);
    g = std::clamp(g, 0, 65535);
    // The search stops within 0.20 degrees; the nearest gray value is a few
    // steps further, past runs of grays that convert alike, and where the
    // conversion steps back a little (a bin edge), past that step too.
    constexpr int32_t kPatience = 16;
    double best = error(g);
    int32_t bestGray = g;
    for (const int32_t step : {-1, 1}) {
        int32_t at = bestGray;
        for (int32_t sinceBest = 0; sinceBest < kPatience && at + step >= 0 && at + step <= 65535;
             ++sinceBest) {
            at += step;
            const double e = error(at);
            if (e < best) {
                best = e;
                bestGray = at;
                sinceBest = -1;
            }
        }
    }
    g = bestGray;
    worst_ = std::max(worst_, best);
    return static_cast<uint16_t>(g);
}

void Synthesizer::next(std::vector<uint8_t>& raw, std::vector<float>& truth) {
    const uint64_t n = size_.pixels();
    raw.resize(size_.frameBytes());
    truth.resize(n);
    uint8_t* blockBytes = raw.data() + n * 2;
    synthBlock(blockBytes, calType_, frame_);
    // The per-frame call a converter will make, on a copy: the file keeps the
    // block as the camera wrote it.
    TempFrameInfo block;
    std::memcpy(&block, blockBytes, sizeof block);
    camera_.init(kSynthGrayRef, &block, emissivity_, 0.0f);
    tempLo_ = static_cast<int32_t>(camera_.real(kGrayLo, &block, emissivity_, 0.0f) * 100.0f);
    tempHi_ = static_cast<int32_t>(camera_.real(kGrayHi, &block, emissivity_, 0.0f) * 100.0f);
    if (!(tempHi_ > tempLo_)) {
        throw Failure("CalType " + std::to_string(calType_.calType) +
                      ": the synthetic curve does not rise on this CalType's conversion");
    }
    std::vector<int32_t> targets(n);
    int32_t lo = INT32_MAX, hi = INT32_MIN;
    for (int32_t y = 0; y < size_.height; ++y) {
        for (int32_t x = 0; x < size_.width; ++x) {
            const size_t i =
                static_cast<size_t>(y) * static_cast<size_t>(size_.width) + static_cast<size_t>(x);
            targets[i] =
                static_cast<int32_t>(std::lround(sceneTemp(scene_, size_, x, y, frame_, frames_) * 100.0));
            lo = std::min(lo, targets[i]);
            hi = std::max(hi, targets[i]);
        }
    }
    // Each hundredth of a degree searched once.
    std::vector<int32_t> grays(static_cast<size_t>(hi - lo) + 1, -1);
    for (size_t i = 0; i < n; ++i) {
        int32_t& g = grays[static_cast<size_t>(targets[i] - lo)];
        if (g < 0) g = grayOf(targets[i], block);
        raw[2 * i] = static_cast<uint8_t>(g & 0xff);
        raw[2 * i + 1] = static_cast<uint8_t>(g >> 8);
        truth[i] = static_cast<float>(targets[i]) / 100.0f;
    }
    ++frame_;
}

}  // namespace kalviro::cli
