// kalviro: inspect, convert, export and render thermal-camera frames and
// sequences. The command line is read here; each subcommand lives in its
// own cmd_*.cpp.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

#include "alarms.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "palette.hpp"
#include "signals.hpp"
#include "synth_scene.hpp"
#include "view_command.hpp"

namespace {

using namespace kalviro::cli;

const char* const kFileHelp =
    "raw frame file: WxH little-endian uint16 pixels then the 512-byte block, "
    "one frame or a sequence; - reads standard input";
const char* const kSizeHelp = "frame size WxH; inferred from the file size for common sensor sizes";

void addFileOptions(CLI::App* cmd, std::string& file, int32_t& calType, std::optional<std::string>& size) {
    cmd->add_option("FILE", file, kFileHelp)->required();
    cmd->add_option("--caltype", calType, "the camera's CalType")->required();
    cmd->add_option("--size", size, kSizeHelp);
}

// A frame number: CLI11 would wrap a negative one into a huge unsigned one.
const CLI::Validator kFrameNumber(
    [](std::string& text) {
        return text.find('-') == std::string::npos ? std::string() : "frames count from 0, not " + text;
    },
    "", "frame number");

}  // namespace

int main(int argc, char** argv) {
    handleSignals();
    CLI::App app{"kalviro: thermal-camera frames to temperatures: inspect, convert, export, render",
                 "kalviro"};
    app.require_subcommand(1);
    app.set_version_flag("--version", "kalviro " KALVIRO_VERSION_TEXT);

    ListOptions list;
    auto* listCmd =
        app.add_subcommand("list", "the CalTypes: whether each converts, its layout, its GetIT value");
    listCmd->add_flag("--json", list.json, "as JSON");

    InfoOptions info;
    auto* infoCmd =
        app.add_subcommand("info", "a frame's block field by field, TempPara and the GetIT value");
    addFileOptions(infoCmd, info.file, info.calType, info.size);
    infoCmd->add_option("--frame", info.frame, "frame of a sequence, from 0")->check(kFrameNumber);
    infoCmd->add_flag("--json", info.json, "as JSON");
    infoCmd->add_flag("--csv", info.csv, "every frame's settings, one CSV row a frame")
        ->excludes("--json")
        ->excludes("--frame");

    ConvertOptions conv;
    auto* convCmd = app.add_subcommand(
        "convert", "convert frames to temperatures: .csv .tiff .png .json .mp4 .mkv .webm .gif");
    convCmd->add_option("FILE", conv.inputs,
                        "raw frame files, gray-value archives (.tiff written with --counts), directories or "
                        "globs; - reads standard input");
    convCmd->add_option("--caltype", conv.calType, "the camera's CalType; REQUIRED but with --demo");
    convCmd->add_option("--size", conv.size, kSizeHelp);
    convCmd->add_option("-e,--emissivity", conv.emissivity, "emissivity of the object, above 0 and at most 1")
        ->capture_default_str();
    convCmd->add_option("-d,--distance", conv.distance, "object distance in metres, in place of the block's");
    convCmd->add_option("--frames", conv.frames, "frames A:B (B not included), A:, :B or K");
    convCmd
        ->add_option("-o,--output", conv.outputs,
                     "output, by extension: .csv .tiff .png .json .mp4 .mkv .webm .gif; {stem} is the "
                     "input's name, {frame} the frame number; repeatable")
        ->allow_extra_args(false);
    convCmd->add_option("--palette", conv.palette, "PNG palette: " + paletteNames())->capture_default_str();
    convCmd->add_option("--range", conv.range,
                        "PNG colours fixed from LO to HI, LO:HI; auto:P1:P2 from those percentiles of each "
                        "frame");
    convCmd->add_flag("--no-markers", conv.noMarkers, "PNG without the hottest and coldest markers");
    convCmd->add_option("--scale", conv.scale, "PNG pixels per frame pixel")->capture_default_str();
    convCmd
        ->add_option("--roi", conv.regions,
                     "rectangle [name=]x,y,w,h for statistics; :e=E gives it its own emissivity; repeatable")
        ->allow_extra_args(false);
    convCmd->add_option("--spot", conv.spots, "temperature at [name=]x,y[:e=E]; repeatable")
        ->allow_extra_args(false);
    addAnalysisOptions(convCmd, conv.analysis);
    convCmd->add_option("-j,--threads", conv.threads, "threads for a sequence; default one per core");
    convCmd->add_flag("--force", conv.force, "replace existing outputs");
    convCmd->add_flag("--demo", conv.demo, "convert a built-in synthetic frame into demo.png and demo.json");
    convCmd->add_flag("-q,--quiet", conv.quiet, "no summary, no progress bar");
    convCmd->add_option("--fps", conv.fps, "frames per second of video outputs")->capture_default_str();
    convCmd->add_flag("--counts", conv.counts,
                      "a .tiff output holds the gray values and blocks (an archive that converts again)");
    convCmd->add_option("--table", conv.table,
                        "CSV of every frame's statistics, a row per frame and region, spot or the frame");
    convCmd->add_flag("--skip-existing", conv.skipExisting, "pass over inputs whose outputs all exist");

    SynthOptions synth;
    auto* synthCmd = app.add_subcommand("synth", "write a synthetic frame or sequence of known temperatures");
    synthCmd->add_option("--caltype", synth.calType, "CalType to synthesise for")->required();
    synthCmd->add_option("--size", synth.size, "frame size WxH")->required();
    synthCmd->add_option("-o,--output", synth.output, "raw frame file to write")->required();
    synthCmd->add_option("--frames", synth.frames, "frames in the sequence")->capture_default_str();
    synthCmd->add_option("--scene", synth.scene, "scene: " + sceneNames())->capture_default_str();
    synthCmd->add_option("-e,--emissivity", synth.emissivity, "emissivity the scene is seen with")
        ->capture_default_str();
    synthCmd->add_option("--truth", synth.truth,
                         "also write the scene's temperatures: .tiff .csv .png .json");
    synthCmd->add_flag("--force", synth.force, "replace existing outputs");

    Temp2GrayOptions t2g;
    auto* t2gCmd = app.add_subcommand("temp2gray", "the gray value of a temperature on a frame");
    addFileOptions(t2gCmd, t2g.file, t2g.calType, t2g.size);
    t2gCmd->add_option("--temp", t2g.temp, "temperature in degrees")->required();
    t2gCmd->add_option("--frame", t2g.frame, "frame of a sequence, from 0")->check(kFrameNumber);
    t2gCmd->add_option("-e,--emissivity", t2g.emissivity, "emissivity of the object")->capture_default_str();
    t2gCmd->add_option("-d,--distance", t2g.distance, "object distance in metres, in place of the block's");
    t2gCmd->add_flag("--json", t2g.json, "as JSON");

    ViewOptions view;
    auto* viewCmd = addViewCommand(app, view);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0) return app.exit(e);
        // CLI11 says only that a subcommand is required: name the word taken for one.
        if (app.get_subcommands().empty() && argc > 1 && argv[1][0] != '-') {
            std::string names;
            for (const CLI::App* sub : app.get_subcommands({}))
                names += (names.empty() ? "" : ", ") + sub->get_name();
            std::fprintf(stderr, "kalviro: unknown command '%s'; the commands are %s\n", argv[1],
                         names.c_str());
            return 2;
        }
        std::fprintf(stderr, "kalviro: %s\n", e.what());
        return 2;
    }
    try {
        if (listCmd->parsed()) runList(list);
        if (infoCmd->parsed()) runInfo(info);
        if (convCmd->parsed()) runConvert(conv);
        if (synthCmd->parsed()) runSynth(synth);
        if (t2gCmd->parsed()) runTemp2Gray(t2g);
        if (viewCmd->parsed()) runView(view);
    } catch (const Failure& e) {
        std::fprintf(stderr, "kalviro: %s\n", e.what());
        return stopSignal() != 0 ? 128 + stopSignal() : 1;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "kalviro: out of memory\n");
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kalviro: %s\n", e.what());
        return 1;
    }
    // A recording stopped by a signal was kept; the exit says what stopped it.
    // Ctrl-C is the viewer's usual end. An alarm that held is news to a
    // script, though nothing failed.
    if (stopSignal() != 0 && !viewCmd->parsed()) return 128 + stopSignal();
    return alarmHeld() ? 3 : 0;
}
