// kalviro synth: a synthetic frame or sequence of a CalType, with the
// scene's known temperatures optionally written beside it (--truth).
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "commands/caltype.hpp"
#include "commands/commands.hpp"
#include "commands/subcommand.hpp"
#include "convert/progress.hpp"
#include "frames/conversion_args.hpp"
#include "frames/failure.hpp"
#include "frames/synth_scene.hpp"
#include "frames/synthesizer.hpp"
#include "outputs/outputs.hpp"

namespace kalviro::cli {

void runSynth(const SynthOptions& o) {
    const CalTypeInfo& c = requireCalType(o.calType);
    const FrameSize size = parseSize(o.size);
    const float emissivity = checkEmissivity(o.emissivity);
    const std::optional<Scene> scene = findScene(o.scene);
    if (!scene) throw Failure("unknown scene '" + o.scene + "'; scenes: " + sceneNames());
    if (o.frames < 1 || o.frames > 1000000) throw Failure("bad frame count: expected 1 to 1000000");

    PendingFiles files(o.force);
    RunInfo run;
    run.source = o.output;
    run.size = size;
    run.calType = c;
    run.emissivity = emissivity;
    run.sequence = o.frames > 1;
    run.totalFrames = o.frames;
    if (o.truth) {
        for (const std::string& name : plannedNames(*o.truth, run, 0, o.frames)) files.check(name);
    }
    files.check(o.output);
    const std::string temp = files.create(o.output);
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(temp.c_str(), "wb"), &std::fclose);
    if (!out) throw Failure("cannot write " + o.output + ": " + std::strerror(errno));
    std::unique_ptr<Output> truth;
    PngOptions png;
    png.palette = findPalette("iron");
    if (o.truth) truth = makeOutput(*o.truth, run, png, files);

    Synthesizer synth(c, size, o.frames, *scene, emissivity);
    Progress progress(o.frames, false);
    std::vector<uint8_t> raw;
    FrameResult r;
    bool ok = true;
    for (uint64_t i = 0; i < o.frames && ok; ++i) {
        synth.next(raw, r.temps);
        ok = std::fwrite(raw.data(), 1, raw.size(), out.get()) == raw.size();
        if (truth) {
            r.index = i;
            std::memcpy(&r.settings, raw.data() + size.pixels() * 2, sizeof r.settings);
            r.whole = regionStats(r.temps.data(), size.width, wholeFrame(size));
            truth->frame(r);
        }
        progress.update(i + 1);
    }
    progress.finish();
    const int err = errno;
    if (std::fclose(out.release()) != 0 || !ok)
        throw Failure("cannot write " + o.output + ": " + std::strerror(ok ? errno : err));
    if (truth) truth->finish();
    truth.reset();
    files.commit();
    std::printf(
        "wrote %s: %llu frame(s) of %s, CalType %d, scene %s, emissivity %g; its gray values convert "
        "to within %.2f deg of the scene\n",
        o.output.c_str(), static_cast<unsigned long long>(o.frames), size.text().c_str(), c.calType,
        o.scene.c_str(), static_cast<double>(emissivity), synth.worstError());
}

Subcommand addSynthCommand(CLI::App& app) {
    auto o = std::make_shared<SynthOptions>();
    auto* cmd = app.add_subcommand("synth", "write a synthetic frame or sequence of known temperatures");
    cmd->add_option("--caltype", o->calType, "CalType to synthesise for")->required();
    cmd->add_option("--size", o->size, "frame size WxH")->required();
    cmd->add_option("-o,--output", o->output, "raw frame file to write")->required();
    cmd->add_option("--frames", o->frames, "frames in the sequence")->capture_default_str();
    cmd->add_option("--scene", o->scene, "scene: " + sceneNames())->capture_default_str();
    cmd->add_option("-e,--emissivity", o->emissivity, "emissivity the scene is seen with")
        ->capture_default_str();
    cmd->add_option("--truth", o->truth, "also write the scene's temperatures: .tiff .csv .png .json");
    cmd->add_flag("--force", o->force, "replace existing outputs");
    return {cmd, [o] { runSynth(*o); }};
}

}  // namespace kalviro::cli
