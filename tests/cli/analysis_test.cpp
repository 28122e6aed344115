// Regions of every shape, per-region emissivity, units, --set and alarms,
// driven through the built command and checked against plain computations
// over the float TIFF it writes.
#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <algorithm>
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

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int kW = 160, kH = 120;

// Float pages of a TIFF, with their descriptions.
struct Page {
    std::vector<float> t;
    std::string description;
    float at(int x, int y) const { return t[static_cast<size_t>(y) * kW + static_cast<size_t>(x)]; }
};

std::vector<Page> readPages(const fs::path& p) {
    std::vector<Page> pages;
    TIFF* tif = TIFFOpen(p.c_str(), "r");
    if (tif == nullptr) return pages;
    do {
        Page page;
        uint32_t w = 0, h = 0;
        char* desc = nullptr;
        TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &w);
        TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h);
        if (TIFFGetField(tif, TIFFTAG_IMAGEDESCRIPTION, &desc)) page.description = desc;
        page.t.resize(static_cast<size_t>(w) * h);
        for (uint32_t y = 0; y < h; ++y) TIFFReadScanline(tif, &page.t[static_cast<size_t>(y) * w], y);
        pages.push_back(std::move(page));
    } while (TIFFReadDirectory(tif));
    TIFFClose(tif);
    return pages;
}

bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

double hundredths(double v) { return std::round(v * 100.0) / 100.0; }

using Analysis = kalviro::cli_test::Cli;
using kalviro::cli_test::Result;
using kalviro::cli_test::slurp;

// Membership by the definitions, written with divisions and a plain ray
// cast rather than the command's multiplied-out forms.
bool inEllipse(int x, int y, double cx, double cy, double rx, double ry) {
    const double u = (x + 0.5 - cx) / rx, v = (y + 0.5 - cy) / ry;
    return u * u + v * v <= 1.0;
}

bool inPolygon(int x, int y, const std::vector<double>& p) {
    const double px = x + 0.5, py = y + 0.5;
    bool inside = false;
    const size_t n = p.size() / 2;
    for (size_t i = 0; i < n; ++i) {
        const size_t j = (i + 1) % n;
        const double ax = p[2 * i], ay = p[2 * i + 1], bx = p[2 * j], by = p[2 * j + 1];
        if ((ay <= py) == (by <= py)) continue;
        const double crossX = ax + (py - ay) / (by - ay) * (bx - ax);
        if (px < crossX) inside = !inside;
    }
    return inside;
}

// Whether the segment between two pixel centres passes through the inside
// of pixel (x, y)'s square, by clipping it to the square.
bool segmentCrosses(int x, int y, int x1, int y1, int x2, int y2) {
    const double ax = x1 + 0.5, ay = y1 + 0.5, dx = x2 - x1, dy = y2 - y1;
    double t0 = 0.0, t1 = 1.0;
    const auto clip = [&](double p, double q) {  // p t <= q
        if (p == 0.0) return q >= 0.0;
        const double r = q / p;
        if (p < 0.0)
            t0 = std::max(t0, r);
        else
            t1 = std::min(t1, r);
        return true;
    };
    if (!clip(-dx, ax - x) || !clip(dx, x + 1 - ax) || !clip(-dy, ay - y) || !clip(dy, y + 1 - ay))
        return false;
    return t0 < t1;
}

struct Plain {
    size_t count = 0;
    double min = INFINITY, max = -INFINITY, mean = 0.0;
};

template <class Inside>
Plain plainStats(const Page& page, Inside inside) {
    Plain s;
    double sum = 0.0;
    for (int y = 0; y < kH; ++y) {
        for (int x = 0; x < kW; ++x) {
            if (!inside(x, y)) continue;
            const double t = page.at(x, y);
            s.min = std::min(s.min, t);
            s.max = std::max(s.max, t);
            sum += t;
            ++s.count;
        }
    }
    s.mean = sum / static_cast<double>(s.count);
    return s;
}

void expectStats(const json& region, const Plain& p, const std::string& what) {
    EXPECT_EQ(region["pixels"].get<size_t>(), p.count) << what;
    EXPECT_NEAR(region["min"].get<double>(), hundredths(p.min), 1e-9) << what;
    EXPECT_NEAR(region["max"].get<double>(), hundredths(p.max), 1e-9) << what;
    EXPECT_NEAR(region["mean"].get<double>(), p.mean, 0.0006) << what;
    // The histogram holds every pixel once.
    uint64_t total = 0;
    for (const auto& c : region["histogram"]["counts"]) total += c.get<uint64_t>();
    EXPECT_EQ(total, p.count) << what;
}

