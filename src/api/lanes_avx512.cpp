// The frame table's builders on AVX-512: 16 lanes. Compiled with -mavx512f
// and called only where the processor has it.
#include "api/lane_builders.hpp"

#if defined(__AVX512F__)
#include "core/lanes.hpp"

KALVIRO_LANE_BUILDERS(avx512, 16)

KALVIRO_ANY_PROCESSOR const kalviro::LaneBuilders* kalviro::avx512Builders() {
    return &lanes_avx512::kBuilders;
}
#else
const kalviro::LaneBuilders* kalviro::avx512Builders() { return nullptr; }
#endif
