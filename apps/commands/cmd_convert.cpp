// kalviro convert: a frame file through the per-frame call and whole-frame
// conversion into CSV, float TIFF, false-colour PNG and a JSON report, with
// statistics of the frame, of regions and at spots on the terminal.
// --demo converts a built-in synthetic frame into demo.png and demo.json.
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>

#include "analysis/alarms.hpp"
#include "commands/caltype.hpp"
#include "commands/commands.hpp"
#include "commands/cores.hpp"
#include "commands/subcommand.hpp"
#include "convert/convert_run.hpp"
#include "convert/frame_source.hpp"
#include "convert/signals.hpp"
#include "frames/conversion_args.hpp"
#include "frames/failure.hpp"
#include "frames/synthesizer.hpp"
#include "outputs/output_names.hpp"
#include "outputs/palette.hpp"
#include "outputs/table_output.hpp"

namespace kalviro::cli {

namespace {

// The demo: a person in front of a wall, CalType 21.
constexpr int32_t kDemoCalType = 21;
const FrameSize kDemoSize{320, 240};

std::vector<uint8_t> demoFrame() {
    Synthesizer synth(requireCalType(kDemoCalType), kDemoSize, 1, Scene::Person, kDefaultEmissivity);
    std::vector<uint8_t> raw;
    std::vector<float> truth;
    synth.next(raw, truth);
    return raw;
}

std::pair<float, float> parseRange(const std::string& text) {
    const size_t colon = text.find(':', 1);
    const auto bad = [&] {
        return Failure("bad range '" + text + "': expected LO:HI in degrees, LO below HI");
    };
    if (colon == std::string::npos) throw bad();
    char* end = nullptr;
    const std::string a = text.substr(0, colon), b = text.substr(colon + 1);
    const float lo = std::strtof(a.c_str(), &end);
    if (a.empty() || *end != '\0') throw bad();
    const float hi = std::strtof(b.c_str(), &end);
    if (b.empty() || *end != '\0' || !std::isfinite(lo) || !std::isfinite(hi) || !(lo < hi)) throw bad();
    return {lo, hi};
}

bool fileExists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

std::string temp(double t) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.2f", t);
    return buf;
}

std::string at(const PixelTemp& p) { return "(" + std::to_string(p.x) + "," + std::to_string(p.y) + ")"; }

void printStats(const char* label, const Stats& s) {
    if (s.count == 0) {
        std::printf("  %-15s no valid temperature (%llu invalid)\n", label,
                    static_cast<unsigned long long>(s.invalid));
        return;
    }
    std::printf("  %-15s min %s at %s  max %s at %s  mean %s  std %s\n", label, temp(s.min).c_str(),
                at(s.coldest).c_str(), temp(s.max).c_str(), at(s.hottest).c_str(), temp(s.mean).c_str(),
                temp(s.stddev).c_str());
}

void printSummary(const RunInfo& run, const ConvertSummary& s, const std::vector<std::string>& written) {
    std::printf("%s: %s, ", run.source.c_str(), run.size.text().c_str());
    if (s.frames == 1) {
        std::printf("frame %llu", static_cast<unsigned long long>(s.last.index));
    } else {
        std::printf("frames %llu-%llu", static_cast<unsigned long long>(s.first),
                    static_cast<unsigned long long>(s.last.index));
    }
    if (run.totalFrames) std::printf(" of %llu", static_cast<unsigned long long>(*run.totalFrames));
    std::printf(", CalType %d, emissivity %g", run.calType.calType, static_cast<double>(run.emissivity));
    if (run.unit != Unit::Celsius) std::printf(", %s", unitName(run.unit));
    std::printf("\n");
    if (s.frames == 1) {
        const FrameResult& r = s.last;
        std::printf("  %-15s gray %u -> %s deg\n", "per-frame call", r.centreGray, temp(r.perFrame).c_str());
        printStats("frame", r.whole);
        for (size_t i = 0; i < r.regions.size(); ++i)
            printStats(("roi " + run.regions[i].name).c_str(), r.regions[i]);
        for (size_t i = 0; i < run.shapes.size(); ++i) {
            const Area& g = run.shapes[i];
            if (g.kind != AreaKind::Rectangle && g.kind != AreaKind::Spot)
                printStats((std::string(areaKindName(g.kind)) + " " + g.name).c_str(), r.shapeStats[i]);
        }
        for (size_t i = 0; i < r.spots.size(); ++i) {
            const std::string label =
                "spot " + std::to_string(run.spots[i].x) + "," + std::to_string(run.spots[i].y);
            std::printf("  %-15s %s%s\n", label.c_str(), temp(r.spots[i]).c_str(),
                        validTemp(r.spots[i]) ? "" : " (invalid)");
        }
        if (r.whole.count == 0) {
            std::printf("CalType %d gives no valid temperature for this frame: is %d the camera's CalType?\n",
                        run.calType.calType, run.calType.calType);
        }
    } else {
        if (s.whole.frames != 0) {
            std::printf(
                "  %-15s min %s (frame %llu at %s)  max %s (frame %llu at %s)  mean of frame means %s\n",
                "all frames", temp(s.whole.min).c_str(), static_cast<unsigned long long>(s.coldestFrame),
                at(s.coldest).c_str(), temp(s.whole.max).c_str(),
                static_cast<unsigned long long>(s.hottestFrame), at(s.hottest).c_str(),
                temp(s.whole.meanOfMeans).c_str());
        }
        if (s.whole.frames == 0) {
            std::printf(
                "CalType %d gives no valid temperature for any of these frames: is %d the camera's "
                "CalType?\n",
                run.calType.calType, run.calType.calType);
        }
        for (size_t i = 0; i < s.regions.size(); ++i) {
            const RegionSummary& g = s.regions[i];
            if (g.frames == 0) {
                std::printf("  %-15s no valid temperature\n", ("roi " + run.regions[i].name).c_str());
                continue;
            }
            std::printf("  %-15s min %s  max %s  mean of frame means %s\n",
                        ("roi " + run.regions[i].name).c_str(), temp(g.min).c_str(), temp(g.max).c_str(),
                        temp(g.meanOfMeans).c_str());
        }
        std::printf("  %llu frames in %.2f s: %.1f frames/s, %u thread%s\n",
                    static_cast<unsigned long long>(s.frames), s.seconds,
                    static_cast<double>(s.frames) / s.seconds, s.threads, s.threads == 1 ? "" : "s");
    }
    if (written.empty()) return;
    if (written.size() <= 4) {
        std::string list;
        for (const std::string& w : written) list += (list.empty() ? "" : ", ") + w;
        std::printf("wrote %s\n", list.c_str());
    } else {
        std::printf("wrote %zu files: %s ... %s\n", written.size(), written.front().c_str(),
                    written.back().c_str());
    }
}

// How a stream ended, when it did not end between frames by itself: one
// line, and a failure for a read error (the outputs are kept all the same).
void reportEnd(const FrameSource& source, const ConvertSummary& s) {
    std::string line = "converted " + std::to_string(s.frames) + (s.frames == 1 ? " frame" : " frames");
    if (source.partialBytes() != 0) {
        line += " and dropped the partial frame " + std::to_string(s.last.index + 1) + " (" +
                std::to_string(source.partialBytes()) + " of " + std::to_string(source.size().frameBytes()) +
                " bytes)";
    }
    if (!source.readError().empty()) {
        throw Failure("cannot read " + source.name() + ": " + source.readError() + "; " + line);
    }
    if (stopSignal() != 0) {
        std::fprintf(stderr, "kalviro: %s stopped by %s: %s\n", source.name().c_str(),
                     stopSignal() == SIGINT ? "SIGINT" : "SIGTERM", line.c_str());
    } else if (source.partialBytes() != 0) {
        std::fprintf(stderr, "kalviro: %s ended inside a frame: %s\n", source.name().c_str(), line.c_str());
    }
}

}  // namespace

