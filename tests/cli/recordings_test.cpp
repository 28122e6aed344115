// Recordings in, shared files out, each read back with code of its own:
// videos decoded with libavformat, the gray-value archive with libtiff and
// converted again, batches over a folder with a broken file, and the long
// table parsed and held against the JSON report.
#include <gtest/gtest.h>
#include <png.h>
#include <signal.h>
#include <sys/stat.h>
#include <tiffio.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "cli_fixture.hpp"

namespace {

using namespace kalviro::cli_test;

struct Picture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;
};

struct Video {
    int frames = 0;
    int width = 0, height = 0;
    double fps = 0.0;
    std::string codec;
    std::vector<Picture> pictures;  // every frame as RGB
};

// Every frame of the file's video stream, decoded.
Video decode(const fs::path& p) {
    Video v;
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, p.c_str(), nullptr, nullptr) < 0) return v;
    const AVCodec* codec = nullptr;
    const int s = avformat_find_stream_info(format, nullptr) < 0
                      ? -1
                      : av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    AVCodecContext* ctx = s >= 0 ? avcodec_alloc_context3(codec) : nullptr;
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    if (ctx != nullptr && avcodec_parameters_to_context(ctx, format->streams[s]->codecpar) >= 0 &&
        avcodec_open2(ctx, codec, nullptr) >= 0) {
        v.codec = codec->name;
        v.fps = av_q2d(format->streams[s]->avg_frame_rate);
        const auto drain = [&] {
            while (avcodec_receive_frame(ctx, frame) >= 0) {
                if (v.frames++ == 0) {
                    v.width = frame->width;
                    v.height = frame->height;
                }
                SwsContext* sws = sws_getContext(
                    frame->width, frame->height, static_cast<AVPixelFormat>(frame->format), frame->width,
                    frame->height, AV_PIX_FMT_RGB24, SWS_POINT, nullptr, nullptr, nullptr);
                Picture pic{frame->width, frame->height,
                            std::vector<uint8_t>(static_cast<size_t>(frame->width) * frame->height * 3)};
                uint8_t* planes[1] = {pic.rgb.data()};
                const int strides[1] = {3 * frame->width};
                sws_scale(sws, frame->data, frame->linesize, 0, frame->height, planes, strides);
                sws_freeContext(sws);
                v.pictures.push_back(std::move(pic));
            }
        };
        while (av_read_frame(format, packet) >= 0) {
            if (packet->stream_index == s && avcodec_send_packet(ctx, packet) >= 0) drain();
            av_packet_unref(packet);
        }
        avcodec_send_packet(ctx, nullptr);
        drain();
    }
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&ctx);
    avformat_close_input(&format);
    return v;
}

Picture readPng(const fs::path& p) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, p.c_str())) return {};
    image.format = PNG_FORMAT_RGB;
    Picture pic{static_cast<int>(image.width), static_cast<int>(image.height),
                std::vector<uint8_t>(PNG_IMAGE_SIZE(image))};
    if (!png_image_finish_read(&image, nullptr, pic.rgb.data(), 0, nullptr)) return {};
    return pic;
}

// Mean absolute difference per channel over the PNG's area.
double meanDifference(const Picture& video, const Picture& png) {
    double sum = 0.0;
    for (int y = 0; y < png.height; ++y) {
        for (int x = 0; x < png.width * 3; ++x) {
            sum += std::abs(video.rgb[static_cast<size_t>(y) * video.width * 3 + x] -
                            png.rgb[static_cast<size_t>(y) * png.width * 3 + x]);
        }
    }
    return sum / (static_cast<double>(png.width) * png.height * 3);
}

