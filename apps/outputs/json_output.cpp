// JSON report: the run's arguments, then per frame the per-frame call's
// value, min, max, mean, standard deviation, the hottest and coldest pixel,
// and the statistics of each region and the temperature of each spot.
// Frames are written as they come, so a long sequence needs no memory.
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "frames/block_fields.hpp"
#include "frames/failure.hpp"
#include "outputs/outputs.hpp"
#include "outputs/region_json.hpp"

namespace kalviro::cli {

namespace {

class JsonOutput : public Output {
public:
    JsonOutput(std::string target, const RunInfo& run, PendingFiles& files)
        : target_(std::move(target)), run_(run) {
        const std::string temp = files.create(target_);
        file_ = std::fopen(temp.c_str(), "wb");
        if (file_ == nullptr) fail();
        nlohmann::ordered_json head;
        head["source"] = run.source;
        head["width"] = run.size.width;
        head["height"] = run.size.height;
        head["calType"] = run.calType.calType;
        head["unit"] = unitName(run.unit);
        head["emissivity"] = shortestDouble(run.emissivity);
        head["distanceOverride"] =
            run.distance ? nlohmann::ordered_json(*run.distance) : nlohmann::ordered_json(nullptr);
        head.update(analysisHeadJson(run));
        std::string text = head.dump(2);
        text.erase(text.rfind('\n'));  // up to the closing brace: the frames follow
        write(text + ",\n  \"frames\": [");
    }

    ~JsonOutput() override {
        if (file_ != nullptr) std::fclose(file_);
    }

    bool perFrame() const override { return false; }
    bool histograms() const override { return true; }

    void frame(const FrameResult& r) override {
        nlohmann::ordered_json j;
        j["frame"] = r.index;
        j["perFrameCall"] = {{"gray", r.centreGray}, {"t", hundredths(r.perFrame)}};
        j.update(statsJson(r.whole));
        j["histogram"] = histogramJson(r.histogram, r.whole);
        j["rois"] = regionsJson(run_, r);
        j["spots"] = spotsJson(run_, r);
        write((first_ ? "\n    " : ",\n    ") + j.dump());
        first_ = false;
    }

    void finish() override {
        write("\n  ]\n}\n");
        std::FILE* f = file_;
        file_ = nullptr;
        if (std::fclose(f) != 0) fail();
    }

private:
    void write(const std::string& text) {
        if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) fail();
    }

    [[noreturn]] void fail() const { throw Failure("cannot write " + target_ + ": " + std::strerror(errno)); }

    std::string target_;
    const RunInfo& run_;
    std::FILE* file_ = nullptr;
    bool first_ = true;
};

}  // namespace

std::unique_ptr<Output> makeJsonOutput(const std::string& target, const RunInfo& run, PendingFiles& files) {
    return std::make_unique<JsonOutput>(target, run, files);
}

}  // namespace kalviro::cli
