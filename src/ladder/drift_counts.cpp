// The multiplier tables of const_d (LA to LI): the drift counts N scaled by a
// multiplier chosen by the temperature latched at the camera's first frame (w1, w2, ch), so a
// camera that started cold takes less drift than one that started warm.
#include "core/block.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {
namespace {

// How the multiplier meets N: a float multiplier and a float product, or
// the literal in double and one rounding.
enum class Math : uint8_t { Float, Double };

struct MultiplierTable {
    bool lowerClosed;  // LH: [lower, upper); all others (lower, upper]
    Math math;
    int8_t gain;  // bg[gain] + literal in the first `gained` bins, -1: none
    uint8_t gained;
    uint8_t edges;
    float edge[19];
    double value[20];
};

// clang-format off
constexpr MultiplierTable kMultipliers[] = {
    /* LA */ {false, Math::Float, 14, 10, 10, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25},
              {0.3, 0.35, 0.4, 0.45, 0.5, 0.55, 0.6, 0.65, 0.7, 0.75, 1}},
    /* LB */ {false, Math::Float, -1, 0, 10, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25},
              {0.3, 0.35, 0.4, 0.45, 0.5, 0.55, 0.6, 0.65, 0.7, 0.75, 1}},
    /* LC */ {false, Math::Float, -1, 0, 10, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25},
              {0.45, 0.5, 0.55, 0.6, 0.65, 0.7, 0.725, 0.75, 0.8, 0.85, 1}},
    /* LD */ {false, Math::Float, -1, 0, 18, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25, 30, 35, 45, 50, 55, 60, 65, 70},
              {0.4, 0.45, 0.5, 0.55, 0.6, 0.68, 0.76, 0.84, 0.92, 1.0, 1.1, 1.2, 1.3, 1.5, 1.6, 1.7, 1.8, 1.0, 2.0}},
    /* LE */ {false, Math::Float, 13, 9, 19, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60, 65, 70},
              {0.5, 0.55, 0.6, 0.65, 0.7, 0.75, 0.8, 0.85, 0.9, 1.0, 1.075, 1.15, 1.185, 1.3, 1.45, 1.5, 1.55, 1.6, 1.0, 1.7}},
    /* LF */ {false, Math::Double, -1, 0, 19, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60, 65, 70},
              {0.475, 0.5, 0.525, 0.55, 0.625, 0.7, 0.75, 0.825, 0.9, 1, 1.05, 1.1, 1.3, 1.45, 1.6, 1.75, 1.9, 2.05, 2.2, 2.35}},
    /* LG */ {false, Math::Double, -1, 0, 19, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60, 65, 70},
              {0.45, 0.5, 0.55, 0.6, 0.65, 0.7, 0.725, 0.75, 0.8, 0.85, 1, 1.05, 1.1, 1.15, 1.2, 1.25, 1.3, 1.35, 1.4, 1.45}},
    /* LH */ {true, Math::Float, -1, 0, 15, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50},
              {0.445, 0.5, 0.555, 0.61, 0.665, 0.72, 0.775, 0.83, 0.885, 0.94, 1, 1.075, 1.15, 1.225, 1.3, 1.375}},
    /* L134 */ {false, Math::Double, -1, 0, 19, {-20, -15, -10, -5, 0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60, 65, 70},
              {0.55, 0.6, 0.65, 0.7, 0.75, 0.8, 0.85, 0.9, 0.95, 1, 1.1, 1.2, 1.3, 1.4, 1.5, 1.6, 1.7, 1.8, 1.9, 2}},
};
// clang-format on

const MultiplierTable* defOf(Drift table) {
    switch (table) {
        case Drift::LA: return &kMultipliers[0];
        case Drift::LB: return &kMultipliers[1];
        case Drift::LC: return &kMultipliers[2];
        case Drift::LD: return &kMultipliers[3];
        case Drift::LE: return &kMultipliers[4];
        case Drift::LF: return &kMultipliers[5];
        case Drift::LG: return &kMultipliers[6];
        case Drift::LH: return &kMultipliers[7];
        case Drift::L134: return &kMultipliers[8];
        default: return nullptr;
    }
}

// The latched temperature each table reads.
float latched(Drift table, const CalState& st) {
    switch (table) {
        case Drift::LD:
        case Drift::LE: return st.w1;
        case Drift::LH: return st.ch;
        default: return st.w2;
    }
}

int binOf(const MultiplierTable& d, float w) {
    int bin = 0;
    if (d.lowerClosed) {
        while (bin < d.edges && !(w < d.edge[bin])) ++bin;
    } else {
        while (bin < d.edges && !(w <= d.edge[bin])) ++bin;
    }
    return bin;
}

}  // namespace

float multipliedDrift(Drift table, int32_t N, const Frame& f, const CalState& st) {
    const float n = static_cast<float>(N);
    if (table == Drift::LI) {
        // 132 has no latch: the present tempCH1, read back from its static.
        if (f.c.c1 <= 25.0f) return n;
        const float k = static_cast<float>((static_cast<double>(st.const_CH1 - 25.0f) * 0.2) /
                                               static_cast<double>(get(f.c.block, field::itRefTemp)) +
                                           1.0);
        return n * k;
    }
    const MultiplierTable* d = defOf(table);
    if (d == nullptr) return n;
    const int bin = binOf(*d, latched(table, st));
    const double value = d->value[bin];
    if (d->math == Math::Double) return static_cast<float>(static_cast<double>(n) * value);
    const float k = bin < d->gained ? static_cast<float>(static_cast<double>(f.c.b[d->gain]) + value)
                                    : static_cast<float>(value);
    return n * k;
}

}  // namespace kalviro::ladder