TEST_F(Analysis, ShapesAgreeWithPlainComputationsOverTheTiff) {
    ok("synth --caltype 21 --size 160x120 --frames 2 --scene person -o p.raw");
    const std::vector<double> poly = {10.2, 10.3, 70.4, 15.1, 40.3, 30.2, 75.6, 55.7, 12.1, 50.9};
    ok("convert p.raw --caltype 21 --ellipse face=80,60,20,10 --ellipse 30.3,90.1,12.7,6.2 "
       "--polygon panel=10.2,10.3,70.4,15.1,40.3,30.2,75.6,55.7,12.1,50.9 --line cut=3,100,150,7 "
       "--line 5,5,5,40 --bins 16 -o p.tiff -o p.json --table p.csv");
    const auto pages = readPages(path("p.tiff"));
    const json report = json::parse(slurp(path("p.json")));
    ASSERT_EQ(pages.size(), 2u);
    ASSERT_EQ(report["frames"].size(), 2u);
    for (size_t k = 0; k < 2; ++k) {
        const json& f = report["frames"][k];
        const json& rois = f["rois"];
        ASSERT_EQ(rois.size(), 5u);
        EXPECT_EQ(rois[0]["name"], "face");
        EXPECT_EQ(rois[0]["kind"], "ellipse");
        expectStats(rois[0],
                    plainStats(pages[k], [](int x, int y) { return inEllipse(x, y, 80, 60, 20, 10); }),
                    "face");
        EXPECT_EQ(rois[1]["name"], "ellipse2");
        expectStats(rois[1],
                    plainStats(pages[k], [](int x, int y) { return inEllipse(x, y, 30.3, 90.1, 12.7, 6.2); }),
                    "ellipse2");
        EXPECT_EQ(rois[2]["kind"], "polygon");
        expectStats(rois[2], plainStats(pages[k], [&](int x, int y) { return inPolygon(x, y, poly); }),
                    "panel");
        // The frame's histogram: 16 bins holding every pixel.
        ASSERT_EQ(f["histogram"]["counts"].size(), 16u);
        uint64_t total = 0;
        for (const auto& c : f["histogram"]["counts"]) total += c.get<uint64_t>();
        EXPECT_EQ(total, static_cast<uint64_t>(kW * kH));
        // Lines: the pixels the segment crosses, each once, in order from
        // the first end, with their temperatures.
        const int ends[2][4] = {{3, 100, 150, 7}, {5, 5, 5, 40}};
        for (int l = 0; l < 2; ++l) {
            const json& line = rois[3 + l];
            EXPECT_EQ(line["kind"], "line");
            const int* e = ends[l];
            const json& pathJ = line["path"];
            const json& profile = line["profile"];
            ASSERT_EQ(pathJ.size(), profile.size());
            size_t crossed = 0;
            for (int y = 0; y < kH; ++y)
                for (int x = 0; x < kW; ++x) crossed += segmentCrosses(x, y, e[0], e[1], e[2], e[3]);
            ASSERT_EQ(pathJ.size(), crossed);
            EXPECT_EQ(pathJ.front(), json({e[0], e[1]}));
            EXPECT_EQ(pathJ.back(), json({e[2], e[3]}));
            for (size_t i = 0; i < pathJ.size(); ++i) {
                const int x = pathJ[i][0], y = pathJ[i][1];
                EXPECT_TRUE(segmentCrosses(x, y, e[0], e[1], e[2], e[3])) << x << "," << y;
                if (i > 0) {
                    const int px = pathJ[i - 1][0], py = pathJ[i - 1][1];
                    EXPECT_EQ(std::max(std::abs(x - px), std::abs(y - py)), 1) << "step " << i;
                }
                EXPECT_NEAR(profile[i].get<double>(), hundredths(pages[k].at(x, y)), 1e-9);
            }
        }
        EXPECT_EQ(rois[3]["name"], "cut");
        EXPECT_EQ(rois[4]["path"].size(), 36u);
    }
    // The long table: a row for each shape and frame, with the report's
    // numbers and the shape's kind.
    std::istringstream table(slurp(path("p.csv")));
    std::string line;
    std::getline(table, line);
    EXPECT_EQ(line.substr(0, 36), "input,frame,upTime,name,kind,min,max");
    std::map<std::string, std::vector<std::string>> rows;
    while (std::getline(table, line)) {
        std::vector<std::string> cells;
        std::istringstream in(line);
        for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
        ASSERT_GE(cells.size(), 7u) << line;
        rows[cells[1] + "/" + cells[3]] = cells;
    }
    EXPECT_EQ(rows.size(), 2u * 6u);
    for (size_t k = 0; k < 2; ++k) {
        for (const json& roi : report["frames"][k]["rois"]) {
            const auto row = rows.find(std::to_string(k) + "/" + roi["name"].get<std::string>());
            ASSERT_NE(row, rows.end()) << roi["name"];
            EXPECT_EQ(row->second[4], roi["kind"]);
            EXPECT_EQ(std::stod(row->second[5]), roi["min"].get<double>());
            EXPECT_EQ(std::stod(row->second[6]), roi["max"].get<double>());
        }
    }
}

