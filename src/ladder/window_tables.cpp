#include "ladder/window_tables.hpp"

#include "core/lanes.hpp"
#include "ladder/pixel.hpp"

namespace kalviro::ladder {

int32_t windowTableCH(float V, float T, float W, float c) { return windowTableCH<Scalar>(V, T, W, c); }

int32_t windowTableSelf(float V, float T, float W) { return windowTableSelf<Scalar>(V, T, W); }

}  // namespace kalviro::ladder
