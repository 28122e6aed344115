// TIFF: one 32-bit float page per frame, temperatures in degrees, with the
// frame's settings as JSON in the page's ImageDescription. Plain strips, no
// compression: what ImageJ/Fiji and GDAL open as they are.
#include <tiffio.h>

#include <nlohmann/json.hpp>

#include "frames/failure.hpp"
#include "outputs/outputs.hpp"

namespace kalviro::cli {

namespace {

thread_local std::string tLastTiffError;

// Called from inside libtiff: nothing may be thrown through its C frames.
extern "C" void tiffError(const char* module, const char* fmt, va_list ap) {
    char buf[512];
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    try {
        tLastTiffError = std::string(module ? module : "libtiff") + ": " + buf;
    } catch (const std::bad_alloc&) {
        tLastTiffError = "out of memory";  // short enough to need no allocation
    }
}

extern "C" void tiffWarning(const char*, const char*, va_list) {}

class TiffOutput : public Output {
public:
    TiffOutput(std::string target, const RunInfo& run, PendingFiles& files)
        : target_(std::move(target)), run_(run) {
        TIFFSetErrorHandler(tiffError);
        TIFFSetWarningHandler(tiffWarning);
        const std::string temp = files.create(target_);
        // Past 4 GiB a classic TIFF cannot point; BigTIFF then, which
        // libtiff, GDAL, Fiji's Bio-Formats and tifffile open: for a stream,
        // whose length is not known, and for a sequence whose pages with
        // their descriptions may pass 3 GiB.
        const uint64_t page = run.size.pixels() * 4 + 16384;
        const bool big = !run.totalFrames || *run.totalFrames > (3ull << 30) / page;
        tiff_ = TIFFOpen(temp.c_str(), big ? "w8" : "w");
        if (tiff_ == nullptr) fail();
    }

    ~TiffOutput() override {
        if (tiff_ != nullptr) TIFFClose(tiff_);
    }

    bool perFrame() const override { return false; }

    void frame(const FrameResult& r) override {
        const std::string description = frameSettingsJson(run_, r).dump();
        const auto w = static_cast<uint32_t>(run_.size.width);
        const auto h = static_cast<uint32_t>(run_.size.height);
        const bool ok = TIFFSetField(tiff_, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE) &&
                        TIFFSetField(tiff_, TIFFTAG_IMAGEWIDTH, w) &&
                        TIFFSetField(tiff_, TIFFTAG_IMAGELENGTH, h) &&
                        TIFFSetField(tiff_, TIFFTAG_BITSPERSAMPLE, 32) &&
                        TIFFSetField(tiff_, TIFFTAG_SAMPLESPERPIXEL, 1) &&
                        TIFFSetField(tiff_, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP) &&
                        TIFFSetField(tiff_, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK) &&
                        TIFFSetField(tiff_, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
                        TIFFSetField(tiff_, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
                        TIFFSetField(tiff_, TIFFTAG_ROWSPERSTRIP, h) &&
                        TIFFSetField(tiff_, TIFFTAG_IMAGEDESCRIPTION, description.c_str()) &&
                        TIFFSetField(tiff_, TIFFTAG_SOFTWARE, "kalviro") &&
                        TIFFWriteEncodedStrip(tiff_, 0, const_cast<float*>(r.temps.data()),
                                              static_cast<tmsize_t>(r.temps.size() * sizeof(float))) >= 0 &&
                        TIFFWriteDirectory(tiff_);
        if (!ok) fail();
    }

    void finish() override {
        TIFF* t = tiff_;
        tiff_ = nullptr;
        tLastTiffError.clear();
        TIFFClose(t);
        if (!tLastTiffError.empty()) fail();
    }

private:
    [[noreturn]] void fail() const {
        throw Failure("cannot write " + target_ + (tLastTiffError.empty() ? "" : ": " + tLastTiffError));
    }

    std::string target_;
    const RunInfo& run_;
    TIFF* tiff_ = nullptr;
};

}  // namespace

std::unique_ptr<Output> makeTiffOutput(const std::string& target, const RunInfo& run, PendingFiles& files) {
    return std::make_unique<TiffOutput>(target, run, files);
}

}  // namespace kalviro::cli
