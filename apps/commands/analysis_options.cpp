#include "commands/analysis_options.hpp"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>
#include <map>

#include "analysis/region_emissivity.hpp"
#include "commands/commands.hpp"
#include "frames/failure.hpp"
#include "outputs/outputs.hpp"

namespace kalviro::cli {

namespace {

const char* const kSuffixHelp = "; :e=E gives it its own emissivity; repeatable";

// "LO:HI" of two finite numbers, LO <= HI (LO < HI when strict).
std::optional<std::pair<double, double>> parsePair(const std::string& text, bool strict) {
    const size_t colon = text.find(':', 1);
    if (colon == std::string::npos) return std::nullopt;
    const std::string a = text.substr(0, colon), b = text.substr(colon + 1);
    char* end = nullptr;
    const double lo = std::strtod(a.c_str(), &end);
    if (a.empty() || *end != '\0') return std::nullopt;
    const double hi = std::strtod(b.c_str(), &end);
    if (b.empty() || *end != '\0' || !std::isfinite(lo) || !std::isfinite(hi)) return std::nullopt;
    if (strict ? !(lo < hi) : !(lo <= hi)) return std::nullopt;
    return std::make_pair(lo, hi);
}

}  // namespace

void addAnalysisOptions(CLI::App* cmd, AnalysisOptions& o) {
    cmd->add_option(
           "--ellipse", o.ellipses,
           "ellipse [name=]cx,cy,rx,ry: the pixels whose centre lies in it" + std::string(kSuffixHelp))
        ->allow_extra_args(false);
    cmd->add_option("--polygon", o.polygons,
                    "polygon [name=]x1,y1,x2,y2,x3,y3,...: the pixels whose centre lies in it" +
                        std::string(kSuffixHelp))
        ->allow_extra_args(false);
    cmd->add_option("--line", o.lines,
                    "line [name=]x1,y1,x2,y2 from pixel to pixel: its profile and statistics" +
                        std::string(kSuffixHelp))
        ->allow_extra_args(false);
    cmd->add_option("--bins", o.bins, "bins of each histogram in the JSON report")->capture_default_str();
    cmd->add_flag("--no-overlays", o.noOverlays, "PNG without regions, spots, names and values");
    cmd->add_option("--isotherm", o.isotherm,
                    "PNG: paint the pixels from LO to HI in a colour of their own, LO:HI");
    cmd->add_option("--alarm", o.alarms,
                    "[NAME.]min|max|mean|std OP NUMBER or SPOT OP NUMBER, OP > >= < <=: a JSON line on "
                    "standard output for each frame where it holds, and exit status 3; repeatable")
        ->allow_extra_args(false);
    cmd->add_option("--unit", o.unit,
                    "unit of every temperature written, and of --range, --isotherm and --alarm: C (default), "
                    "K or F");
    cmd->add_option("--set", o.settings,
                    "FIELD=VALUE: write a block field, by the name and in the unit `info` shows, before each "
                    "frame's per-frame call; repeatable")
        ->allow_extra_args(false);
    // The shapes in the order given, whatever their kind.
    cmd->parse_complete_callback([cmd, &o] {
        const std::map<const CLI::Option*, AreaKind> kinds = {
            {cmd->get_option("--roi"), AreaKind::Rectangle},
            {cmd->get_option("--ellipse"), AreaKind::Ellipse},
            {cmd->get_option("--polygon"), AreaKind::Polygon},
            {cmd->get_option("--line"), AreaKind::Line},
            {cmd->get_option("--spot"), AreaKind::Spot}};
        std::map<const CLI::Option*, size_t> used;
        o.shapes.clear();
        for (const CLI::Option* opt : cmd->parse_order()) {
            const auto kind = kinds.find(opt);
            if (kind == kinds.end()) continue;
            const size_t k = used[opt]++;
            if (k < opt->results().size()) o.shapes.emplace_back(kind->second, opt->results()[k]);
        }
    });
}

void prepareAnalysis(const ConvertOptions& o, RunInfo& run) {
    std::vector<std::pair<AreaKind, std::string>> given = o.analysis.shapes;
    if (given.empty()) {  // set in code, as the demo does
        for (const std::string& r : o.regions) given.emplace_back(AreaKind::Rectangle, r);
        for (const std::string& s : o.spots) given.emplace_back(AreaKind::Spot, s);
    }
    std::map<AreaKind, size_t> numbers;
    for (const auto& [kind, text] : given)
        run.shapes.push_back(parseArea(kind, text, ++numbers[kind], run.size));
    requireDistinctNames(run.shapes);
    for (const Area& s : run.shapes) {
        const auto i = [&](size_t k) { return static_cast<int32_t>(s.coords[k]); };
        if (s.kind == AreaKind::Rectangle) run.regions.push_back(Region{s.name, i(0), i(1), i(2), i(3)});
        if (s.kind == AreaKind::Spot) run.spots.push_back(Spot{i(0), i(1)});
    }
    run.otherEmissivities = otherEmissivities(run.shapes, run.emissivity);
    run.unit = parseUnit(o.analysis.unit.value_or("C"));
    run.bins = checkBins(o.analysis.bins);
    for (const std::string& text : o.analysis.settings)
        run.settings.push_back(parseSetting(text, run.calType.layout));
    requireDistinct(run.settings);
    for (const FieldSetting& s : run.settings) {
        if (run.distance && std::string(s.field->name) == "distance")
            throw Failure("give the distance once: --distance or --set distance=");
    }
}

void preparePicture(const ConvertOptions& o, const RunInfo& run, PngOptions& png) {
    (void)run;
    png.overlays = !o.analysis.noOverlays;
    if (o.range && o.range->rfind("auto", 0) == 0) {
        png.range.reset();
        if (*o.range == "auto") {
            png.percentiles = std::make_pair(1.0, 99.0);
        } else {
            const auto p = parsePair(o.range->substr(5), true);
            if (o.range->compare(0, 5, "auto:") != 0 || !p || p->first < 0 || p->second > 100)
                throw Failure("bad range '" + *o.range +
                              "': expected auto:P1:P2, percentiles from 0 to 100, P1 below P2");
            png.percentiles = p;
        }
    }
    if (o.analysis.isotherm) {
        const auto band = parsePair(*o.analysis.isotherm, false);
        if (!band || std::fabs(band->first) > 1e30 || std::fabs(band->second) > 1e30)
            throw Failure("bad isotherm '" + *o.analysis.isotherm + "': expected LO:HI, LO at most HI");
        png.isotherm = std::make_pair(static_cast<float>(band->first), static_cast<float>(band->second));
    }
}

}  // namespace kalviro::cli
