// The window compensation tables: in place of the one window formula, a
// decision table over the value V (hundredths, before the window), the
// frame's base temperature T and the window's transmission W. Their jumps
// (at V = 2500, at T = 20, the exact equalities) are the calibration.
#include "core/numeric.hpp"
#include "ladder/pipeline.hpp"

namespace kalviro::ladder {

// windowTableCH (74 to 78): the air static c enters through u20 and u25.
int32_t windowTableCH(float V, float T, float W, float c) {
    if (W == 1.0f) return toInt(V);
    const float M = 1.0f - W;
    const float u20 = 2000.0f - 100.0f * c;
    const float u25 = 2500.0f - 100.0f * c;
    const double c15 = (static_cast<double>(c) * 1.8 * 100.0) / 15.0;
    const double c25 = (static_cast<double>(c) * 1.8 * 100.0) / 25.0;
    const float h = ((T - 30.0f) * 0.5f) * 100.0f;
    const auto less = [](float x, double k) { return toInt(static_cast<float>(static_cast<double>(x) - k)); };

    if (T < 0.0f) {
        if (V < 2000.0f) return toInt(V / W);
        if (V < 7000.0f) return less(V / W + M * u20, c25);
        return toInt((7000.0f * (M * u20)) / V + V / W);
    }
    if (T >= 35.0f && V >= 2500.0f) return toInt((7000.0f * (M * u20)) / V + V / W);
    if (T < 35.0f && V >= 2500.0f) return toInt(V / W + M * u20);
    if (T < 20.0f) {
        if (V < 0.0f) return less(V / W - M * u20, c15);
        if (V < 2500.0f) return less(V / W - M * u20, c25);
    } else if (T < 30.0f) {
        if (V < 0.0f) return less(V / W + M * u20, c15);
        if (V < 2500.0f) return less(M * u25 + V / W, c25);
    } else if (V < 2500.0f) {
        return V < h ? less(M * u25 + V / W, c15) : less(M * u25 + V / W, c25);
    }
    return toInt(V);
}

// windowTableSelf (133, 135 to 138): on the frame's own T; W itself moves
// only above V = 15000.
int32_t windowTableSelf(float V, float T, float W) {
    if (W == 1.0f) return toInt(V);
    const float M = 1.0f - W;
    const float U = 2000.0f - T * 100.0f;
    const float U5 = 2500.0f - T * 100.0f;
    const float Q = V / W;
    const float P = 25000.0f - V;
    const double q = Q;
    const auto R1 = [&] {
        return static_cast<float>((static_cast<double>((U5 * M) * P) / 10000.0 + q) +
                                  static_cast<double>(V - 4500.0f) / 10.0);
    };
    const auto R2 = [&] {
        return static_cast<float>((static_cast<double>((M * U) * P) / 10000.0 + q) +
                                  static_cast<double>(V - 4500.0f) / 100.0);
    };
    const auto R3 = [&] {
        return static_cast<float>(static_cast<double>(Q + (U5 * (M * U5)) / (2500.0f - V)) -
                                  static_cast<double>(T * 100.0f) / 7.5);
    };
    const auto R4 = [&] { return (U5 * (M * U5)) / (2500.0f - V) + Q; };
    const auto R5 = [&] {
        return static_cast<float>(
            (static_cast<double>(P * (M * U)) / 10000.0 + q) +
            static_cast<double>((V - 4500.0f) / (((V - 7500.0f) * 5.0f) / 1000.0f + 10.0f)));
    };
    const auto R6 = [&] {
        return static_cast<float>((static_cast<double>(P * (M * U)) / 10000.0 + q) +
                                  static_cast<double>((V - 4500.0f) / 10.0f));
    };
    const auto R7 = [&] {
        return static_cast<float>((static_cast<double>((U * M) * P) / 10000.0 + q) +
                                  static_cast<double>((V - 4500.0f) / 100.0f));
    };
    const auto R8 = [&] { return static_cast<float>(static_cast<double>((M * U) * P) / 10000.0 + q); };
    // Above V = 15000 the transmission leans with T: W3 above 45, W2 below 0.
    const auto leaned = [&](float Wl) {
        return static_cast<float>(static_cast<double>((U * (1.0f - Wl)) * P) / 10000.0 +
                                  static_cast<double>(V / Wl));
    };

    if (V < 2000.0f) {
        if (T < 25.0f) return toInt(V < 1500.0f ? R4() : R2());
        if (T < 45.0f) return toInt(R3());
        return toInt(T == 45.0f ? R2() : R1());
    }
    if (V < 4500.0f) return toInt(T <= 45.0f ? R2() : R1());
    if (V < 15000.0f) {
        if (T <= 25.0f) return toInt(R7());
        return toInt(V < 7500.0f ? R6() : R5());
    }
    if (V == 15000.0f) return toInt(R8());
    if (T > 45.0f) {
        const float W3 =
            static_cast<float>(static_cast<double>(W) - (static_cast<double>(T - 45.0f) * 0.005) / 15.0);
        return toInt(leaned(W3));
    }
    if (T < 0.0f) {
        const float W2 = static_cast<float>((static_cast<double>(T) * 0.015) / 10.0 + static_cast<double>(W));
        return toInt(leaned(W2));
    }
    if (V > 15000.0f) return toInt(R8());
    return toInt(V);
}

}  // namespace kalviro::ladder
