// kalviro list: the CalTypes, whether each converts, its block layout and
// whether it has a GetIT value.
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
                           {"converts", converts(c.calType)},
                           {"layout", layoutName(c.layout)},
                           {"getIT", c.hasGetIT},
                           {"family", familyName(c.family)}});
        }
        std::cout << all.dump(2) << '\n';
        return;
    }
    std::printf("CalType  converts  layout  GetIT  family\n");
    int converting = 0;
    for (const CalTypeInfo& c : kCalTypes) {
        std::printf("%7d  %-8s  %-6s  %-5s  %s\n", c.calType, converts(c.calType) ? "yes" : "no",
                    layoutName(c.layout), c.hasGetIT ? "yes" : "no", familyName(c.family));
        converting += converts(c.calType) ? 1 : 0;
    }
    std::printf("%d of %d CalTypes convert\n", converting, KALVIRO_CALTYPE_COUNT);
}

}  // namespace kalviro::cli
