// The window compensation tables: in place of the one window formula, a
// decision table over the value V (hundredths, before the window), the
// frame's base temperature T and the window's transmission W. Their jumps
// (at V = 2500, at T = 20, the exact equalities) are the calibration. T, W
// and c belong to the frame, V to the lane: every branch on V is a select of
// results computed in all lanes.
#pragma once

#include <cstdint>

namespace kalviro::ladder {

// windowTableCH (74 to 78): the air static c enters through u20 and u25.
template <class L>
typename L::I windowTableCH(typename L::F V, float T, float W, float c) {
    if (W == 1.0f) return L::toInt(V);
    const float M = 1.0f - W;
    const float u20 = 2000.0f - 100.0f * c;
    const float u25 = 2500.0f - 100.0f * c;
    const double c15 = (static_cast<double>(c) * 1.8 * 100.0) / 15.0;
    const double c25 = (static_cast<double>(c) * 1.8 * 100.0) / 25.0;
    const float h = ((T - 30.0f) * 0.5f) * 100.0f;
    const auto less = [](typename L::F x, double k) { return L::toInt(L::narrow(L::widen(x) - k)); };
    const auto Q = V / W;
    const auto hot = [&] { return L::toInt((7000.0f * (M * u20)) / V + Q); };

    if (T < 0.0f) {
        return L::select(V < 2000.0f, L::toInt(Q), L::select(V < 7000.0f, less(Q + M * u20, c25), hot()));
    }
    if (T >= 35.0f) {
        const auto below = L::select(V < h, less(M * u25 + Q, c15), less(M * u25 + Q, c25));
        return L::select(V >= 2500.0f, hot(), L::select(V < 2500.0f, below, L::toInt(V)));
    }
    typename L::I below;
    if (T < 20.0f) {
        below = L::select(V < 0.0f, less(Q - M * u20, c15),
                          L::select(V < 2500.0f, less(Q - M * u20, c25), L::toInt(V)));
    } else if (T < 30.0f) {
        below = L::select(V < 0.0f, less(Q + M * u20, c15),
                          L::select(V < 2500.0f, less(M * u25 + Q, c25), L::toInt(V)));
    } else {
        below = L::select(V < 2500.0f, L::select(V < h, less(M * u25 + Q, c15), less(M * u25 + Q, c25)),
                          L::toInt(V));
    }
    // A NaN T takes no branch on T.
    return T < 35.0f ? L::select(V >= 2500.0f, L::toInt(Q + M * u20), below) : below;
}

// windowTableSelf (133, 135 to 138): on the frame's own T; W itself moves
// only above V = 15000.
template <class L>
typename L::I windowTableSelf(typename L::F V, float T, float W) {
    if (W == 1.0f) return L::toInt(V);
    const float M = 1.0f - W;
    const float U = 2000.0f - T * 100.0f;
    const float U5 = 2500.0f - T * 100.0f;
    const auto Q = V / W;
    const auto P = 25000.0f - V;
    const auto q = L::widen(Q);
    const auto R1 = [&] {
        return L::narrow((L::widen((U5 * M) * P) / 10000.0 + q) + L::widen(V - 4500.0f) / 10.0);
    };
    const auto R2 = [&] {
        return L::narrow((L::widen((M * U) * P) / 10000.0 + q) + L::widen(V - 4500.0f) / 100.0);
    };
    const auto R3 = [&] {
        return L::narrow(L::widen(Q + (U5 * (M * U5)) / (2500.0f - V)) -
                         static_cast<double>(T * 100.0f) / 7.5);
    };
    const auto R4 = [&] { return (U5 * (M * U5)) / (2500.0f - V) + Q; };
    const auto R5 = [&] {
        return L::narrow((L::widen(P * (M * U)) / 10000.0 + q) +
                         L::widen((V - 4500.0f) / (((V - 7500.0f) * 5.0f) / 1000.0f + 10.0f)));
    };
    const auto R6 = [&] {
        return L::narrow((L::widen(P * (M * U)) / 10000.0 + q) + L::widen((V - 4500.0f) / 10.0f));
    };
    const auto R7 = [&] {
        return L::narrow((L::widen((U * M) * P) / 10000.0 + q) + L::widen((V - 4500.0f) / 100.0f));
    };
    const auto R8 = [&] { return L::narrow(L::widen((M * U) * P) / 10000.0 + q); };
    // Above V = 15000 the transmission leans with T: W3 above 45, W2 below 0.
    const auto leaned = [&](float Wl) {
        return L::narrow(L::widen((U * (1.0f - Wl)) * P) / 10000.0 + L::widen(V / Wl));
    };
    const auto toInt = [](typename L::F x) { return L::toInt(x); };

    typename L::I top;
    if (T > 45.0f) {
        top = toInt(leaned(
            static_cast<float>(static_cast<double>(W) - (static_cast<double>(T - 45.0f) * 0.005) / 15.0)));
    } else if (T < 0.0f) {
        top = toInt(
            leaned(static_cast<float>((static_cast<double>(T) * 0.015) / 10.0 + static_cast<double>(W))));
    } else {
        top = L::select(V > 15000.0f, toInt(R8()), toInt(V));
    }
    top = L::select(V == 15000.0f, toInt(R8()), top);
    const auto mid = T <= 25.0f ? toInt(R7()) : L::select(V < 7500.0f, toInt(R6()), toInt(R5()));
    const auto low = T <= 45.0f ? toInt(R2()) : toInt(R1());
    typename L::I cold;
    if (T < 25.0f) {
        cold = L::select(V < 1500.0f, toInt(R4()), toInt(R2()));
    } else if (T < 45.0f) {
        cold = toInt(R3());
    } else {
        cold = T == 45.0f ? toInt(R2()) : toInt(R1());
    }
    return L::select(V < 2000.0f, cold, L::select(V < 4500.0f, low, L::select(V < 15000.0f, mid, top)));
}

}  // namespace kalviro::ladder
