// The kalviro command as a user meets it: synthetic frames converted back to
// their known temperatures, threaded runs equal to serial ones, outputs
// that read back, and bad input that fails cleanly.
#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "cli_fixture.hpp"
#include "kalviro.hpp"

namespace {

using namespace kalviro::cli_test;

struct TiffPage {
    std::vector<float> pixels;
    uint32_t width = 0, height = 0;
    uint16_t bits = 0, format = 0;
    std::string description;
};

std::vector<TiffPage> readTiff(const fs::path& p) {
    std::vector<TiffPage> pages;
    TIFF* t = TIFFOpen(p.c_str(), "r");
    if (t == nullptr) return pages;
    do {
        TiffPage page;
        char* desc = nullptr;
        TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &page.width);
        TIFFGetField(t, TIFFTAG_IMAGELENGTH, &page.height);
        TIFFGetField(t, TIFFTAG_BITSPERSAMPLE, &page.bits);
        TIFFGetField(t, TIFFTAG_SAMPLEFORMAT, &page.format);
        if (TIFFGetField(t, TIFFTAG_IMAGEDESCRIPTION, &desc)) page.description = desc;
        page.pixels.resize(static_cast<size_t>(page.width) * page.height);
        for (uint32_t y = 0; y < page.height && page.bits == 32; ++y) {
            TIFFReadScanline(t, &page.pixels[static_cast<size_t>(y) * page.width], y);
        }
        pages.push_back(std::move(page));
    } while (TIFFReadDirectory(t));
    TIFFClose(t);
    return pages;
}

// The temperatures of two TIFFs, page by page, differ by at most this.
float maxDifference(const std::vector<TiffPage>& a, const std::vector<TiffPage>& b) {
    float worst = 0.0f;
    for (size_t k = 0; k < a.size() && k < b.size(); ++k) {
        for (size_t i = 0; i < a[k].pixels.size() && i < b[k].pixels.size(); ++i) {
            const float d = std::abs(a[k].pixels[i] - b[k].pixels[i]);
            worst = std::isnan(d) ? INFINITY : std::max(worst, d);
        }
    }
    return worst;
}

// Synthetic frames of a Direct and of a ladder CalType convert back to the
// scene's temperatures: the inverse search and the forward conversion meet.
// The ladder's emissivity factor changes by temperature bin, so below
// emissivity 1 its conversion jumps at bin edges and the temperatures inside
// a jump have no gray value; at emissivity 1 each has one.
struct RecoveryCase {
    int32_t calType;
    const char* emissivity;
};

void PrintTo(const RecoveryCase& c, std::ostream* os) {
    *os << "CalType " << c.calType << " at " << c.emissivity;
}

class Recovery : public Cli, public ::testing::WithParamInterface<RecoveryCase> {};

TEST_P(Recovery, SynthThenConvertGivesTheSceneBack) {
    const std::string args =
        " --caltype " + std::to_string(GetParam().calType) + " -e " + GetParam().emissivity;
    for (const std::string s : {"hotspot", "person", "room"}) {
        ok("synth" + args + " --size 160x120 --frames 3 --scene " + s + " -o " + s + ".raw --truth " + s +
           "-truth.tiff");
        // The size is inferred from the file: 160x120 is a common sensor size.
        ok("convert " + s + ".raw" + args + " -o " + s + ".tiff");
        const auto truth = readTiff(path(s + "-truth.tiff"));
        const auto got = readTiff(path(s + ".tiff"));
        ASSERT_EQ(truth.size(), 3u);
        ASSERT_EQ(got.size(), 3u);
        EXPECT_LE(maxDifference(truth, got), 0.2f) << "scene " << s;
    }
}

INSTANTIATE_TEST_SUITE_P(DirectAndLadder, Recovery,
                         ::testing::Values(RecoveryCase{21, "0.95"}, RecoveryCase{81, "1"}),
                         [](const ::testing::TestParamInfo<RecoveryCase>& i) {
                             return "CalType" + std::to_string(i.param.calType);
                         });