// RFC 4180: fields quoted when they hold commas, quotes or line breaks.
std::vector<std::vector<std::string>> parseCsv(const std::string& text) {
    std::vector<std::vector<std::string>> rows(1, std::vector<std::string>(1));
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
                rows.back().back() += '"';
                ++i;
            } else if (c == '"') {
                quoted = false;
            } else {
                rows.back().back() += c;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            rows.back().emplace_back();
        } else if (c == '\n') {
            rows.emplace_back(1);
        } else {
            rows.back().back() += c;
        }
    }
    if (rows.back().size() == 1 && rows.back()[0].empty()) rows.pop_back();
    return rows;
}

class Recordings : public Cli {};

// Each container decodes to as many frames as were converted, each the size
// of the PNG and looking like it; a threaded run and a stream on standard
// input give playable files too.
TEST_F(Recordings, VideosDecodeToTheFramesConverted) {
    ok("synth --caltype 21 --size 160x120 --frames 5 -o five.raw");
    ok("convert five.raw --caltype 21 -o f.png -q");
    ok("convert five.raw --caltype 21 --range 10:60 -o fixed.png -q");
    ok("convert five.raw --caltype 21 -j 3 --fps 10 -o v.mp4 -o v.mkv -o v.webm -o v.gif -q");
    ok("convert - --size 160x120 --caltype 21 --range 10:60 -o stream.mp4 -q < five.raw");
    std::vector<Picture> f, fixed;
    for (int i = 0; i < 5; ++i) {
        f.push_back(readPng(path("f_000" + std::to_string(i) + ".png")));
        fixed.push_back(readPng(path("fixed_000" + std::to_string(i) + ".png")));
    }
    ASSERT_GT(f[0].width, 160);
    struct Expect {
        const char* file;
        const char* codec;
        const std::vector<Picture>* pngs;
        double tolerance;  // lossy codecs: mean difference from the PNG
    };
    for (const Expect& e : {Expect{"v.mp4", "h264", &f, 6.0}, Expect{"v.mkv", "h264", &f, 6.0},
                            Expect{"v.webm", "vp8", &f, 12.0}, Expect{"v.gif", "gif", &f, 3.0},
                            Expect{"stream.mp4", "h264", &fixed, 6.0}}) {
        const Video v = decode(path(e.file));
        ASSERT_EQ(v.frames, 5) << e.file;
        EXPECT_EQ(v.codec, e.codec) << e.file;
        EXPECT_EQ(v.width, f[0].width + (f[0].width & 1)) << e.file;
        EXPECT_EQ(v.height, f[0].height + (f[0].height & 1)) << e.file;
        if (std::string(e.codec) != "gif" && std::string(e.file) != "stream.mp4") {
            EXPECT_NEAR(v.fps, 10.0, 1e-9) << e.file;
        }
        // Each frame looks like its own PNG, and more than like any other:
        // the threaded run kept the order.
        for (size_t i = 0; i < 5; ++i) {
            std::vector<double> d;
            for (const Picture& png : *e.pngs) d.push_back(meanDifference(v.pictures[i], png));
            EXPECT_LT(d[i], e.tolerance) << e.file << " frame " << i;
            EXPECT_EQ(std::min_element(d.begin(), d.end()) - d.begin(), static_cast<ptrdiff_t>(i))
                << e.file << " frame " << i;
        }
    }
}

