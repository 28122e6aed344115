// Two cameras on CalType 21 through the installed C++ header: each keeps its
// own statics, so a per-frame call of one leaves the other's table alone.
#include <kalviro.hpp>

#include <cstdio>

#include "sample_block.h"

int main() {
    alignas(4) uint8_t blockA[512];
    alignas(4) uint8_t blockB[512];
    fill_worked_block(blockA);
    fill_worked_block(blockB);
    // The second camera sees the same scene through a curve 500 gray higher.
    for (std::size_t k = 0; k < 12; ++k) {
        put_f32(blockB, offsetof(TempFrameInfo, grayCurve) + 4 * k, worked_curve[k] + 500.0f);
    }
    auto* a = reinterpret_cast<TempFrameInfo*>(blockA);
    auto* b = reinterpret_cast<TempFrameInfo*>(blockB);

    kalviro::Camera first(21);
    kalviro::Camera second(21);
    kalviro::Camera none(53);
    const float init = first.init(1000, a, 0.95f, 0.0f);
    second.init(1000, b, 0.95f, 0.0f);
    const float real = first.real(1000, a, 0.95f, 0.0f);
    const float other = second.real(1000, b, 0.95f, 0.0f);
    std::printf("first camera %.2f / %.2f, second camera %.2f\n", static_cast<double>(init),
                static_cast<double>(real), static_cast<double>(other));

    int failures = 0;
    if (!first.valid() || none.valid()) ++failures;
    if (init != 53.92f || real != 53.88f) ++failures;
    if (other == real) ++failures;  // its curve differs, its table must too
    if (none.init(1000, a, 0.95f, 0.0f) != 0.0f) ++failures;
    if (failures != 0) {
        std::fprintf(stderr, "%d checks failed\n", failures);
        return 1;
    }
    std::puts("cmake consumer ok");
    return 0;
}