// A threaded run writes the bytes of a serial one, with a CalType that
// carries state from frame to frame.
TEST_F(Cli, ThreadedSequenceEqualsSerial) {
    ok("synth --caltype 50 --size 160x120 --frames 12 --scene hotspot -o seq.raw");
    const std::string common = "convert seq.raw --caltype 50 --frames 2: --roi hot=80,30,40,40 --spot 10,10";
    ok(common + " -j 1 -o serial.tiff -o serial.json -o serial.csv -o serial.png");
    ok(common + " -j 3 -o threads.tiff -o threads.json -o threads.csv -o threads.png");
    for (const std::string ext : {".tiff", ".json"}) {
        EXPECT_EQ(slurp(path("serial" + ext)), slurp(path("threads" + ext))) << ext;
    }
    for (int frame = 2; frame < 12; ++frame) {
        for (const std::string ext : {".csv", ".png"}) {
            const std::string n = "_00" + std::string(frame < 10 ? "0" : "") + std::to_string(frame) + ext;
            ASSERT_TRUE(fs::exists(path("serial" + n))) << n;
            EXPECT_EQ(slurp(path("serial" + n)), slurp(path("threads" + n))) << n;
        }
    }
    EXPECT_FALSE(fs::exists(path("serial_0001.csv")));  // before the chosen frames
}

// The TIFF holds float32 pages equal, bit for bit, to the library's own
// per-pixel calls after each frame's per-frame call, with the settings in
// each page's description.
TEST_F(Cli, TiffHoldsTheLibrarysTemperatures) {
    ok("synth --caltype 54 --size 160x120 --frames 2 -o two.raw");
    ok("convert two.raw --caltype 54 -e 0.9 -o two.tiff");
    const auto pages = readTiff(path("two.tiff"));
    ASSERT_EQ(pages.size(), 2u);
    const std::string raw = slurp(path("two.raw"));
    const size_t pixels = 160 * 120, frameBytes = pixels * 2 + 512;
    ASSERT_EQ(raw.size(), 2 * frameBytes);
    kalviro::Camera cam(54);
    for (size_t k = 0; k < 2; ++k) {
        EXPECT_EQ(pages[k].bits, 32);
        EXPECT_EQ(pages[k].format, SAMPLEFORMAT_IEEEFP);
        const auto desc = nlohmann::json::parse(pages[k].description);
        EXPECT_EQ(desc["frame"], k);
        EXPECT_EQ(desc["calType"], 54);
        const auto* frame = reinterpret_cast<const uint8_t*>(raw.data() + k * frameBytes);
        const auto gray = [&](size_t i) {
            return static_cast<int32_t>(frame[2 * i] | frame[2 * i + 1] << 8);
        };
        TempFrameInfo block;
        std::memcpy(&block, frame + pixels * 2, sizeof block);
        cam.init(gray(60 * 160 + 80), &block, 0.9f, 0.0f);
        for (size_t i = 0; i < pixels; ++i) {
            const float t = cam.real(gray(i), &block, 0.9f, 0.0f);
            ASSERT_EQ(std::memcmp(&t, &pages[k].pixels[i], sizeof t), 0) << "frame " << k << " pixel " << i;
        }
    }
}

// The PNG is the frame scaled, with the colour bar beside it running from the
// hottest colour at the top to the coldest at the bottom.
TEST_F(Cli, PngShowsTheFrameAndTheColourBar) {
    ok("synth --caltype 21 --size 160x120 -o one.raw");
    ok("convert one.raw --caltype 21 --palette gray --scale 2 --range 10:40 -o one.png");
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, path("one.png").c_str()));
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> rgb(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr));
    EXPECT_EQ(image.height, 240u);
    ASSERT_GT(image.width, 320u + 20u);
    // The bar's middle column: 6 pixels right of the picture, 14 wide.
    const uint32_t x = 320 + 6 + 7;
    const auto at = [&](uint32_t y) { return rgb[(static_cast<size_t>(y) * image.width + x) * 3]; };
    uint8_t previous = 255;
    for (uint32_t y = 4; y < 236; ++y) {
        ASSERT_LE(at(y), previous) << "row " << y;
        previous = at(y);
    }
    EXPECT_EQ(at(4), 255);
    EXPECT_EQ(at(235), 0);
}