// The archive holds the gray values and blocks losslessly in less room than
// the raw file, opens as a 16-bit stack, and every command reads it as it
// reads the raw file.
TEST_F(Recordings, ArchiveConvertsAsTheRawFile) {
    // CalType 50 carries state from frame to frame.
    ok("synth --caltype 50 --size 160x120 --frames 4 --scene person -o rec.raw");
    ok("convert rec.raw --caltype 50 -o rec.tiff --counts -j 2 -q");
    EXPECT_LT(fs::file_size(path("rec.tiff")), fs::file_size(path("rec.raw")));

    // A stream archives into a BigTIFF: its length is not known. Archived
    // again, its length is: a classic TIFF that plain ImageJ opens.
    ok("convert - --size 160x120 --caltype 50 -o stream.tiff --counts -q < rec.raw");
    ok("convert stream.tiff --caltype 50 -o again.tiff --counts -q");

    const std::string raw = slurp(path("rec.raw"));
    const size_t pixels = 160 * 120, frameBytes = pixels * 2 + 512;
    for (const std::string file : {"rec.tiff", "stream.tiff", "again.tiff"}) {
        TIFF* t = TIFFOpen(path(file).c_str(), "r");
        ASSERT_NE(t, nullptr);
        EXPECT_EQ(TIFFIsBigTIFF(t) != 0, file == "stream.tiff");
        char* description = nullptr;
        ASSERT_TRUE(TIFFGetField(t, TIFFTAG_IMAGEDESCRIPTION, &description));
        EXPECT_EQ(std::string(description).rfind("ImageJ=", 0), 0u);
        if (file != "stream.tiff") {
            EXPECT_NE(std::string(description).find("images=4\nslices=4\n"), std::string::npos);
        }
        size_t page = 0;
        do {
            const auto* frame = reinterpret_cast<const uint8_t*>(raw.data()) + page * frameBytes;
            uint16_t bits = 0, compression = 0;
            TIFFGetField(t, TIFFTAG_BITSPERSAMPLE, &bits);
            TIFFGetField(t, TIFFTAG_COMPRESSION, &compression);
            EXPECT_EQ(bits, 16);
            EXPECT_EQ(compression, COMPRESSION_ADOBE_DEFLATE);
            // The block: a tag this reader does not know, read as libtiff
            // reads any unknown tag.
            uint32_t count = 0;
            const void* block = nullptr;
            ASSERT_TRUE(TIFFGetField(t, 65432, &count, &block)) << file << " page " << page;
            ASSERT_EQ(count, 512u);
            EXPECT_EQ(std::memcmp(block, frame + pixels * 2, 512), 0) << file << " page " << page;
            std::vector<uint16_t> row(160);
            for (uint32_t y = 0; y < 120; ++y) {
                ASSERT_GE(TIFFReadScanline(t, row.data(), y), 0);
                for (size_t x = 0; x < 160; ++x) {
                    const uint8_t* at = frame + (y * 160 + x) * 2;
                    ASSERT_EQ(row[x], at[0] | at[1] << 8)
                        << file << " page " << page << " at " << x << "," << y;
                }
            }
            ++page;
        } while (TIFFReadDirectory(t));
        TIFFClose(t);
        EXPECT_EQ(page, 4u) << file;
    }

    // Every command, on the archive and on the raw file, the input's name
    // aside.
    const auto same = [&](const std::string& args, const std::string& out = "") {
        const Result a = ok(args.substr(0, args.find(' ')) + " rec.raw" + args.substr(args.find(' ')) + " " +
                            (out.empty() ? "" : "-o a" + out));
        const Result b = ok(args.substr(0, args.find(' ')) + " rec.tiff" + args.substr(args.find(' ')) + " " +
                            (out.empty() ? "" : "-o b" + out));
        std::string fromRaw = out.empty() ? a.out : slurp(path("a" + out));
        std::string fromArchive = out.empty() ? b.out : slurp(path("b" + out));
        for (std::string* s : {&fromRaw, &fromArchive}) {
            for (const std::string name : {"rec.raw", "rec.tiff"}) {
                for (size_t at = s->find(name); at != std::string::npos; at = s->find(name))
                    s->replace(at, name.size(), "INPUT");
            }
        }
        EXPECT_EQ(fromRaw, fromArchive) << args;
    };
    same("convert --caltype 50 -e 0.93 --roi 10,10,20,20 --spot 80,60 -q", ".json");
    same("convert --caltype 50 --frames 1:3 -q", ".tiff");
    same("info --caltype 50 --csv");
    same("temp2gray --caltype 50 --frame 2 --temp 30 --json");
}

