// The unit of every temperature the command writes: degrees Celsius, as
// the library gives them, or kelvin or degrees Fahrenheit. A converted value
// is computed in double from the library's float and rounded to float once:
// K = C + 273.15, F = 1.8 C + 32.
#pragma once

#include <cstddef>
#include <string>

namespace kalviro::cli {

enum class Unit : unsigned char { Celsius, Kelvin, Fahrenheit };

// "C", "K" or "F" (either case); Failure otherwise.
Unit parseUnit(const std::string& text);
// "degrees Celsius", "kelvin", "degrees Fahrenheit".
const char* unitName(Unit unit);
// "C", "K", "F".
const char* unitSymbol(Unit unit);
// What labels on a picture append: "*C" (the font's degree sign), "K", "*F".
const char* unitLabel(Unit unit);

float toUnit(float celsius, Unit unit);
// In place, over a whole frame; NaN and infinities stay what they are.
void toUnit(float* temps, size_t count, Unit unit);

}  // namespace kalviro::cli
