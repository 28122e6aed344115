// kalviro list: the CalTypes, each with its block layout, whether it has a
// GetIT value and its family.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <iostream>
#include <memory>

#include "commands/caltype.hpp"
#include "commands/commands.hpp"
#include "commands/subcommand.hpp"
#include "frames/block_fields.hpp"

namespace kalviro::cli {

void runList(const ListOptions& o) {
    if (o.json) {
        nlohmann::ordered_json all = nlohmann::ordered_json::array();
        for (const CalTypeInfo& c : kCalTypes) {
            all.push_back({{"calType", c.calType},
                           {"layout", layoutName(c.layout)},
                           {"getIT", c.hasGetIT},
                           {"family", familyName(c.family)},
                           {"lastTempRange", c.lastTempRange}});
        }
        std::cout << all.dump(2) << '\n';
        return;
    }
    std::printf("CalType  layout  GetIT  family\n");
    for (const CalTypeInfo& c : kCalTypes) {
        std::printf("%7d  %-6s  %-5s  %s\n", c.calType, layoutName(c.layout), c.hasGetIT ? "yes" : "no",
                    familyText(c).c_str());
    }
    std::printf("%d CalTypes\n", KALVIRO_CALTYPE_COUNT);
}

Subcommand addListCommand(CLI::App& app) {
    auto o = std::make_shared<ListOptions>();
    auto* cmd =
        app.add_subcommand("list", "the CalTypes: whether each converts, its layout, its GetIT value");
    cmd->add_flag("--json", o->json, "as JSON");
    return {cmd, [o] { runList(*o); }};
}

}  // namespace kalviro::cli
