// CSV: a comment line naming the unit and the frame, then one line per
// image row, temperatures with two decimals; a sequence writes one file
// per frame.
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "frames/failure.hpp"
#include "outputs/outputs.hpp"

namespace kalviro::cli {

namespace {

class CsvOutput : public Output {
public:
    CsvOutput(std::string target, const RunInfo& run, PendingFiles& files)
        : target_(std::move(target)), run_(run), files_(files) {}

    bool perFrame() const override { return true; }

    void frame(const FrameResult& r) override {
        const std::string name = numberedName(target_, r.index, run_);
        const std::string temp = files_.create(name);
        std::FILE* f = std::fopen(temp.c_str(), "wb");
        if (f == nullptr) throw Failure("cannot write " + name + ": " + std::strerror(errno));
        const int32_t w = run_.size.width;
        std::string line = std::string("# kalviro: ") + unitName(run_.unit) + ", " + run_.size.text() +
                           ", CalType " + std::to_string(run_.calType.calType) + ", frame " +
                           std::to_string(r.index) + "\n";
        bool ok = std::fwrite(line.data(), 1, line.size(), f) == line.size();
        line.reserve(static_cast<size_t>(w) * 8 + 1);
        for (int32_t y = 0; y < run_.size.height && ok; ++y) {
            line.clear();
            for (int32_t x = 0; x < w; ++x) {
                if (x) line += ',';
                append(line,
                       r.temps[static_cast<size_t>(y) * static_cast<size_t>(w) + static_cast<size_t>(x)]);
            }
            line += '\n';
            ok = std::fwrite(line.data(), 1, line.size(), f) == line.size();
        }
        const int err = errno;
        if (std::fclose(f) != 0 || !ok) {
            throw Failure("cannot write " + name + ": " + std::strerror(ok ? errno : err));
        }
    }

private:
    static void append(std::string& line, float t) {
        if (!std::isfinite(t)) {
            line += std::isnan(t) ? "nan" : (t > 0 ? "inf" : "-inf");
            return;
        }
        char buf[32];
        const auto res = std::to_chars(buf, buf + sizeof buf, t, std::chars_format::fixed, 2);
        line.append(buf, res.ptr);
    }

    std::string target_;
    const RunInfo& run_;
    PendingFiles& files_;
};

}  // namespace

std::unique_ptr<Output> makeCsvOutput(const std::string& target, const RunInfo& run, PendingFiles& files) {
    return std::make_unique<CsvOutput>(target, run, files);
}

}  // namespace kalviro::cli