// A region's own emissivity gives its pixels exactly what a whole frame at
// that emissivity gives them; where regions overlap, the last one given
// wins (a region hidden by a later one at the run's emissivity leaves no
// trace); every other pixel is the run's. With a CalType that carries state
// from frame to frame, over a threaded sequence.
TEST_F(Analysis, RegionEmissivityIsTheWholeFrameAtIt) {
    ok("synth --caltype 50 --size 160x120 --frames 3 --scene hotspot -o h.raw");
    const std::vector<double> poly = {60.5, 20.5, 130.2, 30.7, 100.1, 90.3};
    ok("convert h.raw --caltype 50 -e 0.95 -j 2 --ellipse hot=90,50,40,30:e=0.8 "
       "--polygon 60.5,20.5,130.2,30.7,100.1,90.3:e=0.7 --spot s=3,3:e=0.8 --roi 150,100,5,5:e=0.6 --roi "
       "150,100,5,5:e=0.95 "
       "-o mix.tiff -o mix.json");
    for (const std::string e : {"0.95", "0.8", "0.7"})
        ok("convert h.raw --caltype 50 -e " + e + " -o " + e + ".tiff");
    const auto mix = readPages(path("mix.tiff"));
    const auto base = readPages(path("0.95.tiff")), e80 = readPages(path("0.8.tiff")),
               e70 = readPages(path("0.7.tiff"));
    ASSERT_EQ(mix.size(), 3u);
    ASSERT_EQ(base.size(), 3u);
    size_t counts[3] = {0, 0, 0};
    for (size_t k = 0; k < 3; ++k) {
        for (int y = 0; y < kH; ++y) {
            for (int x = 0; x < kW; ++x) {
                const Page* want = &base[k];
                if ((x == 3 && y == 3) || inEllipse(x, y, 90, 50, 40, 30)) want = &e80[k];
                if (inPolygon(x, y, poly)) want = &e70[k];
                counts[want == &base[k] ? 0 : want == &e80[k] ? 1 : 2]++;
                ASSERT_TRUE(sameBits(mix[k].at(x, y), want->at(x, y)))
                    << "frame " << k << " at " << x << "," << y;
            }
        }
        // The emissivities make a difference where they apply.
        EXPECT_NE(base[k].at(90, 50), e80[k].at(90, 50));
    }
    EXPECT_GT(counts[1], 1000u);
    EXPECT_GT(counts[2], 1000u);
    const json report = json::parse(slurp(path("mix.json")));
    EXPECT_EQ(report["frames"][0]["rois"][0]["emissivity"], 0.8);
    EXPECT_NEAR(report["frames"][1]["spots"][0]["t"].get<double>(), hundredths(e80[1].at(3, 3)), 1e-9);
}

