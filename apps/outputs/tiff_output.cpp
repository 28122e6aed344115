// TIFF: one 32-bit float page per frame, temperatures in degrees, with the
// frame's settings as JSON in the page's ImageDescription. Plain strips, no
// compression: what ImageJ/Fiji and GDAL open as they are.
#include <tiffio.h>

#include <nlohmann/json.hpp>

#include "outputs/outputs.hpp"
#include "outputs/tiff_file.hpp"

namespace kalviro::cli {

namespace {

class TiffOutput : public Output {
public:
    // Past 4 GiB a classic TIFF cannot point; BigTIFF then, which libtiff,
    // GDAL, Fiji's Bio-Formats and tifffile open: for a stream, whose length
    // is not known, and for a sequence whose pages with their descriptions
    // may pass 3 GiB.
    TiffOutput(std::string target, const RunInfo& run, PendingFiles& files)
        : run_(run), file_(std::move(target), files, bigTiff(run)) {}

    bool perFrame() const override { return false; }

    void frame(const FrameResult& r) override {
        const std::string description = frameSettingsJson(run_, r).dump();
        const auto w = static_cast<uint32_t>(run_.size.width);
        const auto h = static_cast<uint32_t>(run_.size.height);
        TIFF* tiff = file_.tiff();
        // libtiff lays the values out in the order they are set: the
        // description, then the software's name, as every such page has them.
        const bool ok = TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str()) &&
                        file_.pageFields(w, h, 32, SAMPLEFORMAT_IEEEFP) &&
                        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
                        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, h) &&
                        TIFFWriteEncodedStrip(tiff, 0, const_cast<float*>(r.temps.data()),
                                              static_cast<tmsize_t>(r.temps.size() * sizeof(float))) >= 0 &&
                        TIFFWriteDirectory(tiff);
        if (!ok) file_.fail();
    }

    void finish() override { file_.close(); }

private:
    static bool bigTiff(const RunInfo& run) {
        const uint64_t page = run.size.pixels() * 4 + 16384;
        return !run.totalFrames || *run.totalFrames > (3ull << 30) / page;
    }

    const RunInfo& run_;
    TiffWriter file_;
};

}  // namespace

std::unique_ptr<Output> makeTiffOutput(const std::string& target, const RunInfo& run, PendingFiles& files) {
    return std::make_unique<TiffOutput>(target, run, files);
}

}  // namespace kalviro::cli
