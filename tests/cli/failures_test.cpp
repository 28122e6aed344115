// The command's failures from outside, each a defect once: outputs that
// would clobber or be half-written, signals, streams cut short or stopped,
// frames that give no valid temperature, and the rough edges of the
// arguments. Each row fails on the command as it was before its fix.
#include <gtest/gtest.h>

#include <png.h>
#include <sched.h>
#include <signal.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "cli_fixture.hpp"

namespace {

using namespace kalviro::cli_test;

// Every file of the directory whose name starts with a dot: a temporary
// file left behind.
std::vector<std::string> hidden(const fs::path& dir) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir)) {
        const std::string n = e.path().filename().string();
        if (n[0] == '.') names.push_back(n);
    }
    return names;
}

// Runs that must fail with one line naming the problem, leaving the
// directory as it was and the things in the way untouched.
struct RefusedCase {
    const char* name;
    const char* args;
    const char* says;  // in the line on standard error
};

void PrintTo(const RefusedCase& c, std::ostream* os) { *os << c.name; }

class Refused : public Cli, public ::testing::WithParamInterface<RefusedCase> {};

TEST_P(Refused, OneLineAndNothingWritten) {
    ok("synth --caltype 21 --size 16x16 --frames 3 -o three.raw");
    fs::create_directory(path("dir.tiff"));
    ASSERT_EQ(::mkfifo(path("fifo.json").c_str(), 0644), 0);
    std::ofstream(path("taken.json")) << "{}\n";
    const auto before = listing();
    const Result r = run(GetParam().args);
    EXPECT_NE(r.code, 0);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find(GetParam().says), std::string::npos) << r.err;
    EXPECT_EQ(listing(), before);
    EXPECT_TRUE(fs::is_fifo(path("fifo.json")));
    EXPECT_TRUE(fs::is_directory(path("dir.tiff")));
    EXPECT_EQ(slurp(path("taken.json")), "{}\n");
}

INSTANTIATE_TEST_SUITE_P(
    Outputs, Refused,
    ::testing::Values(
        RefusedCase{"DuplicatedOutput", "convert three.raw --size 16x16 --caltype 21 -o a.json -o a.json",
                    "a.json is named twice"},
        RefusedCase{"OneFileTwoSpellings",
                    "convert three.raw --size 16x16 --caltype 21 -o a.json -o ../$(basename $PWD)/a.json",
                    "name the same file"},
        RefusedCase{"DuplicatedFrameFiles", "convert three.raw --size 16x16 --caltype 21 -o a.png -o ./a.png",
                    "a_0000.png"},
        RefusedCase{"TruthOntoOutput", "synth --caltype 21 --size 16x16 -o s.tiff --truth s.tiff",
                    "named twice"},
        RefusedCase{"OutputIsDirectory",
                    "convert three.raw --size 16x16 --caltype 21 -o out.json -o dir.tiff",
                    "dir.tiff is a directory"},
        RefusedCase{"ForceOntoDirectory", "convert three.raw --size 16x16 --caltype 21 -o dir.tiff --force",
                    "dir.tiff is a directory"},
        RefusedCase{"ForceOntoFifo",
                    "convert three.raw --size 16x16 --caltype 21 -o out.tiff -o fifo.json --force",
                    "fifo.json is not a regular file"},
        RefusedCase{"SynthForceOntoFifo", "synth --caltype 21 --size 16x16 -o fifo.json --force",
                    "not a regular file"},
        RefusedCase{"ForceOntoDevice", "synth --caltype 21 --size 16x16 -o /dev/null --force",
                    "/dev/null is not a regular file"},
        RefusedCase{"DirectoryMissing",
                    "convert three.raw --size 16x16 --caltype 21 -o out.json -o no/out.tiff",
                    "cannot write no/out.tiff"},
        RefusedCase{"StreamFrameFileTaken",
                    "convert - --size 16x16 --caltype 21 -o taken.json -o t.png < three.raw", "taken.json"}),
    [](const ::testing::TestParamInfo<RefusedCase>& i) { return std::string(i.param.name); });

// Frames that give the library's failure values, NaN or infinities, and
// ranges no float span holds: the command renders and reports them, and says
// when a frame gives no valid temperature. Each row crashed the command once.
struct FrameCase {
    const char* name;
    const char* block;  // "zero", "random" or "camera"
    int calType;
    const char* args;
    bool valid;  // some pixel has a valid temperature
};

