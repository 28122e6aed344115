#include "synth_scene.hpp"

#include <cmath>
#include <limits>

namespace kalviro::cli {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Up to +-0.04 degrees, the same for a pixel and frame on every host.
double noise(int32_t x, int32_t y, uint64_t frame) {
    uint64_t h = (static_cast<uint64_t>(static_cast<uint32_t>(x)) << 32) ^ static_cast<uint32_t>(y);
    h ^= frame * 0x9e3779b97f4a7c15ull;
    h ^= h >> 30;
    h *= 0xbf58476d1ce4e5b9ull;
    h ^= h >> 27;
    h *= 0x94d049bb133111ebull;
    h ^= h >> 31;
    return (static_cast<double>(h >> 11) / 9007199254740992.0 - 0.5) * 0.08;
}

double gauss(double dx, double dy, double radius) {
    return std::exp(-(dx * dx + dy * dy) / (2.0 * radius * radius));
}

// Inside the ellipse centred on (cx, cy): 1 in the middle, 0 at the rim.
double ellipse(double x, double y, double cx, double cy, double rx, double ry) {
    const double dx = (x - cx) / rx;
    const double dy = (y - cy) / ry;
    return 1.0 - (dx * dx + dy * dy);
}

// A heated part on a bench at room temperature, warming up over the
// sequence, and a cold drink beside it.
double hotspot(double u, double v, double p, double aspect) {
    const double room = 22.5 + 1.5 * v;
    const double hot = (35.0 + 25.0 * p) * gauss((u - 0.62 - 0.05 * p) * aspect, v - 0.42, 0.07);
    const double cold = -14.0 * gauss((u - 0.25) * aspect, v - 0.65, 0.05);
    return room + hot + cold;
}

double gradient(double u, double v, double p) { return 10.0 + 50.0 * u + 5.0 * v + 2.0 * p; }

// A person from the chest up, in units of the figure's height below the top
// of its box, x from its middle: the face warmest at the eyes, hair and
// clothes cooler. NaN off the figure.
double figure(double x, double y) {
    const double head = ellipse(x, y, 0.0, 0.30, 0.11, 0.15);
    if (head > 0.0) {
        if (y < 0.22) return 28.5 + 2.0 * head;  // hair
        const double eyes = 1.6 * (gauss(x - 0.04, y - 0.29, 0.018) + gauss(x + 0.04, y - 0.29, 0.018));
        return 33.8 + 1.2 * head + eyes;
    }
    if (std::abs(x) < 0.045 && y > 0.42 && y < 0.50) return 34.0;  // neck
    // Shoulders falling away from the neck, clothes warmest at the chest.
    const double side = std::abs(x) / 0.27;
    if (side < 1.0 && y > 0.49 + 0.10 * side * side * side) return 29.0 + 2.0 * gauss(x, y - 0.62, 0.12);
    return std::numeric_limits<double>::quiet_NaN();
}

// A person in front of a wall, swaying a little; the wall warmer near the
// ceiling.
double person(double u, double v, double p, double aspect) {
    const double cx = 0.5 + 0.06 * std::sin(2.0 * kPi * p);
    const double t = figure((u - cx) * aspect, v);
    return std::isnan(t) ? 21.0 + 1.5 * (1.0 - v) : t;
}

struct Seat {
    double x, top, scale;  // the figure's middle and top in the frame, its height
};

struct HotSpot {
    double x, y, radius, peak;  // x in frame widths, y and radius in frame heights
};

const Seat kSeats[] = {{0.31, 0.30, 0.62}, {0.70, 0.40, 0.52}};
// A soldering iron's tip and a kettle on the table, a halogen lamp on the
// wall, a valve on the pipe.
const HotSpot kHotSpots[] = {{0.16, 0.92, 0.006, 280.0},
                             {0.86, 0.91, 0.012, 110.0},
                             {0.92, 0.33, 0.008, 200.0},
                             {0.52, 0.10, 0.010, 140.0}};

// A room: two people behind a table, a hot-water pipe under the ceiling
// cooling from 90 to 60 degrees along the frame, a door, and a few small
// hot parts.
double room(double u, double v, double p, double aspect) {
    double t = 22.0 + 2.0 * (1.0 - v);                         // the wall, warmer near the ceiling
    if (u > 0.03 && u < 0.12 && v > 0.25) t = 20.2 + 0.6 * v;  // the door
    const double across = (v - 0.10) / 0.025;                  // the pipe's axis at 1/10 of the height
    if (std::abs(across) < 1.0) t = 90.0 - 30.0 * u - 6.0 * across * across;
    const double sway = 0.02 * std::sin(2.0 * kPi * p);
    for (const Seat& s : kSeats) {
        const double f = figure((u - s.x - sway) * aspect / s.scale, (v - s.top) / s.scale);
        if (!std::isnan(f)) t = f;
    }
    if (v > 0.86) t = 20.5 + 2.0 * (v - 0.86);  // the table
    for (const HotSpot& h : kHotSpots) t += (h.peak - t) * gauss((u - h.x) * aspect, v - h.y, h.radius);
    return t;
}

}  // namespace

std::optional<Scene> findScene(const std::string& name) {
    if (name == "hotspot") return Scene::Hotspot;
    if (name == "gradient") return Scene::Gradient;
    if (name == "person") return Scene::Person;
    if (name == "room") return Scene::Room;
    return std::nullopt;
}

std::string sceneNames() { return "hotspot, gradient, person, room"; }

double sceneTemp(Scene scene, const FrameSize& size, int32_t x, int32_t y, uint64_t frame, uint64_t frames) {
    const double u = (x + 0.5) / size.width;
    const double v = (y + 0.5) / size.height;
    const double p = frames > 1 ? static_cast<double>(frame) / static_cast<double>(frames - 1) : 0.0;
    const double aspect = static_cast<double>(size.width) / size.height;
    double t = 0.0;
    switch (scene) {
        case Scene::Hotspot: t = hotspot(u, v, p, aspect); break;
        case Scene::Gradient: t = gradient(u, v, p); break;
        case Scene::Person: t = person(u, v, p, aspect); break;
        case Scene::Room: t = room(u, v, p, aspect); break;
    }
    return t + noise(x, y, frame);
}

}  // namespace kalviro::cli
