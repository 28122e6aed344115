// PNG: the frame in false colour, a colour bar labelled with its range, and
// markers on the hottest (+) and coldest (x) pixel. One file per frame.
#include <png.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include "frames/failure.hpp"
#include "outputs/canvas.hpp"
#include "outputs/outputs.hpp"
#include "outputs/picture.hpp"

namespace kalviro::cli {

namespace {

// The bar's place right of the picture: a gap, the bar, a gap, the labels.
constexpr int32_t kBarGap = 6;
constexpr int32_t kBarWidth = 14;
constexpr int32_t kLabelGap = 5;
constexpr int32_t kLabelChars = 9;  // "-999.99*C"
constexpr int32_t kBarMargin = 4;

extern "C" void pngError(png_structp png, png_const_charp msg) {
    auto* out = static_cast<std::string*>(png_get_error_ptr(png));
    *out = msg;
    png_longjmp(png, 1);
}

extern "C" void pngWarning(png_structp, png_const_charp) {}

void writePng(const std::string& path, const std::string& name, const Canvas& c, const std::string& comment) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) throw Failure("cannot write " + name + ": " + std::strerror(errno));
    std::string error;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, pngError, pngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (png == nullptr || info == nullptr || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(f);
        throw Failure("cannot write " + name + ": " + (error.empty() ? "out of memory" : error));
    }
    png_init_io(png, f);
    // Fast compression: flat false-colour areas compress well anyway, and a
    // sequence writes a file a frame.
    png_set_compression_level(png, 2);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB | PNG_FILTER_UP);
    png_set_IHDR(png, info, static_cast<png_uint_32>(c.width), static_cast<png_uint_32>(c.height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_text text{};
    text.compression = PNG_TEXT_COMPRESSION_NONE;
    text.key = const_cast<char*>("Comment");
    text.text = const_cast<char*>(comment.c_str());
    png_set_text(png, info, &text, 1);
    png_write_info(png, info);
    for (int32_t y = 0; y < c.height; ++y) {
        png_write_row(png, &c.rgb[static_cast<size_t>(y) * static_cast<size_t>(c.width) * 3]);
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    if (std::fclose(f) != 0) throw Failure("cannot write " + name + ": " + std::strerror(errno));
}

// Without a valid temperature (lo == hi) every pixel and the bar are in the
// invalid colour, the bar labelled "--".
Canvas draw(const FrameResult& r, const RunInfo& run, const PngOptions& png, float lo, float hi) {
    const int32_t s = png.scale;
    const int32_t w = run.size.width * s;
    const int32_t h = run.size.height * s;
    const int32_t fontScale = h >= 360 ? 2 : 1;
    const int32_t panel =
        kBarGap + kBarWidth + kLabelGap + textWidth(std::string(kLabelChars, '0'), fontScale) + kBarGap;
    Canvas c(w + panel, h, kPanel);
    const Canvas picture = renderPicture(run, png, r, lo, hi);
    for (int32_t y = 0; y < h; ++y) {
        std::memcpy(&c.rgb[static_cast<size_t>(y) * static_cast<size_t>(c.width) * 3],
                    &picture.rgb[static_cast<size_t>(y) * static_cast<size_t>(w) * 3],
                    static_cast<size_t>(w) * 3);
    }
    // The bar: hottest colour at the top.
    const Palette& pal = *png.palette;
    const int32_t x0 = w + kBarGap;
    const int32_t top = std::min(kBarMargin, h / 4);
    const int32_t bottom = h - 1 - top;
    for (int32_t y = top; y <= bottom; ++y) {
        const double k = bottom > top ? static_cast<double>(bottom - y) / (bottom - top) : 1.0;
        Rgb colour = hi > lo ? pal[static_cast<size_t>(std::lround(k * 255.0))] : kInvalidColour;
        // The isotherm band where the bar passes through it.
        const double t = lo + k * (static_cast<double>(hi) - lo);
        if (hi > lo && png.isotherm && t >= png.isotherm->first && t <= png.isotherm->second)
            colour = kIsothermColour;
        c.fill(x0, y, kBarWidth, 1, colour);
    }
    const int32_t lx = x0 + kBarWidth + kLabelGap;
    drawText(c, lx, top, hi > lo ? temperatureLabel(hi, run.unit) : "--", kLabel, fontScale);
    if (hi > lo)
        drawText(c, lx, bottom + 1 - kGlyphHeight * fontScale, temperatureLabel(lo, run.unit), kLabel,
                 fontScale);
    return c;
}

class PngOutput : public Output {
public:
    PngOutput(std::string target, const RunInfo& run, const PngOptions& png, PendingFiles& files)
        : target_(std::move(target)), run_(run), png_(png), files_(files) {}

    bool perFrame() const override { return true; }

    void frame(const FrameResult& r) override {
        const std::string name = numberedName(target_, r.index, run_);
        const std::string temp = files_.create(name);
        const Rendered picture = renderFrame(r, run_, png_);
        writePng(temp, name, picture.canvas, picture.comment);
    }

private:
    std::string target_;
    const RunInfo& run_;
    PngOptions png_;
    PendingFiles& files_;
};

}  // namespace

Rendered renderFrame(const FrameResult& r, const RunInfo& run, const PngOptions& png) {
    const auto [lo, hi] = colourRange(png, r);
    return Rendered{draw(r, run, png, lo, hi),
                    "kalviro: CalType " + std::to_string(run.calType.calType) + ", frame " +
                        std::to_string(r.index) +
                        (hi > lo ? ", colours from " + temperatureLabel(lo, run.unit) + " to " +
                                       temperatureLabel(hi, run.unit)
                                 : std::string(", no valid temperature")) +
                        ", " + unitName(run.unit)};
}

std::unique_ptr<Output> makePngOutput(const std::string& target, const RunInfo& run, const PngOptions& png,
                                      PendingFiles& files) {
    return std::make_unique<PngOutput>(target, run, png, files);
}

}  // namespace kalviro::cli