void PrintTo(const FrameCase& c, std::ostream* os) { *os << c.name; }

class FailureFrame : public Cli, public ::testing::WithParamInterface<FrameCase> {};

TEST_P(FailureFrame, RendersAndReports) {
    const FrameCase& c = GetParam();
    ok("synth --caltype 21 --size 16x16 -o camera.raw");
    std::string raw = slurp(path("camera.raw"));
    std::mt19937 random(7);
    for (size_t i = raw.size() - 512; i < raw.size() && c.block[0] != 'c'; ++i) {
        raw[i] = c.block[0] == 'z' ? 0 : static_cast<char>(random());
    }
    std::ofstream(path("in.raw"), std::ios::binary) << raw;
    const Result r = ok("convert in.raw --size 16x16 --caltype " + std::to_string(c.calType) + " " + c.args +
                        " --spot 3,3 --roi 0,0,8,8 -o out.png -o out.json -o out.csv -o out.tiff");
    EXPECT_EQ(r.out.find("gives no valid temperature for this frame") == std::string::npos, c.valid) << r.out;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, path("out.png").c_str()));
    EXPECT_EQ(image.height % 16, 0u);
    png_image_free(&image);
    const auto frame = nlohmann::json::parse(slurp(path("out.json")))["frames"][0];
    EXPECT_EQ(frame["pixels"].get<int>() + frame["invalid"].get<int>(), 256);
    EXPECT_EQ(frame["min"].is_null(), !c.valid);
    if (c.valid) {
        EXPECT_LT(std::abs(frame["min"].get<double>()), 21474836.0);
    }
    // Every pixel of the invalid rows fails, the spot's among them.
    const auto spot = frame["spots"][0];
    EXPECT_EQ(spot["t"].is_null(), !c.valid) << spot;
    EXPECT_EQ(spot.value("valid", true), c.valid) << spot;
}

// A spot on a failing pixel: the table leaves its value empty and counts it
// invalid, and no alarm on it holds, whatever its threshold.
TEST_F(Cli, InvalidSpotInTableAndAlarms) {
    ok("synth --caltype 21 --size 16x16 -o camera.raw");
    std::string raw = slurp(path("camera.raw"));
    raw.replace(raw.size() - 512, 512, std::string(512, '\0'));
    std::ofstream(path("zero.raw"), std::ios::binary) << raw;
    const Result r =
        run("convert zero.raw --size 16x16 --caltype 12 --spot s=3,3 --table t.csv --alarm 's>-1e30' --alarm "
            "'s<1e30'");
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out, "");
    std::istringstream table(slurp(path("t.csv")));
    std::string line, spotRow;
    while (std::getline(table, line))
        if (line.find(",s,spot,") != std::string::npos) spotRow = line;
    EXPECT_EQ(spotRow.substr(spotRow.find(",s,spot,")), ",s,spot,,,,,,,,,,,0,1,") << spotRow;
}

INSTANTIATE_TEST_SUITE_P(
    Frames, FailureFrame,
    ::testing::Values(FrameCase{"ZeroBlock12", "zero", 12, "", false},
                      FrameCase{"ZeroBlock130", "zero", 130, "--palette gray", false},
                      FrameCase{"ZeroBlock110", "zero", 110, "", false},
                      FrameCase{"ZeroBlock21Flat", "zero", 21, "", true},
                      FrameCase{"RandomBlock130", "random", 130, "", false},
                      FrameCase{"RandomBlock55", "random", 55, "--scale 3", false},
                      FrameCase{"HugeRange", "camera", 21, "--range=-3.4e38:3.4e38", true},
                      FrameCase{"TinyRange", "camera", 21, "--range=-1e-30:1e-30", true},
                      FrameCase{"HugeRangeOnZeroBlock", "zero", 12, "--range=-3e38:-2e38", false}),
    [](const ::testing::TestParamInfo<FrameCase>& i) { return std::string(i.param.name); });