// A folder with a broken file: the others convert, the broken one is named
// in one line, a summary line follows and the exit status is not 0; run
// again with --skip-existing, only what is missing is converted.
TEST_F(Recordings, BatchGoesOnPastABrokenInputAndResumes) {
    fs::create_directories(path("rec"));
    fs::create_directories(path("out"));
    ok("synth --caltype 21 --size 160x120 --frames 2 -o rec/a.raw");
    ok("synth --caltype 21 --size 160x120 --frames 3 --scene room -o rec/c.raw");
    std::ofstream(path("rec/b.raw"), std::ios::binary) << std::string(1000, '\1');
    const std::string outputs =
        " --caltype 21 -o 'out/{stem}.json' -o 'out/{stem}_{frame}.png' -o 'out/{stem}.gif'";
    const Result r = run("convert rec" + outputs + " -q");
    EXPECT_NE(r.code, 0);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 2) << r.err;
    EXPECT_EQ(r.err.rfind("kalviro: rec/b.raw", 0), 0u) << r.err;
    EXPECT_NE(r.err.find("3 inputs: 2 converted, 0 skipped, 1 failed"), std::string::npos) << r.err;
    ok("convert rec/c.raw --caltype 21 -o c.json -q");
    const auto report = nlohmann::json::parse(slurp(path("out/c.json")));
    auto single = nlohmann::json::parse(slurp(path("c.json")));
    single["source"] = report["source"];
    EXPECT_EQ(report, single);
    std::vector<std::string> files;
    for (const auto& e : fs::directory_iterator(path("out"))) files.push_back(e.path().filename().string());
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, (std::vector<std::string>{"a.gif", "a.json", "a_0000.png", "a_0001.png", "c.gif",
                                               "c.json", "c_0000.png", "c_0001.png", "c_0002.png"}));

    // Resuming: a was never committed (its outputs are renamed into place
    // together, at its end); c lost its video, which alone is made again.
    fs::remove(path("rec/b.raw"));
    for (const char* f : {"out/a.gif", "out/a.json", "out/a_0000.png", "out/a_0001.png", "out/c.gif"})
        fs::remove(path(f));
    const auto before = fs::last_write_time(path("out/c.json"));
    const Result again = ok("convert 'rec/*.raw'" + outputs + " --skip-existing");
    EXPECT_NE(again.out.find("2 inputs: 2 converted, 0 skipped, 0 failed"), std::string::npos) << again.out;
    EXPECT_EQ(fs::last_write_time(path("out/c.json")), before);
    EXPECT_EQ(decode(path("out/c.gif")).frames, 3);
    EXPECT_TRUE(fs::exists(path("out/a_0001.png")));
    const Result done = ok("convert 'rec/*.raw'" + outputs + " --skip-existing");
    EXPECT_NE(done.out.find("rec/c.raw: skipped"), std::string::npos) << done.out;
    EXPECT_NE(done.out.find("2 inputs: 0 converted, 2 skipped, 0 failed"), std::string::npos) << done.out;
    // A directory a glob matches gives its files, as the shell's expansion would.
    fs::create_directories(path("more/day1"));
    fs::copy_file(path("rec/a.raw"), path("more/day1/x.raw"));
    fs::copy_file(path("rec/a.raw"), path("more/y.raw"));
    ok("convert 'more/*' --caltype 21 -o 'more/{stem}.json' -q");
    EXPECT_TRUE(fs::exists(path("more/x.json")) && fs::exists(path("more/y.json")));
    // Without it, existing outputs fail each input and nothing is replaced.
    const Result clash = run("convert rec/a.raw rec/c.raw" + outputs);
    EXPECT_NE(clash.code, 0);
    EXPECT_NE(clash.err.find("0 converted, 0 skipped, 2 failed"), std::string::npos) << clash.err;
    EXPECT_EQ(fs::last_write_time(path("out/c.json")), before);
}

