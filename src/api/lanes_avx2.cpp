// The frame table's builders on AVX2: 8 lanes. Compiled with -mavx2 and
// called only where the processor has it.
#include "api/lane_builders.hpp"

#if defined(__AVX2__)
#include "core/lanes.hpp"

KALVIRO_LANE_BUILDERS(avx2, 8)

KALVIRO_ANY_PROCESSOR const kalviro::LaneBuilders* kalviro::avx2Builders() { return &lanes_avx2::kBuilders; }
#else
const kalviro::LaneBuilders* kalviro::avx2Builders() { return nullptr; }
#endif