// An all-equal frame has a standard deviation of 0.
TEST_F(Cli, FlatFrameHasNoSpread) {
    ok("synth --caltype 21 --size 16x16 -o camera.raw");
    std::string raw = slurp(path("camera.raw"));
    for (size_t i = 0; i < 512; i += 2) raw.replace(i, 2, raw.substr(0, 2));
    std::ofstream(path("flat.raw"), std::ios::binary) << raw;
    ok("convert flat.raw --size 16x16 --caltype 21 -o flat.json -o flat.png");
    const auto frame = nlohmann::json::parse(slurp(path("flat.json")))["frames"][0];
    EXPECT_EQ(frame["std"].get<double>(), 0.0);
    EXPECT_EQ(frame["min"], frame["max"]);
}

// The rough edges of the arguments: each row's exit code and what it says.
struct EdgeCase {
    const char* name;
    const char* args;
    int code;
    const char* says;  // in standard output or standard error
};

void PrintTo(const EdgeCase& c, std::ostream* os) { *os << c.name; }

class Edge : public Cli, public ::testing::WithParamInterface<EdgeCase> {};

TEST_P(Edge, ExitAndMessage) {
    ok("synth --caltype 21 --size 160x120 --frames 2 -o two.raw");
    const Result r = run(GetParam().args);
    EXPECT_EQ(r.code, GetParam().code) << r.err;
    EXPECT_NE((r.out + r.err).find(GetParam().says), std::string::npos) << r.out << r.err;
    if (r.code != 0) {
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, Edge,
    ::testing::Values(
        EdgeCase{"Temp2GrayNearest", "temp2gray two.raw --caltype 21 --frame 1 --temp 36.5 --json", 0,
                 R"("gray":8586,"converts":36.49,"found":true)"},
        EdgeCase{"Temp2GrayAboveTheFrame", "temp2gray two.raw --caltype 21 --temp 1000 --json", 1,
                 R"("found":false)"},
        EdgeCase{"Temp2GrayBelowTheFrame", "temp2gray two.raw --caltype 21 --temp -40", 1, "lies outside"},
        EdgeCase{"InfoNegativeFrame", "info two.raw --caltype 21 --frame -1", 2, "frames count from 0"},
        EdgeCase{"Temp2GrayNegativeFrame", "temp2gray two.raw --caltype 21 --frame=-1 --temp 30", 2,
                 "frames count from 0"},
        EdgeCase{"InfoCsvOneFrame", "info two.raw --caltype 21 --csv --frame 1", 2, "--csv"},
        EdgeCase{
            "UnknownCommand", "frobnicate two.raw", 2,
            "unknown command 'frobnicate'; the commands are list, info, convert, synth, temp2gray, view"},
        EdgeCase{"ConvertHelp", "convert --help", 0, "the camera's CalType; REQUIRED"},
        // Each subcommand's own options, under its own name.
        EdgeCase{"ListHelp", "list --help", 0, "--json"},
        EdgeCase{"InfoHelp", "info --help", 0, "every frame's settings, one CSV row a frame"},
        EdgeCase{"SynthHelp", "synth --help", 0, "also write the scene's temperatures"},
        EdgeCase{"Temp2GrayHelp", "temp2gray --help", 0, "temperature in degrees"},
        EdgeCase{"ViewHelp", "view --help", 0, "only print the URL"},
        EdgeCase{"ListTakesNoFile", "list two.raw", 2, "two.raw"},
        EdgeCase{"ViewPortOutOfRange", "view two.raw --caltype 21 --port 0", 2, "--port"}),
    [](const ::testing::TestParamInfo<EdgeCase>& i) { return std::string(i.param.name); });

// Every output names the unit of its temperatures.
TEST_F(Cli, OutputsNameTheUnit) {
    ok("synth --caltype 21 --size 16x16 -o one.raw");
    ok("convert one.raw --size 16x16 --caltype 21 -o u.csv -o u.json -o u.tiff");
    EXPECT_EQ(slurp(path("u.csv")).rfind("# kalviro: degrees Celsius, 16x16, CalType 21, frame 0\n", 0), 0u);
    EXPECT_EQ(nlohmann::json::parse(slurp(path("u.json")))["unit"], "degrees Celsius");
    const auto pages = readTiff(path("u.tiff"));
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(nlohmann::json::parse(pages[0].description)["unit"], "degrees Celsius");
}

// A file-size limit: the write fails, the command says so in one line with
// libtiff's complaint, and removes its temporary files (the signal it brings
// used to end the command and leave them); for temperatures and gray values.
TEST_F(Cli, FileSizeLimitLeavesNoTemporaryFile) {
    ok("synth --caltype 21 --size 160x120 --frames 3 -o three.raw");
    const auto before = listing();
    for (const char* outputs : {"-o big.tiff -o big.json", "-o big.tiff --counts"}) {
        const Result r =
            run(std::string("convert three.raw --size 16x16 --caltype 21 ") + outputs, "ulimit -f 100;");
        EXPECT_EQ(r.code, 1) << outputs << "\n" << r.err;
        EXPECT_EQ(r.err.rfind("kalviro: cannot write big.tiff: ", 0), 0u) << outputs << "\n" << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_EQ(listing(), before) << outputs;
    }
}

// A --size far larger than what a stream brings allocates no more than what
// came: the run fails on the short stream, not on memory.
TEST_F(Cli, HugeSizeOnShortStreamAllocatesWhatArrived) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's shadow memory does not fit a memory limit";
#endif
    const Result r = run("convert - --size 16384x16384 --caltype 21 -j 2 -o big.tiff -o big.png",
                         "ulimit -v 800000; head -c 1000 /dev/zero |");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("ended inside its first frame"), std::string::npos) << r.err;
    EXPECT_EQ(hidden(dir_), std::vector<std::string>{});
}

