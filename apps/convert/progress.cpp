#include "convert/progress.hpp"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace kalviro::cli {

Progress::Progress(std::optional<uint64_t> total, bool quiet)
    : enabled_(!quiet && ::isatty(STDERR_FILENO) == 1),
      total_(total),
      start_(std::chrono::steady_clock::now()),
      last_(start_) {}

void Progress::update(uint64_t done) {
    if (!enabled_) return;
    const auto now = std::chrono::steady_clock::now();
    if (drawn_ && now - last_ < std::chrono::milliseconds(100)) return;
    last_ = now;
    draw(done);
}

void Progress::draw(uint64_t done) {
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    const double fps = seconds > 0 ? static_cast<double>(done) / seconds : 0.0;
    constexpr int kWidth = 30;
    std::string bar;
    if (total_ && *total_ > 0) {
        const auto filled = static_cast<int>(static_cast<double>(kWidth) * static_cast<double>(done) /
                                             static_cast<double>(*total_));
        bar = "[" + std::string(static_cast<size_t>(filled), '#') +
              std::string(static_cast<size_t>(kWidth - filled), ' ') + "] " + std::to_string(done) + "/" +
              std::to_string(*total_);
    } else {
        bar = std::to_string(done);
    }
    std::fprintf(stderr, "\r%s frames  %.1f frames/s ", bar.c_str(), fps);
    std::fflush(stderr);
    drawn_ = true;
}

void Progress::finish() {
    if (!enabled_ || !drawn_) return;
    std::fprintf(stderr, "\r\033[K");
    std::fflush(stderr);
}

}  // namespace kalviro::cli