// One row per frame and measured thing, for a whole batch; the numbers are
// the JSON report's, and a name with a comma and quotes survives.
TEST_F(Recordings, TableHoldsTheReportsNumbers) {
    ok("synth --caltype 21 --size 160x120 --frames 3 -o one.raw");
    ok("synth --caltype 21 --size 160x120 --frames 2 --scene room -o two.raw");
    const std::string things = " --caltype 21 --roi 'hot \"a\",b=70,40,30,30' --roi 0,0,8,8 --spot 5,5";
    ok("convert one.raw two.raw" + things + " -o '{stem}.json' --table all.csv -q");
    const auto rows = parseCsv(slurp(path("all.csv")));
    ASSERT_EQ(rows.size(), 1u + (3 + 2) * 4);
    const std::vector<std::string> header = rows[0];
    EXPECT_EQ(header, (std::vector<std::string>{"input", "frame", "upTime", "name", "kind", "min", "max",
                                                "mean", "std", "hottestX", "hottestY", "hottest", "coldestX",
                                                "coldestY", "coldest", "valid", "invalid", "value"}));
    size_t row = 1;
    for (const std::string stem : {"one", "two"}) {
        const auto report = nlohmann::json::parse(slurp(path(stem + ".json")));
        for (const auto& frame : report["frames"]) {
            std::vector<nlohmann::json> areas = {frame};
            for (const auto& roi : frame["rois"]) areas.push_back(roi);
            const std::vector<std::string> names = {"frame", "hot \"a\",b", "roi2"};
            for (size_t k = 0; k < areas.size(); ++k, ++row) {
                const auto& cells = rows[row];
                ASSERT_EQ(cells.size(), header.size());
                const auto& a = areas[k];
                EXPECT_EQ(cells[0], stem + ".raw");
                EXPECT_EQ(cells[1], frame["frame"].dump());
                EXPECT_EQ(cells[3], names[k]);
                EXPECT_EQ(cells[4], k == 0 ? "frame" : "roi");
                for (const auto& [column, key] : {std::pair{5, "min"}, {6, "max"}, {7, "mean"}, {8, "std"}}) {
                    EXPECT_EQ(std::stod(cells[column]), a[key].get<double>()) << key;
                }
                EXPECT_EQ(cells[9], a["hottest"]["x"].dump());
                EXPECT_EQ(std::stod(cells[11]), a["hottest"]["t"].get<double>());
                EXPECT_EQ(cells[13], a["coldest"]["y"].dump());
                EXPECT_EQ(cells[15], a["pixels"].dump());
                EXPECT_EQ(cells[16], a["invalid"].dump());
            }
            const auto& spot = rows[row++];
            EXPECT_EQ(spot[3], "spot1");
            EXPECT_EQ(spot[4], "spot");
            EXPECT_EQ(std::stod(spot[17]), frame["spots"][0]["t"].get<double>());
        }
    }
    // upTime is the block's warm-up clock, which the synthetic frames count up.
    EXPECT_EQ(std::stoi(rows[2 * 4 + 1][2]), std::stoi(rows[1 * 4 + 1][2]) + 1);
}