// Threads the system refuses (here each would reserve a gigabyte of stack
// under a 3 GB limit) mean fewer workers, not an abort.
TEST_F(Cli, RefusedThreadsMeanFewerWorkers) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's shadow memory does not fit a memory limit";
#endif
    ok("synth --caltype 21 --size 16x16 --frames 20 -o twenty.raw");
    const Result r = run("convert twenty.raw --size 16x16 --caltype 21 -j 50 -o t.tiff -o t.json",
                         "ulimit -v 3000000; ulimit -s 1000000;");
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(readTiff(path("t.tiff")).size(), 20u);
    EXPECT_EQ(hidden(dir_), std::vector<std::string>{});
}

// A thread count far beyond the cores starts no more workers than there are
// cores, and writes what one worker writes.
// The thread count a run's summary reports ("..., N threads"); -1 when
// there is none.
int threadsUsed(const std::string& out) {
    const auto at = out.find(" thread");
    if (at == std::string::npos || at == 0) return -1;
    return std::atoi(out.c_str() + out.rfind(' ', at - 1) + 1);
}

TEST_F(Cli, ThreadsBeyondTheCoresAreCapped) {
    ok("synth --caltype 21 --size 16x16 --frames 6 -o six.raw");
    ok("convert six.raw --size 16x16 --caltype 21 -j 1 -o one.tiff -o one.json -q");
    const Result r = run("convert six.raw --size 16x16 --caltype 21 -j 3000 -o many.tiff -o many.json");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(slurp(path("one.tiff")), slurp(path("many.tiff")));
    EXPECT_EQ(slurp(path("one.json")), slurp(path("many.json")));
    const int used = threadsUsed(r.out);
    cpu_set_t set;
    ASSERT_EQ(::sched_getaffinity(0, sizeof set, &set), 0);
    EXPECT_GE(used, 1);
    EXPECT_LE(used, CPU_COUNT(&set)) << r.out;
}

// Without -j a run takes one thread per core it may run on, as taskset
// narrows them, and -j beyond them is capped: the test's whole mask, its
// first CPU, and its first two.
TEST_F(Cli, DefaultThreadsAreTheCoresItMayRunOn) {
    ok("synth --caltype 21 --size 16x16 --frames 6 -o six.raw");
    cpu_set_t set;
    ASSERT_EQ(::sched_getaffinity(0, sizeof set, &set), 0);
    std::vector<std::string> cpus;
    for (int c = 0; c < CPU_SETSIZE; ++c) {
        if (CPU_ISSET(c, &set)) cpus.push_back(std::to_string(c));
    }
    ASSERT_FALSE(cpus.empty());
    struct Row {
        std::string before, threads;
        int expected;
    };
    std::vector<Row> rows = {
        {"", "", static_cast<int>(cpus.size())},
        {"taskset -c " + cpus[0], "", 1},
        {"taskset -c " + cpus[0], "-j 3000", 1},
    };
    if (cpus.size() >= 2) rows.push_back({"taskset -c " + cpus[0] + "," + cpus[1], "", 2});
    for (size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        const Result r = run(
            "convert six.raw --size 16x16 --caltype 21 -o run" + std::to_string(i) + ".json " + row.threads,
            row.before);
        ASSERT_EQ(r.code, 0) << row.before << "\n" << r.err;
        EXPECT_EQ(threadsUsed(r.out), row.expected) << row.before << " " << row.threads << "\n" << r.out;
    }
}

