#include "outputs/tiff_file.hpp"

#include <cstdarg>
#include <cstdio>
#include <new>

#include "frames/failure.hpp"

namespace kalviro::cli {

namespace {

// Called from inside libtiff: nothing may be thrown through its C frames.
extern "C" int keepError(TIFF*, void* into, const char* module, const char* fmt, va_list ap) {
    char buf[512];
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    try {
        *static_cast<std::string*>(into) = std::string(module ? module : "libtiff") + ": " + buf;
    } catch (const std::bad_alloc&) {
        *static_cast<std::string*>(into) = "out of memory";  // short enough to need no allocation
    }
    return 1;
}

extern "C" int dropWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

}  // namespace

TIFFOpenOptions* keepingErrors(std::string& error) {
    TIFFOpenOptions* o = TIFFOpenOptionsAlloc();
    if (o == nullptr) throw std::bad_alloc();
    TIFFOpenOptionsSetErrorHandlerExtR(o, keepError, &error);
    TIFFOpenOptionsSetWarningHandlerExtR(o, dropWarning, nullptr);
    return o;
}

TiffWriter::TiffWriter(std::string target, PendingFiles& files, bool big) : target_(std::move(target)) {
    const std::string temp = files.create(target_);
    options_ = keepingErrors(error_);
    tiff_ = TIFFOpenExt(temp.c_str(), big ? "w8" : "w", options_);
    if (tiff_ == nullptr) {
        // No destructor runs for a constructor that throws.
        TIFFOpenOptionsFree(options_);
        fail();
    }
}

TiffWriter::~TiffWriter() {
    if (tiff_ != nullptr) TIFFClose(tiff_);
    TIFFOpenOptionsFree(options_);
}

bool TiffWriter::pageFields(uint32_t w, uint32_t h, uint16_t bits, uint16_t format) const {
    return TIFFSetField(tiff_, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE) &&
           TIFFSetField(tiff_, TIFFTAG_IMAGEWIDTH, w) && TIFFSetField(tiff_, TIFFTAG_IMAGELENGTH, h) &&
           TIFFSetField(tiff_, TIFFTAG_BITSPERSAMPLE, bits) &&
           TIFFSetField(tiff_, TIFFTAG_SAMPLESPERPIXEL, 1) &&
           TIFFSetField(tiff_, TIFFTAG_SAMPLEFORMAT, format) &&
           TIFFSetField(tiff_, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK) &&
           TIFFSetField(tiff_, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
           TIFFSetField(tiff_, TIFFTAG_SOFTWARE, "kalviro");
}

void TiffWriter::close() {
    TIFF* t = tiff_;
    tiff_ = nullptr;
    error_.clear();
    TIFFClose(t);
    if (!error_.empty()) fail();
}

void TiffWriter::fail() const {
    throw Failure("cannot write " + target_ + (error_.empty() ? "" : ": " + error_));
}

}  // namespace kalviro::cli
