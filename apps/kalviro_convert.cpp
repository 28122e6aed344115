// kalviro-convert: one frame through the C entries, the way a camera program
// walks it (split the buffer, one per-frame call, the per-pixel pointer for
// every pixel), and a summary of the temperatures.
//
//   kalviro-convert                          the built-in 160x120 sample
//   kalviro-convert FRAME W H CALTYPE [EMISSIVITY]
//                                            a raw frame: W*H 16-bit
//                                            little-endian pixels, then the
//                                            512-byte block
//   kalviro-convert --write-sample FRAME     write the built-in sample
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "kalviro.h"
#include "sample_block.h"

namespace {

constexpr int32_t kSampleWidth = 160;
constexpr int32_t kSampleHeight = 120;
constexpr int32_t kSampleCalType = 21;
constexpr float kDefaultEmissivity = 0.95f;
// The pixel the baseline block is worked on: gray 1000 reads 53.88 degrees.
constexpr int32_t kWorkedX = kSampleWidth / 2;
constexpr int32_t kWorkedY = kSampleHeight / 2;
constexpr uint16_t kWorkedGray = 1000;

struct Frame {
    std::vector<uint8_t> bytes;
    int32_t width = 0;
    int32_t height = 0;
};

[[noreturn]] void fail(const std::string& message, int code = 1) {
    std::fprintf(stderr, "kalviro-convert: %s\n", message.c_str());
    std::exit(code);
}

void usage() {
    std::fprintf(stderr,
                 "usage: kalviro-convert                                   convert the built-in sample\n"
                 "       kalviro-convert FRAME WIDTH HEIGHT CALTYPE [EMISSIVITY]\n"
                 "       kalviro-convert --write-sample FRAME\n"
                 "FRAME holds WIDTH*HEIGHT 16-bit little-endian pixels followed by the 512-byte block.\n");
    std::exit(2);
}

uint16_t pixel(const uint8_t* image, size_t index) {
    return static_cast<uint16_t>(image[2 * index] | image[2 * index + 1] << 8);
}

// A gray ramp across the frame with the worked pixel in the middle, and the
// baseline block behind it.
Frame sampleFrame() {
    Frame f;
    f.width = kSampleWidth;
    f.height = kSampleHeight;
    const size_t pixels = static_cast<size_t>(f.width) * static_cast<size_t>(f.height);
    f.bytes.assign(pixels * 2 + 512, 0);
    for (int32_t y = 0; y < f.height; ++y) {
        for (int32_t x = 0; x < f.width; ++x) {
            const uint16_t gray =
                (x == kWorkedX && y == kWorkedY) ? kWorkedGray : static_cast<uint16_t>(200 + 24 * x + 4 * y);
            const size_t i = static_cast<size_t>(y) * static_cast<size_t>(f.width) + static_cast<size_t>(x);
            f.bytes[2 * i] = static_cast<uint8_t>(gray & 0xff);
            f.bytes[2 * i + 1] = static_cast<uint8_t>(gray >> 8);
        }
    }
    fill_worked_block(f.bytes.data() + pixels * 2);
    return f;
}

long parseInteger(const char* text, const char* what, long lowest, long highest) {
    errno = 0;
    char* end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || v < lowest || v > highest) {
        fail(std::string("bad ") + what + " '" + text + "' (expected an integer from " +
                 std::to_string(lowest) + " to " + std::to_string(highest) + ")",
             2);
    }
    return v;
}

float parseEmissivity(const char* text) {
    errno = 0;
    char* end = nullptr;
    const float v = std::strtof(text, &end);
    if (errno != 0 || end == text || *end != '\0' || !std::isfinite(v) || v <= 0.0f || v > 1.0f) {
        fail(std::string("bad emissivity '") + text + "' (expected a number above 0 and at most 1)", 2);
    }
    return v;
}

Frame readFrame(const char* path, int32_t width, int32_t height) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail(std::string("cannot open ") + path + ": " + std::strerror(errno));
    Frame f;
    f.width = width;
    f.height = height;
    f.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (in.bad()) fail(std::string("cannot read ") + path);
    const size_t expected = static_cast<size_t>(width) * static_cast<size_t>(height) * 2 + 512;
    if (f.bytes.size() != expected) {
        fail(std::string(path) + " holds " + std::to_string(f.bytes.size()) + " bytes; a " +
             std::to_string(width) + "x" + std::to_string(height) + " frame with its block is " +
             std::to_string(expected));
    }
    return f;
}