// Kelvin and Fahrenheit are the Celsius float computed in double and rounded
// once; every output names its unit.
TEST_F(Analysis, UnitsConvertEveryOutput) {
    ok("synth --caltype 21 --size 160x120 --scene person -o p.raw");
    ok("convert p.raw --caltype 21 -o c.tiff");
    ok("convert p.raw --caltype 21 --unit K --spot 7,7 -o k.tiff -o k.json -o k.csv");
    ok("convert p.raw --caltype 21 --unit F -o f.tiff");
    const auto c = readPages(path("c.tiff")), k = readPages(path("k.tiff")), f = readPages(path("f.tiff"));
    ASSERT_EQ(c.size(), 1u);
    ASSERT_EQ(k.size(), 1u);
    ASSERT_EQ(f.size(), 1u);
    for (size_t i = 0; i < c[0].t.size(); ++i) {
        const double t = c[0].t[i];
        ASSERT_TRUE(sameBits(k[0].t[i], static_cast<float>(t + 273.15))) << i;
        ASSERT_TRUE(sameBits(f[0].t[i], static_cast<float>(1.8 * t + 32.0))) << i;
    }
    EXPECT_EQ(json::parse(c[0].description)["unit"], "degrees Celsius");
    EXPECT_EQ(json::parse(k[0].description)["unit"], "kelvin");
    EXPECT_EQ(json::parse(f[0].description)["unit"], "degrees Fahrenheit");
    const json report = json::parse(slurp(path("k.json")));
    EXPECT_EQ(report["unit"], "kelvin");
    // The CSV names the unit in a comment line, then holds the rows.
    std::istringstream csv(slurp(path("k.csv")));
    std::string line;
    ASSERT_TRUE(std::getline(csv, line));
    EXPECT_EQ(line.rfind("# kalviro: kelvin, ", 0), 0u) << line;
    for (int y = 0; y < kH; ++y) {
        ASSERT_TRUE(std::getline(csv, line));
        std::istringstream cells(line);
        std::string cell;
        for (int x = 0; x < kW; ++x) {
            ASSERT_TRUE(std::getline(cells, cell, ','));
            ASSERT_NEAR(std::stod(cell), k[0].at(x, y), 0.0051) << x << "," << y;
        }
    }
    EXPECT_NEAR(report["frames"][0]["spots"][0]["t"].get<double>(), hundredths(k[0].at(7, 7)), 1e-9);
}

// --set writes the field as a hand-edited block would hold it.
TEST_F(Analysis, SetEqualsABlockEditedByHand) {
    ok("synth --caltype 50 --size 160x120 --frames 2 -o a.raw");
    std::string raw = slurp(path("a.raw"));
    const size_t frameBytes = kW * kH * 2 + 512;
    ASSERT_EQ(raw.size(), 2 * frameBytes);
    for (size_t k = 0; k < 2; ++k) {
        uint8_t* block = reinterpret_cast<uint8_t*>(&raw[k * frameBytes + kW * kH * 2]);
        const auto put = [&](size_t at, int32_t v) {
            for (int b = 0; b < 4; ++b)
                block[at + b] = static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * b));
        };
        put(0x104, 45);   // humidity, percent
        put(0x0f0, 350);  // distance, hundredths of a metre
    }
    std::ofstream(path("edited.raw"), std::ios::binary) << raw;
    ok("convert a.raw --caltype 50 --set humidity=45 --set distance=3.5 -o set.tiff -o set.json");
    ok("convert edited.raw --caltype 50 -o edited.tiff");
    ok("convert a.raw --caltype 50 -o plain.tiff");
    const auto set = readPages(path("set.tiff")), edited = readPages(path("edited.tiff")),
               plain = readPages(path("plain.tiff"));
    ASSERT_EQ(set.size(), 2u);
    ASSERT_EQ(edited.size(), 2u);
    size_t changed = 0;
    for (size_t k = 0; k < 2; ++k) {
        for (size_t i = 0; i < set[k].t.size(); ++i) {
            ASSERT_TRUE(sameBits(set[k].t[i], edited[k].t[i])) << k << " " << i;
            changed += !sameBits(set[k].t[i], plain[k].t[i]);
        }
    }
    EXPECT_GT(changed, 0u);
    EXPECT_EQ(json::parse(slurp(path("set.json")))["set"], json({{"humidity", 45.0}, {"distance", 3.5}}));
}

// `info` names the fields --set writes; setting each to the value it shows
// changes nothing.
TEST_F(Analysis, InfoNamesTheSettableFields) {
    ok("synth --caltype 21 --size 160x120 -o a.raw");
    const json info = json::parse(ok("info a.raw --caltype 21 --json").out);
    const json& settable = info["settable"];
    ASSERT_TRUE(settable.is_array());
    EXPECT_NE(std::find(settable.begin(), settable.end(), "humidity"), settable.end());
    EXPECT_NE(std::find(settable.begin(), settable.end(), "distance"), settable.end());
    std::string sets;
    for (const auto& f : settable) {
        const std::string name = f;
        std::ostringstream value;
        value << info["block"][name].get<double>();
        sets += " --set " + name + "=" + value.str();
    }
    ok("convert a.raw --caltype 21" + sets + " -o set.tiff");
    ok("convert a.raw --caltype 21 -o plain.tiff");
    const auto set = readPages(path("set.tiff")), plain = readPages(path("plain.tiff"));
    ASSERT_EQ(set.size(), 1u);
    ASSERT_EQ(plain.size(), 1u);
    EXPECT_EQ(std::memcmp(set[0].t.data(), plain[0].t.data(), set[0].t.size() * sizeof(float)), 0);
    // The text marks the same fields.
    const std::string text = ok("info a.raw --caltype 21").out;
    size_t marked = 0;
    for (size_t at = text.find("(set)"); at != std::string::npos; at = text.find("(set)", at + 1)) ++marked;
    EXPECT_EQ(marked, settable.size());
}

