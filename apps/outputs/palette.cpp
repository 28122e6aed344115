#include "outputs/palette.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kalviro::cli {

namespace {

struct Stop {
    double at;
    Rgb colour;
};

// Linear between stops; the stops of each palette run from 0 to 1.
Palette interpolate(const std::vector<Stop>& stops) {
    Palette p{};
    for (size_t i = 0; i < p.size(); ++i) {
        const double x = static_cast<double>(i) / 255.0;
        size_t k = 1;
        while (k + 1 < stops.size() && stops[k].at < x) ++k;
        const Stop& a = stops[k - 1];
        const Stop& b = stops[k];
        const double f = (x - a.at) / (b.at - a.at);
        const auto mix = [f](uint8_t u, uint8_t v) {
            return static_cast<uint8_t>(std::lround(u + (static_cast<double>(v) - u) * f));
        };
        p[i] = Rgb{mix(a.colour.r, b.colour.r), mix(a.colour.g, b.colour.g), mix(a.colour.b, b.colour.b)};
    }
    return p;
}

// A rainbow of even lightness steps, from the published polynomial fit of
// each channel.
Palette turbo() {
    Palette p{};
    for (size_t i = 0; i < p.size(); ++i) {
        const double x = static_cast<double>(i) / 255.0;
        const auto channel = [x](const double(&c)[6]) {
            const double v = c[0] + x * (c[1] + x * (c[2] + x * (c[3] + x * (c[4] + x * c[5]))));
            return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
        };
        static const double r[6] = {0.13572138,   4.61539260,    -42.66032258,
                                    132.13108234, -152.94239396, 59.28637943};
        static const double g[6] = {0.09140261, 2.19418839, 4.84296658, -14.18503333, 4.27729857, 2.82956604};
        static const double b[6] = {0.10667330,   12.64194608,  -60.58204836,
                                    110.36276771, -89.90310912, 27.34824973};
        p[i] = Rgb{channel(r), channel(g), channel(b)};
    }
    return p;
}

struct Named {
    const char* name;
    Palette palette;
};

const std::vector<Named>& palettes() {
    static const std::vector<Named> all = {
        // Black through violet and red to yellow and white, as thermal
        // cameras show it.
        {"iron", interpolate({{0.00, {0, 0, 0}},
                              {0.15, {30, 4, 110}},
                              {0.35, {150, 14, 150}},
                              {0.55, {220, 60, 40}},
                              {0.75, {250, 150, 10}},
                              {0.90, {255, 225, 80}},
                              {1.00, {255, 255, 255}}})},
        {"rainbow", interpolate({{0.00, {0, 0, 140}},
                                 {0.15, {0, 40, 255}},
                                 {0.35, {0, 220, 255}},
                                 {0.50, {0, 230, 60}},
                                 {0.65, {240, 240, 0}},
                                 {0.85, {255, 110, 0}},
                                 {1.00, {230, 0, 0}}})},
        {"gray", interpolate({{0.0, {0, 0, 0}}, {1.0, {255, 255, 255}}})},
        // Perceptually uniform, readable in gray print.
        {"inferno", interpolate({{0.0, {0, 0, 4}},
                                 {0.1, {22, 11, 57}},
                                 {0.2, {66, 10, 104}},
                                 {0.3, {106, 23, 110}},
                                 {0.4, {147, 38, 103}},
                                 {0.5, {188, 55, 84}},
                                 {0.6, {221, 81, 58}},
                                 {0.7, {243, 120, 25}},
                                 {0.8, {252, 165, 10}},
                                 {0.9, {246, 215, 70}},
                                 {1.0, {252, 255, 164}}})},
        // Hot is white, as most cameras show it by default; black-hot is its
        // reverse.
        {"whitehot", interpolate({{0.0, {0, 0, 0}}, {1.0, {255, 255, 255}}})},
        {"blackhot", interpolate({{0.0, {255, 255, 255}}, {1.0, {0, 0, 0}}})},
        {"turbo", turbo()},
    };
    return all;
}

}  // namespace

const Palette* findPalette(const std::string& name) {
    for (const Named& n : palettes()) {
        if (name == n.name) return &n.palette;
    }
    return nullptr;
}

std::string paletteNames() {
    std::string out;
    for (const Named& n : palettes()) {
        if (!out.empty()) out += ", ";
        out += n.name;
    }
    return out;
}

}  // namespace kalviro::cli