bool convertFile(const ConvertOptions& given, TableFile* sharedTable) {
    ConvertOptions o = given;
    std::unique_ptr<FrameSource> source;
    if (o.demo) {
        if (!o.file.empty() || o.calType || !o.outputs.empty()) {
            throw Failure(
                "--demo converts its own frame into demo.png and demo.json: give it no FILE, --caltype or "
                "-o");
        }
        o.calType = kDemoCalType;
        o.outputs = {"demo.png", "demo.json"};
        o.scale = 2;
        // The face, the wall and the inner corner of an eye.
        o.regions = {"face=145,60,30,36", "wall=8,8,64,48"};
        o.spots = {"150,70"};
        source = std::make_unique<FrameSource>("demo", demoFrame(), kDemoSize);
    } else {
        if (o.file.empty()) throw Failure("convert: give a FILE (or - for standard input), or --demo");
        if (!o.calType) throw Failure("convert: give the frame's --caltype N");
    }
    const CalTypeInfo& calType = requireCalType(*o.calType);
    const float emissivity = checkEmissivity(o.emissivity);
    const std::optional<double> distance = checkDistance(o.distance);
    const FrameRange range = o.frames ? parseFrameRange(*o.frames) : FrameRange{};
    PngOptions png;
    png.palette = findPalette(o.palette);
    if (png.palette == nullptr)
        throw Failure("unknown palette '" + o.palette + "'; palettes: " + paletteNames());
    if (o.range && o.range->rfind("auto", 0) != 0) png.range = parseRange(*o.range);
    png.markers = !o.noMarkers;
    if (o.scale < 1 || o.scale > 16)
        throw Failure("bad scale " + std::to_string(o.scale) + ": expected 1 to 16");
    png.scale = o.scale;
    if (!(o.fps > 0.0 && o.fps <= 1000.0))
        throw Failure("bad --fps " + std::to_string(o.fps) + ": expected above 0, at most 1000");
    png.fps = o.fps;
    png.counts = o.counts;
    if (o.counts && std::none_of(o.outputs.begin(), o.outputs.end(), [](const std::string& t) {
            return extensionOf(t) == "tif" || extensionOf(t) == "tiff";
        })) {
        throw Failure("--counts writes the gray values into a .tiff output: give -o NAME.tiff");
    }
    if (!source) {
        const std::optional<FrameSize> size = optionalSize(o.size);
        source = std::make_unique<FrameSource>(o.file, size);
        if (size) warnIfSwapped(o.file, *size);
    }

    RunInfo run;
    run.source = source->name();
    run.size = source->size();
    run.calType = calType;
    run.emissivity = emissivity;
    run.distance = distance;
    run.totalFrames = source->frameCount();
    run.sequence = !run.totalFrames || *run.totalFrames > 1;
    prepareAnalysis(o, run);
    preparePicture(o, run, png);
    std::vector<Alarm> alarms;
    for (const std::string& text : o.analysis.alarms) {
        alarms.push_back(parseAlarm(text));
        resolveAlarm(alarms.back(), run.shapes);
    }

    // A recording stopped by Ctrl-C or a plain kill keeps what arrived.
    std::optional<StopOnSignal> stoppable;
    if (source->isStream()) stoppable.emplace();
    PendingFiles files(o.force);
    std::optional<uint64_t> end = range.end;
    if (run.totalFrames) end = std::min(end.value_or(*run.totalFrames), *run.totalFrames);
    // A resumed batch keeps each output whose files are all there and writes
    // the others; an input with nothing left to write is done. A stream is
    // never passed over: its frames are not known; nor is an input whose rows
    // a batch's table still needs.
    const auto done = [&](const std::vector<std::string>& names) {
        return o.skipExisting && run.totalFrames && std::all_of(names.begin(), names.end(), fileExists);
    };
    const bool anyOutput = !o.outputs.empty() || o.table;
    std::vector<std::string> planned, targets;
    for (const std::string& target : o.outputs) {
        const std::vector<std::string> names = plannedNames(target, run, range.first, end);
        if (done(names)) continue;
        targets.push_back(target);
        planned.insert(planned.end(), names.begin(), names.end());
    }
    o.outputs = targets;
    if (o.table && done({*o.table})) o.table.reset();
    if (anyOutput && o.outputs.empty() && !o.table && sharedTable == nullptr) return false;
    if (o.table) planned.push_back(*o.table);
    // Two outputs onto one file: the second would fail after the first is in place.
    std::vector<std::string> sorted = planned;
    std::sort(sorted.begin(), sorted.end());
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    if (twice != sorted.end()) throw Failure(*twice + " is named twice as an output");
    for (const std::string& name : planned) files.check(name);
    std::vector<std::unique_ptr<Output>> outputs;
    for (const std::string& target : o.outputs) outputs.push_back(makeOutput(target, run, png, files));
    if (o.table) {
        outputs.push_back(makeTableOutput(std::make_unique<TableFile>(*o.table, files), run));
    } else if (sharedTable != nullptr) {
        outputs.push_back(makeTableOutput(*sharedTable, run));
    }
    const bool alarmed = !alarms.empty();
    if (alarmed) outputs.push_back(std::make_unique<AlarmOutput>(run, std::move(alarms)));
    // More workers than cores only add threads waiting for one.
    const unsigned threads = o.threads != 0 ? std::min(o.threads, coresAvailable()) : coresAvailable();

    const ConvertSummary summary = convertFrames(*source, run, range, threads, o.quiet, outputs);
    for (const auto& out : outputs) out->finish();
    outputs.clear();
    const std::vector<std::string> written = files.commit();
    // With alarms, standard output carries their lines alone.
    if (!o.quiet && !alarmed) printSummary(run, summary, written);
    if (source->isStream()) reportEnd(*source, summary);
    return true;
}

