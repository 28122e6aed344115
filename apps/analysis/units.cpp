#include "analysis/units.hpp"

#include <cfloat>
#include <cmath>

#include "frames/failure.hpp"

namespace kalviro::cli {

namespace {

// Indexed by Unit.
struct UnitWords {
    const char* name;    // unitName
    const char* symbol;  // unitSymbol
    const char* label;   // unitLabel
};
constexpr UnitWords kUnitWords[] = {
    {"degrees Celsius", "C", "*C"},
    {"kelvin", "K", "K"},
    {"degrees Fahrenheit", "F", "*F"},
};

const UnitWords& words(Unit unit) { return kUnitWords[static_cast<size_t>(unit)]; }

}  // namespace

Unit parseUnit(const std::string& text) {
    if (text == "C" || text == "c") return Unit::Celsius;
    if (text == "K" || text == "k") return Unit::Kelvin;
    if (text == "F" || text == "f") return Unit::Fahrenheit;
    throw Failure("bad unit '" + text + "': expected C, K or F");
}

const char* unitName(Unit unit) { return words(unit).name; }
const char* unitSymbol(Unit unit) { return words(unit).symbol; }
const char* unitLabel(Unit unit) { return words(unit).label; }

namespace {

// Past the largest float the value is infinite, as a float sum would be.
float rounded(double v) {
    if (std::fabs(v) > FLT_MAX) return v > 0 ? INFINITY : -INFINITY;
    return static_cast<float>(v);
}

}  // namespace

float toUnit(float celsius, Unit unit) {
    const double c = static_cast<double>(celsius);
    switch (unit) {
        case Unit::Celsius: return celsius;
        case Unit::Kelvin: return rounded(c + 273.15);
        case Unit::Fahrenheit: return rounded(1.8 * c + 32.0);
    }
    return celsius;
}

void toUnit(float* temps, size_t count, Unit unit) {
    if (unit == Unit::Celsius) return;
    for (size_t i = 0; i < count; ++i) temps[i] = toUnit(temps[i], unit);
}

}  // namespace kalviro::cli
