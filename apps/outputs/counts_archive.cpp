#include "outputs/counts_archive.hpp"

#include <sys/stat.h>

#include <cstring>
#include <fstream>
#include <mutex>

#include "frames/failure.hpp"
#include "frames/frame.hpp"
#include "outputs/outputs.hpp"
#include "outputs/tiff_file.hpp"

namespace kalviro::cli {

namespace {

TIFFExtendProc gParentExtender = nullptr;

// Variable count with the count passed: a file whose tag holds any other
// number of bytes reads back as such and is refused, never overread.
const TIFFFieldInfo kBlockField[] = {
    {kBlockTag, TIFF_VARIABLE2, TIFF_VARIABLE2, TIFF_UNDEFINED, FIELD_CUSTOM, 1, 1,
     const_cast<char*>("KalviroBlock")},
};

extern "C" void extendTags(TIFF* tiff) {
    TIFFMergeFieldInfo(tiff, kBlockField, 1);
    if (gParentExtender != nullptr) gParentExtender(tiff);
}

// More than this many pixels a page is not a thermal camera's frame: a
// hostile header is refused before anything is allocated for it.
constexpr uint64_t kMaxPagePixels = uint64_t{1} << 28;
// Rows a strip: about 256 KiB of gray values, large enough for deflate to
// find the frame's redundancy.
constexpr uint32_t kStripBytes = 256 * 1024;

class CountsOutput : public Output {
public:
    // Past 4 GiB a classic TIFF cannot point: BigTIFF when the run may get
    // there (a stream of unknown length, or a long sequence). The block's
    // tag is known to libtiff before (makeCountsOutput).
    CountsOutput(std::string target, const RunInfo& run, PendingFiles& files)
        : run_(run), file_(std::move(target), files, bigArchive(run)) {}

    bool perFrame() const override { return false; }

    void frame(const FrameResult& r) override {
        const auto w = static_cast<uint32_t>(run_.size.width);
        const auto h = static_cast<uint32_t>(run_.size.height);
        const uint32_t rows = std::max<uint32_t>(1, kStripBytes / (2 * w));
        TIFF* tiff = file_.tiff();
        bool ok = file_.pageFields(w, h, 16, SAMPLEFORMAT_UINT) &&
                  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE) &&
                  TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL) &&
                  // Level 1: most of the gain at a fraction of the time.
                  TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, 1) &&
                  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, std::min(rows, h)) &&
                  TIFFSetField(tiff, kBlockTag, static_cast<uint32_t>(kBlockBytes), &r.settings);
        // ImageJ reads its stack description from the first page; the pages
        // are compressed, so it reads every page's own strips.
        if (ok && pages_ == 0) {
            std::string description = "ImageJ=1.11a\n";
            if (run_.totalFrames) {
                const std::string n = std::to_string(*run_.totalFrames);
                description += "images=" + n + "\nslices=" + n + "\n";
            }
            description += "loop=false\n";
            ok = TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str());
        }
        for (uint32_t y = 0; ok && y < h; ++y) {
            ok = TIFFWriteScanline(tiff, const_cast<uint16_t*>(&r.grays[static_cast<size_t>(y) * w]), y, 0) >=
                 0;
        }
        if (!ok || !TIFFWriteDirectory(tiff)) file_.fail();
        ++pages_;
    }

    void finish() override { file_.close(); }

private:
    static bool bigArchive(const RunInfo& run) {
        const uint64_t rawBytes = run.totalFrames ? run.size.frameBytes() * *run.totalFrames : UINT64_MAX;
        return rawBytes > (3ull << 30);
    }

    const RunInfo& run_;
    TiffWriter file_;
    uint64_t pages_ = 0;
};

}  // namespace

void registerBlockTag() {
    static std::once_flag once;
    std::call_once(once, [] { gParentExtender = TIFFSetTagExtender(extendTags); });
}

