#include "commands/caltype.hpp"

#include "frames/failure.hpp"

namespace kalviro::cli {

std::string listedCalTypes() {
    std::string out;
    for (const CalTypeInfo& c : kCalTypes) {
        if (!out.empty()) out += ", ";
        out += std::to_string(c.calType);
    }
    return out;
}

const CalTypeInfo& requireCalType(int32_t calType) {
    const CalTypeInfo* info = findCalType(calType);
    if (info != nullptr) return *info;
    throw Failure("CalType " + std::to_string(calType) + " is unknown; CalTypes: " + listedCalTypes());
}

}  // namespace kalviro::cli