// An alarm prints a JSON line for each frame where it holds and makes the
// exit status 3; the frames' own maxima, read from the TIFF, say which.
TEST_F(Analysis, AlarmsPrintALineAFrameAndExitThree) {
    ok("synth --caltype 21 --size 160x120 --frames 4 --scene hotspot -o h.raw");
    ok("convert h.raw --caltype 21 -o h.tiff");
    const auto pages = readPages(path("h.tiff"));
    ASSERT_EQ(pages.size(), 4u);
    std::vector<float> maxima;
    for (const Page& p : pages) maxima.push_back(*std::max_element(p.t.begin(), p.t.end()));
    std::vector<float> sorted = maxima;
    std::sort(sorted.begin(), sorted.end());
    ASSERT_LT(sorted[1], sorted[2]);
    const double threshold = (static_cast<double>(sorted[1]) + sorted[2]) / 2;
    char arg[64];
    std::snprintf(arg, sizeof arg, "'max>%.4f'", threshold);
    const std::string alarms = std::string(" --alarm ") + arg + " --spot cold=2,2 --alarm 'cold<-200'";
    for (const std::string input : {"h.raw", "- --size 160x120 < h.raw"}) {
        const Result r = run("convert " + input + " --caltype 21" + alarms);
        EXPECT_EQ(r.code, 3) << r.err;
        std::istringstream lines(r.out);
        std::string line;
        std::vector<int> frames;
        while (std::getline(lines, line)) {
            const json j = json::parse(line);
            EXPECT_EQ(j["name"], "frame");
            EXPECT_EQ(j["statistic"], "max");
            EXPECT_NEAR(j["threshold"].get<double>(), threshold, 1e-4);
            const int k = j["frame"];
            // The float itself, in its shortest decimal.
            EXPECT_TRUE(sameBits(j["value"].get<float>(), maxima[static_cast<size_t>(k)]));
            EXPECT_TRUE(j["upTime"].is_number());
            EXPECT_EQ(j["input"], input == "h.raw" ? "h.raw" : "<stdin>");
            frames.push_back(k);
        }
        std::vector<int> want;
        for (int k = 0; k < 4; ++k)
            if (maxima[static_cast<size_t>(k)] > threshold) want.push_back(k);
        EXPECT_EQ(frames, want);
    }
    // None holds: exit 0, nothing on standard output.
    const Result quiet =
        run("convert h.raw --caltype 21 --spot cold=2,2 --alarm 'cold<-200' --alarm 'cold.max>9'");
    EXPECT_NE(quiet.code, 0);  // a spot has no statistics
    const Result none =
        run("convert h.raw --caltype 21 --spot cold=2,2 --alarm 'cold<-200' --alarm 'mean>=1000'");
    EXPECT_EQ(none.code, 0) << none.err;
    EXPECT_EQ(none.out, "");
}

struct Image {
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> rgb;
    const uint8_t* at(uint32_t x, uint32_t y) const { return &rgb[(static_cast<size_t>(y) * width + x) * 3]; }
    bool is(uint32_t x, uint32_t y, uint8_t r, uint8_t g, uint8_t b) const {
        const uint8_t* p = at(x, y);
        return p[0] == r && p[1] == g && p[2] == b;
    }
};

Image readPng(const fs::path& p) {
    Image out;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, p.c_str())) return out;
    image.format = PNG_FORMAT_RGB;
    out.rgb.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, out.rgb.data(), 0, nullptr)) return out;
    out.width = image.width;
    out.height = image.height;
    return out;
}

