// kalviro list: the CalTypes, each with its block layout, whether it has a
// GetIT value and its family.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <iostream>

#include "block_fields.hpp"
#include "caltype.hpp"
#include "commands.hpp"

namespace kalviro::cli {

void runList(const ListOptions& o) {
    if (o.json) {
        nlohmann::ordered_json all = nlohmann::ordered_json::array();
        for (const CalTypeInfo& c : kCalTypes) {
            all.push_back({{"calType", c.calType},
                           {"layout", layoutName(c.layout)},
                           {"getIT", c.hasGetIT},
                           {"family", familyName(c.family)},
                           {"lastTempRange", lastTempRange(c.family)}});
        }
        std::cout << all.dump(2) << '\n';
        return;
    }
    std::printf("CalType  layout  GetIT  family\n");
    for (const CalTypeInfo& c : kCalTypes) {
        std::printf("%7d  %-6s  %-5s  %s\n", c.calType, layoutName(c.layout), c.hasGetIT ? "yes" : "no",
                    familyText(c.family).c_str());
    }
    std::printf("%d CalTypes\n", KALVIRO_CALTYPE_COUNT);
}

}  // namespace kalviro::cli
