#include "view/view_store.hpp"

#include <chrono>
#include <cstdio>

#include "convert/convert_run.hpp"
#include "frames/failure.hpp"

namespace kalviro::cli {

namespace {

// Converted frames kept for the page's next requests (temperatures, then
// gray values, then the same frame again for a region's plot).
constexpr size_t kCachedFrames = 8;

// Each server thread converts through its own table: 256 KiB, too large
// for a request's stack and too costly to allocate per request.
KalviroFrameTable& threadTable() {
    thread_local std::unique_ptr<KalviroFrameTable> table = std::make_unique<KalviroFrameTable>();
    return *table;
}

}  // namespace

Recording::Recording(int32_t calType, const FrameSize& size, float emissivity, std::optional<double> distance,
                     uint64_t maxBytes)
    : calType_(calType),
      size_(size),
      emissivity_(emissivity),
      distance_(distance),
      maxBytes_(maxBytes),
      camera_(calType) {}

std::string Recording::readAll(FrameSource& source, const std::atomic<bool>& stop) {
    Frame frame;
    try {
        while (!stop.load() && source.next(frame, true)) add(frame);
    } catch (const Failure& e) {
        return e.what();
    }
    return source.truncation();
}

void Recording::add(const Frame& frame) {
    auto stored = std::make_shared<StoredFrame>();
    stored->index = frame.index;
    stored->pixels = frame.pixels;
    stored->settings = frame.block;
    stored->block = frame.block;
    if (distance_) overrideDistance(stored->block, *distance_);
    stored->perFrame = camera_.init(frame.centreGray, &stored->block, emissivity_, distanceArgument());
    stored->camera = camera_;
    const uint64_t bytes = size_.frameBytes() + sizeof(StoredFrame);
    std::lock_guard<std::mutex> lock(mutex_);
    frames_.push_back(std::move(stored));
    bytes_ += bytes;
    // The newest frame always stays, whatever the bound.
    while (bytes_ > maxBytes_ && frames_.size() > 1) {
        frames_.pop_front();
        bytes_ -= bytes;
        ++first_;
    }
    grown_.notify_all();
}

void Recording::finish(const std::string& why) {
    std::lock_guard<std::mutex> lock(mutex_);
    complete_ = true;
    ended_ = why;
    grown_.notify_all();
}

Recording::Span Recording::span() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return Span{first_, first_ + frames_.size(), first_, complete_, ended_};
}

Recording::Span Recording::waitPast(uint64_t known, int milliseconds) const {
    std::unique_lock<std::mutex> lock(mutex_);
    grown_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                    [&] { return complete_ || first_ + frames_.size() > known; });
    return Span{first_, first_ + frames_.size(), first_, complete_, ended_};
}

std::shared_ptr<const StoredFrame> Recording::frame(uint64_t index) const {
    std::lock_guard<std::mutex> lock(mutex_);
    if (index < first_ || index - first_ >= frames_.size()) return nullptr;
    return frames_[static_cast<size_t>(index - first_)];
}

bool Recording::tempsInto(uint64_t index, std::vector<float>& out) const {
    const std::shared_ptr<const StoredFrame> f = frame(index);
    if (!f) return false;
    out.resize(f->pixels.size());
    f->camera.realFrame(f->pixels.data(), f->pixels.size(), &f->block, emissivity_, distanceArgument(),
                        out.data(), threadTable());
    return true;
}

Temps Recording::temps(uint64_t index) const {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto it = cache_.find(index);
        if (it != cache_.end()) return it->second;
    }
    auto out = std::make_shared<std::vector<float>>();
    if (!tempsInto(index, *out)) return nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    cache_[index] = out;
    // Away from the newest frames first: a live page asks for those.
    while (cache_.size() > kCachedFrames) cache_.erase(cache_.begin());
    return out;
}

}  // namespace kalviro::cli
