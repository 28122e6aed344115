#include "caltype.hpp"

#include "failure.hpp"

namespace kalviro::cli {

std::string convertingCalTypes() {
    std::string out;
    for (const CalTypeInfo& c : kCalTypes) {
        if (!c.converts()) continue;
        if (!out.empty()) out += ", ";
        out += std::to_string(c.calType);
    }
    return out;
}

const CalTypeInfo& requireCalType(int32_t calType) {
    const CalTypeInfo* info = findCalType(calType);
    if (info != nullptr && info->converts()) return *info;
    const std::string what = info == nullptr ? " is unknown" : " does not convert yet";
    throw Failure("CalType " + std::to_string(calType) + what +
                  "; CalTypes that convert: " + convertingCalTypes());
}

}  // namespace kalviro::cli