// Overlays draw inside the picture alone: the colour bar beside it is the
// same with and without them, and the markers of extremes in the corners
// are whole, each with both its diagonals or both its bars.
TEST_F(Analysis, OverlaysStayInsideThePicture) {
    ok("synth --caltype 21 --size 160x120 --scene gradient -o g.raw");
    const std::string args =
        "convert g.raw --caltype 21 --palette iron --scale 2 --roi edge=150,110,10,10 "
        "--ellipse face=80,60,20,10 --polygon 150,0,160,0,160,20 --line 0,119,159,60 "
        "--spot corner=159,0";
    ok(args + " -o on.png");
    ok(args + " --no-overlays -o off.png");
    const Image on = readPng(path("on.png")), off = readPng(path("off.png"));
    ASSERT_EQ(on.width, off.width);
    ASSERT_EQ(on.height, 240u);
    ASSERT_GT(on.width, 320u);
    size_t changed = 0;
    for (uint32_t y = 0; y < on.height; ++y) {
        for (uint32_t x = 0; x < on.width; ++x) {
            const bool same = std::memcmp(on.at(x, y), off.at(x, y), 3) == 0;
            if (x >= 320) {
                ASSERT_TRUE(same) << "drawn outside the picture at " << x << "," << y;
            }
            changed += !same;
        }
    }
    EXPECT_GT(changed, 500u);
    // The coldest pixel is the top left one, the hottest the bottom right:
    // each marker's white arms reach as far in all four directions.
    for (const bool coldest : {true, false}) {
        std::vector<std::pair<int, int>> white;
        // The corner's 20 x 20 pixels: the marker's, its value's label beside.
        for (uint32_t y = 0; y < 20; ++y) {
            for (uint32_t x = 0; x < 20; ++x) {
                const uint32_t px = coldest ? x : 319 - x, py = coldest ? y : 239 - y;
                if (on.is(px, py, 255, 255, 255) && !off.is(px, py, 255, 255, 255))
                    white.emplace_back(px, py);
            }
        }
        ASSERT_FALSE(white.empty());
        int x0 = 9999, x1 = -1, y0 = 9999, y1 = -1;
        for (const auto& [x, y] : white) {
            x0 = std::min(x0, x), x1 = std::max(x1, x), y0 = std::min(y0, y), y1 = std::max(y1, y);
        }
        EXPECT_GE(x1 - x0, 12) << (coldest ? "coldest" : "hottest");
        EXPECT_EQ(x1 - x0, y1 - y0) << (coldest ? "coldest" : "hottest");
    }
}

// The isotherm band is painted in its colour, pixel for pixel as the TIFF
// says; the other pixels keep the palette's.
TEST_F(Analysis, IsothermPaintsItsBand) {
    ok("synth --caltype 21 --size 160x120 --scene person -o p.raw");
    ok("convert p.raw --caltype 21 -o p.tiff");
    const auto pages = readPages(path("p.tiff"));
    ASSERT_EQ(pages.size(), 1u);
    std::vector<float> sorted = pages[0].t;
    std::sort(sorted.begin(), sorted.end());
    const float lo = sorted[sorted.size() * 6 / 10], hi = sorted[sorted.size() * 9 / 10];
    ASSERT_LT(lo, hi);
    char band[64];
    std::snprintf(band, sizeof band, "%.9g:%.9g", static_cast<double>(lo), static_cast<double>(hi));
    ok(std::string("convert p.raw --caltype 21 --palette whitehot --no-overlays --isotherm ") + band +
       " -o i.png");
    const Image image = readPng(path("i.png"));
    ASSERT_EQ(image.height, 120u);
    size_t painted = 0;
    for (uint32_t y = 0; y < 120; ++y) {
        for (uint32_t x = 0; x < 160; ++x) {
            const float t = pages[0].at(static_cast<int>(x), static_cast<int>(y));
            const bool inBand = t >= lo && t <= hi;
            ASSERT_EQ(image.is(x, y, 0, 255, 0), inBand) << x << "," << y << " at " << t;
            const uint8_t* p = image.at(x, y);
            if (!inBand) {
                EXPECT_TRUE(p[0] == p[1] && p[1] == p[2]) << "gray outside the band";
            }
            painted += inBand;
        }
    }
    EXPECT_GT(painted, 1000u);
}

