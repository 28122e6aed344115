// A progress bar on standard error, only when it is a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace kalviro::cli {

class Progress {
public:
    // total: frames to go, when known. Quiet when standard error is not a
    // terminal, or when told.
    Progress(std::optional<uint64_t> total, bool quiet);
    void update(uint64_t done);
    void finish();

private:
    void draw(uint64_t done);

    bool enabled_;
    std::optional<uint64_t> total_;
    std::chrono::steady_clock::time_point start_, last_;
    bool drawn_ = false;
};

}  // namespace kalviro::cli
