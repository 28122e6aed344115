#include "caltype.hpp"

#include "failure.hpp"

namespace kalviro::cli {

bool converts(int32_t calType) { return KALVIRO_IsAlgSurport(calType) == 1; }

std::string convertingCalTypes() {
    std::string out;
    for (const CalTypeInfo& c : kCalTypes) {
        if (!converts(c.calType)) continue;
        if (!out.empty()) out += ", ";
        out += std::to_string(c.calType);
    }
    return out;
}

const CalTypeInfo& requireCalType(int32_t calType) {
    const CalTypeInfo* info = findCalType(calType);
    if (info != nullptr && converts(calType)) return *info;
    const std::string what = info == nullptr ? " is unknown" : " does not convert yet";
    throw Failure("CalType " + std::to_string(calType) + what +
                  "; CalTypes that convert: " + convertingCalTypes());
}

}  // namespace kalviro::cli
