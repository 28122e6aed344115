// False-colour palettes: 256 colours from cold to hot.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace kalviro::cli {

struct Rgb {
    uint8_t r, g, b;
};

using Palette = std::array<Rgb, 256>;

// iron, rainbow, gray, inferno, whitehot, blackhot or turbo; null for any
// other name.
const Palette* findPalette(const std::string& name);
// "iron, rainbow, gray, inferno, whitehot, blackhot, turbo"
std::string paletteNames();

}  // namespace kalviro::cli
