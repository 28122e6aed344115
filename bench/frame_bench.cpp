// Whole frames for every CalType, beside what bounds them (the letters are
// those of bench/ratios.py's table):
//   per_pixel  (a) the pointer from KALVIRO_Gray2Temp_Real_GET on every pixel
//   convert    (b) kalviro_convert_frame, one thread
//   kept       (k) the same on a table kept from frame to frame: the frame
//              again with the same plan, as in a recording that holds still
//   threads2   (c) kalviro_convert_frame_threads on two threads
//   paced2ms   frames on one and on two threads in turn, 2 ms between
//              frames, as a camera sends them (first CalType only)
//   memcpy     (d) copying the frame's floats, once per frame size
//   recording  a synthetic recording of the room (kalviro synth --scene room,
//              the camera warming as synth makes it), made first and held in
//              memory, through Camera::realFrame on one table kept from frame
//              to frame, per frame; beside it the same frames on a table that
//              keeps nothing, and on two threads (first CalType only)
//   init       (e) one per-frame call, KALVIRO_Gray2Temp_Init
//   kernel     (f) kalviro_convert_frame on each of the 65536 gray values once
// on the frames of bench_frames.hpp, named measure/CalType/scene. Except in
// the recording, every frame converts as one of a new plan: the table
// forgets what it holds, so that the time includes building it.
//
//   kalviro_frame_bench [--caltypes=21,81] [--scenes=room,full]
//                       [--per-pixel-iterations=N] [--recording-frames=N]
//                       [benchmark flags]
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_frames.hpp"
#include "kalviro.h"
#include "synth_block.hpp"
#include "synthesizer.hpp"

namespace {

using kalviro::CalTypeInfo;
using kalviro::bench::BenchFrame;
using kalviro::bench::BenchScene;
using kalviro::bench::kBenchScenes;
using kalviro::bench::kEmissivity;

struct Options {
    std::vector<CalTypeInfo> calTypes;
    std::vector<BenchScene> scenes;
    int64_t perPixelIterations = 3;  // a 640x512 frame takes 25 to 50 ms this way
    int64_t recordingFrames = 1000;  // synth makes about 15 a second, 0.66 MB each
};

// A table that keeps nothing: the next frame builds all of its span.
void forget(KalviroFrameTable& table) { std::memset(table.kept, 0, sizeof table.kept); }

// The calling thread's processor time, in seconds.
double threadSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// The benchmarks run CalType by CalType: only the current one's frames are kept.
const BenchFrame& frameOf(const CalTypeInfo& calType, const BenchScene& scene) {
    static int32_t current = -1;
    static std::map<std::string, BenchFrame> frames;
    if (current != calType.calType) {
        frames.clear();
        current = calType.calType;
    }
    auto it = frames.find(scene.name);
    if (it == frames.end()) it = frames.emplace(scene.name, makeFrame(calType, scene)).first;
    return it->second;
}

const BenchFrame* frameOrSkip(benchmark::State& state, const CalTypeInfo& calType, const BenchScene& scene) {
    try {
        return &frameOf(calType, scene);
    } catch (const std::exception& e) {
        state.SkipWithError(e.what());
        return nullptr;
    }
}

// The CalType's synthetic block after its per-frame call, and its per-pixel function.
struct Converter {
    std::array<uint8_t, 512> block;
    Gray2TempFn real;

