#include "core/get_it.hpp"

#include "core/block.hpp"

namespace kalviro::getit {
namespace {

// In float throughout, with a and b from the block.
double blockCubic(float x, float slope, float a, float b) {
    return static_cast<double>(x * slope + (((a * x) * x) * x + (b * x) * x));
}

}  // namespace

double getITValue(int32_t calType, const uint8_t* block) {
    const int index = rowIndex(calType);
    if (index < 0) return 0.0;
    const ItRow* row = &kRows[index];
    const int32_t range = get(block, field::tempRange);
    const int column = range >= 2 && range <= 4 ? range - 2 : 3;
    const ItCell& cell = row->cells[column];

    const float t = degrees(block, field::tempCH5);
    const float x = t - get(block, field::itRefTemp);
    const float slope = get(block, field::itSlope);
    const double xd = x;
    const double s = static_cast<double>(x * slope);

    double v = 0.0;
    switch (cell.form) {
        case ItForm::Cubic:
            // 56 and 58 write this sum in tempRange 3 as s + (square + cubic):
            // the same two additions, so the same double.
            v = (((cell.c3 * xd) * xd) * xd + xd * (cell.c2 * xd)) + s;
            break;
        case ItForm::Linear: v = s; break;
        case ItForm::ExtCubic:
            v = blockCubic(x, slope, get(block, field::grayCurveExt(0)), get(block, field::grayCurveExt(1)));
            break;
        case ItForm::GainCubic:
            v = blockCubic(x, slope, get(block, field::tempBinGain(10)), get(block, field::tempBinGain(11)));
            break;
        case ItForm::Zero:
        case ItForm::Undefined: v = 0.0; break;
    }
    if (!row->half) return v;
    return v > 0 ? v + 0.5 : v - 0.5;
}

}  // namespace kalviro::getit