// --range auto:P1:P2 spans the colours between those percentiles of the
// frame, by the nearest rank: the coldest P1 percent is black, the hottest
// from P2 on white, the order of the rest kept; auto:0:100 is min-max.
TEST_F(Analysis, RangeAutoSpansThePercentiles) {
    ok("synth --caltype 21 --size 160x120 --scene room -o r.raw");
    ok("convert r.raw --caltype 21 -o r.tiff");
    ok("convert r.raw --caltype 21 --palette whitehot --no-overlays --range auto:5:95 -o auto.png");
    ok("convert r.raw --caltype 21 --palette whitehot --no-overlays --range auto:0:100 -o all.png");
    ok("convert r.raw --caltype 21 --palette whitehot --no-overlays -o minmax.png");
    EXPECT_EQ(slurp(path("all.png")), slurp(path("minmax.png")));
    const auto pages = readPages(path("r.tiff"));
    ASSERT_EQ(pages.size(), 1u);
    std::vector<float> sorted = pages[0].t;
    std::sort(sorted.begin(), sorted.end());
    const size_t n = sorted.size();
    const float p5 = sorted[(5 * n + 99) / 100 - 1], p95 = sorted[(95 * n + 99) / 100 - 1];
    const Image image = readPng(path("auto.png"));
    ASSERT_EQ(image.height, 120u);
    std::vector<std::pair<float, uint8_t>> byTemp;
    for (uint32_t y = 0; y < 120; ++y) {
        for (uint32_t x = 0; x < 160; ++x) {
            const float t = pages[0].at(static_cast<int>(x), static_cast<int>(y));
            const uint8_t v = image.at(x, y)[0];
            if (t <= p5) {
                ASSERT_EQ(v, 0) << x << "," << y;
            }
            if (t >= p95) {
                ASSERT_EQ(v, 255) << x << "," << y;
            }
            byTemp.emplace_back(t, v);
        }
    }
    std::sort(byTemp.begin(), byTemp.end());
    for (size_t i = 1; i < byTemp.size(); ++i) ASSERT_LE(byTemp[i - 1].second, byTemp[i].second);
    // Some gray between: the hot spot no longer flattens the scene.
    EXPECT_GT(std::count_if(byTemp.begin(), byTemp.end(),
                            [](const auto& p) { return p.second > 0 && p.second < 255; }),
              static_cast<std::ptrdiff_t>(n / 2));
}

// The new palettes' ends, read off the colour bar (hottest at the top).
TEST_F(Analysis, PalettesRunFromColdToHot) {
    ok("synth --caltype 21 --size 160x120 -o one.raw");
    struct Ends {
        const char* palette;
        bool (*top)(const uint8_t*);
        bool (*bottom)(const uint8_t*);
    };
    const Ends cases[] = {
        {"whitehot", [](const uint8_t* p) { return p[0] == 255 && p[1] == 255 && p[2] == 255; },
         [](const uint8_t* p) { return p[0] == 0 && p[1] == 0 && p[2] == 0; }},
        {"blackhot", [](const uint8_t* p) { return p[0] == 0 && p[1] == 0 && p[2] == 0; },
         [](const uint8_t* p) { return p[0] == 255 && p[1] == 255 && p[2] == 255; }},
        // Dark red above; blue just above the dark bottom.
        {"turbo", [](const uint8_t* p) { return p[0] > 100 && p[1] < 40 && p[2] < 40; },
         [](const uint8_t* p) { return p[2] > 200 && p[0] < 100 && p[1] < 150; }},
    };
    for (const Ends& e : cases) {
        ok(std::string("convert one.raw --caltype 21 --palette ") + e.palette + " -o " + e.palette + ".png");
        const Image image = readPng(path(std::string(e.palette) + ".png"));
        ASSERT_EQ(image.height, 120u) << e.palette;
        const uint32_t x = 160 + 6 + 7;  // the bar's middle column
        EXPECT_TRUE(e.top(image.at(x, 4))) << e.palette;
        EXPECT_TRUE(e.bottom(image.at(x, std::string(e.palette) == "turbo" ? 100 : 115))) << e.palette;
    }
}