// Misuse of the new options fails in one line and writes nothing; the cases
// share one set of inputs, which no case may change.
TEST_F(Recordings, MisuseFailsInOneLineAndWritesNothing) {
    ok("synth --caltype 21 --size 160x120 --frames 2 -o two.raw");
    ok("convert two.raw --caltype 21 -o temps.tiff -q");
    ok("convert two.raw --caltype 21 -o arch.tiff --counts -q");
    const std::string archive = slurp(path("arch.tiff"));
    std::ofstream(path("cut.tiff"), std::ios::binary) << archive.substr(0, archive.size() / 2);
    const auto before = listing();
    struct Misuse {
        const char* name;
        const char* args;
    };
    for (const Misuse& m : {
             Misuse{"zero fps", "convert two.raw --caltype 21 --fps 0 -o v.mp4"},
             Misuse{"{frame} in a whole-run output", "convert two.raw --caltype 21 -o '{frame}.json'"},
             Misuse{"unknown placeholder", "convert two.raw --caltype 21 -o '{name}.json'"},
             Misuse{"several inputs, one output", "convert two.raw two.raw --caltype 21 -o out.json"},
             Misuse{"temperature TIFF as input", "convert temps.tiff --caltype 21 -o out.json"},
             Misuse{"archive cut short", "convert cut.tiff --caltype 21 -o out.json -o out.mp4"},
             Misuse{"archive of another size", "convert arch.tiff --caltype 21 --size 320x240 -o o.json"},
             Misuse{"video into a missing directory", "convert two.raw --caltype 21 -o nowhere/v.mp4"},
             Misuse{"table onto an existing file", "convert two.raw --caltype 21 --table two.raw"},
             Misuse{"table onto an output", "convert two.raw --caltype 21 -o t.json --table t.json"},
             Misuse{"--counts without a .tiff", "convert two.raw --caltype 21 --counts -o t.json"},
             Misuse{"empty stream",
                    "convert - --size 160x120 --caltype 21 -o v.mp4 -o v.tiff --counts < /dev/null"},
             Misuse{"{frame} in the table's name", "convert two.raw --caltype 21 --table '{frame}.csv'"},
             Misuse{"glob matching nothing", "convert 'none/*.raw' --caltype 21 -o '{stem}.json'"},
         }) {
        const Result r = run(m.args);
        EXPECT_NE(r.code, 0) << m.name;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << m.name << ": " << r.err;
        EXPECT_EQ(r.err.rfind("kalviro: ", 0), 0u) << m.name << ": " << r.err;
        EXPECT_EQ(listing(), before) << m.name;
    }
}

// A live stream stopped by Ctrl-C keeps a playable video of the frames that
// arrived whole, alone or beside the report, and nothing temporary.
class StoppedLive : public Recordings, public ::testing::WithParamInterface<bool> {};

TEST_P(StoppedLive, KeepsAPlayableVideo) {
    const bool report = GetParam();
    ok("synth --caltype 21 --size 16x16 --frames 4 -o four.raw");
    ASSERT_EQ(::mkfifo(path("live").c_str(), 0644), 0);
    std::vector<std::string> args{"convert", "-", "--size", "16x16", "--caltype", "21", "-q", "-o", "s.mp4"};
    if (report) args.insert(args.end(), {"-o", "s.json"});
    const pid_t pid = start(args, "live");
    const int live = ::open(path("live").c_str(), O_WRONLY);
    const size_t frame = 16 * 16 * 2 + 512;
    const std::string frames = slurp(path("four.raw")).substr(0, 3 * frame + frame / 2);
    ASSERT_EQ(::write(live, frames.data(), frames.size()), static_cast<ssize_t>(frames.size()));
    ASSERT_TRUE(appears(".s.mp4"));
    ::kill(pid, SIGINT);
    const Result r = finish(pid);
    ::close(live);
    EXPECT_EQ(r.code, 130) << r.err;
    EXPECT_NE(r.err.find("converted 3 frames"), std::string::npos) << r.err;
    const Video v = decode(path("s.mp4"));
    EXPECT_EQ(v.frames, 3);
    std::vector<std::string> names;
    for (const auto& [name, size] : listing()) names.push_back(name);
    std::vector<std::string> want{"four.raw", "live", "s.mp4"};
    if (report) {
        want.insert(want.begin() + 2, "s.json");
        EXPECT_EQ(nlohmann::json::parse(slurp(path("s.json")))["frames"].size(), 3u);
    }
    EXPECT_EQ(names, want);
}

INSTANTIATE_TEST_SUITE_P(Outputs, StoppedLive, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& i) {
                             return i.param ? std::string("WithReport") : std::string("Alone");
                         });

}  // namespace