Subcommand addConvertCommand(CLI::App& app) {
    auto o = std::make_shared<ConvertOptions>();
    auto* cmd = app.add_subcommand(
        "convert", "convert frames to temperatures: .csv .tiff .png .json .mp4 .mkv .webm .gif");
    cmd->add_option("FILE", o->inputs,
                    "raw frame files, gray-value archives (.tiff written with --counts), directories or "
                    "globs; - reads standard input");
    cmd->add_option("--caltype", o->calType, "the camera's CalType; REQUIRED but with --demo");
    addSizeOption(cmd, o->size);
    cmd->add_option("-e,--emissivity", o->emissivity, "emissivity of the object, above 0 and at most 1")
        ->capture_default_str();
    cmd->add_option("-d,--distance", o->distance, "object distance in metres, in place of the block's");
    cmd->add_option("--frames", o->frames, "frames A:B (B not included), A:, :B or K");
    cmd->add_option("-o,--output", o->outputs,
                    "output, by extension: .csv .tiff .png .json .mp4 .mkv .webm .gif; {stem} is the "
                    "input's name, {frame} the frame number; repeatable")
        ->allow_extra_args(false);
    cmd->add_option("--palette", o->palette, "PNG palette: " + paletteNames())->capture_default_str();
    cmd->add_option("--range", o->range,
                    "PNG colours fixed from LO to HI, LO:HI; auto:P1:P2 from those percentiles of each "
                    "frame");
    cmd->add_flag("--no-markers", o->noMarkers, "PNG without the hottest and coldest markers");
    cmd->add_option("--scale", o->scale, "PNG pixels per frame pixel")->capture_default_str();
    cmd->add_option("--roi", o->regions,
                    "rectangle [name=]x,y,w,h for statistics; :e=E gives it its own emissivity; repeatable")
        ->allow_extra_args(false);
    cmd->add_option("--spot", o->spots, "temperature at [name=]x,y[:e=E]; repeatable")
        ->allow_extra_args(false);
    addAnalysisOptions(cmd, o->analysis);
    cmd->add_option("-j,--threads", o->threads, "threads for a sequence; default one per core");
    cmd->add_flag("--force", o->force, "replace existing outputs");
    cmd->add_flag("--demo", o->demo, "convert a built-in synthetic frame into demo.png and demo.json");
    cmd->add_flag("-q,--quiet", o->quiet, "no summary, no progress bar");
    cmd->add_option("--fps", o->fps, "frames per second of video outputs")->capture_default_str();
    cmd->add_flag("--counts", o->counts,
                  "a .tiff output holds the gray values and blocks (an archive that converts again)");
    cmd->add_option("--table", o->table,
                    "CSV of every frame's statistics, a row per frame and region, spot or the frame");
    cmd->add_flag("--skip-existing", o->skipExisting, "pass over inputs whose outputs all exist");
    return {cmd, [o] { runConvert(*o); }};
}

}  // namespace kalviro::cli