bool looksLikeTiff(const std::string& path) {
    struct stat st {};
    if (path == "-" || ::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    std::ifstream in(path, std::ios::binary);
    unsigned char m[4] = {};
    if (!in.read(reinterpret_cast<char*>(m), 4)) return false;
    const bool little = m[0] == 'I' && m[1] == 'I' && m[3] == 0 && (m[2] == 42 || m[2] == 43);
    const bool big = m[0] == 'M' && m[1] == 'M' && m[2] == 0 && (m[3] == 42 || m[3] == 43);
    return little || big;
}

CountsArchiveReader::CountsArchiveReader(const std::string& path) : name_(path) {
    registerBlockTag();
    options_ = keepingErrors(error_);
    tiff_ = TIFFOpenExt(path.c_str(), "r", options_);
    try {
        checkFile();
    } catch (...) {
        // No destructor runs for a constructor that throws.
        if (tiff_ != nullptr) TIFFClose(tiff_);
        TIFFOpenOptionsFree(options_);
        throw;
    }
}

void CountsArchiveReader::checkFile() {
    if (tiff_ == nullptr) fail("cannot be read");
    uint32_t w = 0, h = 0;
    TIFFGetField(tiff_, TIFFTAG_IMAGEWIDTH, &w);
    TIFFGetField(tiff_, TIFFTAG_IMAGELENGTH, &h);
    if (w < 1 || h < 1 || w > 65535 || h > 65535 || uint64_t{w} * h > kMaxPagePixels) {
        fail("its first page (" + std::to_string(w) + "x" + std::to_string(h) +
             ") is not a frame of gray values");
    }
    size_ = FrameSize{static_cast<int32_t>(w), static_cast<int32_t>(h)};
    // A page that cannot be reached (a file cut short, a damaged chain of
    // pages) or is no frame fails the file as a truncated raw file does:
    // before any work. Only the pages' tags are read here, not their pixels.
    error_.clear();
    frames_ = TIFFNumberOfDirectories(tiff_);
    if (frames_ == 0 || !error_.empty() || !TIFFSetDirectory(tiff_, 0)) fail("is truncated or damaged");
    for (uint64_t page = 0; page < frames_; ++page) {
        if (page > 0 && !TIFFReadDirectory(tiff_)) fail("is truncated or damaged");
        checkPage(page);
    }
    if (!TIFFSetDirectory(tiff_, 0)) fail("is truncated or damaged");
}

CountsArchiveReader::~CountsArchiveReader() {
    if (tiff_ != nullptr) TIFFClose(tiff_);
    TIFFOpenOptionsFree(options_);
}

void CountsArchiveReader::fail(const std::string& what) const {
    throw Failure(name_ + ": " + what + (error_.empty() ? "" : " (" + error_ + ")"));
}

void CountsArchiveReader::checkPage(uint64_t page) const {
    uint32_t w = 0, h = 0, count = 0;
    uint16_t bits = 0, samples = 1, format = SAMPLEFORMAT_UINT;
    void* block = nullptr;
    TIFFGetField(tiff_, TIFFTAG_IMAGEWIDTH, &w);
    TIFFGetField(tiff_, TIFFTAG_IMAGELENGTH, &h);
    TIFFGetField(tiff_, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff_, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(tiff_, TIFFTAG_SAMPLEFORMAT, &format);
    const bool hasBlock = TIFFGetField(tiff_, kBlockTag, &count, &block) && count == kBlockBytes && block;
    const std::string which = "page " + std::to_string(page);
    if (!hasBlock) {
        fail(which +
             " has no 512-byte block: not a gray-value archive of kalviro (convert -o NAME.tiff "
             "--counts writes one)");
    }
    if (w != static_cast<uint32_t>(size_.width) || h != static_cast<uint32_t>(size_.height) || bits != 16 ||
        samples != 1 || format != SAMPLEFORMAT_UINT || TIFFIsTiled(tiff_)) {
        fail(which + " is not a " + size_.text() + " page of 16-bit gray values in strips");
    }
}

bool CountsArchiveReader::next(Frame& frame) {
    if (next_ >= frames_) return false;
    if (next_ > 0 && !TIFFReadDirectory(tiff_)) fail("page " + std::to_string(next_) + " cannot be read");
    checkPage(next_);
    const auto w = static_cast<size_t>(size_.width);
    frame.pixels.resize(size_.pixels());
    for (uint32_t y = 0; y < static_cast<uint32_t>(size_.height); ++y) {
        if (TIFFReadScanline(tiff_, &frame.pixels[y * w], y, 0) < 0) {
            fail("page " + std::to_string(next_) + " cannot be read");
        }
    }
    uint32_t count = 0;
    void* block = nullptr;
    TIFFGetField(tiff_, kBlockTag, &count, &block);
    std::memcpy(&frame.block, block, kBlockBytes);
    frame.centreGray =
        frame.pixels[static_cast<size_t>(size_.height / 2) * w + static_cast<size_t>(size_.width / 2)];
    ++next_;
    return true;
}

std::unique_ptr<Output> makeCountsOutput(const std::string& target, const RunInfo& run, PendingFiles& files) {
    registerBlockTag();
    return std::make_unique<CountsOutput>(target, run, files);
}

}  // namespace kalviro::cli
