#include "core/emissivity.hpp"

#include "core/numeric.hpp"
#include "kalviro.h"

// One row per ten percent, starting at 100 percent (index 0) and running down
// to 1 percent (index 99).
// clang-format off
extern "C" const int32_t Esp_Table[100] = {
    1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 1006,  // 100..91
    1012, 1018, 1024, 1030, 1042, 1048, 1060, 1070, 1078, 1084,  // 90..81
    1092, 1097, 1108, 1120, 1130, 1140, 1155, 1164, 1173, 1179,  // 80..71
    1190, 1198, 1207, 1220, 1235, 1248, 1263, 1273, 1285, 1300,  // 70..61
    1310, 1328, 1340, 1355, 1375, 1388, 1400, 1415, 1430, 1455,  // 60..51
    1470, 1488, 1498, 1530, 1550, 1575, 1588, 1600, 1630, 1650,  // 50..41
    1670, 1708, 1738, 1759, 1795, 1820, 1850, 1880, 1899, 1938,  // 40..31
    1970, 2020, 2060, 2102, 2151, 2187, 2241, 2301, 2343, 2410,  // 30..21
    2470, 2530, 2598, 2675, 2753, 2855, 2946, 3042, 3157, 3271,  // 20..11
    3404, 3572, 3729, 3916, 4139, 4380, 4687, 4887, 5150, 5180,  // 10..1
};
// clang-format on

namespace kalviro {

namespace {
// coefficient * x * x ... as many multiplications as the power.
double term(double c, double x, int power) {
    double t = c;
    for (int i = 0; i < power; ++i) t = t * x;
    return t;
}
}  // namespace

float emissivityPolynomial(float emissivity) {
    const double x = emissivity;
    double sum = term(181.809878575775, x, 7);
    sum = sum - term(782.074099791037, x, 6);
    sum = sum + term(1379.04636966407, x, 5);
    sum = sum - term(1274.79115494629, x, 4);
    sum = sum + term(649.648611207565, x, 3);
    sum = sum - term(169.538999783124, x, 2);
    sum = sum + term(13.4878828169042, x, 1);
    sum = sum + 3.41283337788699;
    return static_cast<float>(sum);
}

int32_t espFactor(float emissivity) {
    const int32_t percent = toInt(emissivity * 100.0f);
    const int index = percent > 100 ? 0 : percent <= 0 ? 99 : 100 - percent;
    return Esp_Table[index];
}

}  // namespace kalviro
