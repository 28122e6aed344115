// The curve factors and weight lists of body drift: the curve read at the
// bin variable xb from the nearest grid point of its row, and the weight of
// xb's bin by one of the members' lists.
#pragma once

#include "ladder/stage.hpp"

namespace kalviro::ladder {

// The bin variable of a body-drift row.
float xbOf(Xb xb, const Frame& f);

// The curve factor at xb times its weight, rounded once.
float curveDrift(const BodyDrift& body, float xb, const Frame& f);

// The weight of xb's bin in a list, widened or in double as the list forms it.
double weightOf(Weights list, float xb, const Frame& f);

}  // namespace kalviro::ladder
