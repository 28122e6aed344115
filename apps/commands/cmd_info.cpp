// kalviro info: a frame's block field by field with names and units, the
// CalType's layout, TempPara and the GetIT value; --json for scripts, --csv
// for the settings of every frame of a sequence, one row a frame.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <iostream>
#include <memory>

#include "commands/caltype.hpp"
#include "commands/commands.hpp"
#include "commands/subcommand.hpp"
#include "convert/frame_source.hpp"
#include "frames/block_fields.hpp"
#include "frames/block_settings.hpp"
#include "frames/failure.hpp"
#include "frames/le_bytes.hpp"

namespace kalviro::cli {

namespace {

nlohmann::ordered_json tempParaJson(const TempPara& para, Layout layout) {
    const auto* p = reinterpret_cast<const uint8_t*>(&para);
    nlohmann::ordered_json j = {{"lensType", loadI32(p + offsetof(TempPara, lensType))},
                                {"paraA", loadI32(p + offsetof(TempPara, paraA))},
                                {"paraB", loadI32(p + offsetof(TempPara, paraB))},
                                {"distance", loadI32(p + offsetof(TempPara, distance)) / 100.0},
                                {"humidity", loadI32(p + offsetof(TempPara, humidity))},
                                {"envTemp", loadI32(p + offsetof(TempPara, envTemp)) / 100.0}};
    if (layout == Layout::Long) {
        std::string hex;
        char buf[3];
        for (uint8_t b : para.paraBlob) {
            std::snprintf(buf, sizeof buf, "%02x", b);
            hex += buf;
        }
        j["paraBlob"] = hex;
    }
    return j;
}

nlohmann::ordered_json getITJson(const Camera& camera, const CalTypeInfo& c, const TempFrameInfo& block) {
    if (!c.hasGetIT) return nullptr;
    return camera.getIT(&block);
}

void printText(const std::string& name, uint64_t index, const std::optional<uint64_t>& frames,
               const FrameSize& size, const CalTypeInfo& c, const Camera& camera,
               const TempFrameInfo& block) {
    std::printf("%s: frame %llu", name.c_str(), static_cast<unsigned long long>(index));
    if (frames) std::printf(" of %llu", static_cast<unsigned long long>(*frames));
    std::printf(", %s\n", size.text().c_str());
    std::printf("CalType %d: %s layout, %s, ", c.calType, layoutName(c.layout), familyText(c).c_str());
    if (c.hasGetIT) {
        std::printf("GetIT value %.6g\n", camera.getIT(&block));
    } else {
        std::printf("no GetIT value\n");
    }
    std::printf("\noffset  field            value  unit  (set: convert --set FIELD=VALUE writes it)\n");
    for (const BlockField& f : blockFields(c.layout)) {
        std::printf("0x%03x   %-16s %s %s%s\n        %s\n", f.offset, f.name,
                    fieldText(blockBytes(block), f).c_str(), f.unit, settable(f) ? "  (set)" : "", f.meaning);
    }
    TempPara para{};
    camera.getTempPara(&block, &para);
    const nlohmann::ordered_json tp = tempParaJson(para, c.layout);
    std::printf(
        "\nTempPara (%s form): lensType %d, paraA %d, paraB %d, distance %g m, humidity %d %%, envTemp %g "
        "deg\n",
        c.layout == Layout::Long ? "long" : "short", tp["lensType"].get<int>(), tp["paraA"].get<int>(),
        tp["paraB"].get<int>(), tp["distance"].get<double>(), tp["humidity"].get<int>(),
        tp["envTemp"].get<double>());
}

// One row a frame: the frame number, the GetIT value and every field, array
// fields spread over columns.
void printCsv(FrameSource& source, const CalTypeInfo& c, const Camera& camera) {
    const std::vector<BlockField> fields = blockFields(c.layout);
    std::string head = "frame,getIT";
    for (const BlockField& f : fields) {
        const std::string unit = *f.unit ? std::string(" (") + f.unit + ")" : "";
        for (uint16_t i = 0; i < (f.type == FieldType::Bytes ? 1 : f.count); ++i) {
            head += ",";
            head += f.name;
            if (f.count > 1 && f.type != FieldType::Bytes) head += "[" + std::to_string(i) + "]";
            head += unit;
        }
    }
    std::printf("%s\n", head.c_str());
    Frame frame;
    while (source.next(frame, false)) {
        std::string row = std::to_string(frame.index) + ",";
        if (c.hasGetIT) row += nlohmann::ordered_json(camera.getIT(&frame.block)).dump();
        for (const BlockField& f : fields) {
            if (f.type == FieldType::Bytes) {
                row += "," + fieldText(blockBytes(frame.block), f);
                continue;
            }
            for (uint16_t i = 0; i < f.count; ++i)
                row += "," + nlohmann::ordered_json(fieldValue(blockBytes(frame.block), f, i)).dump();
        }
        std::printf("%s\n", row.c_str());
    }
}

}  // namespace

void runInfo(const InfoOptions& o) {
    const CalTypeInfo& c = requireCalType(o.calType);
    FrameSource source(o.file, optionalSize(o.size));
    const Camera camera(c.calType);
    if (o.csv) {
        printCsv(source, c, camera);
        return;
    }
    Frame frame;
    for (uint64_t i = 0; i <= o.frame; ++i) {
        if (!source.next(frame, false)) {
            throw Failure(source.name() + " holds " + std::to_string(i) + " frame(s); frame " +
                          std::to_string(o.frame) + " is not among them");
        }
    }
    if (!o.json) {
        printText(source.name(), frame.index, source.frameCount(), source.size(), c, camera, frame.block);
        return;
    }
    TempPara para{};
    camera.getTempPara(&frame.block, &para);
    nlohmann::ordered_json j;
    j["source"] = source.name();
    j["frame"] = frame.index;
    j["frames"] =
        source.frameCount() ? nlohmann::ordered_json(*source.frameCount()) : nlohmann::ordered_json(nullptr);
    j["width"] = source.size().width;
    j["height"] = source.size().height;
    j["calType"] = c.calType;
    j["layout"] = layoutName(c.layout);
    j["family"] = familyName(c.family);
    j["lastTempRange"] = c.lastTempRange;
    j["getIT"] = getITJson(camera, c, frame.block);
    j["tempPara"] = tempParaJson(para, c.layout);
    j["block"] = blockJson(blockBytes(frame.block), c.layout);
    j["units"] = blockUnitsJson(c.layout);
    nlohmann::ordered_json settableFields = nlohmann::ordered_json::array();
    for (const BlockField& f : blockFields(c.layout)) {
        if (settable(f)) settableFields.push_back(f.name);
    }
    j["settable"] = settableFields;
    std::cout << j.dump(2) << '\n';
}

Subcommand addInfoCommand(CLI::App& app) {
    auto o = std::make_shared<InfoOptions>();
    auto* cmd = app.add_subcommand("info", "a frame's block field by field, TempPara and the GetIT value");
    addFileOptions(cmd, o->file, o->calType, o->size);
    cmd->add_option("--frame", o->frame, "frame of a sequence, from 0")->check(frameNumber());
    cmd->add_flag("--json", o->json, "as JSON");
    cmd->add_flag("--csv", o->csv, "every frame's settings, one CSV row a frame")
        ->excludes("--json")
        ->excludes("--frame");
    return {cmd, [o] { runInfo(*o); }};
}

}  // namespace kalviro::cli