// Signals that end a run remove every temporary file, whatever their number.
class EndingSignal : public Cli, public ::testing::WithParamInterface<int> {};

TEST_P(EndingSignal, LeavesNoTemporaryFile) {
    ok("synth --caltype 21 --size 16x16 --frames 3 -o three.raw");
    ASSERT_EQ(::mkfifo(path("live").c_str(), 0644), 0);
    const auto before = listing();
    const pid_t pid = start({"convert", "-", "--size", "16x16", "--caltype", "21", "-o", "out.tiff", "-o",
                             "out.json", "-o", "out.png"},
                            "live");
    const int live = ::open(path("live").c_str(), O_WRONLY);
    const std::string frames = slurp(path("three.raw"));
    ASSERT_EQ(::write(live, frames.data(), frames.size()), static_cast<ssize_t>(frames.size()));
    ASSERT_TRUE(appears(".out.json"));
    ::kill(pid, GetParam());
    const Result r = finish(pid);
    ::close(live);
    EXPECT_EQ(r.code, 128 + GetParam()) << r.err;
    EXPECT_EQ(hidden(dir_), std::vector<std::string>{});
    EXPECT_EQ(listing(), before);
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingSignal, ::testing::Values(SIGHUP, SIGPIPE, SIGUSR1),
                         [](const ::testing::TestParamInfo<int>& i) {
                             return "Signal" + std::to_string(i.param);
                         });

// A stream is a recording: cut inside its eighth frame, or stopped by
// Ctrl-C with three and a half frames arrived, it keeps the whole frames in
// every output, says in one line what it dropped, and its TIFF is BigTIFF
// (its length is not known ahead).
constexpr size_t kFrame16 = 16 * 16 * 2 + 512;

void expectKept(const fs::path& dir, size_t frames) {
    const auto pages = readTiff(dir / "s.tiff");
    EXPECT_EQ(pages.size(), frames);
    const std::string tiff = slurp(dir / "s.tiff");
    ASSERT_GE(tiff.size(), 4u);
    EXPECT_EQ(tiff[2], 43) << "not BigTIFF";
    const auto json = nlohmann::json::parse(slurp(dir / "s.json"));
    EXPECT_EQ(json["frames"].size(), frames) << json.dump().substr(0, 300);
}

TEST_F(Cli, StreamCutInsideAFrameKeepsTheWholeOnes) {
    ok("synth --caltype 21 --size 16x16 --frames 8 -o eight.raw");
    std::ofstream(path("cut.raw"), std::ios::binary)
        << slurp(path("eight.raw")).substr(0, 7 * kFrame16 + 300);
    const Result r = run("convert - --size 16x16 --caltype 21 -q -o s.tiff -o s.json < cut.raw");
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find("converted 7 frames and dropped the partial frame"), std::string::npos) << r.err;
    expectKept(dir_, 7);
    EXPECT_EQ(hidden(dir_), std::vector<std::string>{});
}

TEST_F(Cli, StreamStoppedByCtrlCKeepsWhatArrived) {
    ok("synth --caltype 21 --size 16x16 --frames 4 -o four.raw");
    ASSERT_EQ(::mkfifo(path("live").c_str(), 0644), 0);
    const pid_t pid = start(
        {"convert", "-", "--size", "16x16", "--caltype", "21", "-q", "-o", "s.tiff", "-o", "s.json"}, "live");
    const int live = ::open(path("live").c_str(), O_WRONLY);
    const std::string frames = slurp(path("four.raw")).substr(0, 3 * kFrame16 + kFrame16 / 2);
    ASSERT_EQ(::write(live, frames.data(), frames.size()), static_cast<ssize_t>(frames.size()));
    ASSERT_TRUE(appears(".s.json"));
    ::kill(pid, SIGINT);
    const Result r = finish(pid);
    ::close(live);
    EXPECT_EQ(r.code, 130) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find("SIGINT"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("converted 3 frames"), std::string::npos) << r.err;
    expectKept(dir_, 3);
    EXPECT_EQ(hidden(dir_), std::vector<std::string>{});
}

}  // namespace
