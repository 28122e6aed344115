// The frames a viewer shows, held in memory: each with the state its
// per-frame call left (frames are converted in order, the first ones latch
// values), so any frame converts on its own, bit for bit as `convert` does.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "convert/frame_source.hpp"
#include "kalviro.hpp"

namespace kalviro::cli {

struct StoredFrame {
    uint64_t index = 0;
    std::vector<uint16_t> pixels;
    TempFrameInfo settings{};  // the block as the camera wrote it
    TempFrameInfo block{};     // as the per-frame call left it
    Camera camera;             // the statics that call left
    float perFrame = 0.0f;
    StoredFrame() : camera(0) {}
};

using Temps = std::shared_ptr<const std::vector<float>>;

class Recording {
public:
    Recording(int32_t calType, const FrameSize& size, float emissivity, std::optional<double> distance,
              uint64_t maxBytes);

    const FrameSize& size() const { return size_; }
    int32_t calType() const { return calType_; }
    float emissivity() const { return emissivity_; }
    uint64_t maxBytes() const { return maxBytes_; }
    float distanceArgument() const { return distance_ ? static_cast<float>(*distance_) : 0.0f; }
    const std::optional<double>& distance() const { return distance_; }

    // Reads frames until the source ends; a stream that stops inside a frame
    // keeps those that came whole. Returns what ended it ("" at a clean end).
    std::string readAll(FrameSource& source, const std::atomic<bool>& stop);
    // Appends one frame after its per-frame call, dropping the oldest frames
    // past the memory bound.
    void add(const Frame& frame);
    void finish(const std::string& why);

    struct Span {
        uint64_t first = 0, end = 0;  // frames [first, end) are held
        uint64_t dropped = 0;
        bool complete = false;
        std::string ended;  // why reading stopped, when it did
    };
    Span span() const;
    // Blocks until a frame past `known` arrives, reading ends or the time
    // runs out.
    Span waitPast(uint64_t known, int milliseconds) const;

    std::shared_ptr<const StoredFrame> frame(uint64_t index) const;
    // The frame's temperatures through the whole-frame entry; a few recent
    // ones are kept.
    Temps temps(uint64_t index) const;
    // The same into a buffer of the caller, bypassing the cache: for going
    // through a whole sequence.
    bool tempsInto(uint64_t index, std::vector<float>& out) const;

private:
    int32_t calType_;
    FrameSize size_;
    float emissivity_;
    std::optional<double> distance_;
    uint64_t maxBytes_;
    Camera camera_;  // the running camera of the per-frame calls

    mutable std::mutex mutex_;
    mutable std::condition_variable grown_;
    std::deque<std::shared_ptr<const StoredFrame>> frames_;
    uint64_t first_ = 0;
    uint64_t bytes_ = 0;
    bool complete_ = false;
    std::string ended_;
    mutable std::map<uint64_t, Temps> cache_;
};

}  // namespace kalviro::cli