void writeFrame(const char* path, const Frame& f) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(f.bytes.data()), static_cast<std::streamsize>(f.bytes.size()));
    out.close();
    if (!out) fail(std::string("cannot write ") + path);
    std::printf("wrote %s: %dx%d, %zu bytes\n", path, f.width, f.height, f.bytes.size());
}

void printLibrary() {
    char minute[9];
    char stamp[22];
    KALVIRO_GetVersionMinute(minute);
    KALVIRO_GetVersion(stamp);
    stamp[std::strcspn(stamp, "\n")] = '\0';
    std::printf("kalviro %s (build %s)\n", minute, stamp);
    std::printf("CalTypes converting: %d of %d\n", kalviro_table_size, KALVIRO_CALTYPE_COUNT);
}

int convert(Frame& f, int32_t calType, float emissivity, const char* name) {
    uint8_t* image = nullptr;
    uint8_t* info = nullptr;
    uint64_t imageSize = 0;
    uint64_t infoSize = 0;
    if (Temperature_GetFrameInfo(calType, f.bytes.data(), f.bytes.size(), &image, &imageSize, &info,
                                 &infoSize) != 0) {
        fail("CalType " + std::to_string(calType) + " does not convert");
    }
    TempFrameInfo* block = reinterpret_cast<TempFrameInfo*>(info);
    const size_t pixels = static_cast<size_t>(imageSize / 2);
    const size_t centre =
        static_cast<size_t>(f.height / 2) * static_cast<size_t>(f.width) + static_cast<size_t>(f.width / 2);

    std::printf("frame: %s, %dx%d, CalType %d, emissivity %.2f\n", name, f.width, f.height, calType,
                static_cast<double>(emissivity));
    // One per-frame call rebuilds the CalType's table; any gray of the frame will do.
    const int32_t frameGray = pixel(image, centre);
    const float perFrame = KALVIRO_Gray2Temp_Init(calType, frameGray, block, emissivity, 0.0f);
    std::printf("per-frame call: gray %d -> %.2f deg\n", frameGray, static_cast<double>(perFrame));

    const Gray2TempFn real = KALVIRO_Gray2Temp_Real_GET(calType);
    if (real == nullptr) fail("no per-pixel function for CalType " + std::to_string(calType));
    float lo = INFINITY;
    float hi = -INFINITY;
    double sum = 0.0;
    for (size_t i = 0; i < pixels; ++i) {
        const float t = real(pixel(image, i), block, emissivity, 0.0f);
        lo = std::fmin(lo, t);
        hi = std::fmax(hi, t);
        sum += static_cast<double>(t);
    }
    std::printf("pixels: %zu  min %.2f  max %.2f  mean %.2f deg\n", pixels, static_cast<double>(lo),
                static_cast<double>(hi), pixels ? sum / static_cast<double>(pixels) : 0.0);

    const int32_t w = f.width;
    const int32_t h = f.height;
    const int32_t spots[][2] = {{0, 0}, {w - 1, 0}, {w / 2, h / 2}, {0, h - 1}, {w - 1, h - 1}};
    std::printf("sample pixels:\n");
    for (const auto& s : spots) {
        const size_t i = static_cast<size_t>(s[1]) * static_cast<size_t>(w) + static_cast<size_t>(s[0]);
        const uint16_t gray = pixel(image, i);
        std::printf("  (%3d,%3d) gray %5u -> %8.2f deg\n", s[0], s[1], gray,
                    static_cast<double>(real(gray, block, emissivity, 0.0f)));
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        printLibrary();
        Frame f = sampleFrame();
        return convert(f, kSampleCalType, kDefaultEmissivity, "built-in sample");
    }
    if (argc == 3 && std::strcmp(argv[1], "--write-sample") == 0) {
        writeFrame(argv[2], sampleFrame());
        return 0;
    }
    if (argc != 5 && argc != 6) usage();
    const auto width = static_cast<int32_t>(parseInteger(argv[2], "width", 1, 65535));
    const auto height = static_cast<int32_t>(parseInteger(argv[3], "height", 1, 65535));
    const auto calType = static_cast<int32_t>(parseInteger(argv[4], "CalType", INT32_MIN, INT32_MAX));
    const float emissivity = argc == 6 ? parseEmissivity(argv[5]) : kDefaultEmissivity;
    printLibrary();
    if (KALVIRO_IsAlgSurport(calType) == 0) fail("CalType " + std::to_string(calType) + " does not convert");
    Frame f = readFrame(argv[1], width, height);
    return convert(f, calType, emissivity, argv[1]);
}
