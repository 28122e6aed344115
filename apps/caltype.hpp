// Choosing a CalType on the command line: one that converts, or a Failure
// naming those that do.
#pragma once

#include <cstdint>
#include <string>

#include "kalviro.hpp"

namespace kalviro::cli {

// Whether the library converts a CalType: it is in the entries' table.
bool converts(int32_t calType);

// The list's entry for a converting CalType; throws Failure otherwise.
const CalTypeInfo& requireCalType(int32_t calType);

// "12, 20, 21, ..." : the CalTypes that convert.
std::string convertingCalTypes();

}  // namespace kalviro::cli
