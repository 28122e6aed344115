// Choosing a CalType on the command line: one of the list, or a Failure
// naming them.
#pragma once

#include <cstdint>
#include <string>

#include "kalviro.hpp"

namespace kalviro::cli {

// The list's entry for a CalType; throws Failure otherwise.
const CalTypeInfo& requireCalType(int32_t calType);

// "12, 20, 21, ...": the CalTypes of the list.
std::string listedCalTypes();

}  // namespace kalviro::cli
