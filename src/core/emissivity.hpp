// The two ways an emissivity enters: the calibrated polynomial E and the
// table of factors in thousandths.
#pragma once

#include <cstdint>

namespace kalviro {

// E(x), formed term by term in double and rounded to float. E(1.0) is about
// 1.00132, as calibrated.
float emissivityPolynomial(float emissivity);

// Esp_Table[index], the index from the truncated percent.
int32_t espFactor(float emissivity);

}  // namespace kalviro
