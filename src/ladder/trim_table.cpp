#include "ladder/trim_table.hpp"

#include "core/lanes.hpp"
#include "ladder/pixel.hpp"

namespace kalviro::ladder {
namespace {

// clang-format off
// Bands in the order (a <= 22, b <= 149), (a <= 22, b > 149), (a > 22,
// b <= 149), (a > 22, b > 149); rows E1 to E4 in each. The 0.9556 of the
// third row is the calibration as it stands.
constexpr TrimRow kTrim[4][4] = {
    {{{70, 110, 140, 180}, {0.98122, 0.98179, 0.99375, 0.9969, 0.998}},
     {{84, 132, 170, 210}, {0.9814, 0.98095, 0.99469, 0.99641, 0.99762}},
     {{105, 165, 209, 263}, {0.98148, 0.98097, 0.99394, 0.99463, 0.9556}},
     {{135, 211, 267, 355}, {0.95484, 0.98071, 0.99431, 0.9946, 0.99487}}},
    {{{80, 115, 147, 185}, {0.89302, 0.95088, 0.9948, 0.97354, 0.97725}},
     {{95, 140, 174, 217}, {0.88755, 0.94726, 0.98639, 0.97406, 0.97922}},
     {{119, 175, 217, 270}, {0.88091, 0.94697, 0.98682, 0.9746, 0.97927}},
     {{152, 223, 276, 344}, {0.8758, 0.94806, 0.98654, 0.97429, 0.97938}}},
    {{{76, 121, 188, 209}, {0.99132, 0.99075, 0.99215, 0.99361, 0.99186}},
     {{87, 141, 220, 245}, {0.99234, 0.98969, 0.99456, 0.99363, 0.99182}},
     {{107, 175, 273, 303}, {0.99111, 0.99065, 0.99186, 0.9934, 0.9921}},
     {{135, 222, 347, 387}, {0.99083, 0.9829, 0.98903, 0.99365, 0.99069}}},
    {{{120, 147, 174, 220}, {0.97754, 0.97086, 0.97351, 0.96433, 0.99863}},
     {{140, 172, 203, 257}, {0.97709, 0.96935, 0.97327, 0.96458, 0.99844}},
     {{174, 214, 252, 319}, {0.97668, 0.96951, 0.9733, 0.96433, 0.99812}},
     {{220, 271, 321, 406}, {0.97561, 0.9696, 0.97306, 0.96412, 0.99828}}},
};
// clang-format on

// E1 to E4; an emissivity above 1 shares E4 with the lowest.
int emissivityRow(float e) {
    if (e >= 0.75f && e < 1.0f) return 0;
    if (static_cast<double>(e) >= 0.55 && e < 0.75f) return 1;
    if (e >= 0.375f && e < 0.55f) return 2;
    return 3;
}

}  // namespace

const TrimRow* trimRowFor(int32_t a, int32_t b, float emissivity) {
    if (b <= 29 || emissivity == 1.0f) return nullptr;
    const int band = (a <= 22 ? 0 : 2) + (b <= 149 ? 0 : 1);
    return &kTrim[band][emissivityRow(emissivity)];
}

int32_t trimTable(float X, const PixelPlan& p) { return trimTable<Scalar>(X, p.trimRow, p.offset); }

}  // namespace kalviro::ladder