// On a live stream each alarm line comes out as its frame arrives: the test
// writes a frame, reads its line, and only then writes the next.
TEST_F(Analysis, AlarmsFollowALiveStream) {
    ok("synth --caltype 21 --size 160x120 --frames 3 -o s.raw");
    const std::string raw = slurp(path("s.raw"));
    const size_t frameBytes = raw.size() / 3;
    int toChild[2], fromChild[2];
    ASSERT_EQ(pipe(toChild), 0);
    ASSERT_EQ(pipe(fromChild), 0);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        dup2(toChild[0], 0);
        dup2(fromChild[1], 1);
        close(toChild[1]);
        close(fromChild[0]);
        execl(KALVIRO_CLI, KALVIRO_CLI, "convert", "-", "--size", "160x120", "--caltype", "21", "--alarm",
              "max>-100", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(toChild[0]);
    close(fromChild[1]);
    std::string pending;
    for (int k = 0; k < 3; ++k) {
        ASSERT_EQ(write(toChild[1], raw.data() + static_cast<size_t>(k) * frameBytes, frameBytes),
                  static_cast<ssize_t>(frameBytes));
        while (pending.find('\n') == std::string::npos) {
            pollfd p{fromChild[0], POLLIN, 0};
            ASSERT_EQ(poll(&p, 1, 20000), 1)
                << "no alarm line for frame " << k << " while the stream is open";
            char buf[4096];
            const ssize_t n = read(fromChild[0], buf, sizeof buf);
            ASSERT_GT(n, 0);
            pending.append(buf, static_cast<size_t>(n));
        }
        const size_t end = pending.find('\n');
        EXPECT_EQ(json::parse(pending.substr(0, end))["frame"], k);
        pending.erase(0, end + 1);
    }
    close(toChild[1]);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    close(fromChild[0]);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

// Hostile arguments: one line on standard error, a non-zero exit, nothing
// written.
struct Bad {
    const char* name;
    const char* args;
};

void PrintTo(const Bad& c, std::ostream* os) { *os << c.name; }

class BadAnalysis : public Analysis, public ::testing::WithParamInterface<Bad> {};

TEST_P(BadAnalysis, FailsWithOneLineAndWritesNothing) {
    // Any frame will do: every case fails on its arguments, before the first
    // frame is converted.
    std::ofstream(path("one.raw"), std::ios::binary) << std::string(kW * kH * 2 + 512, '\x01');
    const Result r =
        run(std::string("convert one.raw --caltype 21 -o out.tiff -o out.json ") + GetParam().args);
    EXPECT_NE(r.code, 0);
    EXPECT_NE(r.code, 3);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_EQ(r.err.rfind("kalviro: ", 0), 0u) << r.err;
    EXPECT_FALSE(fs::exists(path("out.tiff")));
    EXPECT_FALSE(fs::exists(path("out.json")));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_), fs::directory_iterator{}), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BadAnalysis,
    ::testing::Values(
        Bad{"EllipseOutside", "--ellipse 10,10,20,5"}, Bad{"EllipseZeroRadius", "--ellipse 50,50,0,5"},
        Bad{"EllipseNan", "--ellipse 50,nan,5,5"}, Bad{"EllipseHuge", "--ellipse 1e300,5,5,5"},
        Bad{"PolygonTwoCorners", "--polygon 1,1,20,20"}, Bad{"PolygonOddNumbers", "--polygon 1,1,20,20,5"},
        Bad{"PolygonOutside", "--polygon 1,1,200,20,5,50"},
        Bad{"PolygonNoPixel", "--polygon 1,1,1.2,1,1.1,1.3"}, Bad{"LineOutside", "--line 0,0,160,5"},
        Bad{"LineNegative", "--line -1,0,10,5"}, Bad{"LineThreeNumbers", "--line 0,0,10"},
        Bad{"EmptyName", "--roi =1,1,5,5"}, Bad{"NameFrame", "--ellipse frame=50,50,5,5"},
        Bad{"DuplicateName", "--roi a=1,1,5,5 --ellipse a=50,50,5,5"},
        Bad{"EmissivityZero", "--roi 1,1,5,5:e=0"}, Bad{"EmissivityAboveOne", "--spot 1,1:e=1.5"},
        Bad{"EmissivityNan", "--ellipse 50,50,5,5:e=nan"}, Bad{"UnknownSuffix", "--ellipse 50,50,5,5:x=1"},
        Bad{"BinsZero", "--bins 0"}, Bad{"BinsHuge", "--bins 100000000"}, Bad{"UnitR", "--unit R"},
        Bad{"AlarmNoComparison", "--alarm max"}, Bad{"AlarmNoNumber", "--alarm 'max>'"},
        Bad{"AlarmNanThreshold", "--alarm 'max>nan'"}, Bad{"AlarmUnknownName", "--alarm 'face.max>3'"},
        Bad{"AlarmUnknownStatistic", "--roi face=1,1,5,5 --alarm 'face.median>3'"},
        Bad{"AlarmRegionWithoutStatistic", "--roi face=1,1,5,5 --alarm 'face>3'"},
        Bad{"AlarmFrameTemperature", "--alarm 'frame>3'"}, Bad{"SetUnknownField", "--set colour=3"},
        Bad{"SetBlockFormulaField", "--set tempRange=1"}, Bad{"SetOutOfRange", "--set humidity=101"},
        Bad{"SetNan", "--set humidity=nan"}, Bad{"SetFinerThanHeld", "--set distance=3.555"},
        Bad{"SetTwice", "--set humidity=4 --set humidity=5"}, Bad{"SetNoValue", "--set humidity="},
        Bad{"SetAndDistance", "--distance 3 --set distance=4"},
        Bad{"RangeAutoReversed", "--range auto:90:10"}, Bad{"RangeAutoAbove100", "--range auto:1:101"},
        Bad{"RangeAutoWord", "--range autox"}, Bad{"IsothermReversed", "--isotherm 40:30"},
        Bad{"IsothermWord", "--isotherm hot"}),
    [](const ::testing::TestParamInfo<Bad>& i) { return std::string(i.param.name); });

}  // namespace