    explicit Converter(const CalTypeInfo& calType)
        : block(kalviro::bench::benchBlock(calType)), real(KALVIRO_Gray2Temp_Real_GET(calType.calType)) {
        KALVIRO_Gray2Temp_Init(calType.calType, kalviro::cli::kSynthGrayRef, info(), kEmissivity, 0.0f);
    }
    TempFrameInfo* info() { return reinterpret_cast<TempFrameInfo*>(block.data()); }
};

void describe(benchmark::State& state, const BenchFrame& frame, const std::string& size) {
    const auto pixels = static_cast<int64_t>(frame.pixels.size());
    state.SetItemsProcessed(state.iterations() * pixels);
    state.counters["pixels"] = static_cast<double>(pixels);
    state.counters["distinct"] = frame.distinct;
    state.SetLabel(size + ", " + std::to_string(frame.distinct) + " gray values");
}

void perPixel(benchmark::State& state, const CalTypeInfo& calType, const BenchScene& scene) {
    const BenchFrame* frame = frameOrSkip(state, calType, scene);
    if (frame == nullptr) return;
    Converter conv(calType);
    const std::vector<uint16_t>& pixels = frame->pixels;
    std::vector<float> out(pixels.size());
    for (auto _ : state) {
        for (size_t i = 0; i < pixels.size(); ++i)
            out[i] = conv.real(pixels[i], conv.info(), kEmissivity, 0.0f);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    describe(state, *frame, scene.size.text());
}

// threads 1 is kalviro_convert_frame itself, not the threaded entry asked for one.
void convertFrame(benchmark::State& state, const CalTypeInfo& calType, const BenchFrame& frame,
                  const std::string& size, int32_t threads, bool keep = false) {
    Converter conv(calType);
    std::vector<float> out(frame.pixels.size());
    auto table = std::make_unique<KalviroFrameTable>();
    const uint16_t* pixels = frame.pixels.data();
    const uint64_t count = frame.pixels.size();
    for (auto _ : state) {
        if (!keep) forget(*table);
        const int32_t rc =
            threads == 1 ? kalviro_convert_frame(conv.real, conv.info(), pixels, count, kEmissivity, 0.0f,
                                                 out.data(), table.get())
                         : kalviro_convert_frame_threads(conv.real, conv.info(), pixels, count, kEmissivity,
                                                         0.0f, out.data(), table.get(), threads);
        if (rc != 0) {
            state.SkipWithError("the whole-frame call refused the frame");
            return;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    describe(state, frame, size);
}

// A camera's pace: `pauseUs` between frames, in which workers fall asleep;
// only the calls are timed. Frames on one and on two threads alternate, so
// that both meet the same host: the time is two threads' frame; one
// thread's, their ratio and both medians are counters.
void convertPaced(benchmark::State& state, const CalTypeInfo& calType, const BenchScene& scene, int pauseUs) {
    const BenchFrame* frame = frameOrSkip(state, calType, scene);
    if (frame == nullptr) return;
    Converter conv(calType);
    std::vector<float> out(frame->pixels.size());
    auto table = std::make_unique<KalviroFrameTable>();
    const auto call = [&](int32_t threads) {
        std::this_thread::sleep_for(std::chrono::microseconds(pauseUs));
        forget(*table);
        const auto start = std::chrono::steady_clock::now();
        kalviro_convert_frame_threads(conv.real, conv.info(), frame->pixels.data(), frame->pixels.size(),
                                      kEmissivity, 0.0f, out.data(), table.get(), threads);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    std::vector<double> one, two;
    for (auto _ : state) {
        one.push_back(call(1));
        two.push_back(call(2));
        state.SetIterationTime(two.back());
    }
    const auto mean = [](const std::vector<double>& v) {
        double sum = 0;
        for (double x : v) sum += x;
        return v.empty() ? 0.0 : sum / static_cast<double>(v.size());
    };
    const auto median = [](std::vector<double> v) {
        if (v.empty()) return 0.0;
        std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
        return v[v.size() / 2];
    };
    state.counters["threads1_us"] = mean(one) * 1e6;
    state.counters["threads2_us"] = mean(two) * 1e6;
    state.counters["threads1_median_us"] = median(one) * 1e6;
    state.counters["threads2_median_us"] = median(two) * 1e6;
    describe(state, *frame, scene.size.text());
}

// The recording made first, as kalviro synth makes it; then, frame after
// frame, its per-frame call (not timed) and Camera::realFrame on the kept
// table (timed), then on a table that keeps nothing (timed apart), and a
// memcpy of the output as the frame finds the caches; then a second pass on
// two threads with a kept table of their own. Each pass from a fresh camera.
void recording(benchmark::State& state, const CalTypeInfo& calType, int64_t frames) {
    const kalviro::cli::FrameSize size{640, 512};
    const size_t count = size.pixels();
    const auto n = static_cast<size_t>(frames);
    std::vector<uint16_t> recorded(n * count);
    std::vector<std::array<uint8_t, 512>> blocks(n);
    {
        kalviro::cli::Synthesizer synth(calType, size, static_cast<uint64_t>(frames),
                                        kalviro::cli::Scene::Room, kEmissivity);
        std::vector<uint8_t> raw;
        std::vector<float> truth;
        for (size_t f = 0; f < n; ++f) {
            synth.next(raw, truth);
            uint16_t* pixels = recorded.data() + f * count;
            for (size_t i = 0; i < count; ++i)
                pixels[i] = static_cast<uint16_t>(raw[2 * i] | raw[2 * i + 1] << 8);
            std::memcpy(blocks[f].data(), raw.data() + 2 * count, blocks[f].size());
        }
    }
    auto kept = std::make_unique<KalviroFrameTable>();
    auto kept2 = std::make_unique<KalviroFrameTable>();
    auto fresh = std::make_unique<KalviroFrameTable>();
    std::vector<float> out(count), from(count, 21.5f), to(count);
    std::array<uint8_t, 512> block{};
    double keptReal = 0, keptCpu = 0, freshReal = 0, copyCpu = 0, twoReal = 0;
    for (auto _ : state) {
        kalviro::Camera camera(calType.calType);
        forget(*kept);
        forget(*kept2);
        double pass = 0;
        for (size_t f = 0; f < n; ++f) {
            const uint16_t* pixels = recorded.data() + f * count;
            block = blocks[f];
            auto* info = reinterpret_cast<TempFrameInfo*>(block.data());
            camera.init(pixels[count / 2 + static_cast<size_t>(size.width) / 2], info, kEmissivity, 0.0f);
            const double cpu0 = threadSeconds();
            const auto t0 = std::chrono::steady_clock::now();
            camera.realFrame(pixels, count, info, kEmissivity, 0.0f, out.data(), *kept);
            const auto t1 = std::chrono::steady_clock::now();
            keptCpu += threadSeconds() - cpu0;
            benchmark::DoNotOptimize(out.data());
            benchmark::ClobberMemory();
            forget(*fresh);
            const auto t2 = std::chrono::steady_clock::now();
            camera.realFrame(pixels, count, info, kEmissivity, 0.0f, out.data(), *fresh);
            const auto t3 = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(out.data());
            benchmark::ClobberMemory();
            const double cpu1 = threadSeconds();
            std::memcpy(to.data(), from.data(), count * sizeof(float));
            benchmark::DoNotOptimize(to.data());
            benchmark::ClobberMemory();
            copyCpu += threadSeconds() - cpu1;
            pass += std::chrono::duration<double>(t1 - t0).count();
            freshReal += std::chrono::duration<double>(t3 - t2).count();
        }
        // Again on two threads, the frames as cold as on one.
        kalviro::Camera again(calType.calType);
        for (size_t f = 0; f < n; ++f) {
            const uint16_t* pixels = recorded.data() + f * count;
            block = blocks[f];
            auto* info = reinterpret_cast<TempFrameInfo*>(block.data());
            again.init(pixels[count / 2 + static_cast<size_t>(size.width) / 2], info, kEmissivity, 0.0f);
            const auto t0 = std::chrono::steady_clock::now();
            again.realFrame(pixels, count, info, kEmissivity, 0.0f, out.data(), *kept2, 2);
            twoReal += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
            benchmark::DoNotOptimize(out.data());
            benchmark::ClobberMemory();
        }
        keptReal += pass;
        state.SetIterationTime(pass / static_cast<double>(frames));
    }
    const double total = static_cast<double>(state.iterations() * frames);
    state.counters["pixels"] = static_cast<double>(count);
    state.counters["frames"] = static_cast<double>(frames);
    state.counters["kept_us"] = keptReal / total * 1e6;
    state.counters["kept_cpu_us"] = keptCpu / total * 1e6;
    state.counters["fresh_us"] = freshReal / total * 1e6;
    state.counters["kept_threads2_us"] = twoReal / total * 1e6;
    state.counters["copy_cpu_us"] = copyCpu / total * 1e6;
    state.SetLabel(size.text() + ", " + std::to_string(frames) + " frames, time per frame");
}

void convertScene(benchmark::State& state, const CalTypeInfo& calType, const BenchScene& scene,
                  int32_t threads, bool keep) {
    const BenchFrame* frame = frameOrSkip(state, calType, scene);
    if (frame != nullptr) convertFrame(state, calType, *frame, scene.size.text(), threads, keep);
}

// Per gray value: the frame is the whole scale once, so building the table
// is nearly all of the time.
void kernel(benchmark::State& state, const CalTypeInfo& calType) {
    static const BenchFrame frame = kalviro::bench::everyGrayOnce();
    convertFrame(state, calType, frame, "65536x1", 1);
}

void perFrameCall(benchmark::State& state, const CalTypeInfo& calType) {
    Converter conv(calType);
    for (auto _ : state) {
        benchmark::DoNotOptimize(KALVIRO_Gray2Temp_Init(calType.calType, kalviro::cli::kSynthGrayRef,
                                                        conv.info(), kEmissivity, 0.0f));
    }
    state.SetItemsProcessed(state.iterations());
}

// What any whole-frame conversion costs at least: writing its floats once.
void copyFloats(benchmark::State& state, const kalviro::cli::FrameSize& size) {
    const std::vector<float> from(size.pixels(), 21.5f);
    std::vector<float> to(size.pixels());
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), from.size() * sizeof(float));
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(from.size() * sizeof(float)));
    state.counters["pixels"] = static_cast<double>(size.pixels());
}

void registerAll(const Options& o) {
    std::vector<std::string> sizes;
    for (const BenchScene& s : o.scenes) {
        const std::string size = s.size.text();
        if (std::find(sizes.begin(), sizes.end(), size) != sizes.end()) continue;
        sizes.push_back(size);
        benchmark::RegisterBenchmark(("memcpy/" + size).c_str(), copyFloats, s.size)
            ->UseRealTime()
            ->Unit(benchmark::kMicrosecond);
    }
    if (o.recordingFrames > 0 && !o.calTypes.empty()) {
        const CalTypeInfo& c = o.calTypes.front();
        benchmark::RegisterBenchmark(("recording/" + std::to_string(c.calType) + "/room").c_str(), recording,
                                     c, o.recordingFrames)
            ->Iterations(3)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    }
    for (const CalTypeInfo& c : o.calTypes) {
        const std::string nn = std::to_string(c.calType);
        benchmark::RegisterBenchmark(("init/" + nn).c_str(), perFrameCall, c);
        benchmark::RegisterBenchmark(("kernel/" + nn).c_str(), kernel, c)
            ->UseRealTime()
            ->Unit(benchmark::kMicrosecond);
        for (const BenchScene& s : o.scenes) {
            const std::string tail = "/" + nn + "/" + s.name;
            if (o.perPixelIterations > 0) {
                benchmark::RegisterBenchmark(("per_pixel" + tail).c_str(), perPixel, c, s)
                    ->Iterations(o.perPixelIterations)
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
            benchmark::RegisterBenchmark(("convert" + tail).c_str(), convertScene, c, s, 1, false)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
            benchmark::RegisterBenchmark(("kept" + tail).c_str(), convertScene, c, s, 1, true)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
            benchmark::RegisterBenchmark(("threads2" + tail).c_str(), convertScene, c, s, 2, false)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
            // Threads at a camera's pace, for the first CalType asked for.
            if (&c != &o.calTypes.front()) continue;
            benchmark::RegisterBenchmark(("paced2ms" + tail).c_str(), convertPaced, c, s, 2000)
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
}

std::vector<std::string> splitList(const std::string& text) {
    std::vector<std::string> items;
    std::stringstream in(text);
    for (std::string item; std::getline(in, item, ',');) {
        if (!item.empty()) items.push_back(item);
    }
    return items;
}

bool parseCalTypes(const std::string& text, Options& o) {
    o.calTypes.clear();
    for (const std::string& item : splitList(text)) {
        char* end = nullptr;
        const long n = std::strtol(item.c_str(), &end, 10);
        const CalTypeInfo* c = *end == '\0' ? kalviro::findCalType(static_cast<int32_t>(n)) : nullptr;
        if (c == nullptr) return false;
        o.calTypes.push_back(*c);
    }
    return !o.calTypes.empty();
}

bool parseScenes(const std::string& text, Options& o) {
    o.scenes.clear();
    for (const std::string& item : splitList(text)) {
        const auto s = std::find_if(std::begin(kBenchScenes), std::end(kBenchScenes),
                                    [&](const BenchScene& b) { return item == b.name; });
        if (s == std::end(kBenchScenes)) return false;
        o.scenes.push_back(*s);
    }
    return !o.scenes.empty();
}

bool parseCount(const std::string& text, int64_t& n) {
    char* end = nullptr;
    n = std::strtoll(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && n >= 0;
}

std::string sceneNames() {
    std::string names;
    for (const BenchScene& s : kBenchScenes) names += (names.empty() ? "" : ",") + std::string(s.name);
    return names;
}

void printUsage() {
    std::cout << "kalviro_frame_bench [--caltypes=21,81 (all of the list)] [--scenes=" << sceneNames()
              << "]\n"
                 "                    [--per-pixel-iterations=N (3; 0 leaves per_pixel out)]\n"
                 "                    [--recording-frames=N (1000; 0 leaves the recording out)]\n"
                 "                    [benchmark flags, below]\n\n";
}

// Takes this program's own flags out of argv.
bool parseOptions(int& argc, char** argv, Options& o) {
    o.calTypes.assign(std::begin(kalviro::kCalTypes), std::end(kalviro::kCalTypes));
    o.scenes.assign(std::begin(kBenchScenes), std::end(kBenchScenes));
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto value = [&](const char* flag) {
            const size_t n = std::strlen(flag);
            return arg.compare(0, n, flag) == 0 ? std::optional<std::string>(arg.substr(n)) : std::nullopt;
        };
        bool ok = true;
        if (const auto calTypes = value("--caltypes=")) {
            ok = parseCalTypes(*calTypes, o);
        } else if (const auto scenes = value("--scenes=")) {
            ok = parseScenes(*scenes, o);
        } else if (const auto count = value("--per-pixel-iterations=")) {
            ok = parseCount(*count, o.perPixelIterations);
        } else if (const auto frames = value("--recording-frames=")) {
            ok = parseCount(*frames, o.recordingFrames);
        } else {
            argv[kept++] = argv[i];
            continue;
        }
        if (!ok) {
            std::cerr << "bad argument " << arg << ": CalTypes of the list, scenes " << sceneNames()
                      << ", a count of 0 or more\n";
            return false;
        }
    }
    argc = kept;
    return true;
}

// The first "model name" (x86) or "Model" (Arm) of /proc/cpuinfo.
std::string cpuModel() {
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("model name", 0) == 0 || line.rfind("Model", 0) == 0) {
            const size_t colon = line.find(':');
            const size_t text = colon == std::string::npos ? colon : line.find_first_not_of(" \t", colon + 1);
            if (text != std::string::npos) return line.substr(text);
        }
    }
    return "unknown";
}

// The per-value goal holds where the processor has AVX2, whatever width the
// library chose.
const char* avx2() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_cpu_supports("avx2") ? "yes" : "no";
#else
    return "no";
#endif
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0) printUsage();
    }
    // A shorter default than the library's half second keeps every CalType on
    // all four frames within about six minutes; a --benchmark_min_time given wins.
    std::string minTime = "--benchmark_min_time=0.3";
    std::vector<char*> args(argv, argv + argc);
    args.insert(args.begin() + 1, minTime.data());
    argc = static_cast<int>(args.size());
    argv = args.data();
    benchmark::Initialize(&argc, argv);
    Options o;
    if (!parseOptions(argc, argv, o) || benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    registerAll(o);
    char version[16] = {};
    KALVIRO_GetVersionMinute(version);
    benchmark::AddCustomContext("kalviro", version);
    benchmark::AddCustomContext("kalviro_build", KALVIRO_BUILD_TYPE);
    benchmark::AddCustomContext("lanes", kalviro_lanes());
    benchmark::AddCustomContext("cpu_model", cpuModel());
    benchmark::AddCustomContext("avx2", avx2());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