// Scripts read what --json prints.
TEST_F(Cli, JsonOutputParses) {
    ok("synth --caltype 21 --size 160x120 --frames 2 -o two.raw");
    const auto info = nlohmann::json::parse(ok("info two.raw --caltype 21 --frame 1 --json").out);
    EXPECT_EQ(info["calType"], 21);
    EXPECT_EQ(info["frames"], 2);
    EXPECT_EQ(info["layout"], "base");
    EXPECT_EQ(info["block"]["tempRange"], 2);
    EXPECT_TRUE(info["getIT"].is_number());
    EXPECT_EQ(info["units"]["distance"], "metres");
    const auto list = nlohmann::json::parse(ok("list --json").out);
    EXPECT_EQ(list.size(), static_cast<size_t>(KALVIRO_CALTYPE_COUNT));
    ok("convert two.raw --caltype 21 --roi 0,0,10,10 -o two.json");
    const auto report = nlohmann::json::parse(slurp(path("two.json")));
    ASSERT_EQ(report["frames"].size(), 2u);
    EXPECT_LE(report["frames"][1]["min"].get<double>(), report["frames"][1]["rois"][0]["min"].get<double>());
    // One row a frame, a header first.
    const std::string csv = ok("info two.raw --caltype 21 --csv").out;
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 3);
}

// The gray value of a temperature converts back to it; a stream on
// standard input converts as the file does.
TEST_F(Cli, Temp2GrayAndStandardInput) {
    ok("synth --caltype 21 --size 160x120 --frames 2 -o two.raw");
    const auto found =
        nlohmann::json::parse(ok("temp2gray two.raw --caltype 21 --frame 1 --temp 36.5 --json").out);
    EXPECT_TRUE(found["found"].get<bool>());
    EXPECT_NEAR(found["converts"].get<double>(), 36.5, 0.2);
    ok("convert two.raw --caltype 21 -o file.tiff");
    ok("convert - --size 160x120 --caltype 21 -o stream.tiff < two.raw");
    EXPECT_EQ(slurp(path("file.tiff")), slurp(path("stream.tiff")));
    EXPECT_EQ(run("--help").code, 0);
}

// Bad input: one line on standard error, a non-zero exit, and the directory
// as it was: no output, no temporary file.
struct BadCase {
    const char* name;
    const char* args;
};

void PrintTo(const BadCase& c, std::ostream* os) { *os << c.name; }

class BadInput : public Cli, public ::testing::WithParamInterface<BadCase> {};

TEST_P(BadInput, FailsWithOneLineAndWritesNothing) {
    ok("synth --caltype 21 --size 160x120 --frames 2 -o two.raw");
    const std::string raw = slurp(path("two.raw"));
    std::ofstream(path("short.raw"), std::ios::binary) << raw.substr(0, raw.size() - 7);
    std::ofstream(path("taken.json")) << "{}\n";
    const auto before = listing();
    const Result r = run(GetParam().args);
    EXPECT_NE(r.code, 0);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_EQ(r.err.rfind("kalviro: ", 0), 0u) << r.err;
    EXPECT_EQ(listing(), before);
    EXPECT_EQ(slurp(path("taken.json")), "{}\n");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BadInput,
    ::testing::Values(
        BadCase{"SizeThatDoesNotFit", "convert two.raw --caltype 21 --size 640x512 -o out.tiff"},
        BadCase{"TruncatedFile", "convert short.raw --caltype 21 -o out.tiff"},
        BadCase{"TruncatedStream", "convert - --size 160x120 --caltype 21 -o out.tiff < short.raw"},
        BadCase{"UnknownCalType", "convert two.raw --caltype 53 -o out.tiff"},
        BadCase{"UnwritableOutput", "convert two.raw --caltype 21 -o out.png -o two.raw/out.tiff"},
        BadCase{"ExistingOutput", "convert two.raw --caltype 21 -o out.png -o taken.json"},
        BadCase{"NanEmissivity", "convert two.raw --caltype 21 -e nan -o out.tiff"},
        BadCase{"UnknownOption", "convert two.raw --caltype 21 --colour red -o out.tiff"}),
    [](const ::testing::TestParamInfo<BadCase>& i) { return std::string(i.param.name); });

}  // namespace
