#include "analysis/units.hpp"

#include <cfloat>
#include <cmath>

#include "frames/failure.hpp"

namespace kalviro::cli {

Unit parseUnit(const std::string& text) {
    if (text == "C" || text == "c") return Unit::Celsius;
    if (text == "K" || text == "k") return Unit::Kelvin;
    if (text == "F" || text == "f") return Unit::Fahrenheit;
    throw Failure("bad unit '" + text + "': expected C, K or F");
}

const char* unitName(Unit unit) {
    switch (unit) {
        case Unit::Celsius: return "degrees Celsius";
        case Unit::Kelvin: return "kelvin";
        case Unit::Fahrenheit: return "degrees Fahrenheit";
    }
    return "";
}

const char* unitSymbol(Unit unit) {
    switch (unit) {
        case Unit::Celsius: return "C";
        case Unit::Kelvin: return "K";
        case Unit::Fahrenheit: return "F";
    }
    return "";
}

const char* unitLabel(Unit unit) {
    switch (unit) {
        case Unit::Celsius: return "*C";
        case Unit::Kelvin: return "K";
        case Unit::Fahrenheit: return "*F";
    }
    return "";
}

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
