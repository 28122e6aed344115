// What the command reports when it gives up: one line on standard error and
// a non-zero exit, with nothing written (every output is still a temporary
// file at that point, and is removed on the way out).
#pragma once

#include <stdexcept>
#include <string>

namespace kalviro::cli {

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace kalviro::cli
